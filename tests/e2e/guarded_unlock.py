"""The whole chain on real peers: real logind with a locker, a file-fed camera through GStreamer, gnome-keyring, a window
on a real display. Run by tests/e2e/run inside its prepared place.  guarded_unlock.py BRINDLE FRAMES KEEP

Set up by command line, turned on, locked, unlocked; photographed; the guarded window on the screen; a wrong PIN and then the
right one by keyboard; the history holds exactly the wrong try. In between the window is attacked. Screenshots go to KEEP."""
import json, os, re, signal, subprocess, sys, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers"))
from steps import DATA, Terminal, at_failure, camera_of, check, sh, state, until

BRINDLE, FRAMES, KEEP = sys.argv[1:4]
PIN, WRONG = "271828", "1111"
COVER = (18, 20, 26)  # the covers' colour
camera_of(FRAMES)
at_failure.append(lambda: screenshot("failed"))


def in_terminal(*arguments):
    """A command that asks for the PIN, answered: its exit status and what it said then."""
    program = Terminal(BRINDLE, *arguments)
    program.shows("Brindle PIN")
    program.type(PIN)
    return program.ends(), program.seen


def screenshot(name):
    path = os.path.join(KEEP, name + ".png")
    subprocess.run(["import", "-window", "root", path], check=True, timeout=20)
    return path


def covered():
    """Both halves of the screen (two outputs later on) show the cover in their corners and nothing on top of it."""
    points = [(5, 5), (630, 790), (645, 5), (1270, 790), (5, 790), (1270, 5)]
    pixels = "".join(f"%[pixel:p{{{x},{y}}}]\n" for x, y in points)
    out = sh(f"import -window root png:- | convert - -depth 8 -format '{pixels}' info:").stdout
    colours = [tuple(int(n) for n in re.findall(r"\d+", line)[:3]) for line in out.split("\n") if line]
    return len(colours) == len(points) and all(colour == COVER for colour in colours)


def type_pin(digits):
    sh(f"xdotool type --delay 20 {digits}; xdotool key Return")


def desktop_pid():
    out = sh("pgrep -x brindle-desktop").stdout.split()
    return int(out[0]) if out else None


class MenuBarHost:
    """Stands for the desktop's panel: programs register their menu-bar item with it."""

    def __init__(self):
        name = "org.kde.StatusNotifierWatcher"
        self.log = open(os.path.join(KEEP, "menu-bar.log"), "w+")
        self.process = subprocess.Popen(
            ["/usr/bin/python3", "-u", "-m", "dbusmock", "--session", name, "/StatusNotifierWatcher", name], stdout=self.log)
        sh(f"gdbus wait --session --timeout 10 {name}")
        mock = f"gdbus call --session -d {name} -o /StatusNotifierWatcher -m org.freedesktop.DBus.Mock."
        sh(f"{mock}AddMethod '{name}' RegisterStatusNotifierItem s '' ''; "
           f"{mock}AddProperty '{name}' IsStatusNotifierHostRegistered '<true>'; "
           f"{mock}AddProperty '{name}' ProtocolVersion '<0>'")

    def item(self):
        found = re.findall(r'RegisterStatusNotifierItem "?([:\w.-]+)', open(self.log.name).read())
        return found[-1] if found else None

    def choose(self, label):
        menu = f"gdbus call --session -d {self.item()} -o /MenuBar -m com.canonical.dbusmenu."
        layout = sh(menu + "GetLayout 0 -- -1 '[]'").stdout
        entry = re.search(r"\((\d+), \{[^}]*'label': <'" + re.escape(label), layout)
        check(entry, f"the menu offers {label}")
        sh(menu + f"Event {entry.group(1)} clicked '<0>' 0")


def set_up_by_keyboard():
    until(lambda: sh("xdotool search --onlyvisible --name 'Welcome to Brindle' windowfocus").returncode == 0,
          "the first start asks for a PIN")
    time.sleep(0.3)
    for text in (PIN, PIN, "First pet?", "Rex the dog", "Rex the dog"):
        sh(f"xdotool type --delay 15 '{text}'; xdotool key Tab")
    screenshot("onboarding")
    sh("xdotool key Return")
    until(lambda: '"pin":"set","answer":"set"' in sh(f"'{BRINDLE}' status --json").stdout.replace(" ", ""),
          "PIN and answer are chosen by keyboard")


def doctor_names_real_backends():
    # Without a window of its own the command asks the running program.
    report = json.loads(sh(f"'{BRINDLE}' doctor --json").stdout)
    services = {entry["service"]: entry for entry in report}
    for name in ("screen lock", "camera", "keychain", "files", "guarded window"):
        entry = services.get(name)
        check(entry and "memory" not in entry["backend"].lower() and entry["answered"],
              f"doctor: {name} is real and answers ({entry})")


def attack_the_window():
    sh("xdotool key alt+F4")
    time.sleep(0.3)
    until(covered, "covered after Alt-F4", 1)
    # An ordinary window, and one that no window manager holds back, both above everything.
    rivals = [subprocess.Popen(["xmessage", "-geometry", "400x300+0+0", "rival"], stderr=subprocess.DEVNULL)]
    sh("xdotool search --sync --onlyvisible --name xmessage windowraise windowfocus")
    until(covered, "covered after a competing window", 1)
    sh("xrandr --setmonitor left 640/170x800/210+0+0 screen; xrandr --setmonitor right 640/170x800/210+640+0 none")
    until(covered, "covered after an output was plugged in", 1)
    screenshot("two-outputs")
    for rival in rivals:
        rival.kill()
    # The display drops a client whose window is killed, and the toolkit then leaves by exit().
    xkill = "xdotool search --onlyvisible --name 'This Mac is guarded.' windowkill"
    for name, end in (("kill -9", lambda pid: os.kill(pid, signal.SIGKILL)), ("xkill", lambda _: sh(xkill))):
        before = desktop_pid()
        end(before)
        until(lambda: desktop_pid() not in (None, before) and covered(), f"covered again after {name}", 3)


def main():
    menu_bar = MenuBarHost()
    program = subprocess.Popen([BRINDLE], stdout=open(os.path.join(KEEP, "program.log"), "w"), stderr=subprocess.STDOUT)
    until(lambda: '"running":true' in sh(f"'{BRINDLE}' status --json").stdout, "the program runs")
    set_up_by_keyboard()
    doctor_names_real_backends()
    check(sh(f"'{BRINDLE}'").returncode == 0, "a second start only brings the window forward")
    menu_bar.choose("Turn Brindle on")
    until(lambda: "armedAt" in state(), "turned on from the menu and recorded")

    sh("lock_session")
    until(lambda: sh("locked_hint").stdout.strip() == "b true", "the screen is locked")
    check(not state()["events"], "no event while locked")
    sh("unlock_typed")
    event = until(lambda: state()["events"] and state()["events"][-1], "the unlock is an event")
    check(event["resolved"] is False, "it waits for the owner")
    until(covered, "the guarded window covers the screen", 5)
    until(lambda: len(state()["events"][-1]["photoFiles"]) >= 4, "a photo series is saved", 15)
    for name in state()["events"][-1]["photoFiles"]:
        head = open(os.path.join(DATA, "photos", name), "rb").read(3)
        check(head == b"\xff\xd8\xff", f"{name} is a picture")
    screenshot("guarded")
    attack_the_window()

    # The form is on the screen again; the keyboard is ours within a turn of its keeper.
    time.sleep(0.6)
    type_pin(WRONG)
    until(lambda: state()["events"][-1]["wrongPINs"] == 1, "the wrong PIN is counted")
    screenshot("wrong-pin")
    until(lambda: len(state()["events"][-1]["photoFiles"]) >= 5, "and photographed", 15)
    check(covered(), "still covered")
    type_pin(PIN)
    until(lambda: not covered(), "the right PIN takes the window down")
    left = until(lambda: [e for e in state()["events"]] if all(e["attemptOnly"] for e in state()["events"]) else None,
                 "the unlock is gone from the history")
    check(len(left) == 1 and left[0]["wrongPINs"] == 1 and left[0]["wrongAnswers"] == 0, "exactly the wrong try is left")
    until(lambda: sorted(os.listdir(os.path.join(DATA, "photos"))) == sorted(state()["events"][0]["photoFiles"]),
          "only its photos are left on disk")
    check("armedAt" in state(), "the guard is still on")

    # Quitting needs proof while on: a bare SIGTERM is refused, the history asks for the PIN.
    os.kill(program.pid, signal.SIGTERM)
    time.sleep(0.5)
    check(desktop_pid() is not None and program.poll() is None, "SIGTERM by a person is refused while on")
    code, said = in_terminal("history", "--json")
    check(code == 0 and left[0]["id"] in said, f"history after proof ({code})")
    checks = "xdotool search --onlyvisible --name '^Brindle$'"  # the one for quitting is still there
    before = until(lambda: sh(checks).stdout.split(), "quitting asks who it is")

    def asked():
        # The menu is made anew with each change, and an entry of the one before is nothing any more.
        menu_bar.choose("Turn Brindle off")
        time.sleep(0.5)
        return [each for each in sh(checks).stdout.split() if each not in before]

    opened = until(asked, "turning off asks, too")
    sh(f"xdotool windowfocus {opened[0]}")
    time.sleep(0.3)
    type_pin(PIN)
    until(lambda: "armedAt" not in state(), "off, by PIN and Return")
    os.kill(program.pid, signal.SIGTERM)
    check(program.wait(10) == 0, "and then it ends")
    menu_bar.process.kill()
    check(oct(os.stat(DATA).st_mode & 0o777) == "0o700", "its folder is private")


main()
print("1 passed, 0 failed")
