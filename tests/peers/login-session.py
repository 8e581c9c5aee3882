"""Creates a graphical login session, writes its id to the file given, and keeps the session alive.

logind lets a session go when the descriptor that CreateSession returns is closed."""
import os, signal, subprocess, sys
import dbus

bus = dbus.SystemBus()
manager = dbus.Interface(bus.get_object("org.freedesktop.login1", "/org/freedesktop/login1"),
                         "org.freedesktop.login1.Manager")
signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
leader = subprocess.Popen(["sleep", "infinity"])
# A container has no text terminals, and logind then takes none for a session.
vt = 1 if os.path.exists("/dev/tty0") else 0
try:
    answer = manager.CreateSession(
        dbus.UInt32(os.getuid()), dbus.UInt32(leader.pid), "test", "x11", "user", "", "seat0",
        dbus.UInt32(vt), "", os.environ["DISPLAY"], False, "", "", dbus.Array([], signature="(sv)"))
    descriptor = answer[3].take()
    with open(sys.argv[1] + ".new", "w") as file:
        file.write(str(answer[0]))
    os.rename(sys.argv[1] + ".new", sys.argv[1])
    while True:
        signal.pause()
finally:
    leader.kill()
