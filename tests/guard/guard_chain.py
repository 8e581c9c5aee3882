#!/usr/bin/env python3
"""The guard without windows, on real peers: lock, unlock, photos, wrong and right PIN, kill, relaunch, quit.

Run inside tests/peers/keyring and tests/peers/real-logind:  guard_chain.py BRINDLE SAMPLE_FRAMES
"""
import glob, json, os, pty, select, signal, subprocess, sys, time

BRINDLE, FRAMES = sys.argv[1:3]
PIN, WRONG = "730164", "918273"
DATA = os.environ["XDG_DATA_HOME"] + "/Brindle"
os.environ["BRINDLE_CAMERA_SOURCE"] = (
    f"multifilesrc location={FRAMES}/day-%d.jpg start-index=0 stop-index=3 loop=true caps=image/jpeg,framerate=10/1 ! jpegdec")
SUPPRESSIONS = os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lsan-suppressions.txt")
os.environ["LSAN_OPTIONS"] = f"suppressions={SUPPRESSIONS}:print_suppressions=0"


guards = []


def check(what, ok, *more):
    print(("ok      " if ok else "FAILED  ") + what, *([] if ok else more), flush=True)
    if ok:
        return
    for pid in guards:  # a guard that is on obeys nothing else
        os.kill(pid, signal.SIGKILL)
    sys.exit(1)


def brindle(*arguments, typed="", code=0):
    run = subprocess.run([BRINDLE, *arguments], input=typed, capture_output=True, text=True, timeout=60)
    check(f"brindle {' '.join(arguments)} gives {code}", run.returncode == code, run.returncode, run.stdout, run.stderr)
    return run.stdout


def wait_until(what, happened, otherwise=lambda: "", seconds=20):
    end = time.monotonic() + seconds
    answer = happened()
    while not answer and time.monotonic() < end:
        time.sleep(0.02)
        answer = happened()
    check(what, answer, otherwise())


def peer(function):
    subprocess.run(["bash", "-c", function], check=True, stdout=subprocess.DEVNULL)


def state():
    with open(DATA + "/state.json", encoding="utf-8") as file:
        return json.load(file)


def wait_for_lock():
    """A guard has begun: it holds the instance lock."""
    wait_until("the guard holds its lock", lambda: subprocess.run(
        ["flock", "-n", DATA + "/instance.lock", "true"], capture_output=True).returncode == 1)
    return True


class Guard:
    """`brindle guard` in a terminal of its own."""

    def __init__(self):
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.execv(BRINDLE, [BRINDLE, "guard"])
        guards.append(self.pid)
        self.seen = ""
        check("the guard answers, even while it starts", wait_for_lock() and json.loads(brindle("status", "--json"))["running"])

    def shows(self, text, seconds=20):
        end = time.monotonic() + seconds
        while text not in self.seen and time.monotonic() < end:
            if select.select([self.terminal], [], [], 0.1)[0]:
                self.seen += os.read(self.terminal, 4096).decode(errors="replace")
        check(f"the terminal shows: {text}", text in self.seen, self.seen)
        self.seen = self.seen.split(text, 1)[1]

    def type(self, text):
        os.write(self.terminal, text.encode() + b"\n")

    def ends(self, seconds=15):
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                guards.remove(pid)
                return status
            time.sleep(0.05)
        return None


report = {each["service"]: each for each in json.loads(brindle("doctor", "--json"))}
for service, backend in [("screen lock", "logind"), ("keychain", "Secret Service"), ("camera", "GStreamer"), ("files", "POSIX")]:
    found = report[service]
    check(f"doctor: {service} is {backend} and answers", found["answered"] and backend in found["backend"], found)
check("doctor names no backend in memory", all(each["backend"] != "memory" for each in report.values()))

brindle("on", code=3)
check("setup saves", brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n20\n").count("saved") == 2)
guard = Guard()
brindle("setup", "--alert-delay", "5", typed="\n", code=4)  # secrets are set: never without proof
check("on", "Brindle is on." in brindle("on"))
peer("lock_session")
wait_until("the session is locked", lambda: "true" in subprocess.run(["bash", "-c", "locked_hint"], capture_output=True, text=True).stdout)
peer("unlock_typed")
guard.shows("This Mac is guarded.")
wait_until("photos are on disk", lambda: len(glob.glob(DATA + "/photos/*.jpg")) >= 2)
guard.type(WRONG)
guard.shows("Wrong PIN. Photo taken.")
check("a wrong try is not shown while typed", WRONG not in guard.seen)

wait_until("the wrong try is on disk", lambda: [e.get("wrongPINs") for e in state()["events"]] == [1], state)
os.kill(guard.pid, signal.SIGTERM)
guard.shows("quit refused: the guard is on")
os.kill(guard.pid, signal.SIGKILL)
check("killed", guard.ends() is not None)
check("status says that nothing watches", "nothing watches" in brindle("status"))
half = DATA + "/photos/.half.jpg.brindle-new"
open(half, "w", encoding="utf-8").close()
guard = Guard()
guard.shows("This Mac is guarded.")
check("what a kill left half-written is gone", not os.path.exists(half))
check("a try over the socket counts with the others", "Wrong PIN. Photo taken." in brindle("confirm", typed=WRONG * 500 + "\n", code=4))
wait_until("both wrong tries are recorded", lambda: [e.get("wrongPINs") for e in state()["events"]] == [2], state)
guard.type(PIN)
guard.shows("Confirmed.")
wait_until("the tries' photos are all taken", lambda: not any(e["photoPending"] for e in state()["events"]), state)

brindle("history", code=4)
shown = brindle("history", "--json", typed=PIN + "\n")
history = json.loads(shown[shown.index("["):])
check("the history holds exactly the wrong tries", [(e["attemptOnly"], e["wrongPINs"]) for e in history] == [(True, 2)], history)
check("with their photos, and no others", sorted(history[0]["photos"]) == sorted(glob.glob(DATA + "/photos/*.jpg")), history)
for path in glob.glob(DATA + "/**", recursive=True):
    check(f"private: {os.path.basename(path)}", os.stat(path).st_mode & 0o077 == 0)
check("off needs proof", "Brindle is off." in brindle("off", typed=PIN + "\n"))
check("the document says off", "armedAt" not in state(), state())
os.kill(guard.pid, signal.SIGTERM)
check("off, it ends when asked", guard.ends() == 0)

# A guard that commands cannot reach still guards, and says so.
os.environ["XDG_RUNTIME_DIR"] += "/" + "x" * 200
lonely = subprocess.Popen([BRINDLE, "guard"], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
guards.append(lonely.pid)
said = ""
while "socket: not there: <private>" not in said and (line := lonely.stdout.readline()):
    said += line
check("a guard without its socket says so", "socket: not there: <private>" in said, said)
lonely.terminate()
check("and ends when asked", lonely.wait(timeout=20) == 0, lonely.returncode)
