// How long the owner's page takes to open a photo of 2 MB, in headless Chromium.
//
//   node bench/vault_page.mjs BUILD [TIMES]
//
// BUILD is a build folder of the preset "bench", whose brindle_seal_file seals the photo. "opened" is the module alone, from
// the item's bytes to the photo's; "shown" is the page, from the chosen file to the loaded picture, its digest and facts included.

import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

import { serve, startChromium } from "../tools/page_browser.mjs";
import { newKey, seal } from "../tools/sealing.mjs";

const [build, times = "50"] = process.argv.slice(2);
const folder = mkdtempSync(join(tmpdir(), "brindle-page-bench-"));
const key = newKey();
const keyFile = join(folder, "key.pem");
writeFileSync(keyFile, key.pem);
// A picture of 640 by 480 with noise behind its end, which readers of JPEG ignore.
const frame = readFileSync(join(build, "sample_frames", "day-1.jpg"));
const photo = Buffer.concat([frame, Buffer.alloc(2_000_000 - frame.length, "noise")]);
const place = { program: join(build, "tools", "brindle_seal_file"), folder };
const facts = { kind: "unlock", takenAt: "2026-11-14T20:56:32Z", timeZone: "UTC" };
// The same file again is no choice.
const items = [1, 2].map(() => seal(place, photo, [key], facts).file);

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
  }, { pem: key.pem, rounds: Number(times) });
}

async function shown(page) {
  await page.evaluate(() => {
    globalThis.took = [];
    let begun = 0;
    document.addEventListener("change", () => (begun = performance.now()), true);
    document.addEventListener("load", () => took.push(performance.now() - begun), true);
  });
  for (let i = 1; i <= Number(times); ++i) {
    await page.setInputFiles("#items", items[i % 2]);
    await page.waitForFunction((count) => took.length === count, i);
  }
  return page.evaluate(() => took);
}

const server = await serve();
const chromium = await startChromium("build/playwright-core");
try {
  const page = await chromium.browser.newPage();
  await page.goto(server.address);
  await page.setInputFiles("#key", keyFile);
  await page.getByText("Key read").waitFor();
  figure("shown", await shown(page));
  figure("opened", await opened(page));
} finally {
  await chromium.close();
  await server.close();
  rmSync(folder, { recursive: true });
}
