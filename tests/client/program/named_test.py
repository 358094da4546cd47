"""Runs the client program on images that are published by name: publish, list, watch and paint,
each in a process of its own.

named_test.py [--group NAME] -- RUNNER... PROGRAM
"""

import os
import signal
import struct
import subprocess
import uuid

from program import ProgramTest, Running, main, pictures
from picture_files import TIFF_FLOAT, tiff

NOT_PUBLISHED = "0x800401E3"
NO_SERVER = "0x800706BA"
IN_USE = "0x800700B7"
DENIED = "0x80070005"


class NamedTest(ProgramTest):
    def unused_name(self, start="test"):
        return f"{start} {uuid.uuid4()}"

    def publish_named(self, *options, name=None, picture=None, **more):
        return self.publish(picture or self.grey16(), *options, name=name or self.unused_name(), **more)

    def listed(self, name, patience=60):
        """The line that list has for a name; others may be published meanwhile."""
        result = self.run_program("list", "--patience", str(patience))
        self.assert_done(result)
        lines = [line for line in result.output.splitlines() if line.startswith(name + ": ")]
        self.assertLessEqual(len(lines), 1)
        return lines[0] if lines else None

    def watch(self, name, *options):
        watcher = self.start("watch", name, *options)
        line = watcher.next_line()
        if line is None:
            self.fail(watcher.wait().errors)
        self.assertTrue(line.startswith(f"watching {name}: "), line)
        return watcher

    def paint(self, name, *options):
        result = self.run_program("paint", name, *options)
        self.assert_done(result)
        return result.output

    def values(self, publisher):
        info = self.run_program("info", *publisher.image())
        self.assert_done(info)
        return info.output


class Publishing(NamedTest):
    def test_a_name_alone_is_enough(self):
        picture = self.grey16()
        with self.publish_named(picture=picture) as publisher:
            self.assertEqual(publisher.line, f'--name "{publisher.name}"\n')
            self.assert_same(pictures.read(self.path(picture)), self.export(publisher))
            self.assertIn("width: 37\nheight: 11\nbits: 16\nencoding: Unsigned\n", self.values(publisher))

    def test_a_section_and_a_name_lead_to_the_same_image(self):
        picture = self.grey16()
        with self.publish_named(picture=picture, section=f"tavlo-test-{uuid.uuid4()}") as publisher:
            self.assertEqual(publisher.line, f"--section {publisher.section} --descriptor 37,11,16,0,0,2,74\n")
            self.assertEqual(publisher.next_line(), f'--name "{publisher.name}"\n')
            self.paint(publisher.name, "--value", "7")
            by_section = self.run_program("info", *publisher.image())
            self.assert_done(by_section)
            self.assertIn("minimum 7, maximum 7", by_section.output)

    def test_every_access_publishes_the_same_pixels(self):
        picture = self.grey16()
        for access in ("read-only", "single-writer", "multiple-writers"):
            with self.subTest(access=access), self.publish_named("--access", access, picture=picture) as publisher:
                self.assert_same(pictures.read(self.path(picture)), self.export(publisher))

    def test_names_are_unicode_and_case_of_plain_letters_is_no_difference(self):
        name = self.unused_name("test Größe Δ 画像! 100%")
        with self.publish_named(name=name) as publisher:
            self.assertEqual(publisher.line, f'--name "{name}"\n')
            self.assertIsNotNone(self.listed(name))
            self.assert_done(self.run_program("info", "--name", name.replace("test", "TEST")))
            self.assert_failed(self.run_program("info", "--name", name.replace("ö", "Ö")), NOT_PUBLISHED)

    def test_a_name_in_use_is_refused_and_its_image_kept(self):
        picture = self.grey16()
        other = self.bytes_png("other.png", pictures.GREY)
        with self.publish_named(picture=picture) as publisher:
            for name in (publisher.name, publisher.name.upper()):
                result = self.run_program("publish", other, "--name", name)
                self.assert_failed(result, IN_USE, f"cannot publish the image as '{name}'", "the name is in use")
            self.assert_same(pictures.read(self.path(picture)), self.export(publisher))

    def test_a_name_goes_with_its_process(self):
        for last in (b"\n", b""):
            with self.subTest(input=last), self.publish_named() as publisher:
                self.assert_done(publisher.end(last))
                self.assertIsNone(self.listed(publisher.name))
                result = self.run_program("info", "--name", publisher.name)
                self.assert_failed(result, NOT_PUBLISHED, f"cannot bind to the image '{publisher.name}'", "no image is published")
                with self.publish_named(name=publisher.name):
                    self.assertIsNotNone(self.listed(publisher.name))

    def test_ctrl_c_ends_it_cleanly(self):
        with self.publish_named() as publisher:
            publisher.process.send_signal(signal.SIGINT)
            self.assert_done(publisher.wait())
            self.assertIsNone(self.listed(publisher.name))

    def test_the_name_of_a_killed_process_can_be_published_again(self):
        with self.publish_named() as publisher:
            publisher.kill()
            # The platform takes the entry out when it has noticed.
            while self.listed(publisher.name):
                pass
            with self.publish_named(name=publisher.name):
                self.assertRegex(self.listed(publisher.name), r"process \d+$")


class Listing(NamedTest):
    def test_geometry_type_and_process(self):
        with self.publish_named() as first, self.publish_named(picture=self.bytes_png("a.png", pictures.RGBA)) as second:
            one, other = (self.listed(publisher.name) for publisher in (first, second))
            self.assertRegex(one, r": 37 x 11, Unsigned\(16\), process \d+$")
            self.assertRegex(other, r": 19 x 7, (RGBA|BGRA)\(32\), process \d+$")
            self.assertNotEqual(one.split()[-1], other.split()[-1])

    def test_lines_are_ordered_by_name(self):
        start = self.unused_name()
        with self.publish_named(name=start + " b"), self.publish_named(name=start + " a"):
            result = self.run_program("list", "--patience", "60")
            lines = [line for line in result.output.splitlines() if line.startswith(start)]
            self.assertEqual([line.split(":")[0] for line in lines], [start + " a", start + " b"])

    def test_a_process_that_does_not_answer_is_not_waited_for(self):
        with self.publish_named() as silent, self.publish_named() as other:
            os.kill(silent.process.pid, signal.SIGSTOP)
            try:
                self.assertRegex(self.listed(silent.name, patience=1), r": does not answer, process \d+$")
                self.assertRegex(self.listed(other.name, patience=15), r": 37 x 11, ")
            finally:
                os.kill(silent.process.pid, signal.SIGCONT)
            # It may be too busy at first with the calls that have come meanwhile.
            while "0x800706BB" in (line := self.listed(silent.name)):
                pass
            self.assertRegex(line, r": 37 x 11, ")

    def test_wrong_usage(self):
        for arguments, part in ((["scan"], "scan"), (["--patience", "-1"], "the patience must be at least 0")):
            result = self.run_program("list", *arguments)
            self.assertEqual((result.code, result.output), (2, ""))
            self.assertIn(part, result.errors)


class NoInput(NamedTest):
    """Services and build machines start programs with the null device, or a file, as their input: it is
    at its end at once, and that is nobody's wish to stop."""

    def inputs(self):
        with open(self.path("input.txt"), "wb") as file:
            file.write(b"\n")
        yield subprocess.DEVNULL
        with open(self.path("input.txt"), "rb") as file:
            yield file

    def test_publish_goes_on(self):
        for stdin in self.inputs():
            name = self.unused_name()
            with self.start("publish", self.grey16(), "--name", name, stdin=stdin) as publisher:
                self.assertIn("--name", publisher.next_line())
                self.assert_done(self.run_program("info", name))
                self.assertIsNone(publisher.process.poll())
                self.assert_done(publisher.end())

    def test_watch_goes_on(self):
        with self.publish_named() as publisher:
            for stdin in self.inputs():
                with self.start("watch", publisher.name, stdin=stdin) as watcher:
                    self.assertTrue(watcher.next_line().startswith("watching "))
                    for rectangle in ("1,2,3,4", "5,6,7,8"):
                        self.paint(publisher.name, "--rect", rectangle)
                        self.assertEqual(watcher.next_line(), rectangle + "\n")
                    self.assert_done(watcher.end())

    def test_a_script_goes_on(self):
        self.write("wait.js", b"WScript.Echo('begins'); WScript.Sleep(100); WScript.Echo('ends');")
        with self.publish_named() as publisher:
            for stdin in self.inputs():
                with self.start("script", "wait.js", publisher.name, stdin=stdin) as script:
                    self.assertEqual([script.next_line().rstrip() for _ in range(2)], ["begins", "ends"])
                    self.assert_done(script.wait())


class Foreign(NamedTest):
    """Entries of programs that follow the convention in part, or not at all."""

    def enter(self, name, kind):
        program = Running(self.folder, name, kind, other=os.environ["PLAIN_PUBLISHER"])
        self.assertEqual(program.next_line().rstrip(), "published")
        return program

    def test_an_image_whose_process_is_not_told(self):
        name = self.unused_name()
        with self.enter(name, "image") as program:
            self.assertEqual(self.listed(name), f"{name}: 4 x 3, Unsigned(8), process unknown")
            with self.watch(name) as watcher:
                self.paint(name, "--rect", "1,1,2,2")
                self.assertEqual(watcher.next_line(), "1,1,2,2\n")
                program.kill()
                result = watcher.wait()
                self.assertEqual((result.code, result.output), (1, ""))
                self.assertIn(f"tavlo: cannot watch '{name}' any longer: {NO_SERVER}: ", result.errors)

    def test_its_name_is_in_use_too(self):
        name = self.unused_name()
        with self.enter(name, "image"):
            result = self.run_program("publish", self.grey16(), "--name", name)
            self.assert_failed(result, IN_USE, "the name is in use")
            self.assertEqual(self.listed(name), f"{name}: 4 x 3, Unsigned(8), process unknown")

    def test_geometry_that_lies_outside_its_memory(self):
        least, most = -2147483648, 2147483647
        # Images of other processes are refused by the C++ layer already.
        outside = "its geometry reaches outside its memory"
        for geometry, part in (
            ("5000,5000,8,0,0,1,5000", outside),
            ("4,3,8,0,4093,1,4", outside),
            ("4,3,8,0,-1,1,4", outside),
            ("4,3,8,0,0,-1,4", outside),
            ("4,3,8,0,0,1,-4", outside),
            (f"{most},{most},8,0,{most},{most},{most}", outside),
            (f"{most},{most},8,0,0,{least},{least}", outside),
            # Computed with 32 bits, this would lie inside.
            ("65537,65537,8,0,0,65536,65536", outside),
            ("0,3,8,0,0,1,4", "pixels"),
            ("4,-3,8,0,0,1,4", "pixels"),
            (f"{least},{least},8,0,0,{least},{least}", "pixels"),
        ):
            name = self.unused_name()
            with self.enter(name, geometry):
                for command in (["info", name], ["paint", name], ["export", name, "out.png"], ["view", name]):
                    with self.subTest(geometry=geometry, command=command[0]):
                        self.assert_failed(self.run_program(*command), part)
        self.assertEqual(os.listdir(self.folder), [])

    def test_what_is_no_image(self):
        name = self.unused_name()
        with self.enter(name, "nothing"):
            self.assertRegex(self.listed(name), r": cannot bind to the image '.*': 0x80004002: .*no image, process unknown$")
            for command in (["watch", name], ["paint", name], ["info", "--name", name]):
                self.assert_failed(self.run_program(*command), "0x80004002", "what is published under this name is no image")


class Watching(NamedTest):
    def test_every_update_is_a_line(self):
        with self.publish_named() as publisher, self.watch(publisher.name) as watcher:
            rectangles = ["1,2,3,4", "0,0,37,11", "36,10,37,11"]
            for rectangle in rectangles:
                self.paint(publisher.name, "--rect", rectangle)
            self.assertEqual([watcher.next_line() for _ in rectangles], [text + "\n" for text in rectangles])
            result = watcher.end(b"\n")
            self.assert_done(result)
            self.assertEqual(result.output, "")
            # The image has let it go and goes on.
            self.paint(publisher.name)

    def test_the_first_line_tells_what_is_watched(self):
        name = self.unused_name("Größe")
        with self.publish_named(name=name), self.start("watch", name) as watcher:
            self.assertEqual(watcher.next_line(), f"watching {name}: 37 x 11, Unsigned(16)\n")

    def test_merged_updates_cover_what_changed(self):
        with self.publish_named() as publisher, self.watch(publisher.name, "--merged") as watcher:
            self.paint(publisher.name, "--rect", "1,2,3,4")
            self.assertEqual(watcher.next_line(), "1,2,3,4\n")
            self.assert_done(watcher.end())
            self.paint(publisher.name)

    def test_it_ends_after_a_count(self):
        with self.publish_named() as publisher, self.watch(publisher.name, "--count", "2") as watcher:
            self.paint(publisher.name, "--rect", "1,2,3,4")
            self.paint(publisher.name, "--rect", "5,6,7,8")
            result = watcher.wait()
            self.assert_done(result)
            self.assertEqual(result.output, "1,2,3,4\n5,6,7,8\n")

    def test_it_ends_with_the_input_and_with_ctrl_c(self):
        with self.publish_named() as publisher:
            for end in (lambda w: w.end(), lambda w: (w.process.send_signal(signal.SIGINT), w.wait())[1]):
                with self.watch(publisher.name) as watcher:
                    self.assert_done(end(watcher))

    def test_several_watch_one_image(self):
        with self.publish_named() as publisher, self.watch(publisher.name) as first, self.watch(publisher.name) as second:
            self.paint(publisher.name, "--rect", "1,2,3,4")
            self.assert_done(first.end())
            self.paint(publisher.name, "--rect", "5,6,7,8")
            self.assertEqual([second.next_line() for _ in range(2)], ["1,2,3,4\n", "5,6,7,8\n"])

    def test_a_killed_watcher_harms_nobody(self):
        with self.publish_named() as publisher, self.watch(publisher.name) as killed, self.watch(publisher.name) as other:
            killed.kill()
            self.paint(publisher.name, "--rect", "1,2,3,4")
            self.assertEqual(other.next_line(), "1,2,3,4\n")

    def assert_ended_by_its_publisher(self, watcher, name):
        result = watcher.wait()
        self.assertEqual((result.code, result.output), (1, ""))
        self.assertRegex(
            result.errors, rf"\Atavlo: cannot watch '{name}' any longer: {NO_SERVER}: .*: "
            r"process \d+, which published it, has ended\n\Z"
        )

    def test_it_ends_when_its_publisher_does(self):
        with self.publish_named() as publisher, self.watch(publisher.name) as watcher:
            self.assert_done(publisher.end())
            self.assert_ended_by_its_publisher(watcher, publisher.name)

    def test_it_ends_when_its_publisher_is_killed(self):
        with self.publish_named() as publisher, self.watch(publisher.name) as watcher:
            publisher.kill()
            self.assert_ended_by_its_publisher(watcher, publisher.name)

    def test_an_unknown_name(self):
        result = self.run_program("watch", self.unused_name())
        self.assert_failed(result, NOT_PUBLISHED, "no image is published under this name")

    def test_wrong_usage(self):
        for arguments, part in (
            ([], "NAME is required"),
            ([""], "must not be empty"),
            (["a\nb"], "must not contain control characters"),
            (["n" * 256], "at most 255"),
            (["a", "--count", "0"], "the count must be at least 1"),
            (["a", "--count", "x"], "the count must be a whole number"),
        ):
            with self.subTest(arguments=arguments):
                result = self.run_program("watch", *arguments)
                self.assertEqual((result.code, result.output), (2, ""))
                self.assertIn(part, result.errors)


class Painting(NamedTest):
    def test_a_gradient_fills_the_image(self):
        with self.publish_named() as publisher:
            self.assertEqual(self.paint(publisher.name), "painted 0,0,37,11\n")
            picture = self.export(publisher)
            self.assertEqual((picture.samples[0], picture.samples[-1]), (0, 65535))
            self.assertEqual(sorted(picture.samples[:37]), list(picture.samples[:37]))

    def test_a_rectangle_leaves_the_rest(self):
        picture = self.grey16()
        before = pictures.read(self.path(picture))
        with self.publish_named(picture=picture) as publisher:
            self.assertEqual(self.paint(publisher.name, "--rect", "2,3,5,7", "--value", "9"), "painted 2,3,5,7\n")
            expected = [
                9 if 2 <= i % 37 < 5 and 3 <= i // 37 < 7 else value for i, value in enumerate(before.samples)
            ]
            self.assertEqual(list(self.export(publisher).samples), expected)

    def test_patterns(self):
        with self.publish_named(picture=self.bytes_png("a.png", pictures.GREY)) as publisher:
            self.paint(publisher.name, "--pattern", "checkerboard", "--square", "3")
            self.assertEqual(list(self.export(publisher).samples[:10]), [0, 0, 0, 255, 255, 255, 0, 0, 0, 255])
            self.paint(publisher.name, "--pattern", "noise")
            first = list(self.export(publisher).samples)
            self.paint(publisher.name, "--pattern", "noise", "--seed", "2")
            self.assertNotEqual(list(self.export(publisher).samples), first)
            self.paint(publisher.name, "--pattern", "noise", "--seed", "1")
            self.assertEqual(list(self.export(publisher).samples), first)
            self.paint(publisher.name, "--pattern", "solid", "--value", "200")
            self.assertEqual(set(self.export(publisher).samples), {200})

    def test_colours_are_given_red_first(self):
        with self.publish_named(picture=self.bytes_png("a.png", pictures.RGBA)) as publisher:
            self.paint(publisher.name, "--value", "1,2,3,4")
            self.assertEqual(list(self.export(publisher).samples[:4]), [1, 2, 3, 4])
            self.paint(publisher.name, "--value", "9")
            self.assertEqual(list(self.export(publisher).samples[:4]), [9, 9, 9, 255])

    def test_floats(self):
        picture = self.write("a.tif", tiff(2, 2, 1, 32, struct.pack("<4f", 0, 0.5, 1, -2.5), sample_format=TIFF_FLOAT))
        with self.publish_named(picture=picture) as publisher:
            self.paint(publisher.name)
            self.assertIn("minimum 0, maximum 1, mean 0.5", self.values(publisher))
            self.paint(publisher.name, "--value", "-1.25")
            self.assertIn("minimum -1.25, maximum -1.25", self.values(publisher))

    def test_only_one_may_write_where_only_one_may(self):
        with self.publish_named("--access", "read-only") as publisher:
            result = self.run_program("paint", publisher.name)
            self.assert_failed(result, DENIED, "cannot write the image", "it is read-only, or it has a writer already")
        for access in ("single-writer", "multiple-writers"):
            with self.publish_named("--access", access) as publisher:
                self.paint(publisher.name)
                self.paint(publisher.name)

    def test_what_cannot_be_painted(self):
        picture = self.grey16()
        before = pictures.read(self.path(picture))
        with self.publish_named(picture=picture) as publisher, self.watch(publisher.name) as watcher:
            for options, part in (
                (["--rect", "0,0,38,11"], "the rectangle 0,0,38,11 reaches outside the image, which has 37 x 11 pixels"),
                (["--rect", "0,0,37,12"], "reaches outside"),
                (["--value", "65536"], "a whole number from 0 to 65535, not '65536'"),
                (["--value", "1,2"], "a pixel has 1 value, not 2"),
            ):
                with self.subTest(options=options):
                    self.assert_failed(self.run_program("paint", publisher.name, *options), part)
            self.assert_same(before, self.export(publisher))
            result = watcher.end()
            self.assert_done(result)
            self.assertEqual(result.output, "")

    def test_an_unknown_name(self):
        result = self.run_program("paint", self.unused_name())
        self.assert_failed(result, NOT_PUBLISHED, "no image is published under this name")

    def test_wrong_usage(self):
        for arguments, part in (
            ([], "NAME, or --section with --descriptor, is required"),
            (["a", "--pattern", "dots"], "dots"),
            (["a", "--pattern", "solid"], "--value is required"),
            (["a", "--pattern", "noise", "--value", "1"], "goes with the pattern solid only"),
            (["a", "--rect", "1,2,3"], "four values"),
            (["a", "--square", "0"], "the side must be at least 1"),
            (["a", "--seed", "-1"], "the seed must be at least 0"),
        ):
            with self.subTest(arguments=arguments):
                result = self.run_program("paint", *arguments)
                self.assertEqual((result.code, result.output), (2, ""))
                self.assertIn(part, result.errors)


if __name__ == "__main__":
    main()
