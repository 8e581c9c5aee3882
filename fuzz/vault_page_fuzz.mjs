// Mutated items, facts and key files for the page's module: it may open what was not changed, or throw its own error, at once.
//
//   node fuzz/vault_page_fuzz.mjs SECONDS [SEED]
import assert from "node:assert/strict";
import { randomInt, webcrypto } from "node:crypto";

import { newKey } from "../tools/sealing.mjs";
import { UnsealError, readItem, readKey, unseal } from "../vault_page/unseal.js";

globalThis.crypto ??= webcrypto;
const seconds = Number(process.argv[2]);
const seed = Number(process.argv[3] ?? randomInt(2 ** 31));

let state = seed;
function below(limit) {  // mulberry32
  state = (state + 0x6d2b79f5) | 0;
  let mixed = Math.imul(state ^ (state >>> 15), 1 | state);
  mixed = (mixed + Math.imul(mixed ^ (mixed >>> 7), 61 | mixed)) ^ mixed;
  return ((mixed ^ (mixed >>> 14)) >>> 0) % limit;
}
const oneOf = (list) => list[below(list.length)];
const base64url = (bytes) => Buffer.from(bytes).toString("base64url");
const { subtle } = crypto;
const gcm = (iv, what) => ({ name: "AES-GCM", iv, additionalData: Buffer.from(what) });

const { pem } = newKey();
const keys = await Promise.all([pem, newKey().pem].map(readKey));
const photoId = "0a1b2c3d-4e5f-4071-8293-a4b5c6d7e8f9";
const photo = Buffer.alloc(1200, "a photo ");
const facts = { takenAt: "2026-11-14T20:56:32Z", index: 0, kind: "unlock", wrongPINs: 0, device: "x", timeZone: "UTC", lat: 1.5, lon: -2, place: "Ω" };

/** Only here: an item whose facts may be any bytes. The guard's own code seals what the tests open. */
async function seal(meta, epkOf = (epk) => epk) {
  const content = await subtle.generateKey({ name: "AES-GCM", length: 256 }, true, ["encrypt"]);
  const iv = Buffer.alloc(12, 1);
  const recipients = [];
  for (const { publicKey, kid } of keys) {
    const curve = { name: "ECDH", namedCurve: "P-256" };
    const pair = await subtle.generateKey(curve, true, ["deriveBits"]);
    const epk = epkOf(Buffer.from(await subtle.exportKey("raw", pair.publicKey)));
    const peer = await subtle.importKey("raw", publicKey, curve, false, []);
    const shared = await subtle.importKey("raw", await subtle.deriveBits({ name: "ECDH", public: peer }, pair.privateKey, 256), "HKDF", false, ["deriveKey"]);
    const hkdf = { name: "HKDF", hash: "SHA-256", salt: Buffer.concat([epk, publicKey]), info: Buffer.from("brindle/wrap/v1") };
    const wrap = await subtle.deriveKey(hkdf, shared, { name: "AES-GCM", length: 256 }, false, ["wrapKey"]);
    const ct = await subtle.wrapKey("raw", content, wrap, gcm(iv, `brindle/wrap/v1/${photoId}`));
    recipients.push({ kid, epk: base64url(epk), iv: base64url(iv), ct: base64url(ct) });
  }
  const ct = base64url(await subtle.encrypt(gcm(iv, `brindle/meta/v1/${photoId}`), content, meta));
  const header = Buffer.from(JSON.stringify({ v: 1, photoId, eventId: photoId, iv: base64url(iv), meta: { iv: base64url(iv), ct }, recipients }));
  return blobOf(header, Buffer.from(await subtle.encrypt(gcm(iv, `brindle/photo/v1/${photoId}`), content, photo)));
}

function blobOf(header, content) {
  const size = Buffer.alloc(4);
  size.writeUInt32BE(header.length);
  return Buffer.concat([size, header, content]);
}

const pieces = ['"', '",', "{", "}", "[", "]", "},{", "[[[[[[[[", ":", "\\u0000", "\0", "\uFEFF", "A", "_", "=", "1e999", "null", "true", "-0", '"__proto__":', '"v":', "-----END PRIVATE KEY-----", "\n"];
function mutated(bytes) {
  for (let times = 1 + below(2) * below(4); times > 0; --times) {
    const [a, b] = [below(bytes.length + 1), below(bytes.length + 1)].sort((x, y) => x - y);
    const flipped = Buffer.from(bytes);
    if (a < bytes.length) flipped[a] ^= 1 << below(8);
    bytes = oneOf([() => flipped, () => flipped, () => bytes.subarray(0, b), () => Buffer.concat([bytes.subarray(0, a), bytes.subarray(b)]),
      () => Buffer.concat([bytes.subarray(0, b), bytes.subarray(a)]), () => Buffer.concat([bytes.subarray(0, a), Buffer.from(oneOf(pieces).repeat(1 + below(3))), bytes.subarray(a)])])();
  }
  return bytes;
}

const good = await seal(Buffer.from(JSON.stringify(facts)));
const length = good.readUInt32BE();
const cases = {
  item: async () => unseal(oneOf(keys), mutated(good)),
  header: async () => unseal(oneOf(keys), blobOf(mutated(good.subarray(4, 4 + length)), good.subarray(4 + length))),
  stranger: async () => unseal({ ...keys[0], kid: "AAAAAAAAAAAAAAAA" }, mutated(good)),
  list: async () => { readItem(mutated(good)); throw new UnsealError("listed", ""); },
  facts: async () => unseal(keys[0], await seal(below(20) ? mutated(Buffer.from(JSON.stringify(facts))) : Buffer.from("[".repeat(1e5)))),
  point: async () => unseal(keys[0], await seal(Buffer.from(JSON.stringify(facts)), (epk) => Buffer.concat([Buffer.of(6 + below(2)), epk.subarray(1)]))),
  key: async () => { await readKey(mutated(Buffer.from(pem)).toString("latin1")); throw new UnsealError("read", ""); },
};
const seen = {};
const end = Date.now() + 1000 * seconds;
let round = 0;
for (; Date.now() < end; ++round) {
  const name = oneOf(Object.keys(cases));
  const begun = Date.now();
  const where = `seed ${seed}, round ${round}, ${name}`;
  let kind = "opened";
  try {
    const opened = await cases[name]();
    assert.deepEqual(Buffer.from(opened.photo), photo, where);
    if (name !== "facts") assert.deepEqual(opened.meta, facts, where);
    for (const [fact, value] of Object.entries(opened.meta)) assert.equal(typeof value, ["index", "wrongPINs", "lat", "lon"].includes(fact) ? "number" : "string", where);
  } catch (error) {
    if (!(error instanceof UnsealError)) throw new Error(where, { cause: error });
    kind = error.kind;
  }
  assert.ok(Date.now() - begun < 5000, `${where}: took long`);
  seen[`${name} ${kind}`] = (seen[`${name} ${kind}`] ?? 0) + 1;
}
console.log(`vault_page: seed ${seed}, ${JSON.stringify(seen)}`);
const wanted = ["item not-sealed", "item damaged", "header not-sealed", "stranger not-for-this-key", "list listed", "facts opened", "facts damaged", "point damaged", "key not-a-key"];
assert.deepEqual(round < 1000 ? [] : wanted.filter((each) => !(each in seen)), []);
