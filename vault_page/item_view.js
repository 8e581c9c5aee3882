// How an opened item looks, and how one that did not open. Facts are a stranger's words until
// proved otherwise: they become text, never markup, and no address of theirs is followed.

import { texts } from "./texts.js";

/** What may be shown, and its file ending. A document of another type could bring scripts along. */
const shownTypes = new Map([
  ["image/jpeg", "jpg"],
  ["video/mp4", "mp4"],
]);

/** Made with the page: the first one takes longer than opening a photo does. */
const clockInUtc = clockIn("UTC");

/** Addresses of opened photos, which are given back as soon as they are of no use. */
const urls = new Set();

export function giveBackUrls() {
  for (const url of urls) URL.revokeObjectURL(url);
  urls.clear();
}

function takeUrl(blob) {
  const url = URL.createObjectURL(blob);
  urls.add(url);
  return url;
}

function giveBack(url) {
  URL.revokeObjectURL(url);
  urls.delete(url);
}

/** @param {{photoId, eventId, photo, meta, digest}} item */
export function openedItem(item) {
  const { meta } = item;
  const what = Object.hasOwn(texts.kinds, meta.kind) ? texts.kinds[meta.kind] : meta.kind;
  const when = momentText(meta);
  const type = meta.mime ?? "image/jpeg";
  const blob = new Blob([item.photo], { type: shownTypes.has(type) ? type : "" });
  const view = document.createElement("li");
  view.dataset.order = `${meta.takenAt} ${String(meta.index).padStart(9, "0")}`;
  view.append(make("h2", what), picture(blob, what, when), factList(item, when));
  view.append(saveButton(blob, `${item.photoId}.${shownTypes.get(type) ?? "bin"}`, what, when));
  return view;
}

export function unopenedItem(fileName, problem) {
  const view = document.createElement("li");
  view.className = "problem";
  view.dataset.order = "";
  view.append(make("h2", texts.notOpened(fileName)), make("p", texts.problems[problem]));
  return view;
}

function make(tag, text) {
  const element = document.createElement(tag);
  element.textContent = text;
  return element;
}

function picture(blob, what, when) {
  if (blob.type === "") return make("p", texts.cannotShow);
  const clip = blob.type.startsWith("video/");
  const element = document.createElement(clip ? "video" : "img");
  const url = takeUrl(blob);
  if (clip) {
    element.controls = true;  // reads from its address as long as it plays
    element.setAttribute("aria-label", texts.clip(what, when));
  } else {
    element.alt = texts.picture(what, when);
    element.addEventListener("load", () => giveBack(url), { once: true });
  }
  const replace = () => {
    giveBack(url);
    element.replaceWith(make("p", texts.cannotShow));
  };
  element.addEventListener("error", replace, { once: true });
  element.src = url;
  return element;
}

function factList({ photoId, eventId, meta, digest }, when) {
  const position = "lat" in meta && "lon" in meta ? `${meta.lat}, ${meta.lon}` : undefined;
  const device = meta.deviceName ? `${meta.deviceName} (${meta.device})` : meta.device;
  const wrongPINs = meta.wrongPINs > 0 ? meta.wrongPINs : undefined;
  const { target, place } = meta;
  const shown = { takenAt: when, target, wrongPINs, device, place, position };
  Object.assign(shown, { index: meta.index + 1, eventId, photoId, digest });
  const list = document.createElement("dl");
  for (const [name, value] of Object.entries(shown)) {
    if (value === undefined || value === "") continue;
    list.append(make("dt", texts.facts[name]), make("dd", String(value)));
  }
  return list;
}

/** On the clock of where it was taken. A time or zone that this browser cannot read stays as it is. */
function momentText({ takenAt, timeZone }) {
  const moment = new Date(takenAt);
  if (Number.isNaN(moment.getTime())) return takenAt;
  try {
    return clockIn(timeZone).format(moment);
  } catch {
    return clockInUtc.format(moment);
  }
}

function clockIn(timeZone) {
  return new Intl.DateTimeFormat(texts.language, { dateStyle: "full", timeStyle: "long", timeZone });
}

function saveButton(blob, fileName, what, when) {
  const button = make("button", texts.save);
  button.type = "button";
  button.setAttribute("aria-label", texts.saveItem(`${what}, ${when}`));
  button.addEventListener("click", () => {
    const link = document.createElement("a");
    link.href = takeUrl(blob);
    link.download = fileName;
    link.click();
    // The browser takes the content when it begins to save, which is after this turn.
    setTimeout(() => giveBack(link.href), 10_000);
  });
  return button;
}
