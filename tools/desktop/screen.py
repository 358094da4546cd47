"""A screen that nobody sees: an X server of the test's own, whose pixels are a file."""

import os
import struct
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
import pictures


class Screen:
    """A screen of 24-bit colours, until close."""

    def __init__(self, width, height):
        self.width, self.height = width, height
        self.folder = tempfile.TemporaryDirectory(prefix="tavlo-screen-")
        read_end, write_end = os.pipe()
        # The server chooses a display that is free and tells its number when it is there.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{width}x{height}x24", "-fbdir", self.folder.name]
            + ["-nolisten", "tcp", "-noreset", "-nocursor"],
            pass_fds=[write_end],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("the X server did not start")
        self.display = f":{number}"

    def close(self):
        self.server.terminate()
        self.server.wait()
        self.folder.cleanup()

    def grab(self, left=0, top=0, width=None, height=None):
        """The pixels of a rectangle as they are now."""
        with open(os.path.join(self.folder.name, "Xvfb_screen0"), "rb") as file:
            dump = file.read()
        header = struct.unpack(">25I", dump[:100])
        header_size, row_bytes, colours = header[0], header[12], header[19]
        first = header_size + 12 * colours
        width = width or self.width - left
        height = height or self.height - top
        rows = []
        for y in range(top, top + height):
            start = first + y * row_bytes + 4 * left
            rows.append(dump[start : start + 4 * width])
        return Shot(width, height, rows)


class Shot:
    """Pixels in rows of blue, green, red, nothing."""

    def __init__(self, width, height, rows):
        self.width, self.height, self.rows = width, height, rows

    def pixel(self, x, y):
        blue, green, red = self.rows[y][4 * x : 4 * x + 3]
        return red, green, blue

    def part(self, left, top, width, height):
        return Shot(width, height, [row[4 * left : 4 * (left + width)] for row in self.rows[top : top + height]])

    def save(self, path):
        rows = []
        for row in self.rows:
            colours = bytearray(3 * self.width)
            for channel in range(3):
                colours[channel::3] = row[2 - channel :: 4][: self.width]
            rows.append(bytes(colours))
        pictures.write_png(path, self.width, self.height, 8, pictures.RGB, rows)
