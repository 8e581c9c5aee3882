#!/usr/bin/env python3
"""Nobody at the machine: the guard turns itself on although the machine slept through the time, and whoever touches it after an
absence is noticed, on X11 and by what mutter tells. It waits for two real minutes, since a minute is the shortest of either.

Run inside tests/peers/keyring and tests/peers/real-logind:  absence_chain.py BRINDLE SAMPLE_FRAMES
"""
import contextlib, json, os, signal, subprocess, sys, time

PEERS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers")
sys.path.insert(0, PEERS)
from steps import BRINDLE, Terminal, Guard, at_failure, brindle, camera_of, check, sh, state, until

PIN = "730164"
camera_of(sys.argv[2], "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"


def touch():
    sh("xdotool key shift", check=True)


class Desk:
    """A guard of its own on a desktop whose shell tells the idle time: mutter, without a screen."""

    def __init__(self, folder):
        os.mkdir(folder)
        bus = subprocess.run(["dbus-daemon", f"--config-file={PEERS}/bus.conf", "--print-address=1", "--print-pid=1", "--fork"],
                             capture_output=True, text=True, check=True).stdout.split()
        self.started = [int(bus[1])]
        self.names = {"DBUS_SESSION_BUS_ADDRESS": bus[0], "XDG_DATA_DIRS": "/usr/share"}
        for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_RUNTIME_DIR"):
            self.names[name] = f"{folder}/{name.lower()}"
            os.mkdir(self.names[name], 0o700)
        at_failure.append(self.end)
        with self.environment():
            shell = subprocess.Popen(["mutter", "--headless", "--wayland", "--no-x11", "--virtual-monitor", "640x480"],
                                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            keyring = subprocess.Popen(["gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"], stdin=subprocess.PIPE,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            keyring.stdin.write(b"test-password")
            keyring.stdin.close()
            self.started += [shell.pid, keyring.pid]
            check(sh("gdbus wait --session --timeout 20 org.freedesktop.secrets").returncode == 0, "a keyring is there")
            check(sh("gdbus wait --session --timeout 20 org.gnome.Mutter.RemoteDesktop").returncode == 0, "mutter is there")
            self.untouched = time.monotonic()
            self.brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n1\n")
            check("after 1 min" in (said := self.brindle("idle", "1", typed=PIN + "\n")), "a minute there, too", said)
            self.guard = Terminal(BRINDLE, "guard")
            self.started.append(self.guard.pid)
            until(lambda: '"running":true' in self.brindle("status", "--json"), "with a guard of its own")

    @contextlib.contextmanager
    def environment(self):
        before = dict(os.environ)
        os.environ.update(self.names)
        yield
        os.environ.clear()
        os.environ.update(before)

    def brindle(self, *arguments, typed=""):
        with self.environment():
            return subprocess.run([BRINDLE, *arguments], input=typed, stdout=subprocess.PIPE, text=True, timeout=60, stderr=subprocess.STDOUT, check=False).stdout

    def events(self):
        with open(self.names["XDG_DATA_HOME"] + "/Brindle/state.json", encoding="utf-8") as file:
            return json.load(file)["events"]

    def touch(self):
        with self.environment():
            sh(f"/usr/bin/python3 {PEERS}/mutter-key", check=True)

    def end(self):
        for pid in reversed(self.started):
            with contextlib.suppress(ProcessLookupError):
                os.kill(pid, signal.SIGKILL)


def confirm():
    guard.type(PIN)
    guard.shows("Confirmed.")
    until(lambda: not state()["events"], "confirmed")


brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n1\n")
proved = lambda *command: brindle(*command, typed=PIN + "\n")
check("after 1 min without a touch" in proved("idle", "1"), "a minute is an absence")
guard = Guard()
desk = Desk(os.environ["HOME"] + "/desk")
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

check("Brindle is on." in (said := desk.brindle("on")), "the other desktop's guard is on", said)
until(lambda: time.monotonic() > touched + 60 + 16, "nobody touches the machine for more than a minute", 90)
check(not state()["events"], "which is no event")
began = time.monotonic()
touch()
until(lambda: state()["events"], "the first touch is one")
check(time.monotonic() - began < 1.5, f"after {time.monotonic() - began:.2f} s")
check(state()["events"][-1]["trigger"]["kind"] == "idle-return", "of its own kind", state()["events"])
confirm()
until(lambda: time.monotonic() > desk.untouched + 60 + 16, "nobody touches the other desktop either", 90)
check(not desk.events(), "which is no event there")
began = time.monotonic()
desk.touch()
until(desk.events, "the first touch is one")
check(time.monotonic() - began < 2.0, f"after {time.monotonic() - began:.2f} s")
check(desk.events()[-1]["trigger"]["kind"] == "idle-return", "by what mutter tells", desk.events())
desk.end()
check("Brindle is off." in proved("off"), "off")
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "it ends when asked")
