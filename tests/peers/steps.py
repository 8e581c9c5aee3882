"""What the stories on real peers share: they ask until it is so, run lines of bash that see the peers' functions, look into the
document, and talk to a program in a terminal of its own."""
import json, os, pty, select, signal, subprocess, sys, time

BRINDLE = sys.argv[1]
DATA = os.path.join(os.environ["XDG_DATA_HOME"], "Brindle")
TESTS = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
os.environ["LSAN_OPTIONS"] = f"suppressions={TESTS}/lsan-suppressions.txt:print_suppressions=0"
at_failure = []  # called before a story ends early


def camera_of(frames, more=""):
    """The camera sees these files."""
    os.environ["BRINDLE_CAMERA_SOURCE"] = f"multifilesrc location={frames}/day-%d.jpg {more}loop=true caps=image/jpeg,framerate=10/1"


def check(condition, what, *more):
    if not condition:
        for each in at_failure:
            each()
        sys.exit(f"FAILED: {what} " + " ".join(str(each) for each in more))
    print(f"ok: {what}", flush=True)


def until(question, what, seconds=20):
    end = time.monotonic() + seconds
    while not (answer := question()) and time.monotonic() < end:
        time.sleep(0.03)
    check(answer, what, f"(waited {seconds} s); the document: {state()}")
    return answer


def sh(command, **more):
    return subprocess.run(["bash", "-c", command], capture_output=True, text=True, timeout=30, **more)


def state():
    try:
        return json.load(open(os.path.join(DATA, "state.json"), encoding="utf-8"))
    except FileNotFoundError:
        return {"events": []}


def brindle(*arguments, typed="", code=0):
    run = subprocess.run([BRINDLE, *arguments], input=typed, capture_output=True, text=True, timeout=60)
    check(run.returncode == code, f"brindle {' '.join(arguments)} gives {code}", run.returncode, run.stdout, run.stderr)
    return run.stdout


class Terminal:
    """A program in a terminal of its own."""

    def __init__(self, program, *arguments):
        self.pid, self.terminal = pty.fork()
        if self.pid == 0:
            os.execv(program, [program, *arguments])
        self.said = self.seen = ""  # all of it, and what has come since the last text that was waited for
        self.status = None

    def reads(self):
        """True when something came within a moment."""
        try:
            if not select.select([self.terminal], [], [], 0.05)[0]:
                return False
            piece = os.read(self.terminal, 4096).decode(errors="replace")
        except OSError:  # nobody holds the other end any more
            time.sleep(0.02)
            return False
        self.said += piece
        self.seen += piece
        return True

    def shows(self, text, seconds=20):
        end = time.monotonic() + seconds
        while text not in self.seen and time.monotonic() < end:
            self.reads()
        check(text in self.seen, f"the terminal shows: {text}", self.seen)
        self.seen = self.seen.split(text, 1)[1]

    def type(self, text):
        os.write(self.terminal, text.encode() + b"\n")

    def ends(self, seconds=20):
        """Its exit status; None when it goes on."""
        end = time.monotonic() + seconds
        while self.status is None and time.monotonic() < end:
            self.reads()
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            self.status = os.waitstatus_to_exitcode(status) if pid else None
        while self.reads():
            pass
        return self.status


class Guard(Terminal):
    """`brindle guard` in a terminal of its own."""

    def __init__(self, *arguments):
        super().__init__(BRINDLE, "guard", *arguments)
        at_failure.append(lambda: self.status is None and os.kill(self.pid, signal.SIGKILL))  # one that is on obeys nothing else
        until(lambda: sh(f"flock -n {DATA}/instance.lock true").returncode == 1, "the guard holds its lock")
        check(json.loads(brindle("status", "--json"))["running"], "the guard answers, even while it starts")
