// The owner's page as it ships, served on this machine, and a headless Chromium to open it with.
//
//   node tools/page_browser.mjs      serves it until it is ended, to be looked at in any browser

import { mkdtempSync, readFileSync, rmSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { dirname, extname, join, resolve, sep } from "node:path";
import { fileURLToPath } from "node:url";

const root = resolve(dirname(fileURLToPath(import.meta.url)), "..");
const types = { ".html": "text/html", ".js": "text/javascript", ".css": "text/css" };
types[".mjs"] = types[".js"];

/** Folders of the tree under the addresses they are wanted at. Answers its own address. */
export async function serve(folders = { "/": "vault_page" }) {
  const server = createServer((request, response) => {
    const path = request.url === "/" ? "/index.html" : request.url.split("?")[0];
    const at = Object.keys(folders).filter((prefix) => path.startsWith(prefix)).at(-1);
    const folder = resolve(root, folders[at]);
    const file = resolve(folder, path.slice(at.length));
    try {
      if (!file.startsWith(folder + sep)) throw new Error("outside");
      const content = readFileSync(file);
      response.writeHead(200, { "Content-Type": types[extname(file)] ?? "application/octet-stream" });
      response.end(content);
    } catch {
      response.writeHead(404).end();
    }
  });
  await new Promise((ready) => server.listen(0, "127.0.0.1", ready));
  const close = () => new Promise((done) => server.close(done));
  return { address: `http://127.0.0.1:${server.address().port}/`, close };
}

const quiet = ["--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking"];
quiet.push("--disable-component-update", "--disable-sync", "--disable-dev-shm-usage");

/** PLAYWRIGHT is the unpacked package. The browser's own files are gone when it is closed. */
export async function startChromium(playwright, executablePath = "/usr/bin/chromium") {
  const { chromium } = createRequire(import.meta.url)(resolve(playwright));
  const home = mkdtempSync(join(tmpdir(), "brindle-chromium-"));
  const env = { ...process.env, HOME: home, XDG_CONFIG_HOME: home, XDG_CACHE_HOME: home };
  // Chromium refuses to run as root inside its sandbox.
  const chromiumSandbox = process.getuid() !== 0;
  const args = [...quiet, `--disk-cache-dir=${home}`];
  const browser = await chromium.launch({ executablePath, chromiumSandbox, args, env });
  const close = async () => {
    await browser.close();
    rmSync(home, { recursive: true, force: true });
  };
  return { browser, close };
}

if (process.argv[1] === fileURLToPath(import.meta.url)) {
  console.log((await serve()).address);
}
