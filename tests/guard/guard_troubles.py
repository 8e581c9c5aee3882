#!/usr/bin/env python3
"""The guard without windows, with what may go wrong around it: the clock is set during a lock-out, the camera cannot be
started, or goes away in the middle of a series.

Run inside tests/peers/real-logind and tests/peers/keyring:  guard_troubles.py BRINDLE SAMPLE_FRAMES SHIFTED_CLOCK
"""
import glob, json, os, re, shutil, signal, subprocess, sys, time

BRINDLE, FRAMES, CLOCK = sys.argv[1:4]
DATA, PLACE = os.environ["XDG_DATA_HOME"] + "/Brindle", os.environ["HOME"]
PIN, WRONG, DAY, YEAR = "730164", "1111", 86400, 365 * 86400
TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
os.environ["LSAN_OPTIONS"] = f"suppressions={TESTS}/lsan-suppressions.txt:print_suppressions=0"
os.environ["ASAN_OPTIONS"] = "verify_asan_link_order=0"
os.environ["SHIFTED_CLOCK"] = PLACE + "/shift"


def check(condition, what):
    if not condition:
        sys.exit(f"FAILED: {what}")
    print(f"ok: {what}", flush=True)


def until(question, what, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if answer := question():
            return answer
        time.sleep(0.05)
    sys.exit(f"FAILED: {what} (waited {seconds} s)")


def command(*arguments, typed=""):
    run = subprocess.run([BRINDLE, *arguments], input=typed, capture_output=True, text=True, timeout=30,
                         env={**os.environ, "LD_PRELOAD": CLOCK})
    return run.returncode, run.stdout + run.stderr


def events():
    with open(DATA + "/state.json", encoding="utf-8") as file:
        return json.load(file)["events"]


def set_clock(wall, boot=0):
    with open(PLACE + "/shift.new", "w") as file:
        file.write(f"{wall} {boot}")
    os.rename(PLACE + "/shift.new", PLACE + "/shift")


class Guard:
    """Ended with SIGKILL: one that is on obeys nothing else."""
    unlocks = 0

    def __init__(self, camera):
        self.log = open(PLACE + "/guard.log", "w+")
        self.process = subprocess.Popen([BRINDLE, "guard"], stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log,
                                        env={**os.environ, "LD_PRELOAD": CLOCK, "BRINDLE_CAMERA_SOURCE": camera})

    def __enter__(self):
        try:
            until(lambda: '"running":true' in command("status", "--json")[1], "the guard runs")
        except SystemExit:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def said(self, pattern):
        self.log.seek(0)
        return re.findall(pattern, self.log.read())

    def unlock(self):
        """Unlocks the real session; what it gives back waits for the end of the series and gives the event."""
        before = len(events())
        Guard.unlocks += 1
        set_clock(2 * Guard.unlocks)  # an unlock within 1.5 s of the last counts as the same one
        subprocess.run(["bash", "-c", "set_hint true && set_hint false"], check=True)
        until(lambda: len(events()) > before, "the unlock is an event")
        return lambda: until(lambda: not events()[-1].get("photoPending") and events()[-1], "the series ends")


def locked_for():
    """Seconds, as the right PIN is answered; None where it is taken."""
    code, said = command("history", typed=PIN + "\n")
    found = re.search(r"Too many wrong PINs\. Try again in (\d+) seconds\.", said)
    return int(found[1]) if found else None if code == 0 else sys.exit(f"FAILED: the PIN is answered with {code}: {said}")


def the_clock_is_set_during_a_lock_out():
    with Guard("videotestsrc is-live=true"):
        check(command("on")[0] == 0, "on")
        command("history", typed=f"{WRONG}\n" * 5)
        begun = time.monotonic()
        # What is left at least and at most, unless the wall clock was set back.
        left = lambda seconds: 60 - (time.monotonic() - begun) - 1 <= seconds <= 60
        check(left(locked_for()), "the fifth wrong PIN locks for a minute")
        for name, shift in (("a day forward", DAY), ("a year forward", YEAR), ("back to where it was", 0)):
            set_clock(shift)
            check(left(locked_for()), f"set {name}: as long as before")
        set_clock(-DAY)
        check(locked_for() >= DAY, "set a day back: never shorter")
        set_clock(YEAR)
    check(left(locked_for()), "set forward, and no guard: as long as before")
    with Guard("videotestsrc is-live=true"):
        check(left(locked_for()), "set forward, and a guard started anew: as long as before")
        set_clock(0, 61)
        check(locked_for() is not None, "the time has passed, the wall clock has not: still locked")
        set_clock(61, 61)
        check(locked_for() is None, "after its time the right PIN is taken")
        set_clock(0)
        check(command("status")[1].startswith("Brindle is on"), "the guard is still on")


def the_camera_fails():
    os.makedirs(PLACE + "/feed")
    feed = f"multifilesrc location={PLACE}/feed/day-%d.jpg loop=true caps=image/jpeg,framerate=10/1"
    with Guard(feed) as guard:
        event = guard.unlock()()
        check(event.get("reason") == "camera_failed" and not event["photoFiles"], "no feed: the event says that the camera failed")
        check(guard.said(r"no photo in \d+ ms") and not guard.said("photo saved"), "and so does the log")

        for frame in glob.glob(FRAMES + "/day-*.jpg"):
            shutil.copy(frame, PLACE + "/feed")
        ended = guard.unlock()
        until(lambda: events()[-1]["photoFiles"], "a first photo")
        for frame in glob.glob(PLACE + "/feed/*"):
            os.remove(frame)
        event = ended()
        check(0 < len(event["photoFiles"]) < 4 and not event.get("reason"), f"gone in the middle: {len(event['photoFiles'])} photos are kept")
        check(len(guard.said(r"photo saved in \d+ ms")) == 1, "and the log tells of them")
        check(all(os.path.getsize(f"{DATA}/photos/{name}") > 1000 for name in event["photoFiles"]), "on disk")
        check("last failure: no more frames" in command("doctor")[1], "doctor says so, too")
        check(guard.process.poll() is None and command("status")[1].startswith("Brindle is on"), "the guard is still on")


check(command("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n30\n")[0] == 0, "setup")
the_clock_is_set_during_a_lock_out()
the_camera_fails()
