"""How the viewer keeps up with 60 full-HD updates a second.

rate.py SECONDS -- EMULATOR... PROGRAM DRIVER PRODUCER

For each kind of image: the updates that the producer made and how long it took for them, those that the
viewer was told of, how long after the producer's last one the viewer had drawn everything, and the viewer's
processor time as a share of the time that passed. While the viewer draws, further updates are merged, so that
fewer told than made means a busy machine, and no backlog either way: what is drawn last is the last picture.
"""

import os
import re
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools", "desktop"))
from desktop import Desktop

WIDTH, HEIGHT, RATE = 1920, 1080, 60
UNSIGNED, FLOAT, BGR = 0, 2, 5
KINDS = [("8-bit grey", UNSIGNED, 8), ("16-bit grey", UNSIGNED, 16), ("32-bit float", FLOAT, 32), ("colours", BGR, 24)]


def viewer_process(name):
    """The number of the process that views an image of this name."""
    for process in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{process}/cmdline", "rb") as file:
                words = file.read().split(b"\0")
        except OSError:
            continue
        if b"view" in words and name.encode() in words:
            return process
    raise RuntimeError("there is no viewer")


def processor_seconds(process):
    with open(f"/proc/{process}/stat") as file:
        fields = file.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(desktop, label, encoding, bits, seconds):
    name = f"rate-{encoding}-{bits}"
    producer = desktop.produce(name, WIDTH, HEIGHT, encoding, bits)
    viewer = desktop.view(name, "--size 1236,660")
    process = viewer_process(name)
    frames = RATE * seconds
    before = processor_seconds(process)
    start = time.monotonic()
    producer.say(f"stream {frames} {RATE}")
    made = time.monotonic()
    # A text is given between two updates: once the count no longer grows, nothing waits.
    count, last = -1, 0
    while count != last:
        count = last
        time.sleep(0.02)
        last = int(re.search(r"(\d+) updates?, ", viewer.text("STATUS")).group(1))
    drawn = time.monotonic()
    used = processor_seconds(process) - before
    print(f"{label:13} {frames:6} {frames / (made - start):8.1f} {last:6} {last / (made - start):8.1f} "
          f"{1000 * (drawn - made):9.0f} {used / (drawn - start):8.2f}")
    viewer.close()
    producer.end()


def main():
    at = sys.argv.index("--")
    seconds, rest = int(sys.argv[1]), sys.argv[at + 1 :]
    desktop = Desktop(rest[:-3], *rest[-3:])
    try:
        print(f"{WIDTH} x {HEIGHT}, {RATE} updates a second for {seconds} s, fitted into 1000 x 563 pixels")
        print("image           made /second   told /second  drawn+ms  processor")
        for label, encoding, bits in KINDS:
            measure(desktop, label, encoding, bits, seconds)
    finally:
        desktop.close()


if __name__ == "__main__":
    main()
