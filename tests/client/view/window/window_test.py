"""Uses the viewer in a real window as people do, and compares what the screen shows.

window_test.py [--shots FOLDER] -- EMULATOR... PROGRAM DRIVER PRODUCER
"""

import math
import os
import struct
import sys
import time
import unittest
import uuid

from expected import BACKGROUND, Colours, at_one_to_one, automatic, dragged

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "..")
sys.path[:0] = [os.path.join(ROOT, "tools"), os.path.join(ROOT, "tools", "desktop")]
import desktop as desktops
import pictures
from desktop import Desktop, PATIENCE

PHANTOM = os.path.join(ROOT, "samples", "phantom.png")
UNSIGNED, SIGNED, FLOAT, RGB, RGBA, BGR, BGRA = 0, 1, 2, 3, 4, 5, 13

desktop = None
arguments = []
shots = None


class ViewerTest(unittest.TestCase):
    def view(self, what, *options):
        viewer = desktop.view(what, *options)
        self.addCleanup(viewer.close)
        return viewer

    def view_phantom(self, *options, size="800,560"):
        """At one to one, so that every pixel can be compared."""
        viewer = self.view(os.path.realpath(PHANTOM), f"--size {size}", *options)
        viewer.key("1")
        viewer.wait_for_text("STATUS", r"\| 100 % \|")
        viewer.image = pictures.read(PHANTOM)
        return viewer

    def produce(self, width, height, encoding, bits):
        name = f"view-test-{uuid.uuid4().hex[:8]}"
        producer = desktop.produce(name, width, height, encoding, bits)
        self.addCleanup(lambda: producer.process.poll() is None and producer.end())
        return name, producer

    def assert_shows(self, viewer, rows, name=None):
        """Looks until the screen shows these pixels: it does so a moment after the program has drawn them."""
        width, height = len(rows[0]), len(rows)
        self.assertEqual(viewer.place()[2:], (width, height))
        expected = [b"".join(bytes((b, g, r)) for r, g, b in row) for row in rows]
        end = time.monotonic() + PATIENCE / 4
        while True:
            shot = viewer.shot()
            seen = [shot_row(row) for row in shot.rows]
            if seen == expected:
                break
            if time.monotonic() > end:
                if shots:
                    shot.save(os.path.join(shots, f"failed-{self.id().split('.')[-1]}.png"))
                y = next(i for i in range(height) if seen[i] != expected[i])
                x = next(i for i in range(width) if seen[y][3 * i : 3 * i + 3] != expected[y][3 * i : 3 * i + 3])
                wrong = sum(a != b for y in range(height) for a, b in zip(seen[y], expected[y]))
                self.fail(f"pixel ({x}, {y}) is {shot.pixel(x, y)}, not {rows[y][x]}; {wrong} bytes differ")
        if shots and name:
            desktop.screen.grab().save(os.path.join(shots, f"{name}.png"))

    def assert_shows_phantom(self, viewer, name, ramp="grey", **tone):
        colours = Colours(ramp, 65535, **tone)
        self.assert_shows(viewer, at_one_to_one(viewer.image, colours, viewer.place()[2:]), name)

    def assert_parameters(self, viewer, **expected):
        own = viewer.parameters()
        self.assertEqual({name: own.get(name) for name in expected}, expected)


def shot_row(row):
    """Without the fourth byte of each pixel."""
    out = bytearray(len(row) // 4 * 3)
    for channel in range(3):
        out[channel::3] = row[channel::4]
    return bytes(out)


class Picture(ViewerTest):
    def test_opens_on_the_phantom(self):
        viewer = self.view_phantom()
        self.assert_shows_phantom(viewer, "phantom")
        self.assertRegex(viewer.text("STATUS"), r"\| 512 x 512  Unsigned 16 \| 100 % \| not shared$")

    def test_a_right_drag_changes_contrast_and_brightness(self):
        viewer = self.view_phantom()
        viewer.drag("right", (100, 200), (228, 136))
        levels = dragged((0, 65535), 128, -64)
        viewer.wait_for_text("PANEL", f"black {levels[0]:.0f}\\b")
        self.assert_parameters(viewer, contrast="2.00", white=f"{levels[1]:.0f}")
        self.assert_shows_phantom(viewer, "contrast", levels=levels)

    def test_keys_change_contrast_and_brightness_too(self):
        viewer = self.view_phantom()
        viewer.key("right", "shift", times=8)
        viewer.key("up", "shift", times=4)
        viewer.wait_for_text("PANEL", "contrast 2.00")
        viewer.wait_for_text("PANEL", "brightness -0.25")

    def test_a_key_changes_the_ramp(self):
        viewer = self.view_phantom()
        viewer.key("C")
        viewer.wait_for_text("PANEL", "ramp dusk")
        self.assert_shows_phantom(viewer, "ramp", ramp="dusk")
        viewer.key("C", "shift")
        viewer.wait_for_text("PANEL", "ramp grey")
        self.assert_shows_phantom(viewer, None)

    def test_a_click_chooses_a_ramp_and_a_key_turns_it_round(self):
        viewer = self.view_phantom("--ramp dusk", size="800,600")
        viewer.key("I")
        viewer.wait_for_text("PANEL", "ramp dusk, turned")
        width = viewer.place()[2]
        viewer.click(width + 150, 480)
        viewer.wait_for_text("PANEL", "ramp (grey|ember|ice|moss|spectrum), turned")

    def test_keys_change_gamma_and_sigma(self):
        viewer = self.view_phantom()
        viewer.key("G", times=12)
        viewer.key("S", times=24)
        viewer.wait_for_text("PANEL", "sigma 10.00")
        self.assert_parameters(viewer, gamma="3.16")
        viewer.key("S", "shift", times=24)
        viewer.wait_for_text("PANEL", "sigma 1.00")
        self.assert_shows_phantom(viewer, "gamma", gamma=10.0**0.5)
        viewer.key("R")
        viewer.wait_for_text("PANEL", "gamma 1.00")
        self.assert_shows_phantom(viewer, None)

    def test_automatic_contrast_leaves_out_half_a_percent(self):
        viewer = self.view_phantom()
        levels = automatic(viewer.image.samples)
        viewer.key("A")
        viewer.wait_for_text("PANEL", f"black {levels[0]}\\|white {levels[1]}\\|")
        self.assert_shows_phantom(viewer, "automatic", levels=levels)

    def region(self, image, left, top, right, bottom):
        return [v for y in range(top, bottom) for v in image.samples[y * 512 + left : y * 512 + right]]

    def test_automatic_contrast_over_a_dragged_region(self):
        viewer = self.view_phantom()
        left, top = (viewer.place()[2] - 512) // 2, (viewer.place()[3] - 512) // 2
        viewer.drag("left", (left + 200, top + 100), (left + 319, top + 259), "shift")
        levels = automatic(self.region(viewer.image, 200, 100, 320, 260))
        viewer.wait_for_text("PANEL", f"black {levels[0]}\\|white {levels[1]}\\|")
        self.assert_shows_phantom(viewer, "region", levels=levels)

    def test_automatic_contrast_over_a_region_by_keys(self):
        viewer = self.view_phantom()
        viewer.move(26 + 256, 10 + 256)
        viewer.wait_for_text("STATUS", r"^\(256, 256\)")
        viewer.key("M")
        viewer.key("right", "control", "shift", times=3)
        viewer.key("down", "control", times=9)
        left, top, right, bottom = 256, 256, 256 + 3 * 16 + 1, 256 + 9 + 1
        viewer.wait_for_text("STATUS", f"region {left},{top},{right},{bottom} ")
        viewer.key("enter")
        levels = automatic(self.region(viewer.image, left, top, right, bottom))
        viewer.wait_for_text("PANEL", f"black {levels[0]}\\|white {levels[1]}\\|")

    def test_the_status_line_tells_the_value_under_the_pointer(self):
        viewer = self.view_phantom()
        left, top = (viewer.place()[2] - 512) // 2, (viewer.place()[3] - 512) // 2
        for x, y in ((0, 0), (511, 511), (255, 61)):
            viewer.move(left + x, top + y)
            viewer.wait_for_text("STATUS", f"^\\({x}, {y}\\)  {viewer.image.samples[y * 512 + x]} ")

    def test_keys_go_to_a_pixel(self):
        viewer = self.view_phantom()
        left, top = (viewer.place()[2] - 512) // 2, (viewer.place()[3] - 512) // 2
        x, y = 300, 200
        viewer.move(left + x, top + y)
        viewer.wait_for_text("STATUS", f"^\\({x}, {y}\\)")
        viewer.key("left", "control", times=2)
        viewer.key("up", "control", "shift")
        x, y = x - 2, y - 16
        viewer.wait_for_text("STATUS", f"^\\({x}, {y}\\)  {viewer.image.samples[y * 512 + x]} ")

    def test_the_wheel_zooms_at_the_pointer(self):
        viewer = self.view_phantom()
        width, height = viewer.place()[2:]
        left, top = (width - 512) // 2, (height - 512) // 2
        viewer.move(left + 200, top + 150)
        viewer.wait_for_text("STATUS", r"^\(200, 150\)")
        viewer.wheel(2)
        viewer.wait_for_text("STATUS", r"^\(200, 150\).*\| 200 % \|")
        found = self.enlarged(viewer, 2)
        self.assert_shows(viewer, found, "zoom")
        viewer.wheel(-2)
        viewer.wait_for_text("STATUS", r"\| 100 % \|")

    def enlarged(self, viewer, scale):
        """The window's pixels with pixel (200, 150) where it was at one to one."""
        width, height = viewer.place()[2:]
        colours = Colours("grey", 65535)
        left, top = (width - 512) // 2, (height - 512) // 2
        # The middle of the window pixel under the pointer stays on its place of the image.
        x0 = math.floor(left + 200.5 - 200.5 * scale + 0.5)
        y0 = math.floor(top + 150.5 - 150.5 * scale + 0.5)
        rows = []
        for y in range(height):
            line = viewer.image.samples[(y - y0) // scale * 512 :][:512]
            rows.append([colours[line[(x - x0) // scale]] for x in range(width)])
        return rows

    def test_a_left_drag_moves_an_enlarged_picture(self):
        viewer = self.view_phantom()
        viewer.move(282, 266)
        viewer.wheel(2)
        viewer.wait_for_text("STATUS", r"\| 200 % \|")
        before = [int(n) for n in viewer.wait_for_text("STATUS", r"^\((\d+), (\d+)\)").groups()]
        viewer.drag("left", (282, 266), (222, 306))
        viewer.move(282, 266)
        viewer.wait_for_text("STATUS", f"^\\({before[0] + 30}, {before[1] - 20}\\)")

    def test_keys_zoom_fit_and_move(self):
        viewer = self.view_phantom()
        viewer.key("plus", times=2)
        viewer.wait_for_text("STATUS", r"\| 200 % \|")
        viewer.key("minus", times=4)
        viewer.wait_for_text("STATUS", r"\| 50 % \|")
        viewer.key("F")
        viewer.wait_for_text("STATUS", r"% fit \|")

    def test_the_list_of_keys_comes_and_goes(self):
        viewer = self.view_phantom()
        viewer.key("f1")
        viewer.wait_for_text("PICTURE", "C, Shift\\+C: next, previous colour ramp")
        if shots:
            desktop.screen.grab().save(os.path.join(shots, "keys.png"))
        viewer.key("escape")
        viewer.wait_for_text("PICTURE", "^$")
        self.assert_shows_phantom(viewer, None)

    def test_full_screen_and_back(self):
        viewer = self.view_phantom()
        before = viewer.place()
        viewer.key("f11")
        viewer.wait_for(lambda: viewer.place("STATUS")[2] == desktops.WIDTH, "the whole screen")
        viewer.key("escape")
        viewer.wait_for(lambda: viewer.place() == before, "the place before")

    def test_another_resolution_changes_every_size(self):
        viewer = self.view_phantom()
        before = viewer.place("PANEL")[2]
        viewer.user.say("dpi 192")
        self.assertEqual(viewer.place("PANEL")[2], 2 * before)
        viewer.user.say("resize 1040 700")
        viewer.wait_for(lambda: viewer.place("STATUS")[2] > 1000, "the size")
        self.assertEqual(viewer.place("STATUS")[3], 56)
        if shots:
            looks = []
            viewer.wait_for(lambda: looks.append(desktop.screen.grab()) or
                            len(looks) > 20 and looks[-1].rows == looks[-20].rows, "a still picture")
            looks[-1].save(os.path.join(shots, "dpi.png"))

    def test_a_key_closes_the_window_and_ends_the_program(self):
        viewer = desktop.view(os.path.realpath(PHANTOM))
        viewer.key("Q")
        viewer.user.say("ended")


class Live(ViewerTest):
    """Images of other processes."""

    def blank(self, viewer, width, height, colour=(0, 0, 0)):
        """The window's pixels of an image of one colour at one to one."""
        window = viewer.place()[2:]
        self.left = int((window[0] - width) / 2 + 0.5)
        self.top = int((window[1] - height) / 2 + 0.5)
        rows = [[BACKGROUND] * window[0] for _ in range(window[1])]
        fill(rows, self.left, self.top, self.left + width, self.top + height, colour)
        return rows

    def paint(self, rows, left, top, right, bottom, colour):
        fill(rows, self.left + left, self.top + top, self.left + right, self.top + bottom, colour)

    def view_live(self, name):
        viewer = self.view(name, "--size 700,460")
        viewer.key("1")
        viewer.wait_for_text("STATUS", r"\| 100 % \|")
        return viewer

    def test_an_update_of_another_process_arrives_in_the_right_place(self):
        name, producer = self.produce(320, 200, UNSIGNED, 8)
        viewer = self.view_live(name)
        rows = self.blank(viewer, 320, 200)
        self.assert_shows(viewer, rows)
        producer.say("paint 10 20 110 60 200")
        viewer.wait_for_text("STATUS", r"changed 10,20,110,60$")
        # The first picture that is not blank gets the levels that suit it: here its full range.
        colours = Colours("grey", 255)
        self.paint(rows, 10, 20, 110, 60, colours[200])
        self.assert_shows(viewer, rows, "update")
        producer.say("paint 300 150 320 200 90")
        viewer.wait_for_text("STATUS", r"changed 300,150,320,200$")
        self.paint(rows, 300, 150, 320, 200, colours[90])
        self.assert_shows(viewer, rows)

    def test_a_picture_of_12_declared_bits_is_not_black(self):
        name, producer = self.produce(100, 80, UNSIGNED, 12)
        producer.say("paint 0 0 50 80 4095")
        producer.say("paint 50 0 100 80 1024")
        viewer = self.view_live(name)
        rows = self.blank(viewer, 100, 80)
        colours = Colours("grey", 4095)
        self.paint(rows, 0, 0, 50, 80, colours[4095])
        self.paint(rows, 50, 0, 100, 80, colours[1024])
        self.assert_shows(viewer, rows)

    def test_a_picture_of_12_bits_in_16_is_not_black(self):
        name, producer = self.produce(100, 80, UNSIGNED, 16)
        producer.say("paint 0 0 50 80 4095")
        producer.say("paint 50 0 100 80 1024")
        viewer = self.view_live(name)
        rows = self.blank(viewer, 100, 80)
        colours = Colours("grey", 65535, (1024, 4095))
        self.paint(rows, 0, 0, 50, 80, colours[4095])
        self.paint(rows, 50, 0, 100, 80, colours[1024])
        self.assert_shows(viewer, rows)
        self.assert_parameters(viewer, black="1024", white="4095")

    def test_floats_are_shown(self):
        name, producer = self.produce(64, 64, FLOAT, 32)

        def bits(value):
            return struct.unpack("<I", struct.pack("<f", value))[0]
        producer.say(f"paint 0 0 32 64 {bits(0.25)}")
        producer.say(f"paint 32 0 64 64 {bits(1.0)}")
        viewer = self.view_live(name)
        rows = self.blank(viewer, 64, 64)
        colours = Colours("grey", 65535)
        self.paint(rows, 0, 0, 32, 64, colours[int(0.25 * 65535)])
        self.paint(rows, 32, 0, 64, 64, (255, 255, 255))
        self.assert_shows(viewer, rows)
        viewer.move(self.left + 3, self.top + 4)
        viewer.wait_for_text("STATUS", r"^\(3, 4\)  0.25 ")

    def test_signed_numbers_are_shown(self):
        name, producer = self.produce(64, 64, SIGNED, 16)
        producer.say("paint 0 0 32 64 -32768")
        producer.say("paint 32 0 64 64 16384")
        viewer = self.view_live(name)
        rows = self.blank(viewer, 64, 64)
        self.paint(rows, 32, 0, 64, 64, Colours("grey", 65535)[16384 + 32768])
        self.assert_shows(viewer, rows)

    def test_colours_are_shown(self):
        name, producer = self.produce(64, 64, BGR, 24)
        producer.say(f"paint 0 0 32 64 {0xFF8040}")
        viewer = self.view_live(name)
        rows = self.blank(viewer, 64, 64)
        self.paint(rows, 0, 0, 32, 64, (0xFF, 0x80, 0x40))
        self.assert_shows(viewer, rows)
        viewer.move(self.left + 1, self.top + 1)
        viewer.wait_for_text("STATUS", r"^\(1, 1\)  R 255 G 128 B 64 ")

    def test_alpha_lets_squares_through(self):
        name, producer = self.produce(64, 64, RGBA, 32)
        producer.say(f"paint 0 0 32 64 {0xFF0000FF}")
        viewer = self.view_live(name)
        rows = self.blank(viewer, 64, 64)
        self.paint(rows, 0, 0, 32, 64, (255, 0, 0))
        for y in range(64):
            for x in range(32, 64):
                grey = 0x60 if (x // 8 + y // 8) % 2 else 0x40
                rows[self.top + y][self.left + x] = (grey, grey, grey)
        self.assert_shows(viewer, rows)

    def test_contrast_follows_every_update_when_asked(self):
        name, producer = self.produce(64, 64, UNSIGNED, 16)
        viewer = self.view_live(name)
        viewer.key("A", "shift")
        viewer.wait_for_text("PANEL", "automatic at every update")
        producer.say("paint 0 0 64 32 500")
        producer.say("paint 0 32 64 64 900")
        viewer.wait_for_text("PANEL", r"black 500\|white 900\|")
        producer.say("paint 0 0 64 32 100")
        viewer.wait_for_text("PANEL", r"black 100\|white 900\|")

    def assert_tells_of_the_end(self, viewer, rows):
        viewer.wait_for_text("STATUS", "^The producer has closed: this is its last picture, after 1 update")
        self.assert_shows(viewer, rows, "closed")
        viewer.key("plus")
        viewer.wait_for_text("STATUS", r"\| 150 % \|")

    def painted(self):
        name, producer = self.produce(320, 200, UNSIGNED, 8)
        viewer = self.view_live(name)
        producer.say("paint 100 100 200 150 255")
        viewer.wait_for_text("STATUS", "changed 100,100,200,150")
        rows = self.blank(viewer, 320, 200)
        self.paint(rows, 100, 100, 200, 150, (255, 255, 255))
        return viewer, producer, rows

    def test_a_producer_that_closes_leaves_its_last_picture_and_a_message(self):
        viewer, producer, rows = self.painted()
        producer.end()
        self.assert_tells_of_the_end(viewer, rows)

    def test_a_producer_that_dies_leaves_its_last_picture_and_a_message(self):
        viewer, producer, rows = self.painted()
        producer.write("die")
        self.assert_tells_of_the_end(viewer, rows)
        producer.end()

    def test_a_third_process_paints(self):
        name, _ = self.produce(320, 200, UNSIGNED, 16)
        viewer = self.view_live(name)
        done = desktop.run("paint", name, "--pattern", "solid", "--value", "65535", "--rect", "5,6,70,80")
        self.assertEqual(done.returncode, 0, done.stderr)
        viewer.wait_for_text("STATUS", r"changed 5,6,70,80$")
        rows = self.blank(viewer, 320, 200)
        self.paint(rows, 5, 6, 70, 80, (255, 255, 255))
        self.assert_shows(viewer, rows)

    def test_a_stream_of_full_hd_leaves_no_backlog(self):
        name, producer = self.produce(1920, 1080, UNSIGNED, 8)
        viewer = self.view_live(name)
        viewer.key("R")
        viewer.key("F")
        producer.say("stream 180 60")
        # Updates that come while one is drawn are drawn with the next one; the last is seen.
        viewer.wait_for_text("STATUS", r"\| \d+ updates, \d+/s \| changed 0,0,1920,1080$")
        width, height = viewer.place()[2:]
        viewer.wait_for(lambda: viewer.shot().pixel(width // 2, height // 2) == Colours("grey", 255)[179], "the last frame")

    def test_a_section_is_shown_as_it_is(self):
        name = f"view-test-{uuid.uuid4().hex[:8]}"
        with desktop.start("publish", os.path.realpath(PHANTOM), "--section", name) as publisher:
            descriptor = publisher.stdout.readline().split()[-1].decode()
            viewer = desktop.view_titled(name, "--section", name, "--descriptor", descriptor, "--size 800,560")
            self.addCleanup(viewer.close)
            viewer.key("1")
            viewer.wait_for_text("STATUS", r"\| 100 % \|")
            viewer.image = pictures.read(PHANTOM)
            self.assert_shows_phantom(viewer, None)

    def test_a_name_is_no_picture_when_it_is_given_as_a_name(self):
        name, _ = self.produce(32, 20, UNSIGNED, 8)
        viewer = desktop.view_titled(name, "--name", name)
        self.addCleanup(viewer.close)
        viewer.wait_for_text("STATUS", r"32 x 20")
        done = desktop.run("view", "--name", os.path.realpath(PHANTOM))
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"no image is published by this name", done.stderr)
        self.assertNotIn(b"picture", done.stderr)

    def test_what_is_no_image_is_refused(self):
        for what in ("there-is-none", "nor/such/a/file.png"):
            done = desktop.run("view", what)
            self.assertEqual(done.returncode, 1)
            self.assertIn(b"there is no such picture", done.stderr)


def fill(rows, left, top, right, bottom, colour):
    for y in range(top, bottom):
        rows[y][left:right] = [colour] * (right - left)


def main():
    global desktop, shots
    at = sys.argv.index("--")
    own, rest = sys.argv[1:at], sys.argv[at + 1 :]
    if "--shots" in own:
        shots = own[own.index("--shots") + 1]
        os.makedirs(shots, exist_ok=True)
    tests = [name for name in own if name.startswith(("Picture", "Live"))]
    desktop = Desktop(rest[:-3], *rest[-3:])
    try:
        unittest.main(argv=sys.argv[:1] + tests, verbosity=2, exit=False).result.wasSuccessful() or sys.exit(1)
    finally:
        desktop.close()


if __name__ == "__main__":
    main()
