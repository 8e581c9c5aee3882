#!/usr/bin/env python3
"""The rehearsal's timeline: every part of the story, in order, in time, with files where it says.  rehearsal.py BRINDLE"""
import os, re, subprocess, sys, tempfile, time

STORY = ["a PIN is chosen", "the guard is turned on: ", "the screen is locked", "somebody unlocks it: ",
         'a watched file is opened and counts with the unlock: "letters.txt"', "the unlock is photographed: ",
         "a wrong PIN is entered: Wrong PIN. Photo taken.", "the wrong try is photographed: ", "the right PIN is entered",
         "the unlock is gone from the history, the wrong try stays: ", "everything is recorded", "The rehearsal went as it should."]

with tempfile.TemporaryDirectory() as folder:
    began = time.monotonic()
    run = subprocess.run([sys.argv[1], "rehearse"], capture_output=True, text=True, timeout=60, env={**os.environ, "TMPDIR": folder})
    took = time.monotonic() - began
    assert run.returncode == 0, run.stdout + run.stderr
    assert took < 20, took
    at = 0
    for part in STORY:
        found = run.stdout.find(part, at)
        assert found >= 0, f"not in its place: {part}\n{run.stdout}"
        at = found
    times = [float(each) for each in re.findall(r"^ *([0-9.]+) s ", run.stdout, re.M)]
    assert times == sorted(times), times
    left = re.findall(r"^  (/\S+)$", run.stdout[run.stdout.index("What is on disk now:"):], re.M)
    assert left and all(path.startswith(folder) and os.path.getsize(path) > 0 for path in left), run.stdout
    kept = {os.path.join(root, name) for root, _, names in os.walk(folder) for name in names if name.endswith(".jpg")}
    assert kept == {path for path in left if path.endswith(".jpg")}, (kept, left)
print("1 passed, 0 failed")
