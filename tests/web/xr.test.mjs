// The page in an immersive-ar WebXR session, in headless Chromium with iwer (npm) standing in
// for a phone with world tracking: a hand-held device with one view, hit tests and anchors, in a
// synthetic room made of the surfaces the in-memory AR session uses (the page exports them).
// A tap on the floor puts a copy of the selected body on a new anchor where the room says, as
// the same tap does in the simulator; the buttons and gestures still work. Without WebXR's
// immersive-ar the page offers no AR button.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { kScreen, useBrowser } from './browser.mjs';

const iwer = readFileSync(createRequire(import.meta.url).resolve('iwer/build/iwer.js'), 'utf8');
const kFieldOfView = Math.PI / 3;  // vertical, as the simulated camera's
const context = useBrowser();

/// Where a ray (origin o, direction d) meets the room's surfaces, nearest first. Runs in the page
/// (the synthetic environment) and here alike.
function roomHits(surfaces, o, d) {
  const hits = [];
  for (const s of surfaces) {
    if (d[1] === 0) continue;
    const t = (s.height - o[1]) / d[1];
    if (!(t > 0)) continue;
    const x = o[0] + t * d[0], z = o[2] + t * d[2];
    if (x < s.minX || x > s.maxX || z < s.minZ || z > s.maxZ) continue;
    hits.push({ t, at: [x, s.height, z] });
  }
  return hits.sort((a, b) => a.t - b.t).map((h) => h.at);
}

/// Runs before the page's own script: iwer's phone, in the room the page's wasm describes.
function installPhone(fieldOfView, roomHitsSource) {
  const roomHits = new Function(`return ${roomHitsSource}`)();
  const device = new IWER.XRDevice({
    name: 'Hand-held phone', controllerConfig: undefined,
    supportedSessionModes: ['inline', 'immersive-ar'],
    supportedFeatures: ['viewer', 'local', 'anchors', 'hit-test'],
    supportedFrameRates: [60], isSystemKeyboardSupported: false, internalNominalFrameRate: 60,
    environmentBlendModes: { 'immersive-ar': 'alpha-blend' }, interactionMode: 'screen-space',
    userAgent: navigator.userAgent,
  }, { stereoEnabled: false, fovy: fieldOfView });
  // The room's surfaces are heights below where tracking starts: the phone's place now.
  const start = [...device.position.vec3];
  class Room {
    constructor() { this.environmentCanvas = document.createElement('canvas'); }
    render() {}
    computeHitTestResults(ray) {
      if (!Module._orrery_room) return [];
      const { surfaces } = JSON.parse(Module.UTF8ToString(Module._orrery_room()));
      const origin = [ray[12] - start[0], ray[13] - start[1], ray[14] - start[2]];
      const direction = [-ray[8], -ray[9], -ray[10]];
      return roomHits(surfaces, origin, direction).map(([x, y, z]) =>
        new Float32Array([1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x + start[0], y + start[1], z + start[2], 1]));
    }
  }
  device.installSEM(Room);
  device.installRuntime({ forceInstall: true });
  window.phone = device;
  window.room = new Room();
  // Hit-test sources asked along a ray (counted; iwer answers them).
  window.offsetRayRequests = 0;
  const requestHitTestSource = XRSession.prototype.requestHitTestSource;
  XRSession.prototype.requestHitTestSource = function (options) {
    ++window.offsetRayRequests;
    return requestHitTestSource.call(this, options);
  };
  // Anchors the page asks the session for (recorded; iwer makes and tracks them).
  window.sessionAnchors = [];
  const createAnchor = XRFrame.prototype.createAnchor;
  XRFrame.prototype.createAnchor = function (pose, space) {
    window.sessionAnchors.push([pose.position.x, pose.position.y, pose.position.z]);
    return createAnchor.call(this, pose, space);
  };
}

/// A FAKE of the one WebXR call iwer lacks, hit tests of screen touches
/// (requestHitTestSourceForTransientInput and the frame's results for it): while a finger is on
/// the glass, each frame answers what the ray from the phone through it meets in the room, as a
/// phone's browser does. Runs in the page after installPhone.
function fakeTransientInputHitTests(fieldOfView) {
  let finger = null;
  addEventListener('touchstart', (e) => { finger = [e.touches[0].clientX, e.touches[0].clientY]; }, { capture: true });
  addEventListener('touchend', () => { finger = null; }, { capture: true });
  window.transientAnswers = 0;
  const start = [...window.phone.position.vec3];
  XRSession.prototype.requestHitTestSourceForTransientInput = async (options) => {
    if (options.profile !== 'generic-touchscreen') throw new DOMException('no such profile', 'NotSupportedError');
    return { cancel() {} };
  };
  XRFrame.prototype.getHitTestResultsForTransientInput = () => {
    if (!finger) return [];
    // The ray through the finger in the phone's space, turned and moved by its pose.
    const f = (innerHeight / 2) / Math.tan(fieldOfView / 2);
    const v = [(finger[0] - innerWidth / 2) / f, -(finger[1] - innerHeight / 2) / f, -1];
    const [qx, qy, qz, qw] = window.phone.quaternion.quat;
    const t = [2 * (qy * v[2] - qz * v[1]), 2 * (qz * v[0] - qx * v[2]), 2 * (qx * v[1] - qy * v[0])];
    const d = [v[0] + qw * t[0] + (qy * t[2] - qz * t[1]), v[1] + qw * t[1] + (qz * t[0] - qx * t[2]),
               v[2] + qw * t[2] + (qx * t[1] - qy * t[0])];
    const o = window.phone.position.vec3;
    const ray = [1, 0, 0, 0, 0, 1, 0, 0, -d[0], -d[1], -d[2], 0, o[0], o[1], o[2], 1];
    const results = window.room.computeHitTestResults(ray).map((m) => ({
      getPose: () => ({ transform: { matrix: [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0,
                                             m[12] - start[0], m[13] - start[1], m[14] - start[2], 1] } }),
    }));
    ++window.transientAnswers;
    return [{ inputSource: null, results }];
  };
}

async function openPage({ phone, transientHits = false }) {
  const page = await context.browser.newPage();
  const errors = [];
  page.on('pageerror', (error) => errors.push(error.message));
  page.on('console', (message) => { if (message.type() === 'error') errors.push(message.text()); });
  await page.setViewport(kScreen);
  if (phone) {
    await page.evaluateOnNewDocument(iwer);
    await page.evaluateOnNewDocument(installPhone, kFieldOfView, roomHits.toString());
    if (transientHits) await page.evaluateOnNewDocument(fakeTransientInputHitTests, kFieldOfView);
  }
  await page.goto(context.base + '?panel=0');
  await page.waitForFunction('window.orreryReady === true && window.orreryXrChecked === true', { timeout: 20000 });
  return { page, errors };
}

const dump = (page) => page.evaluate(() => JSON.parse(Module.UTF8ToString(Module._orrery_dump())));
const run = (page, line) => page.evaluate((l) => Module.ccall('orrery_run', 'number', ['string'], [l]), line);
const locate = (page, name) =>
  page.evaluate((n) => Module.UTF8ToString(Module.ccall('orrery_locate', 'number', ['string'], [n])), name);
const history = async (page) =>
  (await page.evaluate(() => Module.UTF8ToString(Module._orrery_history()))).trim().split('\n');
const walk = (node, visit, parent = null) => { visit(node, parent); (node.children ?? []).forEach((c) => walk(c, visit, node)); };
const sleep = (ms) => new Promise((done) => setTimeout(done, ms));
const translation = (m) => [m[12], m[13], m[14]];  // the dump's matrices: 16 numbers, column-major
const distance = (a, b) => Math.hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);

/// Turns iwer's phone: yaw about y, then pitch about the turned x axis (the simulator's angles).
const aim = (page, yaw, pitch) => page.evaluate((y, p) => {
  const qy = [0, Math.sin(y / 2), 0, Math.cos(y / 2)], qx = [Math.sin(p / 2), 0, 0, Math.cos(p / 2)];
  const [ax, ay, az, aw] = qy, [bx, by, bz, bw] = qx;  // qy * qx
  window.phone.quaternion.set(aw * bx + ax * bw + ay * bz - az * by, aw * by - ax * bz + ay * bw + az * bx,
                              aw * bz + ax * by - ay * bx + az * bw, aw * bw - ax * bx - ay * by - az * bz);
}, yaw, pitch);

/// A finger down at (x, y) and up again: after `holdMs`, or with `untilSeen` as soon as an XR
/// frame has answered its own hit test (a fixed wait may see no frame on a loaded machine, or
/// become a long press).
async function tap(page, x, y, { holdMs = 0, untilSeen = false } = {}) {
  const touch = await page.createCDPSession();
  const answered = await page.evaluate(() => window.transientAnswers ?? 0);
  await touch.send('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: [{ x, y, id: 1 }] });
  if (untilSeen) await page.waitForFunction((n) => window.transientAnswers > n, { polling: 10, timeout: 5000 }, answered);
  if (holdMs) await sleep(holdMs);
  await touch.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
}

/// Waits for `condition` in the page; on a timeout, says what the session ran last.
async function waitInSession(page, condition, what) {
  try {
    await page.waitForFunction(condition, { timeout: 10000 });
  } catch (error) {
    const lines = (await page.evaluate(() => Module.UTF8ToString(Module._orrery_history()))).trim().split('\n');
    throw new Error(`${what}: ${error.message}; the session ran last: ${lines.slice(-8).join(' | ')}`);
  }
}

/// The ray of the simulated camera at (yaw, pitch) from the origin through screen point (x, y).
function cameraRay(yaw, pitch, x, y) {
  const f = (kScreen.height / 2) / Math.tan(kFieldOfView / 2);
  const v = [(x - kScreen.width / 2) / f, -(y - kScreen.height / 2) / f, -1];
  const cp = Math.cos(pitch), sp = Math.sin(pitch), cy = Math.cos(yaw), sy = Math.sin(yaw);
  const r = [v[0], cp * v[1] - sp * v[2], sp * v[1] + cp * v[2]];  // pitch about x
  return [cy * r[0] + sy * r[2], r[1], -sy * r[0] + cy * r[2]];    // then yaw about y
}

const kYaw = 0.6, kPitch = -1.0;  // looking down at the buttons and the floor beside them
const kFloorTap = [330, 720];      // a spot of the floor beside the buttons

// Both ways a browser finds what a touch hits: a hit-test source along the touch's ray (iwer
// offers it), or the touch's own (Chrome on a phone; faked here), for which the finger stays
// until a frame has seen it.
const kHitWays = [
  { way: 'a hit-test source along its ray', transientHits: false },
  { way: 'the hit test of the touch itself', transientHits: true },
];

for (const { way, transientHits } of kHitWays)
test(`a tap on the floor in an AR session, found by ${way}, hangs a copy of the Earth on an anchor where the room says, as the simulator does`, async () => {
  const { page, errors } = await openPage({ phone: true, transientHits });
  assert.equal(await page.$eval('#ar-button', (b) => b.classList.contains('hidden')), false, 'the AR button shows');
  await page.click('#ar-button');
  await page.waitForFunction(() => !document.getElementById('xr-overlay').classList.contains('hidden'), { timeout: 10000 });
  await aim(page, kYaw, kPitch);
  // The viewer's pose reaches the app as its camera.
  await page.waitForFunction((yaw, pitch) => Module.UTF8ToString(Module._orrery_history()).split('\n')
    .some((line) => { const w = line.split(' '); return w[0] === 'camera' && Math.abs(w[4] - yaw) < 1e-3 && Math.abs(w[5] - pitch) < 1e-3; }),
  { timeout: 5000 }, kYaw, kPitch);

  const before = await dump(page);
  assert.equal(before.anchors.length, 0);
  await tap(page, ...kFloorTap, { untilSeen: transientHits });
  await waitInSession(page, () => JSON.parse(Module.UTF8ToString(Module._orrery_dump())).anchors.length === 1,
                      'an anchor from the floor tap');
  await sleep(100);
  const asked = await page.evaluate(() => ({ rays: window.offsetRayRequests, touches: window.transientAnswers ?? 0,
                                             entities: Module.orreryXrHitEntities }));
  assert.equal(asked.rays, transientHits ? 0 : 1, 'hit-test sources asked along a ray');
  assert.equal(asked.touches > 0, transientHits, 'hit tests of the touch answered');
  assert.equal(asked.entities, 'point,plane', 'feature points asked for first');
  const state = await dump(page);
  const anchor = translation(state.anchors[0].transform);
  const { surfaces } = await page.evaluate(() => JSON.parse(Module.UTF8ToString(Module._orrery_room())));
  const [expected] = roomHits(surfaces, [0, 0, 0], cameraRay(kYaw, kPitch, ...kFloorTap));
  assert.equal(expected[1], surfaces[0].height, 'the tap is meant for the floor');
  assert.ok(distance(anchor, expected) < 0.01, `anchor at ${anchor}, the room says ${expected}`);
  const sessionAnchors = await page.evaluate(() => window.sessionAnchors);
  assert.equal(sessionAnchors.length, 1, 'the session was asked for one anchor');
  assert.ok(distance(sessionAnchors[0], expected) < 0.01, `the session's anchor at ${sessionAnchors[0]}`);
  // The copy: the selected body (the Earth) half a metre above the anchor's node, half size.
  const copies = [];
  walk(state.scene, (node, parent) => { if (node.name === 'Earth' && parent && parent !== state.scene && parent.name == null) copies.push({ node, parent }); });
  assert.equal(copies.length, 1, 'one copy of the Earth under an unnamed anchor node');
  assert.ok(distance(copies[0].parent.position, anchor) < 0.01, `anchor node at ${copies[0].parent.position}`);
  assert.deepEqual(copies[0].node.position, [0, 0.5, 0]);
  assert.deepEqual(copies[0].node.scale, [0.5, 0.5, 0.5]);

  // The same tap in the simulator, from the camera line the session ran.
  const cameraLine = (await history(page)).filter((line) => line.startsWith('camera ')).at(-1);
  const sim = await openPage({ phone: false });
  assert.equal(await run(sim.page, cameraLine), 0);
  assert.equal(await run(sim.page, `touch ${kFloorTap[0]},${kFloorTap[1]}`), 0);
  assert.equal(await run(sim.page, 'frame 2'), 0);
  const simulated = await dump(sim.page);
  assert.equal(simulated.anchors.length, 1);
  const simulatedAt = translation(simulated.anchors[0].transform);
  console.log(`anchor: session ${anchor.map((v) => v.toFixed(4))}, simulator ${simulatedAt.map((v) => v.toFixed(4))}, room ${expected.map((v) => v.toFixed(4))}`);
  assert.ok(distance(anchor, simulatedAt) < 0.01, `session ${anchor}, simulator ${simulatedAt}`);
  assert.deepEqual(sim.errors, []);
  await sim.page.close();
  assert.deepEqual(errors, []);
  await page.close();
});

test('in an AR session the Solar System button lays out the overview and a long press removes a body', async () => {
  const { page, errors } = await openPage({ phone: true });
  await page.click('#ar-button');
  await page.waitForFunction(() => !document.getElementById('xr-overlay').classList.contains('hidden'), { timeout: 10000 });
  await aim(page, kYaw, kPitch);
  await page.waitForFunction(() => Module.UTF8ToString(Module._orrery_history()).includes('\ncamera 0 0 0 0.6 '),
                             { timeout: 5000 });
  const [bx, by] = (await locate(page, 'SolarSystemButton')).split(',').map(Number);
  await tap(page, bx, by);
  await page.waitForFunction(() => JSON.parse(Module.UTF8ToString(Module._orrery_dump())).selectedBody === 0, { timeout: 5000 });
  const overview = await dump(page);
  const attached = new Set();
  walk(overview.scene, (node) => attached.add(node.name));
  for (const body of ['Sun', 'Mercury', 'Venus', 'Earth', 'Mars', 'Jupiter', 'Saturn', 'Neptune', 'Eris'])
    assert.ok(attached.has(body), `${body} is laid out`);
  assert.equal(overview.anchors.length, 0, 'a button places nothing');

  // A body on the screen, held for 0.8 s: gone from the scene.
  await aim(page, 0, -0.3);
  await sleep(200);
  let target;
  for (const name of ['Sun', 'Jupiter', 'Saturn', 'Earth', 'Venus', 'Mars', 'Uranus', 'Neptune']) {
    const at = await locate(page, name);
    if (at) { target = { name, at: at.split(',').map(Number) }; break; }
  }
  assert.ok(target, 'some body of the overview is on the screen');
  await tap(page, target.at[0], target.at[1], { holdMs: 800 });
  await page.waitForFunction((n) => {
    let found = false;
    const walk = (node) => { if (node.name === n) found = true; (node.children ?? []).forEach(walk); };
    walk(JSON.parse(Module.UTF8ToString(Module._orrery_dump())).scene);
    return !found;
  }, { timeout: 5000 }, target.name);
  assert.ok((await history(page)).some((line) => line.startsWith('longpress began')), 'a long press it was');
  assert.equal((await dump(page)).anchors.length, 0, 'the lift after the press places nothing');
  assert.deepEqual(errors, []);
  await page.close();
});

test('without WebXR immersive-ar the page shows no AR button and draws as before', async () => {
  const { page, errors } = await openPage({ phone: false });
  assert.equal(await page.$eval('#ar-button', (b) => b.classList.contains('hidden')), true);
  const frames = await page.evaluate(() => Module._orrery_frame_rate());
  await sleep(1200);
  assert.ok((await page.evaluate(() => Module._orrery_frame_rate())) > 0 || frames > 0, 'frames are drawn');
  assert.deepEqual(errors, []);
  await page.close();
});
