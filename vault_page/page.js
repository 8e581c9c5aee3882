// The owner's page: a key file and sealed items in, photos and facts out, all of it in this tab. Asks
// nobody for anything and stores nothing.

import { giveBackUrls, openedItem, unopenedItem } from "./item_view.js";
import { texts } from "./texts.js";
import { UnsealError, readKey, unseal } from "./unseal.js";

const at = (id) => document.getElementById(id);
const say = (id, text) => (at(id).textContent = text);

let key = null;
/** Counts what was asked for, so that an answer to an earlier question is dropped. */
let asked = 0;

function showTexts() {
  document.documentElement.lang = texts.language;
  document.title = texts.name;
  for (const element of document.querySelectorAll("[data-text]")) {
    element.textContent = texts[element.dataset.text];
  }
  for (const element of document.querySelectorAll("[data-label]")) {
    element.setAttribute("aria-label", texts[element.dataset.label]);
  }
}

function problemOf(error) {
  return error instanceof UnsealError ? error.kind : "unreadable";
}

async function keyChosen() {
  const [file] = at("key").files;
  const mine = ++asked;
  key = null;
  clearShown();
  let said = "";
  let read = null;
  try {
    if (file) read = await readKey(await file.text());
    if (read) said = texts.keyRead(read.kid);
  } catch (error) {
    said = texts.problems[problemOf(error)];
  }
  if (mine !== asked) return;
  key = read;
  say("key-said", said);
  await itemsChosen();
}

async function itemsChosen() {
  const files = [...at("items").files];
  const mine = ++asked;
  clearShown();
  if (files.length === 0) return say("items-said", "");
  if (!key) return say("items-said", texts.chooseKey(files.length));
  let good = 0;
  for (const [done, file] of files.entries()) {
    say("items-said", texts.opening(done + 1, files.length));
    const view = await viewOf(file);
    if (mine !== asked) return;
    good += view.opened;
    show(view.make());
  }
  say("items-said", texts.opened(good, files.length - good));
}

/** Not made before it is known to be wanted: a view holds an address that somebody must give back. */
async function viewOf(file) {
  try {
    const item = await unseal(key, new Uint8Array(await file.arrayBuffer()));
    item.digest = hex(await crypto.subtle.digest("SHA-256", item.photo));
    return { opened: true, make: () => openedItem(item) };
  } catch (error) {
    return { opened: false, make: () => unopenedItem(file.name, problemOf(error)) };
  }
}

function hex(digest) {
  return Array.from(new Uint8Array(digest), (byte) => byte.toString(16).padStart(2, "0")).join("");
}

/** Oldest first, and what did not open before all others. */
function show(view) {
  const later = [...at("shown").children].find((other) => other.dataset.order > view.dataset.order);
  at("shown").insertBefore(view, later ?? null);
}

function clearShown() {
  at("shown").replaceChildren();
  giveBackUrls();
}

function forget() {
  ++asked;
  key = null;
  at("key").value = "";
  at("items").value = "";
  clearShown();
  say("key-said", "");
  say("items-said", texts.forgotten);
}

showTexts();
if (globalThis.crypto?.subtle) {
  at("key").addEventListener("change", keyChosen);
  at("items").addEventListener("change", itemsChosen);
  at("forget").addEventListener("click", forget);
  // Also for a browser that keeps the page to come back to.
  addEventListener("pagehide", forget);
} else {
  say("key-said", texts.problems.insecure);
}
