'use strict';
// The host's canvas and inspector. Every edit goes to the server, which answers the new state;
// the page only shows that state, the frame rendered for it and the on-screen controls, which
// the server draws at the size the frame has on screen.

const $ = (id) => document.getElementById(id);
const viewer = $('viewer');
const canvas = $('canvas');   // the frame, zoomed and panned
const overlay = $('overlay'); // the on-screen controls, one screen pixel a pixel
let state = null;
const rows = new Map(); // label -> {row, inputs, key, param}

// ---- Requests. Every request to the server goes through api(), with the token the server put
// into this page: it takes changes only with it.
const token = document.querySelector('meta[name="mirrel-token"]')?.content ?? '';

function api(path, init = {}) {
  return fetch(path, { ...init, headers: { ...init.headers, 'X-Mirrel-Token': token } });
}

async function request(path, body) {
  const init = body === undefined ? {} : {
    method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) };
  const res = await api(path, init);
  const data = await res.json();
  if (!res.ok) throw new Error(data.error || res.statusText);
  return data;
}

// One at a time, in order; a newer move or edit of the same thing replaces a waiting one, so
// that a fast drag never piles up behind the renders.
const queue = [];
let busy = false;

function send(path, body, coalesce) {
  const last = queue[queue.length - 1];
  if (coalesce && last && last.coalesce === coalesce) last.body = body;
  else queue.push({ path, body, coalesce });
  pump();
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

// ---- Pictures: the latest asked for wins; one load at a time for each layer.
function layer(onload) {
  const l = { wanted: null, loading: false, shown: null, image: null };
  l.load = (url) => {
    l.wanted = url;
    if (l.loading || url === l.shown) return;
    l.loading = true;
    api(url).then((r) => (r.ok ? r.blob() : Promise.reject(new Error(r.statusText))))
      .then(createImageBitmap)
      .then((image) => { l.image = image; l.shown = url; onload(); }, () => {})
      .finally(() => {
        l.loading = false;
        if (l.wanted !== l.shown) l.load(l.wanted);
      });
  };
  return l;
}
const picture = layer(drawFrame);
const controls = layer(drawControls);

// ---- The view: the frame at `zoom` screen pixels a frame pixel, its corner at (x, y) of the
// viewer. Fit leaves room around the frame for points beyond it.
const view = { zoom: 1, x: 0, y: 0, fitted: true };
const kRoom = 0.12;

// The frame's place on screen in whole pixels, as the controls are drawn and hit.
function placed() {
  return { x: Math.round(view.x), y: Math.round(view.y),
           width: Math.max(1, Math.round(state.width * view.zoom)),
           height: Math.max(1, Math.round(state.height * view.zoom)) };
}

function fit() {
  const w = viewer.clientWidth, h = viewer.clientHeight;
  const zoom = Math.min(w / (state.width * (1 + 2 * kRoom)), h / (state.height * (1 + 2 * kRoom)));
  setZoom(zoom, w / 2, h / 2, true);
}

// Zooms about a point of the viewer, which stays where it is.
function setZoom(zoom, px, py, fitted) {
  zoom = Math.min(64, Math.max(1 / 64, zoom));
  if (fitted) {
    view.x = px - state.width * zoom / 2;
    view.y = py - state.height * zoom / 2;
  } else {
    view.x = px - (px - view.x) * zoom / view.zoom;
    view.y = py - (py - view.y) * zoom / view.zoom;
  }
  view.zoom = zoom;
  view.fitted = !!fitted;
  refreshView();
}

function refreshView() {
  const w = viewer.clientWidth, h = viewer.clientHeight;
  for (const c of [canvas, overlay])
    if (c.width !== w || c.height !== h) { c.width = w; c.height = h; }
  $('zoom-level').textContent = Math.round(view.zoom * 1000) / 10 + '%';
  drawFrame();
  loadPictures();
}

function loadPictures() {
  const mode = $('mode').value;
  const v = state.version;
  if (mode !== 'wireframe')
    picture.load(`/api/frame.png?layer=${mode}&proxy=${state.dragging && mode === 'result' ? 1 : 0}&v=${v}`);
  const p = placed();
  controls.load(`/api/frame.png?layer=controls&cw=${overlay.width}&ch=${overlay.height}` +
                `&width=${p.width}&height=${p.height}&x=${p.x}&y=${p.y}&v=${v}`);
}

let checker = null;
function drawFrame() {
  const ctx = canvas.getContext('2d');
  ctx.clearRect(0, 0, canvas.width, canvas.height);
  if (!state) return;
  const p = placed();
  if (!checker) {
    const tile = new OffscreenCanvas(16, 16), t = tile.getContext('2d');
    t.fillStyle = '#555'; t.fillRect(0, 0, 16, 16);
    t.fillStyle = '#777'; t.fillRect(0, 0, 8, 8); t.fillRect(8, 8, 8, 8);
    checker = ctx.createPattern(tile, 'repeat');
  }
  const mode = $('mode').value;
  ctx.fillStyle = mode === 'wireframe' ? '#000' : checker;
  ctx.fillRect(p.x, p.y, p.width, p.height);
  if (mode !== 'wireframe' && picture.image && picture.shown.includes(`layer=${mode}&`)) {
    // Pixels stay square when zoomed in; a reduced frame is filtered.
    ctx.imageSmoothingEnabled = view.zoom < 1 || picture.image.width !== state.width;
    ctx.drawImage(picture.image, p.x, p.y, p.width, p.height);
  }
  ctx.strokeStyle = '#888';
  ctx.strokeRect(p.x - 0.5, p.y - 0.5, p.width + 1, p.height + 1);
  canvas.dataset.shown = picture.shown || '';
}

function drawControls() {
  const ctx = overlay.getContext('2d');
  ctx.clearRect(0, 0, overlay.width, overlay.height);
  if (controls.image.width === overlay.width) ctx.drawImage(controls.image, 0, 0);
  overlay.dataset.shown = controls.shown;
}

// For tests and for the eye: the frame's place and whether everything asked for is shown.
window.mirrelView = () => ({ ...placed(), zoom: view.zoom });
window.mirrelIdle = () => state !== null && controls.shown !== null && !exporting && !busy && !queue.length && !picture.loading && !controls.loading &&
  controls.shown === controls.wanted && ($('mode').value === 'wireframe' || picture.shown === picture.wanted);

// ---- The canvas: a press goes to the effect's on-screen controls on the server, in fractions
// of the frame, with the frame's size on screen, in which the controls' hit areas are measured.
// The middle button, or Space held, pans instead.
let pointer = null, panFrom = null, spaceHeld = false;

function position(e) {
  const r = overlay.getBoundingClientRect(), p = placed();
  return { x: (e.clientX - r.left - p.x) / p.width, y: (e.clientY - r.top - p.y) / p.height, p };
}

overlay.addEventListener('pointerdown', (e) => {
  if (pointer !== null) return;
  viewer.focus();
  if (e.button === 1 || (e.button === 0 && spaceHeld)) {
    panFrom = { x: e.clientX - view.x, y: e.clientY - view.y };
  } else if (e.button !== 0) {
    return;
  } else {
    const at = position(e);
    send('/api/mouse', { type: 'down', x: at.x, y: at.y, width: at.p.width, height: at.p.height });
  }
  pointer = e.pointerId;
  overlay.setPointerCapture(e.pointerId);
  e.preventDefault();
});
overlay.addEventListener('pointermove', (e) => {
  if (e.pointerId !== pointer) return;
  if (panFrom) {
    view.x = e.clientX - panFrom.x;
    view.y = e.clientY - panFrom.y;
    view.fitted = false;
    refreshView();
    return;
  }
  const at = position(e);
  send('/api/mouse', { type: 'drag', x: at.x, y: at.y }, 'drag');
});
function release(e) {
  if (e.pointerId !== pointer) return;
  pointer = null;
  if (panFrom) { panFrom = null; return; }
  const at = position(e);
  send('/api/mouse', { type: 'up', x: at.x, y: at.y });
}
overlay.addEventListener('pointerup', release);
overlay.addEventListener('pointercancel', release);
overlay.addEventListener('wheel', (e) => {
  e.preventDefault();
  const r = overlay.getBoundingClientRect();
  setZoom(view.zoom * Math.pow(2, -e.deltaY / 500), e.clientX - r.left, e.clientY - r.top);
}, { passive: false });

function zoomStep(factor) {
  setZoom(view.zoom * factor, viewer.clientWidth / 2, viewer.clientHeight / 2);
}
$('zoom-in').addEventListener('click', () => zoomStep(2));
$('zoom-out').addEventListener('click', () => zoomStep(0.5));
$('zoom-fit').addEventListener('click', fit);
$('zoom-1').addEventListener('click', () => setZoom(1, viewer.clientWidth / 2, viewer.clientHeight / 2));
$('mode').addEventListener('change', refreshView);
window.addEventListener('resize', () => (view.fitted ? fit() : refreshView()));

// ---- Keys: undo and redo anywhere but in a text field; arrows nudge the last handle pressed.
const kArrows = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
function typing(e) {
  return e.target.matches && e.target.matches('input[type=number], input[type=text], textarea');
}
document.addEventListener('keydown', (e) => {
  if ((e.ctrlKey || e.metaKey) && (e.key === 'z' || e.key === 'Z' || e.key === 'y')) {
    if (typing(e)) return;
    e.preventDefault();
    send(e.shiftKey || e.key === 'y' ? '/api/redo' : '/api/undo', {});
  } else if (kArrows[e.key] && !typing(e) && !e.target.matches('input, select')) {
    e.preventDefault();
    const [dx, dy] = kArrows[e.key], n = e.shiftKey ? 10 : 1;
    send('/api/nudge', { dx: dx * n, dy: dy * n });
  } else if (e.key === ' ' && !typing(e) && !e.target.matches('input, select, button')) {
    spaceHeld = true;
    overlay.classList.add('panning');
    e.preventDefault();
  }
});
document.addEventListener('keyup', (e) => {
  if (e.key === ' ') { spaceHeld = false; overlay.classList.remove('panning'); }
});
$('undo').addEventListener('click', () => send('/api/undo', {}));
$('redo').addEventListener('click', () => send('/api/redo', {}));

// ---- The inspector, built once from the catalogue, then kept to the state. Fields show values
// rounded to what they mean; the exact value stays in the state and is what an edit of another
// field sends along.
function element(tag, props, parent) {
  const el = Object.assign(document.createElement(tag), props || {});
  if (parent) parent.appendChild(el);
  return el;
}

const hex = (c) => '#' + c.map((v) => Math.round(v * 255).toString(16).padStart(2, '0')).join('');
const unhex = (h) => [1, 3, 5].map((i) => parseInt(h.substr(i, 2), 16) / 255);

function decimals(param) {
  if (param.kind === 'point') return 4;
  if (param.kind === 'angle') return 2;
  if (param.step === 1) return 0;
  return param.sliderMax - param.sliderMin <= 20 ? 3 : 2;
}
const rounded = (v, d) => Number(v.toFixed(d));

function edit(param, value, options) {
  const body = { label: param.label, value, ...options };
  send('/api/value', body, options && options.key ? undefined : 'value:' + param.label);
}

function numberPair(param, row, control) {
  const range = element('input', { type: 'range', min: param.sliderMin, max: param.sliderMax,
                                   step: param.step || 'any' }, control);
  const d = decimals(param);
  const field = element('input', { type: 'number', min: param.min, max: param.max,
                                   step: param.step || Math.pow(10, -d) }, control);
  range.addEventListener('input', () => edit(param, Number(range.value), { merge: true }));
  field.addEventListener('change', () => {
    if (field.value !== '') edit(param, Number(field.value));
  });
  return { inputs: [range, field], set: (v) => { range.value = v; field.value = rounded(v, d); } };
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
      pick.addEventListener('input', () => edit(param, unhex(pick.value), { merge: true }));
      return { inputs: [pick], set: (v) => { pick.value = hex(v); },
               get: () => rows.get(param.label).param.value };
    }
    case 'point': {
      const xy = [0, 1].map(() => element('input', { type: 'number', step: 0.0001 }, control));
      // The coordinate typed, the other exactly as it is.
      const value = (typed) => xy.map((f, i) =>
        (f === typed ? Number(f.value) : rows.get(param.label).param.value[i]));
      xy.forEach((f) => f.addEventListener('change', () => {
        if (f.value !== '') edit(param, value(f));
      }));
      return { inputs: xy, set: (v) => xy.forEach((f, i) => { f.value = rounded(v[i], 4); }) };
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
        else edit(param, p.value, { key: true });
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
    fit();
  }
  $('time').value = s.frames.indexOf(s.frame);
  $('frame-number').textContent = s.frame;
  $('undo').disabled = !s.canUndo;
  $('redo').disabled = !s.canRedo;
  canvas.dataset.version = s.version;
  updateInspector();
  refreshView();
  if (!$('export').hidden) refreshExport();
}

// ---- Export: the strings `mirrel export` prints, each with a copy button.
async function copy(text, button) {
  try {
    await navigator.clipboard.writeText(text);
  } catch (e) { // without the clipboard's permission: a selection and the old command
    const area = element('textarea', { value: text }, document.body);
    area.select();
    document.execCommand('copy');
    area.remove();
  }
  button.textContent = 'Copied';
  setTimeout(() => { button.textContent = 'Copy'; }, 1500);
}

function block(parent, title, text, body) {
  const h = element('h3', { textContent: title }, parent);
  if (text !== null) {
    const b = element('button', { type: 'button', textContent: 'Copy' }, h);
    b.addEventListener('click', () => copy(text, b));
  }
  parent.appendChild(body);
  return body;
}

function pre(text, id) {
  return element('pre', { textContent: text, id });
}

function table(list) {
  const t = element('table');
  for (const v of list) {
    const tr = element('tr', {}, t);
    element('td', { textContent: v.label }, tr);
    element('td', { className: 'value', textContent: v.text + v.unit }, tr);
  }
  return t;
}

let exporting = 0;
async function refreshExport() {
  ++exporting;
  try {
    const e = await request('/api/export'), h = e.hosts;
    const blocks = $('export-blocks');
    blocks.replaceChildren();
    block(blocks, 'Command line', e.command, pre(e.command, 'export-command'));
    block(blocks, 'ffmpeg filter (values at this frame)', h.ffmpeg, pre(h.ffmpeg, 'export-ffmpeg'));
    block(blocks, 'melt filter (keys kept)', h.melt, pre(h.melt, 'export-melt'));
    if (h.gst) block(blocks, 'GStreamer element (values at this frame)', h.gst, pre(h.gst, 'export-gst'));
    else block(blocks, 'GStreamer element', null, element('p', { className: 'error', textContent: h.gstError }));
    const lines = (list) => list.map((v) => `${v.label}: ${v.text}${v.unit}`).join('\n');
    block(blocks, 'Kdenlive: values to type (at this frame)', lines(h.kdenlive), table(h.kdenlive)).id = 'export-kdenlive';
    block(blocks, 'Shotcut: frei0r properties (at this frame)', lines(h.shotcut), table(h.shotcut)).id = 'export-shotcut';
    const preset = JSON.stringify(e.preset, null, 2);
    block(blocks, 'Preset', preset, pre(preset, 'export-preset'));
  } catch (err) {
    message(err.message);
  } finally {
    --exporting;
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
