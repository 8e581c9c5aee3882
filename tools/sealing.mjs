// Keys made here, and items sealed by the guard's own code (brindle_seal_file) for them.

import { execFileSync } from "node:child_process";
import { generateKeyPairSync, randomUUID } from "node:crypto";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";

/** `pem` is the file its holder keeps, `text` the public key as the guard gets it. */
export function newKey() {
  const { privateKey, publicKey } = generateKeyPairSync("ec", { namedCurve: "prime256v1" });
  const { x, y } = publicKey.export({ format: "jwk" });
  const halves = [x, y].map((half) => Buffer.from(half, "base64url"));
  const text = Buffer.concat([Buffer.of(4), ...halves]).toString("base64url");
  return { pem: privateKey.export({ type: "pkcs8", format: "pem" }), text };
}

/** Where the item lies, and what opening it has to give. `place` is {program, folder}. */
export function seal(place, photo, keys, meta) {
  const [photoId, eventId] = [randomUUID(), randomUUID()];
  const from = join(place.folder, `${photoId}.jpg`);
  const file = join(place.folder, `${photoId}.blob`);
  writeFileSync(from, photo);
  const order = { photo: from, blob: file, "photo-id": photoId, "event-id": eventId, ...meta };
  const given = Object.entries(order).map((each) => each.join("="));
  const recipients = keys.map((key) => `to=${key.text}`);
  const kids = execFileSync(place.program, [...given, ...recipients], { encoding: "utf8" });
  const bytes = new Uint8Array(readFileSync(file));
  return { file, bytes, photoId, eventId, photo, meta, kids: kids.trim().split("\n") };
}

/** Every fact there is, with characters that want care. */
export const allFacts = {
  takenAt: "2026-11-14T20:56:32Z",
  index: 1,
  kind: "watched-file",
  wrongPINs: 2,
  device: "ThinkPad",
  timeZone: "Europe/Berlin",
  deviceName: '<b>Küche</b> "Ω"\t\u0001',
  mime: "image/jpeg",
  lat: 52.5163,
  lon: -13.37771,
  place: "Großer Stern, 柏林 🦉",
  target: "Steuer\\2026.pdf",
};
