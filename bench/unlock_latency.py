#!/usr/bin/python3
"""From a real logind's unlock signal to the camera being asked and to the event being durable, in the guard as released.

    tests/peers/real-logind tests/peers/keyring bench/unlock_latency.py BUILD [UNLOCKS [EVENTS [OWED]]]

With OWED the guard is signed in to the scripted alert service on this machine, and the figures are about the check-in
that tells of the unlock: until it leaves, until the service has its first byte and until its answer is back. A thousand
others are owed: "other", to an account that is not signed in; "failing", ones that the service answers with 503;
"silent", ones that it never answers; or "none". BUILD is a build folder of the preset "bench". Each round sets LockedHint of the session to false through logind. A figure
begins with that call ("call"), which the signal cannot precede, or with the signal's arrival at a subscriber of our own on
the same bus ("signal"), and ends with what unlock_probe, loaded into the guard, tells. The history is written below TMPDIR,
which decides the disk that is measured.
"""
import contextlib, glob, os, sys, threading, time

from gi.repository import Gio, GLib

from guard_tools import DATA, OWNER, PIN, Service, command, owe, set_up, sign_in, start_guard, wait_until

BUILD, UNLOCKS, EVENTS, OWED = sys.argv[1:] + ["200", "0", ""][len(sys.argv) - 2:]
BRINDLE, UNLOCKS, EVENTS = BUILD + "/src/app/brindle", int(UNLOCKS), int(EVENTS)
LOGIND, SESSION = "org.freedesktop.login1", "org.freedesktop.login1.Session"


def bus():
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(os.environ["DBUS_SYSTEM_BUS_ADDRESS"], flags, None, None)


class Signals(threading.Thread):
    """When LockedHint became false, as told to any subscriber."""

    def __init__(self, path):
        super().__init__(daemon=True)
        self.path, self.last, self.ready = path, 0, threading.Event()

    def run(self):
        context = GLib.MainContext()
        context.push_thread_default()
        connection = bus()
        connection.signal_subscribe(LOGIND, "org.freedesktop.DBus.Properties", "PropertiesChanged", self.path, SESSION,
                                    Gio.DBusSignalFlags.NONE, self.changed)
        connection.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId", None, None, 0, -1, None)
        self.ready.set()
        GLib.MainLoop.new(context, False).run()

    def changed(self, *arguments):
        now = time.monotonic_ns()
        if arguments[5].unpack()[1].get("LockedHint") is False:
            self.last = now


class Probe:
    """What the guard did, in order."""

    def __init__(self, descriptor):
        self.file, self.seen = os.fdopen(descriptor), []
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        for line in self.file:
            what, at = line.split()
            self.seen.append((what, int(at)))

    def camera(self, after):
        return self.first("camera", after)

    def durable(self, after):
        renamed = self.first("renamed", after)
        return renamed and self.first("durable", renamed)

    def first(self, what, after):
        return next((at for name, at in self.seen if name == what and at > after), None)


def photos():
    return len(glob.glob(DATA + "/photos/*.jpg"))


def figure(name, values):
    values = sorted(value / 1e6 for value in values)
    p99 = values[min(len(values) - 1, -(-99 * len(values) // 100) - 1)]
    print(f"{name:20} median {values[len(values) // 2]:6.2f} ms   p99 {p99:6.2f} ms   most {values[-1]:6.2f} ms")


def one_unlock(signals, probe, set_hint, ends):
    """When it was called and signalled, and when each of the ends came."""
    set_hint(True)
    time.sleep(0.1)
    call = time.monotonic_ns()
    set_hint(False)
    wait_until(lambda: signals.last > call and all(end(call) for end in ends.values()), "the unlock")
    moments = (call, signals.last, {name: end(call) for name, end in ends.items()})
    # As the owner would: look, prove, go on. An unlock within 1.5 s of the last counts as the same one.
    wait_until(lambda: photos() > 0, "a photo")
    command(BRINDLE, "confirm", typed=PIN + "\n")
    wait_until(lambda: photos() == 0, "the photos to go")
    time.sleep(max(0.2, 1.6 - (time.monotonic_ns() - max(moments[2].values())) / 1e9))
    return moments


def sign_in_and_owe(stack):
    service = Service(BUILD)
    stack.callback(service.end)
    sign_in(BRINDLE, service)
    if OWED != "none":
        owe(1000, "somebody.else@example.org" if OWED == "other" else OWNER)
    if OWED in ("failing", "silent"):
        service.says({"failing": "status api/watch/extend 503", "silent": "never api/watch/extend"}[OWED])
    return service


def first_byte(service, after):
    return min((each["firstByte"] for each in service.requests("api/watch/pending") if each["firstByte"] > after), default=None)


def measure(stack):
    set_up(BRINDLE, EVENTS)
    service = sign_in_and_owe(stack) if OWED else None
    out, into = os.pipe()
    os.set_inheritable(into, True)
    os.environ["BRINDLE_PROBE_FD"] = str(into)
    guard = start_guard(BRINDLE, close_fds=False, env={**os.environ, "LD_PRELOAD": BUILD + "/bench/libunlock_probe.so"})
    stack.callback(guard.wait)
    stack.callback(guard.kill)  # one that is on obeys nothing else
    probe, connection = Probe(out), bus()
    path = connection.call_sync(LOGIND, "/org/freedesktop/login1", LOGIND + ".Manager", "GetSession",
                                GLib.Variant("(s)", (os.environ["XDG_SESSION_ID"],)), None, 0, -1, None).unpack()[0]
    signals = Signals(path)
    signals.start()
    signals.ready.wait()

    def set_hint(locked):
        connection.call_sync(LOGIND, path, SESSION, "SetLockedHint", GLib.Variant("(b)", (locked,)), None, 0, -1, None)

    ends = {"camera": probe.camera, "durable": probe.durable}
    if service:
        ends |= {"wire": lambda call: probe.first("wire", call), "first byte": lambda call: first_byte(service, call),
                 "answered": lambda call: probe.first("answered", call)}
    command(BRINDLE, "on")
    time.sleep(2)
    return [one_unlock(signals, probe, set_hint, ends) for _ in range(UNLOCKS)]


def main():
    with contextlib.ExitStack() as stack:
        rounds = measure(stack)
    print(f"{UNLOCKS} unlocks, {EVENTS} events in the history" + (f", owed: {OWED}" if OWED else ""))
    figure("call to signal", [signal - call for call, signal, _ in rounds])
    for name, begin in (("call", 0), ("signal", 1)):
        for end in rounds[0][2]:
            figure(f"{name} to {end}", [each[2][end] - each[begin] for each in rounds])


main()
