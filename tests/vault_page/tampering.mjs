// Changes an item everywhere that something vouches for. Runs in Node and in a page.

/** The bytes of ciphertexts, tags, nonces, photo id and this recipient's whole entry. */
function guarded(bytes, kid) {
  const text = new TextDecoder().decode(bytes.subarray(4, 4 + new DataView(bytes.buffer).getUint32(0)));
  const { photoId, iv, meta, recipients } = JSON.parse(text);
  const mine = JSON.stringify(recipients.find((each) => each.kid === kid));
  const offsets = [];
  for (const piece of [photoId, iv, meta.iv, meta.ct, mine]) {
    for (let i = 0; i < piece.length; ++i) offsets.push(4 + text.indexOf(piece) + i);
  }
  for (let i = 4 + text.length; i < bytes.length; ++i) offsets.push(i);
  return offsets;
}

function* tampered(bytes, kid) {
  for (const at of guarded(bytes, kid)) {
    for (let bit = 0; bit < 8; ++bit) {
      const changed = bytes.slice();
      changed[at] ^= 1 << bit;
      yield [`byte ${at} bit ${bit}`, changed];
    }
  }
  for (let length = 0; length < bytes.length; ++length) yield [`cut to ${length}`, bytes.slice(0, length)];
}

/** Everything that opened, or failed in another way than it may; and how many were tried. */
export async function tryAll({ unseal, UnsealError }, key, bytes) {
  const wrong = [];
  let tried = 0;
  const changes = tampered(bytes, key.kid);
  const worker = async () => {
    for (const [what, changed] of changes) {
      ++tried;
      const kind = await unseal(key, changed).then(() => "opened", (error) => error instanceof UnsealError ? error.kind : `${error}`);
      if (!["not-sealed", "not-for-this-key", "damaged"].includes(kind)) wrong.push(`${what}: ${kind}`);
    }
  };
  await Promise.all(Array.from({ length: 32 }, worker));
  return { tried, wrong };
}
