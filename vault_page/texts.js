// Every text that the owner sees, in one place: a translation is another file like this one. Only
// the line for browsers without scripts stands in index.html.

export const texts = {
  language: "en",
  name: "Brindle",
  intro:
    "Your photos were sealed on your computer. They are opened here, on this device: neither your " +
    "key nor your photos leave it, and nothing is kept when you close this page.",
  keyLabel: "Your key file",
  keyHelp: "The file with your private key. It begins with “BEGIN PRIVATE KEY”.",
  itemsLabel: "Sealed photos and clips",
  itemsHelp: "Choose one or more.",
  forget: "Close everything",
  shownLabel: "Opened photos and clips",
  keyRead: (kid) => `Key read: ${kid}`,
  chooseKey: (count) => `${sealedItems(count)} chosen. Choose your key file to open them.`,
  opening: (done, count) => `Opening ${done} of ${count}…`,
  opened: (good, bad) =>
    `${good} opened.` + (bad > 0 ? ` ${bad} could not be opened, see below.` : ""),
  forgotten: "Closed. Your key and photos are gone from this page.",
  notOpened: (file) => `Not opened: ${file}`,
  problems: {
    "not-sealed": "This is not a sealed photo or clip, or its beginning is damaged.",
    "not-for-this-key": "This was sealed for other keys, not for yours.",
    damaged: "This was changed or damaged after it was sealed, so nothing of it is shown.",
    "not-a-key": "This is not a key file that can be used here.",
    "locked-key": "This key file is protected by a passphrase. Save it without one first.",
    unreadable: "This file could not be read.",
    insecure: "Your browser opens sealed photos only on a page that begins with https.",
  },
  cannotShow: "This cannot be shown here. You can save it.",
  save: "Save",
  saveItem: (what) => `Save: ${what}`,
  picture: (what, when) => `Photo: ${what}, ${when}`,
  clip: (what, when) => `Clip: ${what}, ${when}`,
  kinds: {
    unlock: "Unlocked",
    "wrong-pin": "Wrong PIN",
    "wrong-password": "Wrong password",
    "watched-file": "Watched file opened",
    "watched-folder": "Watched folder opened",
    "watched-app": "Watched app opened",
    tripwire: "Tripwire file opened",
    "lid-closed": "Lid closed",
    "power-unplugged": "Power unplugged",
    "idle-return": "Touched after being idle",
  },
  facts: {
    takenAt: "Taken",
    target: "Opened",
    wrongPINs: "Wrong PINs",
    device: "Computer",
    place: "Place",
    position: "Position",
    index: "Number in its occurrence",
    eventId: "Occurrence",
    photoId: "Photo or clip",
    digest: "Fingerprint (SHA-256)",
  },
};

function sealedItems(count) {
  return count === 1 ? "1 sealed item" : `${count} sealed items`;
}
