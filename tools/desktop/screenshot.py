"""Makes the documentation's picture of the viewer, from the program itself.

screenshot.py OUT.png -- EMULATOR... PROGRAM DRIVER PRODUCER
"""

import os
import subprocess
import sys

from desktop import Desktop

PHANTOM = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "samples", "phantom.png"))


def main():
    at = sys.argv.index("--")
    out, rest = sys.argv[1], sys.argv[at + 1 :]
    desktop = Desktop(rest[:-3], *rest[-3:])
    publisher = subprocess.Popen(rest[:-2] + ["publish", PHANTOM, "--name", "phantom", "--access", "multiple-writers"],
                                 env=desktop.environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    try:
        publisher.stdout.readline()
        viewer = desktop.view("phantom", "--ramp dusk", "--size 1060,796")
        viewer.key("G", "shift", times=3)
        viewer.wait_for_text("PANEL", "gamma 0.75")
        viewer.drag("right", (300, 300), (306, 296))
        viewer.wait_for_text("PANEL", "contrast 1.03")
        desktop.run("paint", "phantom", "--pattern", "gradient", "--rect", "440,16,496,48")
        viewer.wait_for_text("STATUS", "changed 440,16,496,48")
        viewer.move(404, 240)
        # The screen follows a moment after the texts: two equal looks show that it has.
        left, top, _, _ = viewer.place()
        width, height = viewer.place("STATUS")[2], viewer.place()[3] + viewer.place("STATUS")[3]
        looks = []
        viewer.wait_for_text("STATUS", r"1 update, 0/s")
        viewer.wait_for(lambda: looks.append(desktop.screen.grab(left, top, width, height)) or
                        len(looks) > 1 and looks[-1].rows == looks[-2].rows, "a still picture")
        looks[-1].save(out)
        viewer.close()
    finally:
        publisher.communicate(b"\n")
        desktop.close()


if __name__ == "__main__":
    main()
