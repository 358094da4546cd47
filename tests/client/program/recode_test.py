"""Runs the client program's command recode and checks every pixel of what it writes.

recode_test.py [--group NAME] -- RUNNER... PROGRAM
"""

import os
import struct
import zlib

from program import ProgramTest, main, pictures
from picture_files import TIFF_FLOAT, tiff


def saturated(value, greatest):
    return int(min(float(greatest), max(0.0, value)))


def linear(value, source_span, target_span, contrast=1.0, brightness=0.0):
    """The tone curve while gamma and sigma are 1."""
    return saturated(value * (target_span * contrast / source_span) + target_span * brightness, target_span)


def bent(value, span, low, high, gamma, sigma):
    """The tone curve otherwise, as a share of the target's range."""
    if value < low:
        return 0.0
    if value >= high:
        return 1.0
    width = high - low
    if value < (low + high) / 2:
        t = 0.5 * (2 / width * (value - low)) ** sigma
    else:
        t = 1 - 0.5 * (2 / width * (high - value)) ** sigma
    return t**gamma


def ramp_colour(points, t):
    """Red, green, blue and alpha of a ramp {position: (red, green, blue)} at t."""
    points = {0.0: (0, 0, 0), 1.0: (255, 255, 255)} | points
    points = {position: (*colour, 255) for position, colour in points.items()}
    if t in points:
        return points[t]
    before = max(position for position in points if position < t)
    after = min(position for position in points if position > t)
    span = after - before
    return tuple(
        int(a * (after - t) / span + b * (t - before) / span) for a, b in zip(points[before], points[after])
    )


class RecodeTest(ProgramTest):
    def grey8(self, name="grey8.png", width=16, height=16):
        return self.bytes_png(name, pictures.GREY, width, height)

    def samples(self, name):
        return list(pictures.read_png(self.path(name)).samples)

    def recode(self, *arguments):
        """The picture that recode writes for these arguments."""
        result = self.run_program("recode", *arguments, "out.png")
        self.assert_done(result)
        self.assertEqual(result.output, "")
        self.assertFalse([name for name in os.listdir(self.folder) if name.endswith(".tmp")])
        return pictures.read_png(self.path("out.png"))

    def assert_recoded(self, arguments, channels, depth, samples):
        picture = self.recode(*arguments)
        self.assertEqual((picture.channels, picture.depth), (channels, depth))
        self.assertEqual(list(picture.samples), list(samples))


class RecodeNumbers(RecodeTest):
    def test_the_type_of_the_picture_is_kept_when_no_other_is_given(self):
        for name in (self.grey16(), self.grey8(), self.bytes_png("c.png", pictures.RGB)):
            with self.subTest(name=name):
                self.assert_same(pictures.read(self.path(name)), self.recode(name))

    def test_8_bits_are_scaled_to_16(self):
        self.grey8()
        self.assert_recoded(["grey8.png", "--to", "Unsigned,16"], 1, 16, [257 * v for v in self.samples("grey8.png")])

    def test_of_16_bits_the_high_byte_becomes_8_bits(self):
        self.grey16()
        high_bytes = [v >> 8 for v in self.samples("grey16.png")]
        self.assert_recoded(["grey16.png", "--to", "Unsigned,8"], 1, 8, high_bytes)
        self.assert_recoded(["grey16.png", "--to", "unsigned,8", "--contrast", "1", "--gamma", "1"], 1, 8, high_bytes)

    def test_8_bits_are_scaled_to_12(self):
        self.grey8()
        expected = [linear(v, 255, 4095) for v in self.samples("grey8.png")]
        self.assertEqual(max(expected), 4095)
        self.assert_recoded(["grey8.png", "--to", "0,12"], 1, 16, expected)

    def test_16_bits_are_copied_to_12(self):
        self.grey16()
        self.assert_recoded(["grey16.png", "--to", "Unsigned,12"], 1, 16, self.samples("grey16.png"))

    def test_cast_keeps_plain_values(self):
        self.grey8()
        self.assert_recoded(["grey8.png", "--to", "Unsigned,16", "--cast"], 1, 16, self.samples("grey8.png"))
        self.grey16()
        low_bytes = [v & 255 for v in self.samples("grey16.png")]
        self.assert_recoded(["grey16.png", "--to", "Unsigned,8", "--cast"], 1, 8, low_bytes)

    def test_floats_from_0_to_1_fill_the_range(self):
        self.write("a.tif", tiff(5, 1, 1, 32, struct.pack("<5f", 0, 0.5, 1, -2.5, 7), sample_format=TIFF_FLOAT))
        self.assert_recoded(["a.tif", "--to", "Unsigned,8"], 1, 8, [0, 127, 255, 0, 255])
        self.assert_recoded(["a.tif", "--to", "Unsigned,16"], 1, 16, [0, 32767, 65535, 0, 65535])


class RecodeColours(RecodeTest):
    POINTS = {0.0: (10, 0, 40), 0.25: (120, 30, 20), 0.7: (250, 140, 7), 1.0: (255, 255, 210)}
    OPTIONS = ["--color", "0=0A0028", "--color", "0.7=#fa8c07", "--color", ".25=781e14", "--color", "1=ffffd2"]

    def coloured(self, values, span, points=POINTS, channels=3):
        colours = {v: ramp_colour(points, v * (1.0 / span))[:channels] for v in set(values)}
        return [sample for v in values for sample in colours[v]]

    def with_alpha(self, colours):
        return [sample for i in range(0, len(colours), 3) for sample in (*colours[i : i + 3], 255)]

    def test_a_ramp_makes_grey_rgb(self):
        self.grey8()
        expected = self.coloured(self.samples("grey8.png"), 255)
        self.assert_recoded([*self.OPTIONS, "grey8.png"], 3, 8, expected)
        self.assert_recoded(["grey8.png", *self.OPTIONS, "--to", "RGB,24"], 3, 8, expected)

    def test_a_ramp_for_16_bits(self):
        self.grey16()
        self.assert_recoded(["grey16.png", *self.OPTIONS], 3, 8, self.coloured(self.samples("grey16.png"), 65535))

    def test_a_ramp_for_floats(self):
        self.write("a.tif", tiff(3, 1, 1, 32, struct.pack("<3f", 0, 1, -1), sample_format=TIFF_FLOAT))
        self.assert_recoded(["a.tif", *self.OPTIONS], 3, 8, [10, 0, 40, 255, 255, 210, 10, 0, 40])

    def test_every_layout_of_three_colours_shows_the_same(self):
        self.grey8()
        expected = self.coloured(self.samples("grey8.png"), 255)
        self.assert_recoded(["grey8.png", *self.OPTIONS, "--to", "BGR,24"], 3, 8, expected)
        self.assert_recoded(["grey8.png", *self.OPTIONS, "--to", "BGR,32"], 3, 8, expected)

    def test_a_ramp_with_alpha_mixes_alpha_like_the_colours(self):
        self.grey8()
        expected = self.coloured(self.samples("grey8.png"), 255, channels=4)
        # What is cut off to a whole number may miss 255 by one.
        self.assertEqual(set(expected[3::4]), {254, 255})
        self.assert_recoded(["grey8.png", *self.OPTIONS, "--to", "RGBA,32"], 4, 8, expected)

    def test_grey_to_bgra_has_the_bytes_in_the_order_of_rgba(self):
        self.grey8()
        expected = self.coloured(self.samples("grey8.png"), 255, channels=4)
        expected[0::4], expected[2::4] = expected[2::4], expected[0::4]
        self.assert_recoded(["grey8.png", *self.OPTIONS, "--to", "BGRA,32"], 4, 8, expected)

    def test_without_a_ramp_grey_stays_grey(self):
        self.grey8()
        values = self.samples("grey8.png")
        self.assert_recoded(["grey8.png", "--to", "RGB,24"], 3, 8, self.coloured(values, 255, points={}))

    def test_the_last_colour_at_a_position_counts(self):
        self.write_png("white.png", 1, 1, 8, pictures.GREY, [b"\xff"])
        self.assert_recoded(["white.png", "--color", "1=112233", "--color", "1=445566"], 3, 8, [0x44, 0x55, 0x66])

    def test_colours_become_grey_by_their_weights(self):
        self.bytes_png("c.png", pictures.RGB)
        s = self.samples("c.png")
        greys = [(77 * r + 150 * g + 29 * b) >> 8 for r, g, b in zip(s[0::3], s[1::3], s[2::3])]
        self.assert_recoded(["c.png", "--to", "Unsigned,8"], 1, 8, greys)
        self.assert_recoded(["c.png", "--to", "Unsigned,16"], 1, 16, [257 * v for v in greys])
        self.assert_recoded(["c.png", "--to", "Unsigned,8", "--cast"], 1, 8, greys)

    def test_colours_in_another_layout_look_the_same(self):
        self.bytes_png("c.png", pictures.RGB)
        samples = self.samples("c.png")
        for layout in ("RGB,24", "BGR,24"):
            self.assert_recoded(["c.png", "--to", layout], 3, 8, samples)
        for layout in ("RGBA,32", "BGRA,32"):
            self.assert_recoded(["c.png", "--to", layout], 4, 8, self.with_alpha(samples))

    def test_alpha_is_kept(self):
        self.bytes_png("a.png", pictures.RGBA)
        for layout in ("RGBA,32", "BGRA,32"):
            self.assert_recoded(["a.png", "--to", layout], 4, 8, self.samples("a.png"))


class RecodeTone(RecodeTest):
    def test_contrast_and_brightness_of_8_bits(self):
        self.grey8()
        expected = [linear(v, 255, 255, 1.75, -0.2) for v in self.samples("grey8.png")]
        self.assertLess(len(set(expected)), 256)
        self.assert_recoded(["grey8.png", "--contrast", "1.75", "--brightness", "-0.2"], 1, 8, expected)

    def test_contrast_of_16_bits(self):
        self.grey16()
        values = self.samples("grey16.png")
        self.assert_recoded(["grey16.png", "--contrast", "2"], 1, 16, [min(2 * v, 65535) for v in values])
        eight = [linear(v, 65535, 255, 2.0) for v in values]
        self.assert_recoded(["grey16.png", "--contrast=2", "--to", "Unsigned,8"], 1, 8, eight)

    def test_a_negative_contrast_inverts(self):
        self.grey8()
        inverted = [255 - v for v in self.samples("grey8.png")]
        self.assert_recoded(["grey8.png", "--contrast", "-1", "--brightness", "1"], 1, 8, inverted)

    def test_gamma_and_sigma(self):
        self.grey8()
        low, high = int(-(0.1 / 1.3) * 255), int((1 - 0.1) / 1.3 * 255)
        expected = [saturated(255 * bent(v, 255, low, high, 0.6, 1.5), 255) for v in self.samples("grey8.png")]
        tone = ["--contrast", "1.3", "--brightness", "0.1", "--gamma", "0.6", "--sigma", "1.5"]
        self.assert_recoded(["grey8.png", *tone], 1, 8, expected)

    def test_every_channel_of_colours(self):
        self.bytes_png("c.png", pictures.RGBA)
        expected = self.samples("c.png")
        for channel in range(3):
            expected[channel::4] = [linear(v, 255, 255, 0.5) for v in expected[channel::4]]
        self.assert_recoded(["c.png", "--contrast", "0.5"], 4, 8, expected)

    def test_the_curve_comes_before_the_ramp(self):
        self.grey8()
        points = {0.5: (200, 10, 90)}
        values = self.samples("grey8.png")
        positions = [min(1.0, max(0.0, v * (2.0 / 255) + -0.25)) for v in values]
        expected = [sample for t in positions for sample in ramp_colour(points, t)[:3]]
        options = ["--color", "0.5=c80a5a", "--contrast", "2", "--brightness", "-0.25"]
        self.assert_recoded(["grey8.png", *options], 3, 8, expected)


class RecodeParts(RecodeTest):
    def part(self, name, left, top, right, bottom):
        picture = pictures.read_png(self.path(name))
        line, count = picture.width * picture.channels, picture.channels
        rows = [picture.samples[y * line + left * count : y * line + right * count] for y in range(top, bottom)]
        return [sample for row in rows for sample in row]

    def test_a_rectangle_gives_a_picture_of_its_size(self):
        self.bytes_png("c.png", pictures.RGB)
        for part in ((0, 0, 19, 7), (3, 1, 15, 6), (18, 6, 19, 7), (5, 0, 6, 7), (0, 6, 19, 7)):
            with self.subTest(part=part):
                rectangle = ",".join(map(str, part))
                picture = self.recode("c.png", "--rect", rectangle)
                self.assertEqual((picture.width, picture.height), (part[2] - part[0], part[3] - part[1]))
                self.assertEqual(list(picture.samples), self.part("c.png", *part))

    def test_a_rectangle_is_converted_like_the_whole(self):
        self.grey16()
        high_bytes = [v >> 8 for v in self.part("grey16.png", 7, 2, 20, 9)]
        self.assert_recoded(["grey16.png", "--rect", "7,2,20,9", "--to", "Unsigned,8"], 1, 8, high_bytes)
        low_bytes = [v & 255 for v in self.part("grey16.png", 7, 2, 20, 9)]
        self.assert_recoded(["grey16.png", "--rect", "7,2,20,9", "--to", "Unsigned,8", "--cast"], 1, 8, low_bytes)
        colours = [ramp_colour({}, v * (1.0 / 65535))[:3] for v in self.part("grey16.png", 7, 2, 20, 9)]
        expected = [sample for colour in colours for sample in colour]
        self.assert_recoded(["grey16.png", "--rect", "7,2,20,9", "--to", "RGB,24"], 3, 8, expected)

    def test_a_picture_of_more_than_a_million_pixels(self):
        width, height = 1100, 1000
        rows = [bytes((x + 7 * y) & 255 for x in range(width)) for y in range(height)]
        header = struct.pack(">IIBBBBB", width, height, 8, pictures.GREY, 0, 0, 0)
        data = zlib.compress(b"".join(b"\0" + row for row in rows))
        chunks = pictures.chunk(b"IHDR", header) + pictures.chunk(b"IDAT", data) + pictures.chunk(b"IEND", b"")
        self.write("big.png", pictures.PNG_SIGNATURE + chunks)
        table = [linear(v, 255, 255, 0.5, 0.25) for v in range(256)]
        expected = [table[v] for row in rows[1:] for v in row[1:]]
        options = ["--contrast", "0.5", "--brightness", "0.25", "--rect", "1,1,1100,1000"]
        self.assert_recoded(["big.png", *options], 1, 8, expected)
        self.assert_recoded(["big.png", "--to", "Unsigned,16"], 1, 16, [257 * v for row in rows for v in row])


class RecodeUsage(RecodeTest):
    def test_help_names_every_option(self):
        result = self.run_program("recode", "--help")
        self.assert_done(result)
        for option in ("--to", "--rect", "--cast", "--contrast", "--brightness", "--gamma", "--sigma", "--color"):
            self.assertIn(option, result.output)

    def test_wrong_usage_is_refused_with_the_reason(self):
        self.grey8()
        self.write("out.png", b"precious")
        both = ["grey8.png", "out.png"]
        cases = [
            ([], "IN is required"),
            (["grey8.png"], "OUT is required"),
            (["grey8.png", "out.jpg"], "must end in .png"),
            ([*both, "more.png"], "more.png"),
            ([*both, "--to", "RGB"], "two values ENCODING,BITS"),
            ([*both, "--to", "grey,8"], "not 'grey'"),
            ([*both, "--to", "RGB,24", "--to", "RGB,24"], "--to"),
            ([*both, "--rect", "1,2,3"], "four values L,T,R,B"),
            ([*both, "--rect", "3,0,3,4"], "R must be greater than L"),
            ([*both, "--rect", "-1,0,3,4"], "L must be at least 0"),
            ([*both, "--color", "red"], "POSITION=RRGGBB"),
            ([*both, "--color", "2=000000"], "from 0 to 1"),
            ([*both, "--color", "0=000000", "--color", "1=12345"], "RRGGBB, not '12345'"),
            ([*both, "--contrast", "much"], "finite number, not 'much'"),
            ([*both, "--gamma", "nan"], "finite number, not 'nan'"),
            ([*both, "--gamma"], "--gamma"),
            ([*both, "--cast", "--contrast", "1"], "--cast excludes --contrast"),
            ([*both, "--cast", "--brightness", "0"], "--cast excludes --brightness"),
            ([*both, "--cast", "--gamma", "1"], "--cast excludes --gamma"),
            ([*both, "--cast", "--sigma", "1"], "--cast excludes --sigma"),
            ([*both, "--color", "0=000000", "--cast"], "--cast excludes --color"),
        ]
        for arguments, part in cases:
            with self.subTest(arguments=arguments):
                result = self.run_program("recode", *arguments)
                self.assertEqual((result.code, result.output), (2, ""))
                self.assertIn("tavlo recode: ", result.errors)
                self.assertIn(part, result.errors)
        with open(self.path("out.png"), "rb") as file:
            self.assertEqual(file.read(), b"precious")


class RecodeFailures(RecodeTest):
    def test_the_reason_is_told_and_the_output_stays(self):
        self.grey8()
        self.grey16()
        self.bytes_png("c.png", pictures.RGB)
        self.bytes_png("alpha.png", pictures.RGBA)
        self.write("text.png", b"this is no picture at all")
        self.write("out.png", b"precious")
        before = sorted(os.listdir(self.folder))
        no_pair = "0x80004005"
        wrong_argument = "0x80070057"
        cases = [
            (["alpha.png", "--to", "Unsigned,8"], no_pair, "No recoder implemented from ", "(32) to Unsigned(8)"),
            (["alpha.png", "--to", "Unsigned,8", "--gamma", "2"], no_pair, "No recoder implemented from "),
            (["alpha.png", "--to", "Unsigned,8", "--cast"], no_pair, "No recoder implemented from "),
            (["grey16.png", "--to", "BGRA,32"], no_pair, "No recoder implemented from Unsigned(16) to BGRA(32)"),
            (["c.png", "--to", "Unsigned,12"], no_pair, "to Unsigned(12)"),
            (["c.png", "--color", "0=000000"], wrong_argument, "a colour ramp is for grey that turns into colour"),
            (["grey8.png", "--to", "Unsigned,16", "--color", "0=000000"], wrong_argument, "Unsigned(8) to Unsigned(16)"),
            (["grey8.png", "--rect", "0,0,17,16"], wrong_argument, "outside the picture of 16 x 16 pixels"),
            (["grey8.png", "--rect", "0,0,16,17"], wrong_argument, "outside the picture of 16 x 16 pixels"),
            (["grey8.png", "--to", "Float,32"], "0x80070032", "Float of 32 bits cannot be kept in PNG", "PNG keeps"),
            (["grey8.png", "--to", "Signed,8"], "0x80070032", "Signed of 8 bits cannot be kept in PNG"),
            (["missing.png"], "0x80070002", "missing.png"),
            (["text.png"], "text.png", "no picture of a known format"),
        ]
        for arguments, *parts in cases:
            with self.subTest(arguments=arguments):
                result = self.run_program("recode", *arguments, "out.png")
                self.assert_failed(result, "tavlo: cannot ", arguments[0], *parts)
                self.assertEqual(sorted(os.listdir(self.folder)), before)
        with open(self.path("out.png"), "rb") as file:
            self.assertEqual(file.read(), b"precious")

    def test_floats_need_another_type(self):
        self.write("a.tif", tiff(1, 1, 1, 32, struct.pack("<f", 0), sample_format=TIFF_FLOAT))
        self.assert_failed(self.run_program("recode", "a.tif", "out.png"), "0x80070032", "a.tif", "floating-point")

    def test_an_output_that_cannot_be_written(self):
        self.grey8()
        result = self.run_program("recode", "grey8.png", "missing/out.png")
        self.assert_failed(result, "0x80070003", "missing/out.png")

    def test_the_result_may_replace_the_picture(self):
        self.grey8()
        expected = [v // 2 for v in self.samples("grey8.png")]
        self.assert_done(self.run_program("recode", "grey8.png", "grey8.png", "--contrast", "0.5"))
        self.assertEqual(self.samples("grey8.png"), expected)

    def test_names_are_unicode(self):
        self.grey8("Größe 画像.png")
        self.assert_done(self.run_program("recode", "Größe 画像.png", "Ergebnis é 結果.png", "--to", "Unsigned,16"))
        self.assertEqual(self.samples("Ergebnis é 結果.png"), [257 * v for v in self.samples("Größe 画像.png")])


if __name__ == "__main__":
    main()
