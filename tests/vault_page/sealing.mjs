// Keys made here, items sealed by the guard's own code.
import { execFileSync } from "node:child_process";
import { generateKeyPairSync, randomUUID } from "node:crypto";
import { readFileSync, writeFileSync } from "node:fs";
import { join } from "node:path";

export function newKey() {
  const { privateKey, publicKey } = generateKeyPairSync("ec", { namedCurve: "prime256v1" });
  const { x, y } = publicKey.export({ format: "jwk" });
  const bytes = Buffer.concat([Buffer.of(4), Buffer.from(x, "base64url"), Buffer.from(y, "base64url")]);
  return { pem: privateKey.export({ type: "pkcs8", format: "pem" }), text: bytes.toString("base64url") };
}

export const facts = {
  takenAt: "2026-11-14T20:56:32Z", index: 1, kind: "watched-file", wrongPINs: 2, device: "ThinkPad",
  timeZone: "Europe/Berlin", deviceName: '<b>Küche</b> "Ω"\t\u0001', mime: "image/jpeg", lat: 52.5163,
  lon: -13.37771, place: "Großer Stern, 柏林 🦉", target: "Steuer\\2026.pdf",
};

/** Where the item lies, and what opening it has to give. */
export function seal({ program, folder }, photo, keys, meta) {
  const [photoId, eventId] = [randomUUID(), randomUUID()];
  const [from, file] = [join(folder, `${photoId}.jpg`), join(folder, `${photoId}.blob`)];
  writeFileSync(from, photo);
  const order = { photo: from, blob: file, "photo-id": photoId, "event-id": eventId, ...meta };
  const given = Object.entries(order).map((each) => each.join("="));
  const kids = execFileSync(program, [...given, ...keys.map((key) => `to=${key.text}`)], { encoding: "utf8" });
  return { file, bytes: new Uint8Array(readFileSync(file)), photoId, eventId, photo, meta, kids: kids.trim().split("\n") };
}
