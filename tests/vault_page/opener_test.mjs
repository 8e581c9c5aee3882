// The page's module in Node: opener_test.mjs SEAL_FILE
import assert from "node:assert/strict";
import { generateKeyPairSync, webcrypto } from "node:crypto";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import test from "node:test";

import { UnsealError, readItem, readKey, unseal } from "../../vault_page/unseal.js";
import { allFacts as facts, newKey, seal } from "../../tools/sealing.mjs";

globalThis.crypto ??= webcrypto;
const place = { program: process.argv[2], folder: mkdtempSync(join(tmpdir(), "brindle-page-")) };
process.on("exit", () => rmSync(place.folder, { recursive: true }));

const fails = (kind) => (error) => error instanceof UnsealError && error.kind === kind;
const keys = [newKey(), newKey(), newKey()];
const photo = Buffer.alloc(2832, "a photo, nearly ");
const item = seal(place, photo, keys, facts);

test("what the guard seals is opened by every recipient, and by nobody else", async () => {
  for (const [i, key] of keys.entries()) {
    const read = await readKey(`a note before\n${key.pem}`);
    assert.equal(read.kid, item.kids[i]);
    assert.equal(read.privateKey.extractable, false);
    const { photoId, eventId } = item;
    assert.deepEqual(await unseal(read, item.bytes), { photoId, eventId, photo: new Uint8Array(photo), meta: facts });
  }
  await assert.rejects(readKey(newKey().pem).then((key) => unseal(key, item.bytes)), fails("not-for-this-key"));
  const few = { takenAt: "1969-12-31T23:59:59Z", index: 0, kind: "unlock", wrongPINs: 0, device: "", timeZone: "UTC" };
  const empty = seal(place, "", [keys[1]], few);
  const opened = await unseal(await readKey(keys[1].pem), empty.bytes);
  assert.deepEqual([opened.photo.length, opened.meta], [0, few]);
  assert.deepEqual(readItem(empty.bytes).recipients.map(({ kid }) => kid), empty.kids);
});

/** Where something vouches for each bit: ciphertexts, tags, nonces, photo id and this recipient's whole entry. */
function guarded(bytes, kid) {
  const text = new TextDecoder().decode(bytes.subarray(4, 4 + new DataView(bytes.buffer).getUint32(0)));
  const { photoId, iv, meta, recipients } = JSON.parse(text);
  const mine = JSON.stringify(recipients.find((each) => each.kid === kid));
  const pieces = [photoId, iv, meta.iv, meta.ct, mine].map((piece) => [4 + text.indexOf(piece), piece.length]);
  pieces.push([4 + text.length, bytes.length - 4 - text.length]);
  return pieces.flatMap(([at, length]) => Array.from({ length }, (_, i) => at + i));
}

test("every change of what is vouched for is refused", async () => {
  assert.ok(Math.abs(item.bytes.length - 4096) < 256, `${item.bytes.length} bytes`);
  const key = await readKey(keys[1].pem);
  const refused = (changed, what) => assert.rejects(unseal(key, changed), (error) => ["not-sealed", "not-for-this-key", "damaged"].includes(error.kind), what);
  for (const at of guarded(item.bytes, key.kid)) {
    await Promise.all(Array.from({ length: 8 }, (_, bit) => {
      const changed = item.bytes.slice();
      changed[at] ^= 1 << bit;
      return refused(changed, `byte ${at} bit ${bit}`);
    }));
  }
  for (let length = 0; length < item.bytes.length; ++length) await refused(item.bytes.slice(0, length), `cut to ${length}`);
});

test("another form of the same header is no sealed item", () => {
  const length = new DataView(item.bytes.buffer).getUint32(0);
  const text = Buffer.from(item.bytes.subarray(4, 4 + length)).toString();
  const changes = [["{", "\uFEFF{"], ["{", "{ "], ['"v":1', '"v":2'], ['"v":1', '"v":1,"v":1'], ["-", ""], [/[a-f]/, "A"], ["}]}", "}]}\n"], ["},{", "}{"],
    ["},{", "},,{"], [/\[.*\]/, "[]"], [/"ct":".*?"/, '"ct":"AAAAAAAAAAAAAAAAAAAAAB"'], [/"ct":".*?"/, '"ct":"AAAAAAAAAAAAAAAAAAAAAAAAA"'], [/"iv":"..../, '"iv":"==+/']];
  for (const [from, to] of changes) {
    const header = Buffer.from(text.replace(from, to));
    const size = Buffer.alloc(4);
    size.writeUInt32BE(header.length);
    assert.throws(() => readItem(new Uint8Array(Buffer.concat([size, header, Buffer.alloc(64)]))), fails("not-sealed"), `${from} ${to}`);
  }
  assert.throws(() => readItem(new Uint8Array(Buffer.concat([Buffer.of(0, 16, 0, 1), Buffer.alloc(2 << 20, "x")]))), fails("not-sealed"));
});

test("only a private key on P-256 in an open PKCS#8 file is a key", async () => {
  const pkcs8 = { type: "pkcs8", format: "pem" };
  const { privateKey } = generateKeyPairSync("ec", { namedCurve: "prime256v1" });
  const other = (curve) => generateKeyPairSync("ec", { namedCurve: curve }).privateKey.export(pkcs8);
  const rsa = generateKeyPairSync("rsa", { modulusLength: 2048 }).privateKey.export(pkcs8);
  const cut = keys[0].pem.replace(/\n.{20}/, "\n");
  for (const pem of ["", "x", other("secp384r1"), rsa, cut, keys[0].pem.replace("END", "FIN"), keys[0].pem + " ".repeat(1 << 16),
    privateKey.export({ type: "sec1", format: "pem" })]) {
    await assert.rejects(readKey(pem), fails("not-a-key"), pem.slice(0, 60));
  }
  const locked = privateKey.export({ ...pkcs8, cipher: "aes-256-cbc", passphrase: "x" });
  await assert.rejects(readKey(locked), fails("locked-key"));
});
