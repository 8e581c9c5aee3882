#!/usr/bin/env python3
"""The guard and what it watches besides unlocks, on a real file system: whoever opens a watched file, folder, app or decoy is
photographed, in whatever way they open it, and whoever only lists or indexes is not.

Run inside tests/peers/keyring and tests/peers/real-logind:  watch_chain.py BRINDLE SAMPLE_FRAMES QT_READER
"""
import json, os, shutil, signal, subprocess, sys, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers"))
from service_steps import unlock
from steps import BRINDLE, Guard, at_failure, brindle, camera_of, check, sh, state, until

FRAMES, READER = sys.argv[2:4]
PIN, HOME = "730164", os.environ["HOME"]
OWN = HOME + "/Documents"
camera_of(FRAMES, "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"
started = []  # programs with windows
at_failure.append(lambda: [each.kill() for each in started])


def place(path, content="of the owner's\n"):
    os.makedirs(os.path.dirname(f"{OWN}/{path}"), exist_ok=True)
    with open(f"{OWN}/{path}", "w", encoding="utf-8") as file:
        file.write(content)
    return f"{OWN}/{path}"


def start(*command):
    started.append(subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))


def events():
    """As `brindle history --json` tells them."""
    run = subprocess.run([BRINDLE, "history", "--json"], input=PIN + "\n", capture_output=True, text=True, timeout=60)
    return json.loads(run.stdout[run.stdout.index("["):])


def newest():
    return (state()["events"] or [{}])[-1]


def told(kind, name, how, act, within=1.0):
    """`act` gives one event of its own, with this trigger and with photos; the owner confirms it."""
    check(not state()["events"], f"{how}: nothing so far", state()["events"])
    began = time.monotonic()
    act()
    until(lambda: newest().get("trigger") == {"kind": kind, "name": name}, f"{how}: an event of {name}")
    took = time.monotonic() - began
    check(took < within, f"{how}: after {took:.2f} s")
    until(lambda: newest()["photoFiles"], f"{how}: with a photo")
    one, = events()
    check(one["trigger"] == {"kind": kind, "name": name} and all(map(os.path.getsize, one["photos"])), f"{how}: in the history", one)
    confirm()
    return one


def confirm():
    guard.type(PIN)
    guard.shows("Confirmed.")
    until(lambda: not state()["events"], "confirmed")


def run(*command):
    return lambda: subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, timeout=30, check=False)


notices = HOME + "/notices.log"
start("/usr/bin/python3", "-m", "dbusmock", "--session", "--template", "notification_daemon", "-l", notices)
sh("gdbus wait --session --timeout 10 org.freedesktop.Notifications", check=True)
apps = os.environ["XDG_DATA_HOME"] + "/applications"
os.makedirs(apps)
with open(apps + "/org.example.Notes.desktop", "w", encoding="utf-8") as entry:
    entry.write("[Desktop Entry]\nType=Application\nName=Notes\nExec=/usr/bin/xmessage\nStartupWMClass=Xmessage\n")

# The list, while off and before any guard.
letters, diary, plan = place("letters.txt"), place("diary.txt"), place("plan.txt")
page, certificate = place("page.txt"), place("owner.pem", "-----BEGIN CERTIFICATE-----\n")
for number in range(40):
    place(f"papers/{number % 4}/{number}.txt")
os.chdir(OWN)
check("Nothing is watched" in brindle("watch"), "nothing is watched yet")
for path in ("letters.txt", diary, "./plan.txt", "page.txt", "owner.pem", "papers"):
    check("is watched while Brindle is on." in brindle("watch", "add", path), f"{path} is added")
check("'letters.txt' is already watched." in brindle("watch", "add", letters, code=1), "once is enough")
check("There is no file 'leters.txt' here." in brindle("watch", "add", "leters.txt", code=1), "a mistyped name is said")
check("'Notes' is watched" in brindle("watch", "add", "org.example.Notes"), "an app is added")
check("The tripwire 'Passwords.rtf' is in 'Documents'." in brindle("tripwire", "Passwords", "."), "and a decoy is put there")
decoy = OWN + "/Passwords.rtf"
with open(decoy, encoding="utf-8") as file:
    content = file.read()
check("This file is a decoy created by Brindle" in content, "with its text")
listed = json.loads(brindle("watch", "list", "--json"))
check([(each["kind"], each["name"]) for each in listed][-3:] == [("folder", "papers"), ("app", "Notes"), ("tripwire", "Passwords.rtf")]
      and listed[0]["path"] == letters and not any(each["missing"] or each["unwatchable"] for each in listed), "all is listed", listed)
brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n1\n")
brindle("watch", "remove", "diary.txt", code=4)
check("'diary.txt' isn't watched any more." in brindle("watch", "remove", "diary.txt", typed=PIN + "\n"), "removing needs the PIN")
guard = Guard()
at_failure.append(lambda: print(guard.said, brindle("watch", typed=PIN + "\n")))
check("Watched: 7 items\n" in brindle("status"), "a guard knows them")
brindle("on")
guard.shows("watch: 6 files and folders")

# Ways to open a file.
told("watched-file", "letters.txt", "cat", run("cat", letters))
os.link(letters, HOME + "/elsewhere")
told("watched-file", "plan.txt", "vim", run("vim.tiny", "-es", "-u", "NONE", "-c", "q", plan))
told("watched-file", "page.txt", "a Qt program", lambda: start(READER, page), within=5)
told("watched-file", "owner.pem", "a GTK program", lambda: start("gcr-viewer", certificate), within=5)
told("tripwire", "Passwords.rtf", "the decoy", run("cp", decoy, "/dev/null"))

# Looking is no opening, and neither is an indexer at work.
run("ls", "-lR", OWN)()
run("stat", letters, decoy)()
os.makedirs(HOME + "/tools")
shutil.copy("/usr/bin/tail", HOME + "/tools/tracker-miner-fs-3")
sh(f"mount --bind {HOME}/tools /usr/lib/sysctl.d", check=True)  # nobody else sees it: the mounts are our own
papers = [f"{OWN}/papers/{number % 4}/{number}.txt" for number in range(40)]
start("/usr/lib/sysctl.d/tracker-miner-fs-3", "-f", *papers)
until(lambda: len(os.listdir(f"/proc/{started[-1].pid}/fd")) > 40, "an indexer has every paper open")
indexer = started[-1]
told("watched-app", "Notes", "an app", lambda: start("xmessage", "-title", "Notes", "what somebody reads"), within=5)
indexer.kill()
check(indexer.wait() is not None, "the indexer ends")
told("watched-folder", "papers", "a sweep by somebody else", run("cat", *papers), within=2)

# A new sitting: what was reported before is news again, and an opening within 3 s of an unlock belongs to it.
event = unlock()
run("cat", HOME + "/elsewhere")()
until(lambda: newest().get("watchedOpenings") == 1, "the opening by a hard link is folded into the unlock")
check(newest()["id"] == event["id"] and newest()["alsoOpened"] == [{"kind": "watched-file", "name": "letters.txt"}], "by its name", newest())
confirm()

# A decoy that somebody removes.
os.remove(decoy)
guard.shows("tripwire gone: put back")
until(lambda: os.path.exists(decoy) and os.stat(decoy).st_size == len(content), "the decoy is there again")  # reading it would be an opening
said = until(lambda: "Tripwire put back" in (text := open(notices, encoding="utf-8").read()) and text, "and the owner is told")
check("Someone opened 'letters.txt' on your Mac." in said and "Someone opened a tripwire file on your Mac." in said, "as of openings", said)
check(not state()["events"], "which is no event", state()["events"])

# The list is edited while on, and the guard is killed.
brindle("watch", "add", diary, code=4)
check("is watched" in brindle("watch", "add", diary, typed=PIN + "\n"), "while on, adding needs the PIN")
guard.shows("watch: 7 files and folders")
told("watched-file", "diary.txt", "a file added while on", run("cat", diary))
os.kill(guard.pid, signal.SIGKILL)
check(guard.ends() is not None, "the guard is killed")
guard = Guard()
guard.shows("watch: 7 files and folders")
told("watched-folder", "papers", "with the next guard, a new paper", lambda: place("papers/5/new.txt"))
check("Brindle is off." in brindle("off", typed=PIN + "\n"), "off")
run("cat", letters)()
report = [each for each in json.loads(brindle("doctor", "--json")) if each["service"] == "watched items"]
check(report and report[0]["answered"], "the doctor finds every item watchable", report)
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "and it ends when asked")
check(not state()["events"], "what is opened while off is nobody's business", state()["events"])
check("The tripwire 'Passwords.rtf' is gone." in brindle("watch", "remove", "Passwords.rtf", typed=PIN + "\n") and not os.path.exists(decoy), "a removed tripwire goes")
for each in started:
    each.kill()
