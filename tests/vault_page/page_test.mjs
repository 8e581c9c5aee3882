// The page as it ships, in headless Chromium, used by keyboard: page_test.mjs SEAL_FILE PLAYWRIGHT FRAMES SCREENSHOTS
import assert from "node:assert/strict";
import { createHash } from "node:crypto";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import test, { after, before } from "node:test";

import { serve, startChromium } from "../../tools/page_browser.mjs";
import { allFacts as facts, newKey, seal } from "../../tools/sealing.mjs";

const [program, playwright, frames, screenshots] = process.argv.slice(2);
const place = { program, folder: mkdtempSync(join(tmpdir(), "brindle-page-")) };
process.on("exit", () => rmSync(place.folder, { recursive: true }));
const keys = [newKey(), newKey(), newKey()];
const keyFile = join(place.folder, "vault.pem");
writeFileSync(keyFile, keys[1].pem);
const frame = readFileSync(join(frames, "day-1.jpg"));

let server, chromium, page;
const complaints = [];
before(async () => {
  server = await serve({ "/": "vault_page" });
  chromium = await startChromium(playwright);
  page = await chromium.browser.newPage({ viewport: { width: 900, height: 1100 } });
  page.on("console", (message) => complaints.push(message.text()));
  page.on("pageerror", (error) => complaints.push(String(error)));
  page.on("filechooser", () => {});  // from here on they are caught: waiting for one does not make sure of it in time
  await page.addInitScript(() => {
    [globalThis.liveUrls, globalThis.madeTypes] = [new Set(), []];
    const [make, giveBack] = [URL.createObjectURL, URL.revokeObjectURL];
    URL.createObjectURL = (blob) => [make.call(URL, blob)].map((url) => (madeTypes.push(blob.type), liveUrls.add(url), url))[0];
    URL.revokeObjectURL = (url) => (liveUrls.delete(url), giveBack.call(URL, url));
  });
  await page.goto(server.address);
});
after(async () => {
  await chromium?.close();
  await server?.close();
});

async function choose(id, files) {
  for (let i = 0; i < 20 && (await page.evaluate(() => document.activeElement.id)) !== id; ++i) await page.keyboard.press("Tab");
  const [chooser] = await Promise.all([page.waitForEvent("filechooser"), page.keyboard.press("Enter")]);
  await chooser.setFiles(files);
}
const said = (id, text) => page.waitForFunction(([at, what]) => document.getElementById(at).textContent === what, [id, text]);

test("a key file and sealed items are opened by keyboard, and everything is given back", async () => {
  const photo = seal(place, frame, keys, facts);
  const plain = { takenAt: "2026-11-13T07:00:00Z", index: 0, kind: "unlock", wrongPINs: 0, device: "ThinkPad", timeZone: "Nowhere/X" };
  const early = seal(place, frame, [keys[1]], plain);
  const markup = seal(place, "<script>alert(1)</script>", [keys[1]], { ...plain, index: 1, mime: "text/html", kind: "constructor" });
  const others = seal(place, frame, [keys[0]], plain);
  const damaged = join(place.folder, "damaged.blob");
  writeFileSync(damaged, early.bytes.slice(0, -1));
  assert.equal(await page.getByLabel("Sealed photos and clips").getAttribute("id"), "items");
  await choose("items", [photo, markup, early, others].map(({ file }) => file).concat(damaged, keyFile));
  await said("items-said", "6 sealed items chosen. Choose your key file to open them.");
  await choose("key", damaged);
  await said("key-said", "This is not a key file that can be used here.");
  await choose("key", keyFile);
  await said("key-said", `Key read: ${photo.kids[1]}`);
  await said("items-said", "3 opened. 3 could not be opened, see below.");

  const items = await page.locator("#shown > li").evaluateAll((all) => all.map((item) => [...item.querySelectorAll("h2, p, dd")].map((each) => each.textContent)));
  const refused = items.slice(0, 3).map(([, why]) => why).sort();
  assert.deepEqual(refused.map((why) => why.slice(0, 26)), ["This is not a sealed photo", "This was changed or damage", "This was sealed for other "]);
  assert.deepEqual(items.slice(3).map(([kind]) => kind), ["Unlocked", "constructor", "Watched file opened"]);
  assert.equal(items[4][1], "This cannot be shown here. You can save it.");
  const sha256 = createHash("sha256").update(frame).digest("hex");
  assert.deepEqual(items[5].slice(2), [facts.target, "2", `${facts.deviceName} (ThinkPad)`, facts.place, "52.5163, -13.37771", "2", photo.eventId, photo.photoId, sha256]);
  assert.match(items[5][1], /^Saturday, November 14, 2026.* 9:56:32\s?PM GMT\+1$/);
  const pictures = page.getByRole("img", { name: /^Photo: / });
  await page.waitForFunction(() => liveUrls.size === 0);
  assert.deepEqual(await pictures.evaluateAll((all) => all.map((each) => each.naturalWidth)), [640, 640]);
  assert.deepEqual(await page.evaluate(() => madeTypes), ["image/jpeg", "image/jpeg"]);
  mkdirSync(screenshots, { recursive: true });
  await page.screenshot({ path: join(screenshots, "vault_page.png"), fullPage: true });

  await page.getByRole("button", { name: /^Save: Watched file opened, Saturday/ }).focus();
  const [saved] = await Promise.all([page.waitForEvent("download"), page.keyboard.press("Enter")]);
  assert.equal(saved.suggestedFilename(), `${photo.photoId}.jpg`);
  assert.deepEqual(readFileSync(await saved.path()), frame);
  await page.getByRole("button", { name: "Close everything" }).press("Enter");
  assert.equal(await page.locator("#shown > li").count(), 0);
  assert.equal(await page.evaluate(() => liveUrls.size + localStorage.length + document.cookie.length), 0);
  assert.deepEqual(complaints, []);
});

test("the page's own rules keep scripts and requests out", async () => {
  const tried = await page.evaluate(async (address) => [
    await fetch(address).then(() => "fetched", () => "refused"),
    await new Promise((settled) => {
      const picture = document.createElement("img");
      [picture.onload, picture.onerror] = [() => settled("shown"), () => settled("refused")];
      picture.src = `${address}style.css`;
    }),
    (() => { try { document.body.innerHTML = "<p>"; return "written"; } catch { return "refused"; } })(),
  ], server.address);
  assert.deepEqual(tried, ["refused", "refused", "refused"]);
});
