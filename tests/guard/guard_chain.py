#!/usr/bin/env python3
"""The guard without windows, on real peers: lock, unlock, photos, wrong and right PIN, kill, relaunch, quit.

Run inside tests/peers/keyring and tests/peers/real-logind:  guard_chain.py BRINDLE SAMPLE_FRAMES
"""
import glob, json, os, signal, subprocess, sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers"))
from steps import BRINDLE, DATA, Guard, at_failure, brindle, camera_of, check, sh, state, until

FRAMES = sys.argv[2]
PIN, WRONG = "730164", "918273"
camera_of(FRAMES, "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"

brindle("on", code=3)
check(brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n20\n").count("saved") == 2, "setup saves")
guard = Guard()
brindle("setup", "--alert-delay", "5", typed="\n", code=4)  # secrets are set: never without proof
check("Brindle is on." in brindle("on"), "on")
sh("lock_session", check=True)
until(lambda: "true" in sh("locked_hint").stdout, "the session is locked")
sh("unlock_typed", check=True)
guard.shows("This Mac is guarded.")
until(lambda: len(glob.glob(DATA + "/photos/*.jpg")) >= 2, "photos are on disk")
guard.type(WRONG)
guard.shows("Wrong PIN. Photo taken.")
check(WRONG not in guard.said, "a wrong try is not shown while typed")

until(lambda: [e.get("wrongPINs") for e in state()["events"]] == [1], "the wrong try is on disk")
os.kill(guard.pid, signal.SIGTERM)
guard.shows("quit refused: the guard is on")
os.kill(guard.pid, signal.SIGKILL)
check(guard.ends() is not None, "killed")
check("nothing watches" in brindle("status"), "status says that nothing watches")
half = DATA + "/photos/.half.jpg.brindle-new"
open(half, "w", encoding="utf-8").close()
guard = Guard()
guard.shows("This Mac is guarded.")
check(not os.path.exists(half), "what a kill left half-written is gone")
check("Wrong PIN. Photo taken." in brindle("confirm", typed=WRONG * 500 + "\n", code=4), "a try over the socket counts with the others")
until(lambda: [e.get("wrongPINs") for e in state()["events"]] == [2], "both wrong tries are recorded")
guard.type(PIN)
guard.shows("Confirmed.")
until(lambda: not any(e["photoPending"] for e in state()["events"]), "the tries' photos are all taken")

brindle("history", code=4)
shown = brindle("history", "--json", typed=PIN + "\n")
history = json.loads(shown[shown.index("["):])
check([(e["attemptOnly"], e["wrongPINs"]) for e in history] == [(True, 2)], "the history holds exactly the wrong tries", history)
check(sorted(history[0]["photos"]) == sorted(glob.glob(DATA + "/photos/*.jpg")), "with their photos, and no others", history)
for path in glob.glob(DATA + "/**", recursive=True):
    check(os.stat(path).st_mode & 0o077 == 0, f"private: {os.path.basename(path)}")
off = brindle("off", typed=f"{WRONG}\n\nRex Barker\n")
check("First pet?" in off and "Brindle is off." in off, "after a wrong PIN the answer is asked for, and proves as well", off)
check("armedAt" not in state(), "the document says off", state())
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "off, it ends when asked")

# A guard that neither commands nor links can reach still guards, and says so.
os.environ["XDG_RUNTIME_DIR"] += "/" + "x" * 200
open(os.environ["XDG_DATA_HOME"] + "/applications", "w", encoding="utf-8").close()
with open(os.environ["XDG_CONFIG_HOME"] + "/Brindle/preferences.json", "r+", encoding="utf-8") as file:
    chosen = json.load(file)
    file.seek(0)
    json.dump({**chosen, "service.url": "http://127.0.0.1:9"}, file)
lonely = subprocess.Popen([BRINDLE, "guard"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
at_failure.append(lonely.kill)
said = ""
while "socket: not there: <private>" not in said and (line := lonely.stdout.readline()):
    said += line
for what in ("links: not offered: <private>", "socket: not there: <private>"):
    check(what in said, f"it says {what}", said)
lonely.terminate()
check(lonely.wait(timeout=20) == 0, "and ends when asked", lonely.returncode)
