// The page's budgets, measured in headless Chromium (Debian's, SwiftShader): what a visitor
// downloads (raw and gzip), the time from navigation to the first drawn frame, and the frame rate
// at the phone's size and in a desktop window with the panel. Speeds are medians of several runs,
// printed with the load average, since this machine is shared; the download is exact.
//   node benchmarks/web/page.mjs [--runs N]      (after bash scripts/web-build.sh)
// ORRERY_WEB_SITE and CHROMIUM as for the page's tests.
import { readdirSync, readFileSync, statSync } from 'node:fs';
import { loadavg } from 'node:os';
import { join } from 'node:path';
import { gzipSync } from 'node:zlib';
import { launchChromium, kScreen, site } from '../../tests/web/browser.mjs';
import { serve } from '../../web/serve.mjs';

const kDownloadBudget = 4 * 1024 * 1024;  // bytes of gzip for everything the page loads
const kReadyBudget = 2.0;                  // seconds from navigation to the first frame
const runs = Number(process.argv[process.argv.indexOf('--runs') + 1]) || 5;
const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];
const load = () => loadavg().map((v) => v.toFixed(2)).join(' ');
const sleep = (ms) => new Promise((done) => setTimeout(done, ms));

// What the page loads: index.html, then orrery.js, which brings the wasm and the data.
let raw = 0, gzip = 0;
for (const name of ['index.html', 'orrery.js', 'orrery.wasm', 'orrery.data']) {
  const bytes = readFileSync(join(site, name));
  const packed = gzipSync(bytes, { level: 9 }).length;
  raw += bytes.length, gzip += packed;
  console.log(`${name.padEnd(12)} ${(bytes.length / 1024).toFixed(0).padStart(6)} KB raw ${(packed / 1024).toFixed(0).padStart(6)} KB gzip`);
}
console.log(`${'page'.padEnd(12)} ${(raw / 1024).toFixed(0).padStart(6)} KB raw ${(gzip / 1024).toFixed(0).padStart(6)} KB gzip ` +
            `(budget ${kDownloadBudget / 1024} KB: ${gzip <= kDownloadBudget ? 'within' : 'OVER'})`);
const others = readdirSync(site).filter((n) => statSync(join(site, n)).isFile() && !/^(index\.html|orrery\.(js|wasm|data))$/.test(n));
console.log(`not loaded by the page: ${others.join(', ') || 'nothing'}`);

const server = await serve(site, 0);
const base = `http://127.0.0.1:${server.address().port}/`;
const browser = await launchChromium();
try {
  const ready = [], phoneRate = [], desktopRate = [];
  for (let i = 0; i < runs; ++i) {
    // A new context each run: nothing cached.
    const context = await browser.createBrowserContext();
    const page = await context.newPage();
    await page.setViewport(kScreen);
    const started = performance.now();
    await page.goto(base + '?panel=0');
    await page.waitForFunction('window.orreryReady === true', { polling: 5, timeout: 30000 });
    ready.push((performance.now() - started) / 1000);
    await sleep(2500);  // the rate counts the last whole second
    phoneRate.push(await page.evaluate(() => Module._orrery_frame_rate()));
    await page.setViewport({ width: 1280, height: 720 });
    await page.evaluate(() => Module._orrery_show_panel(1));
    await sleep(2500);
    desktopRate.push(await page.evaluate(() => Module._orrery_frame_rate()));
    await context.close();
  }
  console.log(`ready (median of ${runs}): ${median(ready).toFixed(2)} s (runs ${ready.map((v) => v.toFixed(2)).join(' ')}; ` +
              `budget ${kReadyBudget} s: ${median(ready) <= kReadyBudget ? 'within' : 'OVER'})`);
  console.log(`frames a second, 390x844 without the panel: ${median(phoneRate).toFixed(1)} (runs ${phoneRate.map((v) => v.toFixed(1)).join(' ')})`);
  console.log(`frames a second, 1280x720 with the panel: ${median(desktopRate).toFixed(1)} (runs ${desktopRate.map((v) => v.toFixed(1)).join(' ')})`);
  console.log(`load average: ${load()}`);
} finally {
  await browser.close();
  server.close();
}
