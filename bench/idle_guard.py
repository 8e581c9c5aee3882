#!/usr/bin/env python3
"""What `brindle guard` costs while it is on and nobody is there: wake-ups and resident memory.

    tests/peers/real-logind tests/peers/keyring bench/idle_guard.py BUILD [SECONDS [EVENTS]] [--signed-in] [--alarm] [--mappings]

BUILD is a build folder of the preset "bench". With an alarm it stays awake for the lid and a made-up adapter, told by the
real UPower (without: the lid is polled, as nobody tells it). Signed in, to the scripted alert service on this machine, it checks in.
A wake-up is a context switch of any of its threads; the kernel counts them in /proc.
"""
import glob, os, re, signal, subprocess, sys, time

from guard_tools import DATA, PIN, Service, command, set_up, sign_in, start_guard, wait_until

numbers = [int(each) for each in sys.argv[2:] if each.isdigit()] + [60, 0]
BRINDLE, SECONDS, EVENTS = sys.argv[1] + "/src/app/brindle", numbers[0], numbers[1] if len(numbers) > 3 else 0
PEERS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../tests/peers")
SERVICE = Service(sys.argv[1]) if "--signed-in" in sys.argv else None


def field(path, name):
    with open(path, encoding="utf-8") as file:
        return int(re.search(rf"^{name}:\s+(\d+)", file.read(), re.M)[1])


def switches(pid):
    """Of each thread: its name and how often it was switched away from, by itself or by force."""
    found = {}
    for task in glob.glob(f"/proc/{pid}/task/*"):
        with open(task + "/comm", encoding="utf-8") as file:
            name = file.read().strip()
        status = task + "/status"
        found[task] = (name, field(status, "voluntary_ctxt_switches"), field(status, "nonvoluntary_ctxt_switches"))
    return found


def memory(pid):
    return {name: field(f"/proc/{pid}/status", name) / 1024 for name in ("VmRSS", "RssAnon", "RssFile", "VmHWM")}


def largest_mappings(pid, count=12):
    sizes = {}
    name = ""
    with open(f"/proc/{pid}/smaps", encoding="utf-8") as file:
        for line in file:
            words = line.split()
            if "-" in words[0] and not words[0].endswith(":"):
                name = words[5] if len(words) > 5 else "[anonymous]"
            elif words[0] == "Rss:":
                sizes[name] = sizes.get(name, 0) + int(words[1])
    return sorted(sizes.items(), key=lambda each: -each[1])[:count]


def check_ins():
    return len(SERVICE.requests("api/watch/beat")) if SERVICE else 0


def measure(pid, when):
    told, before, begun = check_ins(), switches(pid), time.monotonic()
    time.sleep(SECONDS)
    after, passed = switches(pid), time.monotonic() - begun
    # A thread that ended meanwhile takes its counts along.
    total = sum(sum(now[1:]) - sum(before.get(task, now)[1:]) for task, now in after.items())
    print(f"{when}: {total / passed:.3f} wake-ups a second over {passed:.0f} s, {check_ins() - told} check-ins")
    for task, (name, *now) in after.items():
        more = [a - b for a, b in zip(now, before.get(task, (name, 0, 0))[1:])]
        if any(more):
            print(f"  {name:16} {more[0]:5} of its own accord {more[1]:5} by force")
    print(f"  {len(after)} threads", *(f"{name} {size:.1f} MB" for name, size in memory(pid).items()), sep="  ")
    if "--mappings" in sys.argv:
        for name, size in largest_mappings(pid):
            print(f"  {size:7} KB  {name}")


def peer(function):
    subprocess.run(["bash", "-c", function], check=True, stdout=subprocess.DEVNULL)


set_up(BRINDLE, EVENTS)
if SERVICE:
    sign_in(BRINDLE, SERVICE)
if "--alarm" in sys.argv:
    upower = subprocess.Popen(["/usr/bin/python3", PEERS + "/upower"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    upower.stdout.readline()
    for setting in "unplugged", "lid", "unconfirmed", "awake":
        command(BRINDLE, "alarm", setting, "on", typed=PIN + "\n")
guard = start_guard(BRINDLE)
try:
    command(BRINDLE, "on")
    time.sleep(5)  # for what still follows turning on
    measure(guard.pid, f"on, {EVENTS} events")
    peer("lock_session")
    wait_until(lambda: "true" in subprocess.run(["bash", "-c", "locked_hint"], capture_output=True, text=True).stdout, "the lock")
    peer("unlock_typed")
    wait_until(lambda: len(glob.glob(DATA + "/photos/*.jpg")) >= 4, "four photos")
    command(BRINDLE, "confirm", typed=PIN + "\n")
    time.sleep(5)
    measure(guard.pid, "on, after an unlock with photos that was confirmed")
finally:
    guard.send_signal(signal.SIGKILL)  # one that is on obeys nothing else
    guard.wait()
    if SERVICE:
        SERVICE.end()
    if "--alarm" in sys.argv:
        upower.communicate("quit\n")
