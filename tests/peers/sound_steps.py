"""A sound server of a story's own, with one output that nobody hears, and ears for it."""
import array, os, subprocess, threading, time

from steps import at_failure, check, sh, until

RATE = 44100
LOUD = 0.9 * 32767


class SoundServer:
    def __init__(self, sink="speakers"):
        self.sink = sink
        self.start()

    def start(self):
        self.process = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "-L", "module-native-protocol-unix",
             "-L", f"module-null-sink sink_name={self.sink}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        at_failure.append(self.process.kill)
        until(lambda: sh("pactl info").returncode == 0, "the sound server answers")

    def kill(self):
        self.process.kill()
        self.process.wait()

    def set(self, left, right, muted):
        sh(f"pactl set-sink-volume {self.sink} {left} {right} && pactl set-sink-mute {self.sink} {int(muted)}", check=True)

    def volume(self):
        """The raw volumes of both channels, and whether it is muted."""
        said = sh(f"pactl get-sink-volume {self.sink}; pactl get-sink-mute {self.sink}").stdout
        raw = [int(word) for word in said.replace(":", " ").split() if word.isdigit()]
        return raw[:2], "yes" in said


class Ears:
    """Hears the output from now on, until `stop`."""

    def __init__(self, server):
        self.samples = array.array("h")
        self.loud_at = None  # by the monotonic clock
        self.process = subprocess.Popen(
            ["parec", "-d", f"{server.sink}.monitor", "--latency-msec=20", "--format=s16le", f"--rate={RATE}", "--channels=1", "--raw"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        at_failure.append(self.process.kill)
        self.thread = threading.Thread(target=self.hear, daemon=True)
        self.thread.start()
        until(lambda: len(self.samples) > 0, "the output is heard")

    def hear(self):
        while piece := os.read(self.process.stdout.fileno(), 1764):
            some = array.array("h", piece[: len(piece) // 2 * 2])
            if self.loud_at is None and max(map(abs, some), default=0) > LOUD / 2:
                self.loud_at = time.monotonic()
            self.samples.extend(some)

    def stop(self):
        self.process.kill()
        self.process.wait()
        self.thread.join(5)

    def peaks(self, since, window=0.5):
        """The loudest sample of each window, as a part of full scale."""
        size, heard = int(window * RATE), self.samples[since:]
        return [max(map(abs, heard[at : at + size])) / 32767 for at in range(0, len(heard) - size + 1, size)]
