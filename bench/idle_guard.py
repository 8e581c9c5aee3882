#!/usr/bin/env python3
"""What `brindle guard` costs while it is on and nobody is there: wake-ups and resident memory.

    tests/peers/real-logind tests/peers/keyring bench/idle_guard.py BRINDLE [SECONDS [EVENTS]] [--mappings]

A wake-up is a context switch of any of its threads; the kernel counts them in /proc.
"""
import glob, json, os, re, signal, stat, subprocess, sys, time, uuid

numbers = [int(each) for each in sys.argv[2:] if each.isdigit()] + [60, 0]
BRINDLE, SECONDS, EVENTS = sys.argv[1], numbers[0], numbers[1] if len(numbers) > 3 else 0
PIN, DATA = "730164", os.environ["XDG_DATA_HOME"] + "/Brindle"
# A picture in place of a camera, which a machine that measures seldom has.
os.environ["BRINDLE_CAMERA_SOURCE"] = "videotestsrc is-live=true"


def command(*arguments, typed=""):
    run = subprocess.run([BRINDLE, *arguments], input=typed, capture_output=True, text=True, timeout=60)
    if run.returncode:
        raise SystemExit(f"brindle {' '.join(arguments)}: {run.returncode}\n{run.stdout}{run.stderr}")
    return run.stdout


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


def measure(pid, when):
    before, begun = switches(pid), time.monotonic()
    time.sleep(SECONDS)
    after, passed = switches(pid), time.monotonic() - begun
    # A thread that ended meanwhile takes its counts along.
    total = sum(sum(now[1:]) - sum(before.get(task, now)[1:]) for task, now in after.items())
    print(f"{when}: {total / passed:.3f} wake-ups a second over {passed:.0f} s")
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


def wait_until(happened, what):
    end = time.monotonic() + 20
    while not happened():
        if time.monotonic() > end:
            raise SystemExit(f"gave up waiting: {what}")
        time.sleep(0.05)


def fill_history(count):
    """Confirmed long ago, with four photos each."""
    events = []
    for n in range(count):
        identity = str(uuid.uuid4()).upper()
        events.append({"id": identity, "date": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(1_760_000_000 + n)),
                       "photoFiles": [f"{identity}-{i}.jpg" for i in range(4)], "resolved": True})
    os.makedirs(DATA, mode=0o700, exist_ok=True)
    with open(DATA + "/state.json", "w", encoding="utf-8") as file:
        json.dump({"events": events}, file)


def start_guard():
    guard = subprocess.Popen([BRINDLE, "guard"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    sockets = os.environ["XDG_RUNTIME_DIR"] + "/**/*.sock*"
    wait_until(lambda: any(stat.S_ISSOCK(os.stat(path).st_mode) for path in glob.glob(sockets, recursive=True)), "the guard's socket")
    return guard


command("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n30\n")
if EVENTS:
    fill_history(EVENTS)
guard = start_guard()
try:
    command("on")
    time.sleep(5)  # for what still follows turning on
    measure(guard.pid, f"on, {EVENTS} events")
    peer("lock_session")
    wait_until(lambda: "true" in subprocess.run(["bash", "-c", "locked_hint"], capture_output=True, text=True).stdout, "the lock")
    peer("unlock_typed")
    wait_until(lambda: len(glob.glob(DATA + "/photos/*.jpg")) >= 4, "four photos")
    command("confirm", typed=PIN + "\n")
    time.sleep(5)
    measure(guard.pid, "on, after an unlock with photos that was confirmed")
finally:
    guard.send_signal(signal.SIGKILL)  # one that is on obeys nothing else
    guard.wait()
