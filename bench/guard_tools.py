"""What the measurements of a running guard share. The places are those of tests/peers/keyring."""
import base64, glob, json, os, signal, stat, subprocess, tempfile, time, uuid

PIN, DATA = "730164", os.environ["XDG_DATA_HOME"] + "/Brindle"
PREFERENCES = os.environ["XDG_CONFIG_HOME"] + "/Brindle/preferences.json"
OWNER = "owner@example.org"
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


class Service:
    """The scripted alert service, as a program of its own, and what it got."""

    def __init__(self, build):
        self.log = tempfile.NamedTemporaryFile(prefix="brindle-service-")
        self.program = subprocess.Popen([build + "/src/testing/scripted_alert_service", self.log.name],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.port = int(self.program.stdout.readline())
        self.rest, self.got = "", []

    def says(self, line):
        self.program.stdin.write(line + "\n")
        self.program.stdin.flush()
        if self.program.stdout.readline().strip() != "ok":
            raise SystemExit("the service does not know: " + line)

    def requests(self, path):
        *lines, self.rest = (self.rest + self.log.read().decode()).split("\n")
        self.got += [json.loads(line) for line in lines]
        return [each for each in self.got if each["path"] == path]

    def end(self):
        self.program.kill()
        self.program.wait()


def change_preferences(**values):
    """While no guard runs."""
    known = {}
    if os.path.exists(PREFERENCES):
        with open(PREFERENCES, encoding="utf-8") as file:
            known = json.load(file)
    os.makedirs(os.path.dirname(PREFERENCES), mode=0o700, exist_ok=True)
    with open(PREFERENCES, "w", encoding="utf-8") as file:
        json.dump(known | {name.replace("__", "."): value for name, value in values.items()}, file)


def sign_in(brindle, service):
    """By e-mail, with a guard of its own."""
    change_preferences(service__url=f"http://127.0.0.1:{service.port}")
    guard = start_guard(brindle)
    command(brindle, "terms", "agree", typed=PIN + "\n")
    command(brindle, "account", "sign-in", "email", OWNER, typed=PIN + "\n")
    asked = json.loads(base64.b64decode(service.requests("api/verify-start")[-1]["body"]))
    command(brindle, "open", "brindle://signin?code=abc&state=" + asked["state"])
    wait_until(lambda: OWNER in command(brindle, "account"), "to be signed in")
    guard.send_signal(signal.SIGTERM)  # it is off
    guard.wait()


def owe(count, account):
    """Operations that wait to be sent, while no guard runs."""
    os.makedirs(DATA + "/outbox", mode=0o700, exist_ok=True)
    operations = []
    for n in range(count):
        identity, event = (str(uuid.uuid4()).upper() for _ in range(2))
        file = f"watch-{identity}.json"
        with open(f"{DATA}/outbox/{file}", "w", encoding="utf-8") as body:
            json.dump({"eventId": event}, body)
        operations.append({"id": identity, "route": "extend", "eventID": event, "body": "", "file": file,
                           "createdAt": 781_000_000 + n, "attempts": 2, "account": account})
    change_preferences(watch__outbox=json.dumps({"ops": operations}))
