'use strict';
// The host's canvas and inspector. Every edit goes to the server, which answers the new state;
// the page only shows that state and the frame rendered for it.

const $ = (id) => document.getElementById(id);
const canvas = $('canvas');
let state = null;
const rows = new Map(); // label -> {row, inputs, key, param}

// ---- Requests: one at a time, in order; a newer move or edit of the same thing replaces a
// waiting one, so that a fast drag never piles up behind the renders.
const queue = [];
let busy = false;

function send(path, body, coalesce) {
  const last = queue[queue.length - 1];
  if (coalesce && last && last.coalesce === coalesce) last.body = body;
  else queue.push({ path, body, coalesce });
  pump();
}

// The server takes changes only with the token it put into this page.
const token = document.querySelector('meta[name="mirrel-token"]')?.content ?? '';

async function request(path, body) {
  const init = body === undefined ? {} : {
    method: 'POST',
    headers: { 'Content-Type': 'application/json', 'X-Mirrel-Token': token },
    body: JSON.stringify(body) };
  const res = await fetch(path, init);
  const data = await res.json();
  if (!res.ok) throw new Error(data.error || res.statusText);
  return data;
}

async function pump() {
  if (busy) return;
  busy = true;
  while (queue.length) {
    const item = queue.shift();
    try {
      show(await request(item.path, item.body));
    } catch (e) {
      message(e.message);
      try {
        show(await request('/api/state'));
      } catch (ignored) { /* the next request tries again */ }
    }
  }
  busy = false;
}

function message(text) {
  const m = $('message');
  m.textContent = text;
  m.hidden = !text;
  clearTimeout(message.timer);
  if (text) message.timer = setTimeout(() => { m.hidden = true; }, 6000);
}

// ---- The frame: drawn into the canvas at the frame's full size, a proxy scaled up.
let loading = false;
let wanted = null;

function frameUrl() {
  return `/api/frame.png?proxy=${state.dragging ? 1 : 0}&v=${state.version}`;
}

function loadFrame() {
  wanted = frameUrl();
  if (loading) return;
  loading = true;
  const url = wanted;
  const image = new Image();
  image.onload = () => {
    if (canvas.width !== state.width || canvas.height !== state.height) {
      canvas.width = state.width;
      canvas.height = state.height;
    }
    const ctx = canvas.getContext('2d');
    ctx.imageSmoothingEnabled = image.width !== canvas.width;
    ctx.clearRect(0, 0, canvas.width, canvas.height);
    ctx.drawImage(image, 0, 0, canvas.width, canvas.height);
    canvas.dataset.shown = url;
    done();
  };
  image.onerror = done;
  function done() {
    loading = false;
    if (wanted !== url) loadFrame();
  }
  image.src = url;
}

// ---- The canvas: the mouse goes to the effect's on-screen controls on the server.
let pointer = null;

function position(e) {
  const r = canvas.getBoundingClientRect();
  return { x: (e.clientX - r.left) / r.width, y: (e.clientY - r.top) / r.height, r };
}

canvas.addEventListener('pointerdown', (e) => {
  if (e.button !== 0 || pointer !== null) return;
  pointer = e.pointerId;
  canvas.setPointerCapture(e.pointerId);
  const p = position(e);
  send('/api/mouse', { type: 'down', x: p.x, y: p.y,
                       width: Math.max(1, Math.round(p.r.width)),
                       height: Math.max(1, Math.round(p.r.height)) });
  e.preventDefault();
});
canvas.addEventListener('pointermove', (e) => {
  if (e.pointerId !== pointer) return;
  const p = position(e);
  send('/api/mouse', { type: 'drag', x: p.x, y: p.y }, 'drag');
});
function release(e) {
  if (e.pointerId !== pointer) return;
  pointer = null;
  const p = position(e);
  send('/api/mouse', { type: 'up', x: p.x, y: p.y });
}
canvas.addEventListener('pointerup', release);
canvas.addEventListener('pointercancel', release);

// ---- The inspector, built once from the catalogue, then kept to the state.
function element(tag, props, parent) {
  const el = Object.assign(document.createElement(tag), props || {});
  if (parent) parent.appendChild(el);
  return el;
}

const hex = (c) => '#' + c.map((v) => Math.round(v * 255).toString(16).padStart(2, '0')).join('');
const unhex = (h) => [1, 3, 5].map((i) => parseInt(h.substr(i, 2), 16) / 255);

function edit(param, value, key) {
  const body = { label: param.label, value };
  if (key) body.key = true;
  send('/api/value', body, key ? undefined : 'value:' + param.label);
}

function numberPair(param, row, control) {
  const range = element('input', { type: 'range', min: param.sliderMin, max: param.sliderMax,
                                   step: param.step || 'any' }, control);
  const field = element('input', { type: 'number', min: param.min, max: param.max,
                                   step: param.step || 'any' }, control);
  range.addEventListener('input', () => edit(param, Number(range.value)));
  field.addEventListener('change', () => {
    if (field.value !== '') edit(param, Number(field.value));
  });
  return { inputs: [range, field], set: (v) => { range.value = v; field.value = v; } };
}

function controlFor(param, row) {
  const control = element('span', { className: 'control' }, row);
  switch (param.kind) {
    case 'popup': {
      const select = element('select', {}, control);
      param.entries.forEach((label, i) => element('option', { value: i, textContent: label }, select));
      select.addEventListener('change', () => edit(param, Number(select.value)));
      return { inputs: [select], set: (v) => { select.value = v; } };
    }
    case 'toggle': {
      const box = element('input', { type: 'checkbox' }, control);
      box.addEventListener('change', () => edit(param, box.checked));
      return { inputs: [box], set: (v) => { box.checked = v; } };
    }
    case 'colour': {
      const pick = element('input', { type: 'color' }, control);
      pick.addEventListener('input', () => edit(param, unhex(pick.value)));
      return { inputs: [pick], set: (v) => { pick.value = hex(v); }, get: () => unhex(pick.value) };
    }
    case 'point': {
      const xy = [0, 1].map(() => element('input', { type: 'number', step: 0.001 }, control));
      const value = () => xy.map((f) => Number(f.value));
      xy.forEach((f) => f.addEventListener('change', () => edit(param, value())));
      return { inputs: xy, set: (v) => xy.forEach((f, i) => { f.value = +v[i].toFixed(6); }),
               get: value };
    }
    default:
      return numberPair(param, row, control);
  }
}

function buildInspector() {
  const inspector = $('inspector');
  for (const group of state.groups) {
    const details = element('details', { open: group.open }, inspector);
    element('summary', { textContent: group.label }, details);
    for (const param of group.params) {
      const row = element('div', { className: 'param' }, details);
      row.dataset.label = param.label;
      element('label', { textContent: param.label }, row);
      const c = controlFor(param, row);
      const key = element('button', { type: 'button', className: 'key', textContent: '◆',
                                       title: 'Set a key at this frame (shift-click: remove the keys)' }, row);
      key.addEventListener('click', (e) => {
        const p = rows.get(param.label).param;
        if (e.shiftKey) send('/api/keys/clear', { label: param.label });
        else edit(param, c.get ? c.get() : p.value, true);
      });
      rows.set(param.label, { row, key, param, ...c });
    }
  }
}

function updateInspector() {
  for (const group of state.groups) {
    for (const param of group.params) {
      const r = rows.get(param.label);
      r.param = param;
      r.row.classList.toggle('disabled', !param.enabled);
      for (const input of r.inputs) {
        input.disabled = !param.enabled;
        if (document.activeElement !== input || input.type === 'range') r.set(param.value);
      }
      r.key.disabled = !param.enabled;
      r.key.classList.toggle('animated', param.keys.length > 0);
      r.key.classList.toggle('here', param.keys.includes(state.frame));
    }
  }
}

function show(s) {
  const first = state === null;
  state = s;
  if (first) {
    buildInspector();
    $('input').textContent = s.input;
    const time = $('time');
    time.max = s.frames.length - 1;
    $('timebar').hidden = s.frames.length < 2;
    time.addEventListener('input', () =>
      send('/api/frame', { frame: state.frames[Number(time.value)] }, 'frame'));
    if (s.savePath) {
      $('save').hidden = false;
      $('save').textContent = 'Save to ' + s.savePath;
    }
  }
  $('time').value = s.frames.indexOf(s.frame);
  $('frame-number').textContent = s.frame;
  canvas.dataset.version = s.version;
  updateInspector();
  loadFrame();
  if (!$('export').hidden) refreshExport();
}

// ---- Export.
async function refreshExport() {
  try {
    const e = await request('/api/export');
    $('export-command').textContent = e.command;
    $('export-ffmpeg').textContent = e.ffmpeg;
    $('export-preset').textContent = JSON.stringify(e.preset, null, 2);
  } catch (err) {
    message(err.message);
  }
}

$('export-button').addEventListener('click', () => {
  $('export').hidden = !$('export').hidden;
  if (!$('export').hidden) refreshExport();
});
$('save').addEventListener('click', async () => {
  try {
    const r = await request('/api/save', {});
    $('saved').textContent = 'saved ' + r.saved;
  } catch (err) {
    message(err.message);
  }
});

request('/api/state').then(show, (e) => message(e.message));
