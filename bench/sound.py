#!/usr/bin/env python3
"""How long after "play" the alarm is at its output. Run inside tests/peers/sound. usage: sound.py BUILD [ROUNDS]

The clock begins before the player is called and ends when the first loud sample was read from the output's monitor, so
the recording's own delay counts too. Every round begins in silence and without a connection to the server."""
import array, statistics, subprocess, sys, time

BUILD, ROUNDS = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 20
RATE, LOUD = 48000, 20000


def loud_after(monitor, wanted):
    """When the monitor first gave a sample that is loud, or a whole tenth of a second that is not."""
    quiet = 0
    while True:
        samples = array.array("h", monitor.stdout.read(RATE // 500 * 4))
        loud = max(map(abs, samples)) > LOUD
        quiet = 0 if loud else quiet + len(samples)
        if loud if wanted else quiet > RATE // 5:
            return time.monotonic_ns()


subprocess.run(["bash", "-c", "plug_sound out"], check=True)
monitor = subprocess.Popen(["parec", "--raw", "--format=s16le", "--channels=2", f"--rate={RATE}", "--latency-msec=10",
                            "-d", "out.monitor"], stdout=subprocess.PIPE)
monitor.stdout.read(4)  # PulseAudio lets whoever begins to listen to an idle output wait, for up to two seconds
started, stopped = [], []
for _ in range(ROUNDS):
    with subprocess.Popen([BUILD + "/bench/sound_probe", BUILD + "/src/app/alarm.wav"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, text=True) as probe:
        probe.stdin.write("play\n")
        probe.stdin.flush()
        asked = int(probe.stdout.readline())
        started.append((loud_after(monitor, True) - asked) / 1e6)
        asked = time.monotonic_ns()
        probe.stdin.write("stop\n")
        probe.stdin.flush()
        stopped.append((loud_after(monitor, False) - asked) / 1e6 - 100)
        probe.stdin.close()
monitor.kill()
for name, times in ("play to sound", started), ("stop to silence", stopped):
    print(f"{name}: median {statistics.median(times):.0f} ms, most of {ROUNDS} {max(times):.0f} ms")
