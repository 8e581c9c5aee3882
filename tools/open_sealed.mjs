// Opens sealed items with the module of the owner's page, in Node or, with a browser, in Chromium.
//
//   node tools/open_sealed.mjs [--chromium=PLAYWRIGHT] KEY.pem BLOB…
//
// A JSON line an item: photoId, eventId, sha256 of the photo and meta, or problem. Ends with 1 when
// any did not open. PLAYWRIGHT is the unpacked package playwright-core.

import { createHash, webcrypto } from "node:crypto";
import { readFileSync } from "node:fs";

import { serve, startChromium } from "./page_browser.mjs";

globalThis.crypto ??= webcrypto;

/** Runs in Node and, as it stands, in a page: only what it is handed. */
async function openAll({ address, pem, blobs }) {
  const { readKey, unseal } = await import(address);
  const key = await readKey(pem);
  const open = async (blob) => {
    try {
      const bytes = Uint8Array.from(atob(blob), (character) => character.charCodeAt(0));
      const { photo, ...item } = await unseal(key, bytes);
      const pieces = [];
      for (let i = 0; i < photo.length; i += 4096) {
        pieces.push(String.fromCharCode(...photo.subarray(i, i + 4096)));
      }
      return { ...item, photo: btoa(pieces.join("")) };
    } catch (error) {
      return { problem: error.kind ?? String(error) };
    }
  };
  return Promise.all(blobs.map(open));
}

async function inChromium(playwright, handed) {
  const server = await serve();
  const chromium = await startChromium(playwright);
  try {
    const page = await chromium.browser.newPage();
    await page.goto(server.address);
    return await page.evaluate(openAll, { ...handed, address: `${server.address}unseal.js` });
  } finally {
    await chromium.close();
    await server.close();
  }
}

const [playwright] = process.argv.slice(2).filter((argument) => argument.startsWith("--chromium="));
const [keyFile, ...files] = process.argv.slice(2).filter((argument) => argument !== playwright);
const pem = readFileSync(keyFile, "utf8");
const blobs = files.map((file) => readFileSync(file).toString("base64"));
const address = new URL("../vault_page/unseal.js", import.meta.url).href;
const opened = playwright
  ? await inChromium(playwright.split("=")[1], { pem, blobs })
  : await openAll({ address, pem, blobs });
for (const { photo, ...item } of opened) {
  const digest = () => createHash("sha256").update(Buffer.from(photo, "base64")).digest("hex");
  console.log(JSON.stringify(photo === undefined ? item : { ...item, sha256: digest() }));
}
process.exitCode = opened.some((item) => item.problem) ? 1 : 0;
