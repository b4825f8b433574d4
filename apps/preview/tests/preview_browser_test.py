#!/usr/bin/python3
"""The preview page in headless Chromium, driven with real pointer and key input.

Run by CTest: preview_browser_test.py MIRREL_BINARY FFMPEG ARTEFACT_DIR. Screenshots land in
ARTEFACT_DIR.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import threading
import unittest
import urllib.request
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.actions.action_builder import ActionBuilder
from selenium.webdriver.common.actions.mouse_button import MouseButton
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

MIRREL, FFMPEG, ARTEFACTS = sys.argv[1:4]
W, H = 320, 240
HANDLES = ['Baseline Start', 'Baseline End', 'Height and Slant', 'Translate']


class PreviewPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.dir = tempfile.mkdtemp(prefix='mirrel-browser-')
        src = os.path.join(cls.dir, 'in.png')
        subprocess.run([FFMPEG, '-v', 'error', '-f', 'lavfi', '-i', f'testsrc2=size={W}x{H}',
                        '-frames:v', '1', src], check=True)
        cls.saved = os.path.join(cls.dir, 'saved.json')
        cls.server = subprocess.Popen([MIRREL, 'preview', src, '--save', cls.saved],
                                      stdout=subprocess.PIPE, text=True)
        cls.addClassCleanup(shutil.rmtree, cls.dir)
        cls.addClassCleanup(cls.server.wait)
        cls.addClassCleanup(cls.server.terminate)
        cls.address = re.search(r'http://\S+/', cls.server.stdout.readline()).group(0)
        options = webdriver.ChromeOptions()
        for flag in ['--headless', '--no-sandbox', '--disable-gpu', '--disable-background-networking',
                     '--disable-component-update', '--disable-sync', '--no-first-run',
                     '--force-device-scale-factor=1', '--window-size=1600,1000',
                     '--user-data-dir=' + os.path.join(cls.dir, 'profile')]:
            options.add_argument(flag)
        options.binary_location = '/usr/bin/chromium'
        cls.browser = webdriver.Chrome(service=Service('/usr/bin/chromedriver'),
                                       options=options)
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.get(cls.address)
        cls.idle(cls)

    def idle(self):
        for _ in range(400):
            if self.browser.execute_script('return window.mirrelIdle && mirrelIdle()'):
                return
            time.sleep(0.05)
        raise AssertionError('the page did not settle')

    def get(self, path):
        with urllib.request.urlopen(self.address.rstrip('/') + path) as r:
            return r.read()

    def value(self, label):
        state = json.loads(self.get('/api/state'))
        return next(p['value'] for g in state['groups'] for p in g['params'] if p['label'] == label)

    def view(self):
        return self.browser.execute_script('return mirrelView()')

    def click(self, element_id):
        self.browser.find_element(By.ID, element_id).click()
        self.idle()

    def viewport(self, x, y):
        """A point of the frame (fractions) on the viewer, in whole CSS pixels."""
        v = self.view()
        return round(v['x'] + x * v['width']), round(v['y'] + y * v['height'])

    def drag(self, start, by, button=MouseButton.LEFT):
        """Presses at `start` (viewer pixels), moves by `by` in four steps, releases."""
        viewer = self.browser.find_element(By.ID, 'overlay')
        actions = ActionBuilder(self.browser)
        r = viewer.rect
        actions.pointer_action.move_to_location(r['x'] + start[0], r['y'] + start[1])
        actions.pointer_action.pointer_down(button)
        for step in range(1, 5):
            actions.pointer_action.move_to_location(r['x'] + start[0] + by[0] * step // 4,
                                                    r['y'] + start[1] + by[1] * step // 4)
        actions.pointer_action.pointer_up(button)
        actions.perform()
        self.idle()

    def centre_on(self, x, y):
        """Pans with the middle button so that frame point (x, y) comes to the viewer's middle."""
        sx, sy = self.viewport(x, y)
        size = self.browser.find_element(By.ID, 'overlay').size
        dx, dy = size['width'] // 2 - sx, size['height'] // 2 - sy
        self.drag((size['width'] // 2 - dx // 2, size['height'] // 2 - dy // 2), (dx, dy),
                  MouseButton.MIDDLE)

    def keys(self, key, modifier=None):
        chain = ActionChains(self.browser)
        if modifier:
            chain.key_down(modifier)
        chain.send_keys(key)
        if modifier:
            chain.key_up(modifier)
        chain.perform()
        self.idle()

    def undo(self):
        self.keys('z', Keys.CONTROL)

    def shot(self, name):
        self.browser.save_screenshot(os.path.join(ARTEFACTS, f'preview-{name}.png'))

    def pixel(self, canvas, x, y):
        return self.browser.execute_script(
            f'return [...document.getElementById("{canvas}").getContext("2d")'
            f'.getImageData({x}, {y}, 1, 1).data]')

    def test_a_page_on_another_origin_cannot_change_the_preview(self):
        class Elsewhere(BaseHTTPRequestHandler):  # another site the user happens to visit
            def do_GET(self):
                self.send_response(200)
                self.send_header('Content-Type', 'text/html')
                self.end_headers()
                self.wfile.write(b'<title>elsewhere</title>')

            def log_message(self, *args):
                pass

        other = ThreadingHTTPServer(('127.0.0.1', 0), Elsewhere)
        threading.Thread(target=other.serve_forever, daemon=True).start()
        self.addCleanup(other.server_close)
        self.addCleanup(other.shutdown)
        before = json.loads(self.get('/api/state'))['version']
        self.browser.get(f'http://127.0.0.1:{other.server_port}/')
        try:
            # What a page may send without asking (plain text), and JSON after a preflight.
            sent = self.browser.execute_async_script("""
                const done = arguments[arguments.length - 1], to = arguments[0] + 'api/';
                const body = '{"label": "Fade Length", "value": 60}';
                Promise.allSettled([
                  fetch(to + 'value', {method: 'POST', mode: 'no-cors', body}),
                  fetch(to + 'save', {method: 'POST', mode: 'no-cors', body: '{}'}),
                  fetch(to + 'value', {method: 'POST', body,
                                       headers: {'Content-Type': 'application/json'}}),
                ]).then(r => done(r.map(x => x.status)));""", self.address)
        finally:
            self.browser.get(self.address)
            self.idle()
        self.assertEqual(sent, ['fulfilled', 'fulfilled', 'rejected'])
        self.assertEqual(json.loads(self.get('/api/state'))['version'], before)
        self.assertFalse(os.path.exists(self.saved))

    def test_a_drag_moves_a_handle_by_the_same_frame_amount_at_fit_and_at_4x(self):
        for zoom in ['fit', '4x']:
            self.click('zoom-fit')
            if zoom == '4x':
                self.click('zoom-1')
                self.click('zoom-in')
                self.click('zoom-in')
                self.assertEqual(self.view()['zoom'], 4)
            for label in HANDLES:
                with self.subTest(zoom=zoom, handle=label):
                    before = self.value(label)
                    if zoom == '4x':
                        self.centre_on(*before)
                    v = self.view()
                    # 12 frame pixels right, 8 up, in whole screen pixels.
                    by = (round(12 * v['width'] / W), round(-8 * v['height'] / H))
                    self.drag(self.viewport(*before), by)
                    after = self.value(label)
                    self.shot(f'drag-{zoom}')
                    moved = ((after[0] - before[0]) * W, (after[1] - before[1]) * H)
                    # Off by at most the rounding of the move to screen pixels.
                    self.assertAlmostEqual(moved[0], 12, delta=W / v['width'] / 2 + 1e-9)
                    self.assertAlmostEqual(moved[1], -8, delta=H / v['height'] / 2 + 1e-9)
                    # Arrow keys move the handle just grabbed by a frame pixel, ten with Shift.
                    self.keys(Keys.ARROW_RIGHT)
                    self.keys(Keys.ARROW_UP, Keys.SHIFT)
                    nudged = self.value(label)
                    self.assertAlmostEqual((nudged[0] - after[0]) * W, 1, places=9)
                    self.assertAlmostEqual((nudged[1] - after[1]) * H, -10, places=9)
                    for _ in range(3):
                        self.undo()
                    self.assertEqual(self.value(label), before)
                    if label == 'Translate':  # hit areas have one size on screen: 12 px misses
                        x, y = self.viewport(*before)
                        self.drag((x + 12, y), (20, 0))
                        self.assertEqual(self.value(label), before)
                        self.undo()

    def test_a_point_goes_beyond_the_frame_and_back_and_undo_restores_value_and_frame(self):
        self.click('zoom-fit')
        frame = self.get('/api/frame.png?layer=result')
        start = self.value('Height and Slant')  # on the bottom edge, half outside the frame
        v = self.view()
        self.drag(self.viewport(*start), (0, round(20 * v['height'] / H)))
        below = self.value('Height and Slant')
        self.assertGreater(below[1], 1.05)
        x, y = self.viewport(*below)
        self.shot('beyond-the-frame')
        r, g, b, a = self.pixel('overlay', x, y)
        self.assertTrue(r > 200 and g > 200 and b < 80 and a == 255, 'the handle shows in the room')
        self.drag((x, y), (0, -round(40 * v['height'] / H)))  # grabbed out there, and back in
        self.assertLess(self.value('Height and Slant')[1], 1)
        self.undo()
        self.assertEqual(self.value('Height and Slant'), below)
        self.undo()
        self.assertEqual(self.value('Height and Slant'), start)
        self.assertEqual(self.get('/api/frame.png?layer=result'), frame)
        ActionChains(self.browser).key_down(Keys.CONTROL).key_down(Keys.SHIFT).send_keys('z') \
            .key_up(Keys.SHIFT).key_up(Keys.CONTROL).perform()
        self.idle()
        self.assertEqual(self.value('Height and Slant'), below)
        self.undo()

    def test_fields_round_but_the_exact_value_is_kept_and_exported(self):
        self.click('zoom-fit')
        v = self.view()
        self.drag(self.viewport(0.75, 0.75), (7, 5))  # fractions of unround size
        exact = self.value('Baseline End')
        fields = self.browser.find_elements(By.CSS_SELECTOR, '.param[data-label="Baseline End"] input')
        self.assertTrue(all(len(f.get_attribute('value').split('.')[-1]) <= 4 for f in fields))
        before = json.loads(self.get('/api/export'))
        fields[1].click()  # a visit to a field that changes nothing
        self.keys(Keys.TAB)
        self.assertEqual(json.loads(self.get('/api/export')), before)
        fields[0].clear()
        fields[0].send_keys('0.5', Keys.ENTER)
        self.idle()
        self.assertEqual(self.value('Baseline End'), [0.5, exact[1]])
        preset = json.loads(self.get('/api/export'))['preset']
        self.assertEqual(preset['Baseline End'], [0.5, exact[1]])
        self.click('export-button')
        for host in ['ffmpeg', 'melt', 'gst', 'kdenlive', 'shotcut', 'command']:
            self.assertTrue(self.browser.find_element(By.ID, 'export-' + host).text)
        self.shot('export')
        self.click('export-button')
        self.undo()
        self.undo()

    def test_the_before_after_toggle_shows_the_source_pixels(self):
        self.click('zoom-1')
        x, y = self.viewport(0, 0)
        compare = '''
            const [x, y, done] = arguments;
            fetch('/api/frame.png?layer=source').then(r => r.blob()).then(createImageBitmap)
              .then(img => {
                const c = new OffscreenCanvas(img.width, img.height), ctx = c.getContext('2d');
                ctx.drawImage(img, 0, 0);
                const want = ctx.getImageData(0, 0, img.width, img.height).data;
                const got = document.getElementById('canvas').getContext('2d')
                  .getImageData(x, y, img.width, img.height).data;
                let differ = 0;
                for (let i = 0; i < want.length; ++i) differ += want[i] !== got[i];
                done(differ);
              });'''
        differing = {}
        for mode in ['result', 'source', 'wireframe']:
            self.browser.find_element(By.CSS_SELECTOR, f'#mode option[value={mode}]').click()
            self.idle()
            self.shot('mode-' + mode)
            differing[mode] = self.browser.execute_async_script(compare, x, y)
        self.assertEqual(differing['source'], 0)
        self.assertGreater(differing['result'], 1000)
        self.assertGreater(differing['wireframe'], 1000)
        self.browser.find_element(By.CSS_SELECTOR, '#mode option[value=result]').click()
        self.idle()


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
