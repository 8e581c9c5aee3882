#!/usr/bin/env python3
"""The guard and the sealed vault, on real peers and over a real socket: what the service keeps is opened by those who hold a key and
by nobody else, goes when the owner confirms, and arrives after kills and a pulled network.

Run inside tests/peers/keyring and tests/peers/real-logind:
vault_chain.py BRINDLE SAMPLE_FRAMES SCRIPTED_ALERT_SERVICE BRINDLE_UNSEAL [PLAYWRIGHT]
"""
import base64, glob, hashlib, json, os, signal, struct, subprocess, sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "../peers"))
from service_steps import AlertService, couriers, unlock
from steps import DATA, Guard, at_failure, brindle, camera_of, check, state, until

FRAMES, SERVICE, UNSEAL, *PLAYWRIGHT = sys.argv[2:]
PLAYWRIGHT = [each for each in PLAYWRIGHT if os.path.exists(each + "/fetched")]  # scripts/get-playwright brings it
PIN, OWNER, HOME = "730164", "owner@example.org", os.environ["HOME"]
KEPT = HOME + "/kept"
camera_of(FRAMES, "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"


def base64url(digest, length=None):
    return base64.urlsafe_b64encode(digest).decode().rstrip("=")[:length]


class Holder:
    """Somebody with a key, made as anybody would make one."""

    def __init__(self, name):
        self.file = f"{HOME}/{name}.pem"
        subprocess.run(["openssl", "genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", self.file], check=True, capture_output=True)
        point = subprocess.run(["openssl", "pkey", "-in", self.file, "-pubout", "-outform", "DER"], check=True, capture_output=True).stdout[-65:]
        self.key, self.kid = base64url(point), base64url(hashlib.sha256(point).digest(), 16)
        self.org = base64url(hashlib.sha256(b"brindle/org-id/v1/" + point).digest(), 22)

    def opens(self, blobs):
        """The photos' digests, by brindle-unseal."""
        out = f"{HOME}/opened-{len(os.listdir(HOME))}"
        subprocess.run([UNSEAL, "--key", self.file, "--out", out, *blobs], capture_output=True, text=True, timeout=60)
        return sorted(digest(path) for path in glob.glob(out + "/*.jpg"))


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


def blobs_of(event):
    return sorted(glob.glob(f"{KEPT}/{event['id'].lower()}/*.blob"))


def record(event):
    return [each for each in state()["events"] if each["id"] == event["id"]][0]


def photos_of(event):
    return sorted(digest(f"{DATA}/photos/{name}") for name in record(event)["photoFiles"])


def header_of(upload):
    return json.loads(upload["body"][4:4 + struct.unpack(">I", upload["body"][:4])[0]])


def uploads_of(event):
    return [header["photoId"] for header in map(header_of, service.to("vault/upload")) if header["eventId"] == event["id"].lower()]


def saved(event):
    """Once the service has all of it: the sealed items."""
    until(lambda: record(event).get("vault") == "saved" and not record(event)["photoPending"], "the event says that all of it is kept")
    check([len(blobs_of(event))] * 2 == [len(record(event)["photoFiles"]), len(set(uploads_of(event)))], "every photo is kept, and nothing else",
          blobs_of(event), uploads_of(event), record(event))
    return blobs_of(event)


def confirm(event):
    guard.type(PIN)
    guard.shows("Confirmed.")
    service.gets("device-delete", "confirmed, the service is told to delete it", event["id"].lower())
    until(lambda: not json.loads(brindle("vault", "queue", "--json"))["uploads"], "and no upload waits")
    check(not blobs_of(event) and not glob.glob(DATA + "/outbox-vault/*"), "nothing of it is left, there or here", os.listdir(KEPT))


service = AlertService(SERVICE)
at_failure.append(lambda: print(guard.said, *(each["path"] for each in service.to()), brindle("vault", "queue"), sep="\n"))
owner, acme = Holder("owner"), Holder("acme")
service.tell(f"session first-token {OWNER}", f"vault-folder {KEPT}", f"vault-code SHARE-1 {acme.org} {acme.kid} {acme.key} Acme Security")
brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n1\n")
brindle("vault", "on", code=4)
check("The vault is on." in brindle("vault", "on", typed=PIN + "\n"), "on, before anybody is signed in")
guard = Guard()
brindle("terms", "agree", typed=PIN + "\n")
service.sign_in(OWNER, PIN)
check("There is no vault key yet" in brindle("vault"), "without a key nothing can be sealed")
service.tell(f"vault-key {owner.kid} {owner.key}")
check(f"Your vault key: {owner.kid}" in brindle("vault", "keys"), "the owner has made their key")
brindle("on")

# Nobody confirms: what arrived is opened by three programs.
first = unlock()
sealed = saved(first)
check(owner.opens(sealed) == photos_of(first), "brindle-unseal opens them: the very photos of the history")
check(acme.opens(sealed) == [], "nobody else's key does")
for how in [[]] + [[f"--chromium={each}"] for each in PLAYWRIGHT]:
    run = subprocess.run(["node", HERE + "/../../tools/open_sealed.mjs", *how, owner.file, *sealed], capture_output=True, text=True, timeout=60)
    opened = [json.loads(line) for line in run.stdout.splitlines()]
    check(sorted(each.get("sha256", "") for each in opened) == photos_of(first), f"so does the page's module in {'Chromium' if how else 'Node'}", run)
    for each in opened:
        told, known = each["meta"], record(first)["vaultPhotos"][each["meta"]["index"]]
        check((told["takenAt"], told["kind"], told["wrongPINs"]) == (known["takenAt"], "unlock", 0) and each["photoId"] == known["id"].lower(),
              "with when and what it was", told, known)
confirm(first)

# Confirmed while an upload is on its way.
service.tell("hold api/vault/upload")
second = unlock()
until(lambda: uploads_of(second), "the second unlock is being uploaded")
confirm(second)
sent = len(service.to("vault/upload"))
service.tell("usual api/vault/upload", "release")

# An organisation gets what is sealed from now on.
check("Acme Security\n" in brindle("vault", "join", "SHARE-1", typed=PIN + "\nno\n", code=1), "whose code it is is shown first")
check("Acme Security gets a copy" in brindle("vault", "join", "SHARE-1", "--yes", typed=PIN + "\n"), "joined")
check(service.to("org/join")[0]["json"]["code"] == "SHARE-1" and f"key {acme.kid}" in brindle("vault", "keys"), "its key is there")
third = unlock()
sealed = saved(third)
check(owner.opens(sealed) == acme.opens(sealed) == photos_of(third), "the owner and the organisation open the third unlock")
check(len(service.to("vault/upload")) - sent == len(set(uploads_of(third))), "and nothing of the second has come since")
confirm(third)

# The network is pulled and everything is killed. Meanwhile somebody puts a key of theirs into the set.
service.tell("down")
fourth = unlock()
until(lambda: glob.glob(DATA + "/transfers/brindle.vault/todo/*"), "the fourth unlock is sealed and handed over")
for pid in [guard.pid, *until(couriers, "the courier tries")]:
    os.kill(pid, signal.SIGKILL)
check(guard.ends() is not None, "both are killed")
with open(HOME + "/swapped.json", "w", encoding="utf-8") as file:
    json.dump({"vault": {"keyId": owner.kid, "publicKey": Holder("thief").key}, "orgs": [], "pending": [], "retentionDays": 90, "email": OWNER}, file)
service.tell(f"body api/vault/keys {HOME}/swapped.json", "up")
guard = Guard()
guard.shows("vault keys: refused, a key isn't the one its identifiers name")
said = brindle("vault", "keys")
check("Something went wrong. Try again." in said and f"Your vault key: {owner.kid}" in said and acme.kid in said, "the set that was there stays", said)
sealed = saved(fourth)
check(len(uploads_of(fourth)) == len(sealed), "all arrives, once", uploads_of(fourth))
check(owner.opens(sealed) == acme.opens(sealed) == photos_of(fourth), "for those who were recipients")
confirm(fourth)

# The network is pulled and comes back.
service.tell("down")
fifth = unlock()
until(lambda: "on its way" in brindle("vault", "queue"), "the fifth unlock waits")
check("Vault: on, " in brindle("status"), "status says so")
service.tell("up")
check(owner.opens(saved(fifth)) == photos_of(fifth), "then it arrives")
check(not [path for path in os.listdir(KEPT) if path != fifth["id"].lower()], "the service has nothing else", os.listdir(KEPT))
confirm(fifth)
check("Brindle is off." in brindle("off", typed=PIN + "\n"), "off")
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "and it ends when asked")
service.process.kill()
