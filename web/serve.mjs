// A static file server for the page: `node web/serve.mjs [FOLDER] [PORT]` serves FOLDER
// (default build-web/site) on http://localhost:PORT (default 8000). The page needs nothing more, but
// WebAssembly is compiled while it downloads only when served as application/wasm.
import { createServer } from 'node:http';
import { createReadStream, statSync } from 'node:fs';
import { extname, join, normalize, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const types = {
  '.html': 'text/html; charset=utf-8', '.js': 'text/javascript', '.mjs': 'text/javascript',
  '.wasm': 'application/wasm', '.data': 'application/octet-stream', '.png': 'image/png',
  '.jpg': 'image/jpeg', '.json': 'application/json', '.css': 'text/css',
};

/// Serves `folder` on `port` (0: any free one); resolves to the listening server.
export function serve(folder, port = 8000, host = '127.0.0.1') {
  const root = resolve(folder);
  const server = createServer((request, response) => {
    const path = decodeURIComponent(new URL(request.url, 'http://localhost').pathname);
    let file = normalize(join(root, path));
    if (!file.startsWith(root)) return response.writeHead(403).end();
    try {
      if (statSync(file).isDirectory()) file = join(file, 'index.html');
      const size = statSync(file).size;
      response.writeHead(200, { 'Content-Type': types[extname(file)] ?? 'application/octet-stream',
                                'Content-Length': size, 'Cache-Control': 'no-cache' });
      createReadStream(file).pipe(response);
    } catch {
      response.writeHead(404).end('not found');
    }
  });
  return new Promise((done, fail) => server.once('error', fail).listen(port, host, () => done(server)));
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  const folder = process.argv[2] ?? 'build-web/site';
  const port = Number(process.argv[3] ?? 8000);
  const server = await serve(folder, port);
  console.log(`serving ${resolve(folder)} on http://localhost:${server.address().port}/ (Ctrl+C stops)`);
}
