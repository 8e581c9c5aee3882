#!/usr/bin/env python3
"""The alarm on real peers: upowerd pulls the adapter, the sound server's own monitor hears it, whatever others do to the volume,
until the owner proves who they are; then the volume is theirs again, to the bit.

Run inside tests/peers/keyring and tests/peers/real-logind:  alarm_chain.py BRINDLE SAMPLE_FRAMES
"""
import json, os, signal, subprocess, sys, threading, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers"))
from sound_steps import Ears, RATE, SoundServer
from steps import Guard, at_failure, brindle, camera_of, check, sh, state, until

PIN = "730164"
camera_of(sys.argv[2], "start-index=0 stop-index=3 ")
os.environ["BRINDLE_CAMERA_SOURCE"] += " ! jpegdec"
PEERS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../peers")
OWNERS = ([19661, 32768], True)  # 30 % and 50 %, muted


def proved(*command):
    return brindle(*command, typed=PIN + "\n")


def kinds():
    return [(each.get("trigger") or {}).get("kind") for each in state()["events"]]


def owners_volume(what):
    until(lambda: speakers.volume() == OWNERS, f"{what}: the owner's volume, exactly")


def confirm():
    guard.type(PIN)
    guard.shows("Confirmed.")
    until(lambda: not state()["events"], "confirmed")


class Power:
    """The real UPower over a made-up adapter, battery and lid."""

    def __init__(self):
        self.process = subprocess.Popen(["/usr/bin/python3", PEERS + "/upower"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        at_failure.append(self.process.terminate)
        said = self.process.stdout.readline()
        if said.startswith("skipped"):
            print(said)
            sys.exit(77)
        check(said == "ready\n", "UPower answers", said)

    def tell(self, command):
        print(command, file=self.process.stdin, flush=True)


speakers, power = SoundServer(), Power()
speakers.set(*OWNERS[0], OWNERS[1])
doctor = {each["service"]: each for each in json.loads(brindle("doctor", "--json"))}
check(all(doctor[name]["answered"] for name in ("sound", "sound player", "power source", "power assertion", "calendar", "idle time")), "all that is needed answers", doctor)
brindle("setup", typed=f"{PIN}\n{PIN}\nFirst pet?\nRex Barker\nRex Barker\n1\n")
check("unplugged    on" in proved("alarm", "unplugged", "on"), "the alarm is chosen")
proved("alarm", "awake", "on")
guard = Guard()
ears = Ears(speakers)
check("That was the test" in brindle("alarm", "test"), "a test sounds")
check(max(ears.peaks(0, 0.1)) < 0.2 and speakers.volume() == OWNERS, "quietly, and nobody's volume is touched")
brindle("on")
until(lambda: "Brindle is on" in sh("busctl call org.freedesktop.login1 /org/freedesktop/login1 org.freedesktop.login1.Manager ListInhibitors").stdout, "the machine is kept awake")

# Somebody pulls the adapter, and another program turns the sound down.
pulled = time.monotonic()
power.tell("unplug")
until(lambda: ears.loud_at, "the alarm is heard")
check(ears.loud_at - pulled < 0.3, f"after {1000 * (ears.loud_at - pulled):.0f} ms")
began = len(ears.samples) + RATE // 2
until(lambda: kinds() == ["power-unplugged"], "and it is an event")
while len(ears.samples) < began + 10.2 * RATE:
    sh(f"pactl set-sink-volume {speakers.sink} 20%", check=True)
    time.sleep(0.09)
heard = ears.peaks(began)
check(len(heard) > 19 and min(heard) >= 0.9, f"10 s of it, {min(heard):.2f} of full scale at least", heard)
speakers.set("10%", "10%", True)
until(lambda: speakers.volume() == ([65536, 65536], False), "turned down and muted, it is back", 1)
check("The alarm sounds (power-unplugged)" in brindle("status"), "the status says so")
power.tell("plug")
time.sleep(0.2)
check(speakers.volume()[0] == [65536, 65536], "plugging it in again silences nothing")

# The sound server dies; the program dies.
speakers.kill()
speakers.start()
speakers.set("10%", "10%", True)
ears = Ears(speakers)
until(lambda: ears.loud_at, "it sounds with the next sound server", 4)
os.kill(guard.pid, signal.SIGKILL)
check(guard.ends() is not None, "the guard is killed")
until(lambda: max(ears.peaks(len(ears.samples) - RATE // 2, 0.2) or [1]) < 0.01, "and is silent")
guard = Guard()
ears.loud_at = None
until(lambda: ears.loud_at, "the next guard goes on with the alarm", 4)
confirm()
owners_volume("confirmed")
ears.stop()

# The alarm alone is stopped; a lid that closes is an event without being an alarm.
power.tell("unplug")
until(lambda: speakers.volume() == ([65536, 65536], False), "it sounds again")
brindle("alarm", "stop", code=4)
check("The alarm is stopped." in proved("alarm", "stop"), "a proof stops it")
owners_volume("stopped")
check(state()["events"], "which confirms nothing")
confirm()
check("Brindle is off." in proved("off"), "off")
check("Brindle is on" not in sh("busctl call org.freedesktop.login1 /org/freedesktop/login1 org.freedesktop.login1.Manager ListInhibitors").stdout, "and the machine may sleep")
said = proved("log", "--own", "--json")
log = json.loads(said[said.index("["):])
check([each["outcome"] for each in log] and {each["outcome"] for each in log} <= {"confirmed", "unconfirmed"}, "the unlock log has the outcomes", log)
os.kill(guard.pid, signal.SIGTERM)
check(guard.ends() == 0, "it ends when asked")
speakers.kill()
power.tell("quit")
