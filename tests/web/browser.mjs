// What the page tests share: the built site served on a free port and Debian's Chromium, headless,
// drawing WebGL 2 with SwiftShader. ORRERY_WEB_SITE names the site (default build-web/site),
// CHROMIUM the browser (default /usr/bin/chromium).
import { before, after } from 'node:test';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import puppeteer from 'puppeteer-core';
import { serve } from '../../web/serve.mjs';

export const root = join(dirname(fileURLToPath(import.meta.url)), '../..');
export const kScreen = { width: 390, height: 844 };  // the phone's screen in points
export const site = process.env.ORRERY_WEB_SITE ?? join(root, 'build-web/site');
const chromiumArgs = ['--headless=new', '--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader'];

/// Debian's Chromium, headless, drawing WebGL 2 with SwiftShader.
export const launchChromium = () =>
  puppeteer.launch({ executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium', args: chromiumArgs });

/// The served site and a browser for the tests of one file, started before them and ended after.
export function useBrowser() {
  const context = { browser: null, base: '' };
  let server;
  before(async () => {
    server = await serve(site, 0);
    context.base = `http://127.0.0.1:${server.address().port}/`;
    context.browser = await launchChromium();
  });
  after(async () => {
    await context.browser?.close();
    server?.close();
  });
  return context;
}
