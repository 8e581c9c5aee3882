// How long the owner's page takes to open a photo of 2 MB, in headless Chromium.
//
//   node bench/vault_page.mjs BUILD [TIMES]
//
// BUILD is a build folder of the preset "bench", whose brindle_seal_file seals the photo. "opened" is the module alone, from
// the item's bytes to the photo's; "shown" is the page, from the chosen file to the loaded picture, its digest and facts included.

import { execFileSync } from "node:child_process";
import { generateKeyPairSync } from "node:crypto";
import { copyFileSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

import { serve, startChromium } from "../tools/page_browser.mjs";

const [build, times = "50"] = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), "brindle-page-bench-"));
const inside = (name) => join(folder, name);
const { privateKey, publicKey } = generateKeyPairSync("ec", { namedCurve: "prime256v1" });
const { x, y } = publicKey.export({ format: "jwk" });
const point = Buffer.concat([Buffer.of(4), Buffer.from(x, "base64url"), Buffer.from(y, "base64url")]);
const pem = privateKey.export({ type: "pkcs8", format: "pem" });
// A picture of 640 by 480 with noise behind its end, which readers of JPEG ignore.
const frame = readFileSync(join(build, "sample_frames", "day-1.jpg"));
const photo = Buffer.concat([frame, Buffer.alloc(2_000_000 - frame.length, "noise")]);
writeFileSync(inside("photo"), photo);
writeFileSync(inside("key.pem"), pem);
const id = "photo-id=0a1b2c3d-4e5f-4071-8293-a4b5c6d7e8f9";
const order = [`photo=${inside("photo")}`, `blob=${inside("blob")}`, id, id.replace("photo", "event")];
const facts = ["kind=unlock", "takenAt=2026-11-14T20:56:32Z", "timeZone=UTC", `to=${point.toString("base64url")}`];
execFileSync(join(build, "tools", "brindle_seal_file"), [...order, ...facts]);

copyFileSync(inside("blob"), inside("copy"));

function figure(what, values) {
  const first = values[0].toFixed(1);
  const sorted = values.sort((a, b) => a - b);
  const at = (share) => sorted[Math.ceil(share * sorted.length) - 1].toFixed(1);
  console.log(`${what}: median ${at(0.5)} ms, p99 ${at(0.99)} ms of ${sorted.length}, the first ${first} ms`);
}

async function opened(page) {
  return page.evaluate(async ({ pem: text, rounds }) => {
    const { readKey, unseal } = await import("/unseal.js");
    const key = await readKey(text);
    const bytes = new Uint8Array(await document.getElementById("items").files[0].arrayBuffer());
    const took = [];
    for (let i = 0; i < rounds; ++i) {
      const begun = performance.now();
      await unseal(key, bytes);
      took.push(performance.now() - begun);
    }
    return took;
  }, { pem, rounds: Number(times) });
}

async function shown(page) {
  await page.evaluate(() => {
    globalThis.took = [];
    let begun = 0;
    document.addEventListener("change", () => (begun = performance.now()), true);
    document.addEventListener("load", () => took.push(performance.now() - begun), true);
  });
  for (let i = 1; i <= Number(times); ++i) {
    await page.setInputFiles("#items", inside(i % 2 ? "blob" : "copy"));  // the same file again is no choice
    await page.waitForFunction((count) => took.length === count, i);
  }
  return page.evaluate(() => took);
}

const server = await serve();
const chromium = await startChromium("build/playwright-core");
try {
  const page = await chromium.browser.newPage();
  await page.goto(server.address);
  await page.setInputFiles("#key", inside("key.pem"));
  await page.getByText("Key read").waitFor();
  figure("shown", await shown(page));
  figure("opened", await opened(page));
} finally {
  await chromium.close();
  await server.close();
  rmSync(folder, { recursive: true });
}
