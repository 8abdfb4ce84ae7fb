// The page in headless Chromium (Debian's, through puppeteer-core; SwiftShader draws WebGL 2):
// it starts, real touch events reach the app as taps and pinches, and its canvas shows what the
// native renderer's golden image shows.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { kScreen, root, useBrowser } from './browser.mjs';

const context = useBrowser();
/// How far a picture may lie from its golden image: the native golden tests' own bounds.
const kTolerance = JSON.parse(readFileSync(join(root, 'tests/render/golden/tolerance.json'), 'utf8'));

/// A page at `viewport` CSS pixels, ready (first frame drawn), with its errors collected.
async function openPage(viewport, query = '') {
  const page = await context.browser.newPage();
  const errors = [];
  page.on('pageerror', (error) => errors.push(error.message));
  page.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
  await page.setViewport(viewport);
  await page.goto(context.base + query);
  await page.waitForFunction('window.orreryReady === true', { timeout: 20000 });
  return { page, errors };
}

const dump = (page) => page.evaluate(() => JSON.parse(Module.UTF8ToString(Module._orrery_dump())));
const run = (page, line) => page.evaluate((l) => Module.ccall('orrery_run', 'number', ['string'], [l]), line);
const locate = async (page, name) => {
  const at = await page.evaluate((n) => Module.UTF8ToString(Module.ccall('orrery_locate', 'number', ['string'], [n])), name);
  assert.ok(at, `${name} is on the screen`);
  return at.split(',').map(Number);
};
/// The scenario lines the page's input ran.
const history = async (page) =>
  (await page.evaluate(() => Module.UTF8ToString(Module._orrery_history()))).trim().split('\n');
const findNode = (node, name) => node.name === name ? node : (node.children ?? []).map((c) => findNode(c, name)).find(Boolean);
const sleep = (ms) => new Promise((done) => setTimeout(done, ms));

test('a touch on the Solar System button selects the overview and puts the Sun\'s facts on the label', async () => {
  // The screen alone, one CSS pixel a point: touch coordinates are screen points.
  const { page, errors } = await openPage(kScreen, '?panel=0');
  assert.equal((await dump(page)).selectedBody, 3);
  assert.equal(await run(page, 'camera 0 0 0 0.6 -1.0'), 0);  // looking down at the buttons
  const [x, y] = await locate(page, 'SolarSystemButton');
  const touch = await page.createCDPSession();
  await touch.send('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: [{ x, y, id: 1 }] });
  await touch.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
  // The tap's end waits for a possible second tap (0.35 s), then reaches the app.
  await page.waitForFunction(() => JSON.parse(Module.UTF8ToString(Module._orrery_dump())).selectedBody !== 3,
                             { timeout: 5000 });
  const state = await dump(page);
  assert.equal(state.selectedBody, 0);
  assert.equal(state.isTextShown, true);
  const label = findNode(state.scene, 'planetData');
  assert.match(label.geometry.string, /^Sun \nEquatorial diameter: /);
  assert.deepEqual(errors, []);
  await page.close();
});

test('with the panel beside it, a mouse click lands where the screen shows the button', async () => {
  // 1000 x 600: the panel takes 400 pixels at the right, the screen is letterboxed left of it.
  const { page, errors } = await openPage({ width: 1000, height: 600 });
  assert.equal(await run(page, 'camera 0 0 0 0.6 -1.0'), 0);
  const [px, py] = await locate(page, 'SolarSystemButton');
  const scale = 600 / kScreen.height, left = (600 - kScreen.width * scale) / 2;
  await page.mouse.click(left + px * scale, py * scale);
  await page.waitForFunction(() => JSON.parse(Module.UTF8ToString(Module._orrery_dump())).selectedBody === 0,
                             { timeout: 5000 });
  // A click on the panel is the panel's: the app sees no touch.
  const touches = async () => (await history(page)).filter((line) => line.startsWith('touch ')).length;
  const before = await touches();
  await page.mouse.click(800, 300);
  await sleep(600);
  assert.equal(await touches(), before);
  assert.deepEqual(errors, []);
  await page.close();
});

test('the Help button opens the guide in a new tab', async () => {
  const { page, errors } = await openPage(kScreen, '?panel=0');
  assert.equal(await run(page, 'camera 0 0 0 0.6 -1.0'), 0);
  const [x, y] = await locate(page, 'HelpButton');
  const touch = await page.createCDPSession();
  const opened = context.browser.waitForTarget((target) => target.opener() === page.target(), { timeout: 5000 });
  await touch.send('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: [{ x, y, id: 1 }] });
  await touch.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
  const tab = await opened;
  const { openedURLs } = await dump(page);
  assert.equal(openedURLs.length, 1);
  assert.match(openedURLs[0].url, /\/guide\.html$/);
  assert.equal(tab.url(), openedURLs[0].url);
  assert.deepEqual(errors, []);
  await page.close();
});

test('a browser without WebGL 2 is told so in words', async () => {
  const page = await context.browser.newPage();
  await page.evaluateOnNewDocument(() => {
    const getContext = HTMLCanvasElement.prototype.getContext;
    HTMLCanvasElement.prototype.getContext = function (kind, ...rest) {
      return kind === 'webgl2' ? null : getContext.call(this, kind, ...rest);
    };
  });
  await page.goto(context.base);
  const status = await page.$eval('#status', (element) => element.textContent);
  assert.match(status, /no WebGL 2/);
  assert.equal(await page.evaluate(() => typeof Module._orrery_dump), 'undefined');  // the app never loaded
  await page.close();
});

test('two fingers landing one after the other and spreading apart pinch the Earth larger', async () => {
  const { page, errors } = await openPage(kScreen, '?panel=0');
  const before = findNode((await dump(page)).scene, 'Earth').scale[0];
  const [x, y] = await locate(page, 'Earth');
  const touch = await page.createCDPSession();
  const fingers = (spread) => [{ x: x - spread, y, id: 1 }, { x: x + spread, y, id: 2 }];
  await touch.send('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: [fingers(30)[0]] });
  await sleep(50);
  await touch.send('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: fingers(30) });
  for (let spread = 35; spread <= 60; spread += 5) {
    await sleep(30);
    await touch.send('Input.dispatchTouchEvent', { type: 'touchMove', touchPoints: fingers(spread) });
  }
  await touch.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [fingers(60)[0]] });
  await touch.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
  await sleep(100);
  // What the recognisers saw: one pinch about the Earth, from 60 to 120 points apart.
  const gesture = (await history(page)).filter((line) => !line.startsWith('frame') && !line.startsWith('camera'));
  assert.match(gesture[0], /^pinch began /);
  assert.match(gesture.at(-2), /^pinch changed /);
  assert.equal(gesture.at(-1), `pinch ended ${x},${y} 2`);
  assert.ok(gesture.slice(1, -1).every((line) => line.startsWith('pinch changed ')), gesture.join(' | '));
  const after = findNode((await dump(page)).scene, 'Earth').scale[0];
  assert.ok(after > before, `scale ${before} became ${after}`);
  assert.deepEqual(errors, []);
  await page.close();
});

/// Mean absolute channel difference and share of pixels off by more than the tolerance in a channel, as
/// the native golden image test measures them.
async function compare(page, actualPng, expectedPng) {
  return page.evaluate(async (a, b, channelOff) => {
    const pixels = async (base64) => {
      const bitmap = await createImageBitmap(new Blob([Uint8Array.from(atob(base64), (c) => c.charCodeAt(0))]));
      const canvas = new OffscreenCanvas(bitmap.width, bitmap.height);
      const context = canvas.getContext('2d');
      context.drawImage(bitmap, 0, 0);
      return { width: bitmap.width, height: bitmap.height, data: context.getImageData(0, 0, bitmap.width, bitmap.height).data };
    };
    const [x, y] = [await pixels(a), await pixels(b)];
    if (x.width !== y.width || x.height !== y.height) return { size: [x.width, x.height, y.width, y.height] };
    let sum = 0, off = 0;
    for (let i = 0; i < x.data.length; i += 4) {
      let worst = 0;
      for (let c = 0; c < 3; ++c) {
        const d = Math.abs(x.data[i + c] - y.data[i + c]);
        sum += d;
        worst = Math.max(worst, d);
      }
      off += worst > channelOff;
    }
    return { mean: sum / (x.data.length / 4 * 3), share: off / (x.data.length / 4) };
  }, actualPng, expectedPng, kTolerance.channelOff);
}

test('the canvas shows the start scene as the native golden image does', async () => {
  const golden = readFileSync(join(root, 'tests/render/golden/start.png'));
  const width = golden.readUInt32BE(16), height = golden.readUInt32BE(20);
  // The clock stands still, so the first frame is the start scene the golden image was drawn from.
  const { page, errors } = await openPage({ width, height }, '?paused&panel=0');
  await page.evaluate(() => document.getElementById('panel-toggle').classList.add('hidden'));
  const shot = await page.screenshot({ encoding: 'base64', clip: { x: 0, y: 0, width, height } });
  const difference = await compare(page, shot, golden.toString('base64'));
  console.log(`canvas against the golden image: ${JSON.stringify(difference)}`);
  const within = (d) => d.mean <= kTolerance.meanAbsolute && d.share <= kTolerance.differentShare;
  assert.ok(within(difference), JSON.stringify(difference));
  // The measure tells scenes apart: the picture is far from the golden image of another view.
  const other = await compare(page, shot, readFileSync(join(root, 'tests/render/golden/buttons.png')).toString('base64'));
  assert.ok(!within(other), JSON.stringify(other));
  assert.deepEqual(errors, []);
  await page.close();
});
