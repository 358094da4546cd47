"""Runs the client program as its users do: one process publishes, others read.

program_test.py [--group NAME] -- RUNNER... PROGRAM
"""

import os
import struct
import uuid

from program import BGR, BGRA, FLOAT, RGB, RGBA, UNSIGNED, ProgramTest, main, pictures
from picture_files import TIFF_FLOAT, bmp, flat_jpeg, ramp, tiff


class Usage(ProgramTest):
    def assert_refused(self, arguments, part):
        result = self.run_program(*arguments)
        self.assertEqual((result.code, result.output), (2, ""))
        self.assertIn(part, result.errors)

    def test_version(self):
        result = self.run_program("--version")
        self.assert_done(result)
        self.assertRegex(result.output, r"\Atavlo \d+\.\d+\.\d+\n\Z")

    def test_help_everywhere(self):
        result = self.run_program("--help")
        self.assert_done(result)
        for command in ("publish", "export", "info"):
            self.assertIn(command, result.output)
            help_text = self.run_program(command, "--help")
            self.assert_done(help_text)
            self.assertIn("--section", help_text.output)

    def test_wrong_usage_is_refused_with_the_reason(self):
        good = "4,4,8,Unsigned,0,1,4"
        cases = [
            ([], "a command is needed"),
            (["show"], "there is no command 'show'"),
            (["publish"], "PICTURE is required"),
            (["publish", "a.png"], "--name or --section is required"),
            (["publish", "a.png", "--section", ""], "must not be empty"),
            (["publish", "a.png", "--name", ""], "must not be empty"),
            (["publish", "a.png", "--name", "a\nb"], "must not contain control characters"),
            (["publish", "a.png", "--section", "s", "--access", "none"], "none"),
            (["export", "--section", "s", "--descriptor", good], "OUT is required"),
            (["export", "--section", "s", "--descriptor", good, "out.jpg"], "must end in .png"),
            (["export", "--section", "s", "--descriptor", "4,4,8", "out.png"], "seven values"),
            (["export", "--section", "s", "--descriptor", "4,4,8,grey,0,1,4", "out.png"], "not 'grey'"),
            (["info"], "NAME, or --section with --descriptor, is required"),
            (["info", "--section", "s"], "--descriptor is required"),
            (["info", "--descriptor", good], "--section is required"),
            (["info", "--name", "n", "--section", "s"], "--name excludes --section"),
            (["info", "--name", "n", "--descriptor", good], "--name excludes --descriptor"),
            (["info", "--section", "s", "--descriptor", good, "--all"], "--all"),
        ]
        for arguments, part in cases:
            with self.subTest(arguments=arguments):
                self.assert_refused(arguments, part)


class RoundTrip(ProgramTest):
    def test_grey_of_16_bits(self):
        self.assert_round_trip(self.grey16(), [(16, UNSIGNED)])

    def test_grey_of_8_bits(self):
        self.assert_round_trip(self.bytes_png("a.png", pictures.GREY), [(8, UNSIGNED)])

    def test_colours(self):
        self.assert_round_trip(self.bytes_png("a.png", pictures.RGB), [(24, RGB), (24, BGR)])

    def test_colours_with_alpha(self):
        self.assert_round_trip(self.bytes_png("a.png", pictures.RGBA), [(32, RGBA), (32, BGRA)])

    def test_one_pixel_wide_and_high(self):
        self.assert_round_trip(self.grey16("column.png", 1, 9), [(16, UNSIGNED)])
        self.assert_round_trip(self.bytes_png("row.png", pictures.RGB, 9, 1), [(24, RGB), (24, BGR)])
        self.assert_round_trip(self.bytes_png("pixel.png", pictures.GREY, 1, 1), [(8, UNSIGNED)])

    def test_larger_than_a_page(self):
        self.assert_round_trip(self.grey16("big.png", 257, 301), [(16, UNSIGNED)])

    def test_parts_and_mirror_images(self):
        self.bytes_png("a.png", pictures.RGB, 19, 7)
        whole = pictures.read_png(self.path("a.png"))
        with self.publish("a.png") as publisher:
            encoding = publisher.descriptor.split(",")[3]
            mirrored = self.export(publisher, f"19,7,24,{encoding},{6 * 57 + 18 * 3},-3,-57")
            turned = [whole.samples[i : i + 3] for i in range(0, len(whole.samples), 3)][::-1]
            self.assertEqual(list(mirrored.samples), [value for pixel in turned for value in pixel])
            green = self.export(publisher, "19,7,8,unsigned,1,3,57")
            self.assertEqual(list(green.samples), list(whole.samples[1::3]))
            columns = self.export(publisher, f"7,19,24,{encoding},0,57,3")
            self.assertEqual((columns.width, columns.height), (7, 19))
            self.assertEqual(list(columns.samples[3:6]), list(whole.samples[57:60]))

    def test_grey_of_12_bits_keeps_its_values(self):
        self.grey16()
        with self.publish("grey16.png") as publisher:
            exported = self.export(publisher, publisher.descriptor.replace(",16,", ",12,"))
            self.assert_same(pictures.read(self.path("grey16.png")), exported)


class Inputs(ProgramTest):
    def test_few_bits_of_grey_spread_over_a_byte(self):
        for depth in (1, 2, 4):
            with self.subTest(depth=depth):
                name = self.bytes_png(f"grey{depth}.png", pictures.GREY, 16, 5, depth)
                self.assert_round_trip(name, [(8, UNSIGNED)])

    def test_a_palette_of_colours(self):
        palette = (b"PLTE", bytes([255, 0, 0, 0, 255, 0, 1, 2, 3]))
        rows = [bytes([0, 1, 2, 1]), bytes([2, 2, 0, 1])]
        name = self.write_png("a.png", 4, 2, 8, pictures.PALETTE, rows, palette)
        self.assert_round_trip(name, [(24, RGB), (24, BGR)])

    def test_a_palette_with_alpha(self):
        chunks = (b"PLTE", bytes([255, 0, 0, 0, 255, 0, 1, 2, 3])), (b"tRNS", bytes([255, 128, 0]))
        rows = [bytes([0, 1, 2, 1]), bytes([2, 2, 0, 1])]
        name = self.write_png("a.png", 4, 2, 8, pictures.PALETTE, rows, *chunks)
        self.assert_round_trip(name, [(32, RGBA), (32, BGRA)])

    def test_a_palette_of_greys_becomes_grey(self):
        palette = (b"PLTE", bytes([200, 200, 200, 0, 0, 0, 17, 17, 17]))
        rows = [bytes([0b00011000]), bytes([0b10100001])]
        name = self.write_png("a.png", 4, 2, 2, pictures.PALETTE, rows, palette)
        self.assert_round_trip(name, [(8, UNSIGNED)])

    def test_wide_colours_are_rounded(self):
        self.assert_round_trip(self.bytes_png("a.png", pictures.RGB, depth=16), [(24, RGB), (24, BGR)])
        self.assert_round_trip(self.bytes_png("b.png", pictures.RGBA, depth=16), [(32, RGBA), (32, BGRA)])

    def test_bmp(self):
        values = bytes(ramp(3 * 5 * 4, 8))
        self.write("a.bmp", bmp(5, 4, 24, [values[i : i + 15] for i in range(0, 60, 15)]))
        self.assert_round_trip("a.bmp", [(24, RGB), (24, BGR)])

    def test_bmp_of_32_bits_has_three_colours(self):
        values = bytes(ramp(5 * 4 * 4, 8))
        self.write("a.bmp", bmp(5, 4, 32, [values[i : i + 20] for i in range(0, 80, 20)]))
        self.assert_round_trip("a.bmp", [(24, RGB), (24, BGR)])

    def test_bmp_of_15_bits_has_three_colours(self):
        self.write("a.bmp", bmp(2, 1, 16, [struct.pack("<HH", 0x7C00, 0x03FF)]))
        with self.publish("a.bmp") as publisher:
            self.assertEqual(list(self.export(publisher).samples), [255, 0, 0, 0, 255, 255])

    def test_bmp_with_a_grey_palette(self):
        palette = b"".join(bytes([v, v, v, 0]) for v in range(256))
        rows = [bytes(ramp(15, 8)[i : i + 5]) for i in (0, 5, 10)]
        self.write("a.bmp", bmp(5, 3, 8, rows, palette))
        with self.publish("a.bmp") as publisher:
            exported = self.export(publisher)
            self.assert_same(pictures.Picture(5, 3, 1, 8, list(b"".join(rows))).as_colours(), exported.as_colours())

    def test_tiff_grey_of_16_bits(self):
        values = ramp(5 * 3, 16)
        self.write("a.tif", tiff(5, 3, 1, 16, struct.pack("<15H", *values)))
        with self.publish("a.tif") as publisher:
            self.assertEqual(publisher.encoding(), (16, UNSIGNED))
            self.assert_same(pictures.Picture(5, 3, 1, 16, values), self.export(publisher))

    def test_tiff_colours(self):
        values = ramp(4 * 3 * 3, 8)
        self.write("a.tif", tiff(4, 3, 3, 8, bytes(values)))
        with self.publish("a.tif") as publisher:
            self.assert_same(pictures.Picture(4, 3, 3, 8, values), self.export(publisher))

    def test_tiff_of_printing_inks_has_three_colours(self):
        self.write("a.tif", tiff(2, 1, 4, 8, bytes([0, 0, 0, 0, 0, 0, 0, 255])))
        with self.publish("a.tif") as publisher:
            self.assertEqual(list(self.export(publisher).samples), [255, 255, 255, 0, 0, 0])

    def test_tiff_of_floats(self):
        self.write("a.tif", tiff(2, 2, 1, 32, struct.pack("<4f", 0, 0.5, 1, -2.5), sample_format=TIFF_FLOAT))
        with self.publish("a.tif") as publisher:
            self.assertEqual(publisher.encoding(), (32, FLOAT))
            result = self.run_program("info", *publisher.image())
            self.assert_done(result)
            self.assertIn("minimum -2.5, maximum 1, mean -0.25", result.output)
            refusal = self.run_program("export", *publisher.image(), "out.png")
            self.assert_failed(refusal, "floating-point", "PNG keeps")
            self.assertFalse(os.path.exists(self.path("out.png")))

    def test_jpeg(self):
        self.write("grey.jpg", flat_jpeg([100]))
        with self.publish("grey.jpg") as publisher:
            self.assertEqual(publisher.encoding(), (8, UNSIGNED))
            self.assertEqual(set(self.export(publisher).samples), {100})
        self.write("colours.jpg", flat_jpeg([120, 90, 180]))
        with self.publish("colours.jpg") as publisher:
            exported = self.export(publisher)
            for channel, value in enumerate((120 + 1.402 * 52, 120 + 0.344136 * 38 - 0.714136 * 52, 120 - 1.772 * 38)):
                for sample in exported.samples[channel::3]:
                    self.assertAlmostEqual(sample, value, delta=1.5)


class Sharing(ProgramTest):
    def test_every_access_publishes_the_same_pixels(self):
        self.grey16()
        for access in ("read-only", "single-writer", "multiple-writers"):
            with self.subTest(access=access), self.publish("grey16.png", "--access", access) as publisher:
                self.assert_same(pictures.read(self.path("grey16.png")), self.export(publisher))

    def test_the_printed_line_names_section_and_descriptor(self):
        self.grey16()
        with self.publish("grey16.png") as publisher:
            self.assertEqual(publisher.line, f"--section {publisher.section} --descriptor 37,11,16,0,0,2,74\n")

    def test_the_image_lives_until_enter(self):
        self.grey16()
        with self.publish("grey16.png") as publisher:
            self.export(publisher)
            self.assert_done(publisher.end(b"\n"))
            self.assert_failed(self.run_program("info", *publisher.image()), "0x80070002")

    def test_the_image_lives_until_the_end_of_input(self):
        self.grey16()
        with self.publish("grey16.png") as publisher:
            self.assert_done(publisher.end())
            self.assert_failed(self.run_program("info", *publisher.image()), "0x80070002")

    def test_names_are_unicode(self):
        self.grey16("Größe 画像.png")
        with self.publish("Größe 画像.png", section=f"Größe Δ 画像 {uuid.uuid4()}") as publisher:
            self.assertIn(f'--section "{publisher.section}" --descriptor ', publisher.line)
            exported = self.export(publisher, name="Ergebnis é 結果.png")
            self.assert_same(pictures.read(self.path("Größe 画像.png")), exported)

    def test_a_name_in_use_is_refused_and_its_image_kept(self):
        self.grey16()
        self.bytes_png("other.png", pictures.GREY)
        with self.publish("grey16.png") as publisher:
            result = self.run_program("publish", "other.png", "--section", publisher.section)
            self.assert_failed(result, "0x800700B7", publisher.section, "in use")
            self.assert_same(pictures.read(self.path("grey16.png")), self.export(publisher))


class Failures(ProgramTest):
    def test_an_unknown_section(self):
        image = ["--section", "tavlo-test-unknown", "--descriptor", "4,4,8,Unsigned,0,1,4"]
        self.assert_failed(self.run_program("export", *image, "out.png"), "0x80070002", "tavlo-test-unknown")
        self.assert_failed(self.run_program("info", *image), "0x80070002", "tavlo-test-unknown")
        self.assertEqual(os.listdir(self.folder), [])

    def test_a_descriptor_outside_the_section(self):
        self.grey16()
        outside = [
            "5000,5000,16,Unsigned,0,2,10000",
            "37,11,16,Unsigned,100000,2,74",
            "37,11,16,Unsigned,-2,2,74",
            "37,11,16,Unsigned,0,-2,74",
            "37,11,16,Unsigned,0,2,-74",
            # Computed with 32 bits, these would lie inside.
            "65537,65537,8,Unsigned,0,65536,65536",
            "2147483647,3,16,Unsigned,0,2,2",
        ]
        self.write("out.png", b"precious")
        with self.publish("grey16.png") as publisher:
            for descriptor in outside:
                with self.subTest(descriptor=descriptor):
                    image = publisher.image(descriptor)
                    self.assert_failed(self.run_program("info", *image), "but the section has")
                    self.assert_failed(self.run_program("export", *image, "out.png"), "but the section has")
        with open(self.path("out.png"), "rb") as file:
            self.assertEqual(file.read(), b"precious")
        self.assertEqual(sorted(os.listdir(self.folder)), ["grey16.png", "out.png"])

    def test_an_encoding_that_png_cannot_keep(self):
        self.grey16()
        with self.publish("grey16.png") as publisher:
            for descriptor in ("4,4,16,Signed,0,2,8", "4,4,32,Unsigned,0,4,16", "4,4,64,Complex_Float,0,8,32"):
                result = self.run_program("export", *publisher.image(descriptor), "out.png")
                self.assert_failed(result, "cannot be kept in PNG", "PNG keeps")

    def test_an_output_that_cannot_be_written(self):
        self.grey16()
        os.mkdir(self.path("folder.png"))
        with self.publish("grey16.png") as publisher:
            result = self.run_program("export", *publisher.image(), "missing/out.png")
            self.assert_failed(result, "0x80070003", "missing/out.png")
            self.assert_failed(self.run_program("export", *publisher.image(), "folder.png"), "folder.png")
        self.assertEqual(sorted(os.listdir(self.folder)), ["folder.png", "grey16.png"])

    def test_a_missing_picture(self):
        result = self.run_program("publish", "missing.png", "--section", "s")
        self.assert_failed(result, "0x80070002", "missing.png")

    def test_a_file_that_is_no_picture(self):
        self.write("text.png", b"this is no picture at all")
        self.assert_failed(self.run_program("publish", "text.png", "--section", "s"), "text.png", "no picture of a known format")

    def test_a_picture_that_is_cut_off(self):
        self.grey16("whole.png", 64, 64)
        with open(self.path("whole.png"), "rb") as file:
            self.write("cut.png", file.read()[:60])
        self.assert_failed(self.run_program("publish", "cut.png", "--section", "s"), "cut.png")


class Info(ProgramTest):
    def test_grey(self):
        rows = [struct.pack(">3H", 5, 65535, 0), struct.pack(">3H", 1, 2, 3)]
        self.write_png("a.png", 3, 2, 16, pictures.GREY, rows)
        with self.publish("a.png") as publisher:
            result = self.run_program("info", *publisher.image())
            self.assert_done(result)
            self.assertEqual(
                result.output,
                "width: 3\nheight: 2\nbits: 16\nencoding: Unsigned\noffset: 0\nstride x: 2\nstride y: 6\n"
                "size: 12 bytes\nvalue: minimum 0, maximum 65535, mean 10924.333333333334\n",
            )

    def test_each_colour(self):
        self.write_png("a.png", 2, 1, 8, pictures.RGB, [bytes([1, 10, 100, 3, 30, 200])])
        with self.publish("a.png") as publisher:
            result = self.run_program("info", *publisher.image())
            self.assert_done(result)
            self.assertRegex(result.output, r"(?m)^encoding: (RGB|BGR)$")
            for line in (
                "red: minimum 1, maximum 3, mean 2",
                "green: minimum 10, maximum 30, mean 20",
                "blue: minimum 100, maximum 200, mean 150",
            ):
                self.assertIn(line + "\n", result.output)

    def test_other_encodings_of_the_same_bytes(self):
        self.write_png("a.png", 4, 1, 16, pictures.GREY, [struct.pack(">4H", 0xFFFF, 0, 0, 0x8000)])
        with self.publish("a.png") as publisher:
            cases = {
                "4,1,16,Signed,0,2,8": "value: minimum -32768, maximum 0, mean -8192.25\n",
                "1,1,64,Unsigned,0,8,8": "value: minimum 9223372036854841343, maximum 9223372036854841343",
                "1,1,64,Complex_Float,0,8,8": "imaginary: minimum -0, maximum -0",
                "8,1,8,Data,0,1,8": "values: not known",
            }
            for descriptor, line in cases.items():
                with self.subTest(descriptor=descriptor):
                    result = self.run_program("info", *publisher.image(descriptor))
                    self.assert_done(result)
                    self.assertIn(line, result.output)


if __name__ == "__main__":
    main()
