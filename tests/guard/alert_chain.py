#!/usr/bin/env python3
"""The guard and the alert service, on real peers and over a real socket: signing in, an unlock that is reported with its photos,
one that is confirmed, then the network pulled, the programs killed, sleep, and off.

Run inside tests/peers/keyring and tests/peers/real-logind:  alert_chain.py BRINDLE SAMPLE_FRAMES SCRIPTED_ALERT_SERVICE
"""
import glob, json, os, re, signal, subprocess, sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers"))
from service_steps import AlertService, couriers, unlock
from steps import BRINDLE, DATA, Guard, at_failure, brindle, camera_of, check, sh, state, until

FRAMES, SERVICE = sys.argv[2:4]
PIN, OWNER = "730164", "owner@example.org"
camera_of(FRAMES, "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"


def owed():
    both = json.loads(subprocess.run([BRINDLE, "outbox", "--json"], capture_output=True, text=True, timeout=30).stdout)
    return [(each["route"], each["why"]) for each in both["watch"]] + [("report", each["why"]) for each in both["reports"]]


def kill(*more):
    for pid in [guard.pid, *more]:
        os.kill(pid, signal.SIGKILL)
    check(guard.ends() is not None, "killed")


def confirm():
    guard.type(PIN)
    guard.shows("Confirmed.")
    until(lambda: not owed(), "confirmed, and nothing is owed any more")


def photos_of(event):
    names = [e for e in state()["events"] if e["id"] == event["id"]][0]["photoFiles"]
    return [open(f"{DATA}/photos/{name}", "rb").read() for name in names]


def check_report(report, event, photos, pending):
    """Every byte of an alert's body."""
    boundary = report["headers"]["content-type"].removeprefix("multipart/form-data; boundary=")
    check(re.fullmatch("brindle-[0-9A-F-]{36}", boundary), "the boundary is drawn", boundary)
    fields = [("unlockAt", event["date"]), ("timeZone", pending["timeZone"]), ("deviceName", pending["device"]),
              ("wrongPINs", "0"), ("device", "mac")]
    body = "".join(f'--{boundary}\r\nContent-Disposition: form-data; name="{name}"\r\n\r\n{value}\r\n' for name, value in fields).encode()
    for i, photo in enumerate(photos[:4]):
        body += (f'--{boundary}\r\nContent-Disposition: form-data; name="photo{i}"; filename="unlock-{i + 1}.jpg"\r\n'
                 "Content-Type: image/jpeg\r\n\r\n").encode() + photo + b"\r\n"
    check(report["body"] == body + f"--{boundary}--\r\n".encode(), f"the report holds its fields and {len(photos)} photos, byte by byte",
          report["body"][:600])
    check(report["headers"]["authorization"] == "Bearer first-token", "and its token")


service = AlertService(SERVICE)
at_failure.append(lambda: print(guard.said, *(each["path"] for each in service.to()), owed(), sep="\n"))
service.tell(f"session first-token {OWNER}")
brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n5\n")
guard = Guard()
brindle("terms", "agree", typed=PIN + "\n")
service.sign_in(OWNER, PIN)
brindle("on")
beat = service.gets("watch/beat", "turned on, it checks in")[0]
check((beat["json"]["on"], beat["json"]["platform"]) == (True, "macos"), "and says so", beat)

# Nobody confirms.
service.tell("hold api/watch/pending")
first = unlock()
until(lambda: len(service.to("watch/pending", first["id"])) == 2, "the unlock is told on both channels")
copies = service.to("watch/pending", first["id"])
pending = copies[0]["json"]
check(copies[0]["body"] == copies[1]["body"], "in the same words")
check((pending["kind"], pending["at"], pending["emailAlerts"]) == ("unlock", first["date"], True), "which tell of the unlock", pending)
until(lambda: owed() == [("pending", "on its way"), ("pending-photo", "waits for the one before")], "the photo waits for its turn")
check("Owed to the alert service: 2" in brindle("status"), "status says that both are owed")
service.tell("usual api/watch/pending", "release")
photo = service.gets("pending-photo", "then the photo is told")[0]
report = service.gets("api/alert", "and then the report is sent")[0]
photos = photos_of(first)
check(photo["body"] == photos[0] and photo["path"].endswith("?eventId=" + first["id"]), "the photo is the first one on disk")
check_report(report, first, photos, pending)
until(lambda: not owed(), "nothing is owed any more")
confirm()

# The owner confirms while the service has not answered yet.
service.tell("hold api/watch/pending")
second = unlock()
service.gets("watch/pending", "the second unlock is told", second["id"])
guard.type(PIN)
guard.shows("Confirmed.")
until(lambda: ("cancel", "waits for the one before") in owed(), "the confirmation waits for the answer")
check(not service.to("watch/cancel", second["id"]), "and is not told before")
service.tell("usual api/watch/pending", "release")
service.gets("watch/cancel", "then it is told", second["id"])
until(lambda: not owed(), "nothing more is owed")

# The network is pulled, and everything is killed.
service.tell("down")
third = unlock()
until(lambda: {route for route, why in owed()} >= {"pending", "pending-photo"}, "the third unlock and its photo are owed")
kill(*until(couriers, "the courier tries"))
check(owed() == [(route, "is taken up by the next guard") for route in ("pending", "pending-photo")], "without a guard, it is still owed")
service.tell("up")
seen = len(service.to())
guard = Guard()
for path in ("watch/pending", "watch/pending-photo"):
    service.gets(path, f"{path} arrives after all", since=seen)
report = service.gets("api/alert", "and its report", since=seen)[0]
check_report(report, third, photos_of(third), service.to("watch/pending", third["id"])[0]["json"])
check([r for r in service.to("watch/beat", since=seen) if r["json"].get("reset") == "crash"], "with word of the crash")
until(lambda: not owed(), "everything owed has arrived")
confirm()

# The guard is dead from the hand-over to the delivery.
fourth = unlock()
service.gets("watch/pending", "the fourth unlock is told", fourth["id"])
service.tell("down")
until(lambda: glob.glob(DATA + "/transfers/brindle.alerts/todo/*"), "its report is handed over")
body = open(glob.glob(DATA + "/outbox-alerts/*.multipart")[0], "rb").read()
seen = len(service.to())
kill()
service.tell("up")
report = service.gets("api/alert", "and delivered without a guard", since=seen)[0]
check(report["body"] == body and report["headers"]["x-brindle-alert"] == fourth["id"], "whole, and recognisable")
guard = Guard("--at-login")
until(lambda: not owed() and not glob.glob(DATA + "/outbox-alerts/*.multipart"), "the next guard hears of it")
with open(os.environ["XDG_CONFIG_HOME"] + "/Brindle/preferences.json", encoding="utf-8") as settings:
    check(json.load(settings)["watch.loginItemWhileOn"], "which notes that the login item started it")
confirm()

# Sleep waits for what is on its way.
service.tell("hold api/watch/beat")
seen = len(service.to())
sh("suspend", check=True)
guard.shows("will sleep: signed in, on true, declared already false")
guard.shows("sleep: held for 1 request(s), cap 4.0")
check(service.gets("watch/beat", "the service is told", since=seen)[0]["json"]["sleeping"], "of sleep")
service.tell("usual api/watch/beat", "release")
guard.shows("sleep: let go after ")
guard.shows("(done)")
guard.shows("woke: on true, declared asleep true")

check("Brindle is off." in brindle("off", typed=PIN + "\n"), "off")
service.gets("watch/release", "and the service is told")
until(lambda: not owed(), "and owes nothing")
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "off, it ends when asked")

# A link is followed while no guard runs.
service.tell("delay api/verify-finish 500")
service.sign_in(OWNER, PIN)
check("Signed out." in brindle("account", "sign-out", typed=PIN + "\n"), "signed out")
check("Nobody is signed in." in brindle("account"), "and the link is not awaited any more")
service.process.kill()
