#!/usr/bin/env python3
"""What sealing a photo costs, beside the library's own figures and beside the command `age`.

    bench/seal.py BUILD [ROUNDS]

BUILD is a build folder of the preset "bench". Needs the commands `openssl` and `age` (Debian's package of that name:
`apt-get install age`; nothing else needs it). All take turns, so that a busy machine slows them alike; each round gives
ratios, and the medians are the figures. Times are processor time; that of `age` is its command's from start to end,
as it has no other way in.
"""
import os, re, statistics, subprocess, sys, tempfile

SIZE, SECONDS = 2_000_000, "1"
SEAL, ROUNDS = sys.argv[1] + "/bench/seal_bench", int(sys.argv[2]) if len(sys.argv) > 2 else 7


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def speed(*what):
    """What `openssl speed` measures, as text for machines."""
    return output("openssl", "speed", "-mr", "-seconds", SECONDS, *what)


def library():
    """Microseconds of AES-256-GCM over the file's size and one derivation on P-256."""
    bytes_a_second = float(re.search(r"^\+F:.*:([\d.]+)$", speed("-evp", "aes-256-gcm", "-bytes", str(SIZE)), re.M)[1])
    derivations_a_second = float(re.search(r"^\+F5:\d+:256:([\d.]+):", speed("ecdhp256"), re.M)[1])
    return 1e6 * SIZE / bytes_a_second, 1e6 / derivations_a_second


def sealing(file, recipients):
    """Microseconds of one sealing, and the memory it takes, the photo's included, in photos."""
    return [float(figure) for figure in output(SEAL, file, str(recipients), SECONDS).split()]


def age(file, recipient):
    """Microseconds of the command, from start to end."""
    taken = []
    for _ in range(30):
        child = os.posix_spawnp("age", ["age", "-r", recipient, "-o", os.devnull, file], os.environ)
        _, status, used = os.wait4(child, 0)
        assert status == 0, "age failed"
        taken.append(1e6 * (used.ru_utime + used.ru_stime))
    return statistics.median(taken)


def round_of(file, recipient):
    gcm, derivation = library()
    one, memory = sealing(file, 1)
    three, _ = sealing(file, 3)
    other = age(file, recipient)
    return gcm, derivation, one, three, other, one / (gcm + derivation), three / (gcm + derivation), other / one, memory


with tempfile.TemporaryDirectory() as folder:
    photo = folder + "/photo.jpg"
    with open(photo, "wb") as made:
        made.write(os.urandom(SIZE))
    output("age-keygen", "-o", folder + "/key")
    recipient = output("age-keygen", "-y", folder + "/key").strip()
    rounds = [round_of(photo, recipient) for _ in range(ROUNDS)]
    figures = [statistics.median(each) for each in zip(*rounds)]
    print("openssl speed: AES-256-GCM {:.0f} us, P-256 {:.0f} us; sealing for one {:.0f} us, for three {:.0f} us; age {:.0f} us\n"
          "one recipient {:.2f} times, three {:.2f} times, {:.1f} times as fast as age; {:.2f} photos of memory".format(*figures))
