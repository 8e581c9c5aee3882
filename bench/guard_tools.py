"""What the measurements of a running guard share. The places are those of tests/peers/keyring."""
import glob, json, os, stat, subprocess, time, uuid

PIN, DATA = "730164", os.environ["XDG_DATA_HOME"] + "/Brindle"
# A picture in place of a camera, which a machine that measures seldom has.
os.environ["BRINDLE_CAMERA_SOURCE"] = "videotestsrc is-live=true"


def command(brindle, *arguments, typed=""):
    run = subprocess.run([brindle, *arguments], input=typed, capture_output=True, text=True, timeout=60)
    if run.returncode:
        raise SystemExit(f"brindle {' '.join(arguments)}: {run.returncode}\n{run.stdout}{run.stderr}")
    return run.stdout


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


def set_up(brindle, events):
    command(brindle, "setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n30\n")
    if events:
        fill_history(events)


def start_guard(brindle, **more):
    quiet = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    guard = subprocess.Popen([brindle, "guard"], **quiet, **more)
    sockets = os.environ["XDG_RUNTIME_DIR"] + "/**/*.sock*"
    wait_until(lambda: any(stat.S_ISSOCK(os.stat(path).st_mode) for path in glob.glob(sockets, recursive=True)),
               "the guard's socket")
    return guard
