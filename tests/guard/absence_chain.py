#!/usr/bin/env python3
"""Nobody at the machine: the guard turns itself on although the machine slept through the time, and whoever touches it after an
absence is noticed. It waits for two real minutes, since a minute is the shortest of either.

Run inside tests/peers/keyring and tests/peers/real-logind:  absence_chain.py BRINDLE SAMPLE_FRAMES
"""
import os, signal, sys, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers"))
from steps import Guard, brindle, camera_of, check, sh, state, until

PIN = "730164"
camera_of(sys.argv[2], "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"


def touch():
    sh("xdotool key shift", check=True)


def confirm():
    guard.type(PIN)
    guard.shows("Confirmed.")
    until(lambda: not state()["events"], "confirmed")


brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n1\n")
proved = lambda *command: brindle(*command, typed=PIN + "\n")
check("after 1 min without a touch" in proved("idle", "1"), "a minute is an absence")
guard = Guard()
due = time.localtime(time.time() + 65 - time.time() % 60)
brindle("schedule", "add", time.strftime("%H:%M", due), code=4)
check("Choose at least one day." in brindle("schedule", "add", time.strftime("%H:%M", due), typed=PIN + "\n", code=1), "a time has days")
check("never off." in proved("schedule", "add", time.strftime("%H:%M", due), "daily"), "a time is chosen")

# Asleep, as far as a process can tell: it is stopped at the time, and woken after it.
sh("suspend", check=True)
os.kill(guard.pid, signal.SIGSTOP)
touched = time.monotonic()
touch()
time.sleep(max(0.0, time.mktime(due[:5] + (0, 0, 0, -1)) - time.time()) + 1.5)
check(not state().get("armedAt"), "slept through, it is off")
os.kill(guard.pid, signal.SIGCONT)
guard.shows("schedule: on for a start ")
until(lambda: state().get("armedAt"), "awake, it turns itself on")
check("turned on by schedule" in brindle("status"), "and says who did it")
if "true" in sh("locked_hint").stdout:  # as before every sleep
    sh("unlock_typed", check=True)
    until(lambda: state()["events"], "whoever unlocks it then is noticed")
    confirm()

until(lambda: time.monotonic() > touched + 60 + 16, "nobody touches the machine for more than a minute", 90)
check(not state()["events"], "which is no event")
began = time.monotonic()
touch()
until(lambda: state()["events"], "the first touch is one")
check(time.monotonic() - began < 1.5, f"after {time.monotonic() - began:.2f} s")
check(state()["events"][-1]["trigger"]["kind"] == "idle-return", "of its own kind", state()["events"])
confirm()
check("Brindle is off." in proved("off"), "off")
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "it ends when asked")
