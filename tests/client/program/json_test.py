"""Runs the client program with --json and --quiet, and names images in every way that there is.

json_test.py [--group NAME] -- RUNNER... PROGRAM
"""

import json
import os
import struct
import uuid

from program import ProgramTest, Publisher, main, pictures
from picture_files import TIFF_FLOAT, tiff

GEOMETRY = {
    "width": 37, "height": 11, "bits": 16, "encoding": "Unsigned", "offset": 0, "stride_x": 2, "stride_y": 74, "size": 814,
}
WHOLE = {"left": 0, "top": 0, "right": 37, "bottom": 11}


class JsonTest(ProgramTest):
    def objects(self, *arguments):
        """What a command prints with --json, line by line."""
        result = self.run_program(*arguments, "--json")
        self.assert_done(result)
        return [json.loads(line) for line in result.output.splitlines()]

    def object(self, *arguments):
        (one,) = self.objects(*arguments)
        return one

    def unused_name(self, start="test"):
        return f"{start} {uuid.uuid4()}"

    def publish_named(self, *options, name=None, picture=None, **more):
        return self.publish(picture or self.grey16(), *options, name=name or self.unused_name(), **more)

    def size(self, name):
        return os.path.getsize(self.path(name))


class JsonResults(JsonTest):
    def test_info(self):
        rows = [struct.pack(">3H", 5, 65535, 0), struct.pack(">3H", 1, 2, 3)]
        self.write_png("a.png", 3, 2, 16, pictures.GREY, rows)
        with self.publish("a.png") as publisher:
            self.assertEqual(
                self.object("info", *publisher.image()),
                {
                    "name": None,
                    "section": publisher.section,
                    "descriptor": "3,2,16,0,0,2,6",
                    "geometry": {
                        "width": 3, "height": 2, "bits": 16, "encoding": "Unsigned",
                        "offset": 0, "stride_x": 2, "stride_y": 6, "size": 12,
                    },
                    "components": [
                        {"name": "value", "count": 6, "nan_count": 0, "minimum": 0, "maximum": 65535, "mean": 10924.333333333334}
                    ],
                },
            )
            data = self.object("info", *publisher.image("8,1,8,Data,0,1,8"))
            self.assertIsNone(data["components"])
            self.assertEqual(data["geometry"]["encoding"], "Data")

    def test_info_of_numbers_that_json_does_not_have(self):
        values = [float("nan"), float("inf"), 1, 2, float("-inf"), float("nan")]
        self.write("a.tif", tiff(3, 2, 1, 32, struct.pack("<6f", *values), sample_format=TIFF_FLOAT))
        with self.publish("a.tif") as publisher:
            (component,) = self.object("info", *publisher.image())["components"]
            self.assertEqual(
                component,
                {"name": "value", "count": 4, "nan_count": 2, "minimum": "-Infinity", "maximum": "Infinity", "mean": "NaN"},
            )

    def test_publish_names_its_image_as_the_others_take_it(self):
        name = self.unused_name("Größe \" Δ 画像")
        for section in (None, self.unused_name()):
            named = ["--section", section] if section else []
            with self.start("publish", self.grey16(), "--name", name, *named, "--json") as running:
                told = json.loads(running.next_line())
                self.assertGreater(told.pop("process"), 0)
                self.assertEqual(
                    told, {"name": name, "section": section, "descriptor": "37,11,16,0,0,2,74", "geometry": GEOMETRY}
                )
                self.assertEqual(self.object("info", told["name"])["geometry"], GEOMETRY)

    def test_list(self):
        name = self.unused_name("Größe")
        with self.publish_named(name=name) as publisher:
            images = self.object("list", "--patience", "60")["images"]
            (entry,) = [image for image in images if image["name"] == name]
            self.assertGreater(entry.pop("process"), 0)
            self.assertEqual(entry, {"name": name, "geometry": GEOMETRY, "error": None, "code": None})
            publisher.kill()

    def test_watch_prints_a_line_for_every_update_at_once(self):
        with self.publish_named() as publisher, self.start("watch", publisher.name, "--json", "--count", "2") as watcher:
            start = json.loads(watcher.next_line())
            self.assertGreater(start.pop("process"), 0)
            self.assertEqual(start, {"event": "watching", "name": publisher.name, "geometry": GEOMETRY})
            for number, edges in enumerate(([1, 2, 3, 4], [0, 0, 37, 11]), 1):
                self.assert_done(self.run_program("paint", publisher.name, "--rect", ",".join(map(str, edges))))
                self.assertEqual(
                    json.loads(watcher.next_line()),
                    {"event": "update", "number": number, "rectangle": dict(zip(("left", "top", "right", "bottom"), edges))},
                )
            result = watcher.wait()
            self.assert_done(result)
            self.assertEqual(result.output, "")

    def test_paint(self):
        with self.publish_named() as publisher:
            self.assertEqual(
                self.object("paint", publisher.name, "--value", "9", "--rect", "1,2,3,4"),
                {
                    "name": publisher.name, "section": None, "geometry": GEOMETRY, "pattern": "solid",
                    "rectangle": {"left": 1, "top": 2, "right": 3, "bottom": 4},
                },
            )
            gradient = self.object("paint", publisher.name)
            self.assertEqual((gradient["pattern"], gradient["rectangle"]), ("gradient", WHOLE))

    def test_export(self):
        with self.publish_named() as publisher:
            told = self.object("export", publisher.name, "out.png")
            self.assertEqual(
                told,
                {
                    "name": publisher.name, "section": None, "geometry": GEOMETRY,
                    "out": {"path": "out.png", "size": self.size("out.png"), "depth": 16, "channels": 1},
                },
            )

    def test_recode(self):
        picture = self.grey16()
        told = self.object("recode", picture, "out.png", "--to", "RGB,24", "--rect", "1,2,21,7", "--gamma", "2")
        self.assertGreaterEqual(told.pop("seconds"), 0)
        self.assertEqual(
            told,
            {
                "in": picture,
                "source": GEOMETRY,
                "rectangle": {"left": 1, "top": 2, "right": 21, "bottom": 7},
                "conversion": "tone",
                "geometry": {
                    "width": 20, "height": 5, "bits": 24, "encoding": "RGB",
                    "offset": 0, "stride_x": 3, "stride_y": 60, "size": 300,
                },
                "out": {"path": "out.png", "size": self.size("out.png"), "depth": 8, "channels": 3},
            },
        )
        self.assertEqual(self.object("recode", picture, "out.png", "--to", "Unsigned,8", "--cast")["conversion"], "cast")
        plain = self.object("recode", picture, "out.png", "--to", "Unsigned,8")
        self.assertEqual((plain["conversion"], plain["rectangle"]), ("recode", WHOLE))


class JsonErrors(JsonTest):
    def error(self, exit_code, *arguments):
        result = self.run_program(*arguments, "--json")
        self.assertEqual((result.code, result.output), (exit_code, ""), result.errors)
        (line,) = result.errors.splitlines()
        error = json.loads(line)
        self.assertEqual(list(error), ["error", "code"])
        return error["error"], error["code"]

    def test_failures_have_the_codes_that_their_texts_have(self):
        name = self.unused_name()
        section = ["--section", name, "--descriptor", "4,4,8,0,0,1,4"]
        picture = self.grey16()
        for command, code in (
            (["info", name], "0x800401E3"),
            (["watch", name], "0x800401E3"),
            (["paint", name], "0x800401E3"),
            (["export", name, "out.png"], "0x800401E3"),
            (["view", name], "0x800401E3"),
            (["info", *section], "0x80070002"),
            (["paint", *section], "0x80070002"),
            (["publish", "missing.png", "--name", name], "0x80070002"),
            (["recode", "missing.png", "out.png"], "0x80070002"),
            (["recode", picture, "out.png", "--rect", "0,0,99,99"], "0x80070057"),
            (["register", "--folder", "missing"], "0x80070003"),
            (["register-common", "missing.tlb"], None),
        ):
            with self.subTest(command=command):
                text, told = self.error(1, *command)
                self.assertTrue(text.startswith("tavlo: cannot "), text)
                self.assertIn(told, text)
                if code:
                    self.assertEqual(told, code)
        plain = self.run_program("info", name)
        self.assertEqual(self.error(1, "info", name)[0] + "\n", plain.errors)

    def test_errors_of_scripts_have_the_engines_code(self):
        self.write("a.js", b"undefinedFunction();")
        with self.publish_named() as publisher:
            text, code = self.error(1, "script", "a.js", publisher.name)
            self.assertIn("line 1", text)
            self.assertIn(code, text)
            self.write("b.js", b"WScript.Quit(3);")
            self.assertEqual(self.error(1, "script", "b.js", publisher.name), ("tavlo: the script 'b.js' quit with 3", None))

    def test_a_failure_without_a_code(self):
        with self.publish_named() as publisher:
            self.assertEqual(
                self.error(1, "paint", publisher.name, "--value", "x"),
                ("tavlo: the value must be a whole number from 0 to 65535, not 'x'", None),
            )

    def test_wrong_usage(self):
        for arguments, text in (
            ([], "tavlo: a command is needed"),
            (["pubish"], "tavlo: there is no command 'pubish'. Did you mean 'publish'?"),
            (["watch"], "tavlo watch: NAME is required"),
            (["info"], "tavlo info: NAME, or --section with --descriptor, is required"),
        ):
            self.assertEqual(self.error(2, *arguments), (text, None))

    def test_a_watcher_that_loses_its_publisher(self):
        with self.publish_named() as publisher, self.start("watch", publisher.name, "--json") as watcher:
            self.assertEqual(json.loads(watcher.next_line())["event"], "watching")
            publisher.kill()
            result = watcher.wait()
            self.assertEqual((result.code, result.output), (1, ""))
            self.assertEqual(json.loads(result.errors)["code"], "0x800706BA")

    def test_an_image_that_cannot_be_reached_is_listed_with_its_error(self):
        name = self.unused_name()
        with Publisher(self.folder, self.grey16(), name=name) as publisher:
            os.kill(publisher.process.pid, 19)
            try:
                images = self.object("list", "--patience", "1")["images"]
                (entry,) = [image for image in images if image["name"] == name]
                self.assertEqual((entry["geometry"], entry["error"], entry["code"]), (None, "does not answer", None))
            finally:
                os.kill(publisher.process.pid, 18)


class Quiet(JsonTest):
    def test_notes_are_silenced_and_results_are_not(self):
        with self.publish_named("--quiet") as publisher:
            self.assertEqual(publisher.line, f'--name "{publisher.name}"\n')
            for option in ("-q", "--quiet"):
                painted = self.run_program("paint", publisher.name, option)
                self.assert_done(painted)
                self.assertEqual(painted.output, "")
            self.assertIn("width: 37\n", self.run_program("info", publisher.name, "-q").output)
            with self.start("watch", publisher.name, "-q", "--count", "1") as watcher:
                # It subscribes at some time; until then nobody hears of the updates.
                while watcher.process.poll() is None:
                    self.assert_done(self.run_program("paint", publisher.name, "--rect", "1,2,3,4"))
                self.assertEqual(watcher.wait().output, "1,2,3,4\n")

    def test_errors_are_not_silenced(self):
        result = self.run_program("info", self.unused_name(), "--quiet")
        self.assert_failed(result, "no image is published")

    def test_json_is_not_silenced(self):
        with self.publish_named() as publisher:
            self.assertEqual(self.object("paint", publisher.name, "--quiet")["rectangle"], WHOLE)


class Naming(JsonTest):
    def test_every_command_takes_the_name_in_both_ways(self):
        picture = self.grey16()
        self.write("a.js", b"WScript.Echo(image.Descriptor.Width);")
        with self.publish_named(picture=picture) as publisher:
            for named in ([publisher.name], ["--name", publisher.name]):
                self.assertEqual(self.object("info", *named)["name"], publisher.name)
                self.assertEqual(self.object("paint", *named)["name"], publisher.name)
                self.assertEqual(self.object("export", *named, "out.png")["name"], publisher.name)
                script = self.run_program("script", "a.js", *named)
                self.assert_done(script)
                self.assertEqual(script.output, "37\n")
                with self.start("watch", *named) as watcher:
                    self.assertEqual(watcher.next_line(), f"watching {publisher.name}: 37 x 11, Unsigned(16)\n")

    def test_every_command_that_works_on_pixels_takes_a_section(self):
        self.write("a.js", b"WScript.Echo(image.Descriptor.Width);")
        for access in ("single-writer", "read-only"):
            with self.publish(self.grey16(), "--access", access) as publisher:
                image = publisher.image()
                self.assertEqual(self.object("info", *image)["section"], publisher.section)
                self.assertEqual(self.object("export", "out.png", *image)["section"], publisher.section)
                self.assertEqual(self.object("paint", *image, "--value", "77")["section"], publisher.section)
                self.assertEqual(set(self.export(publisher).samples), {77})
                script = self.run_program("script", "a.js", *image)
                self.assert_done(script)
                self.assertEqual(script.output, "37\n")

    def test_the_argument_out_may_stand_anywhere(self):
        with self.publish_named() as publisher:
            for arguments in (
                [publisher.name, "out.png"],
                ["--name", publisher.name, "out.png"],
                ["out.png", "--name", publisher.name],
                ["--json", publisher.name, "--", "out.png"],
            ):
                with self.subTest(arguments=arguments):
                    self.assert_done(self.run_program("export", *arguments))
                    os.remove(self.path("out.png"))

    def test_names_that_look_like_something_else(self):
        for start in ("--json", "-q", "list"):
            with self.publish_named(name=self.unused_name(start)) as publisher:
                self.assertEqual(self.object("--json", "info", "--", publisher.name)["name"], publisher.name)

    def object(self, *arguments):
        """As before, where arguments have their own --json or get it."""
        if "--" not in arguments:
            return super().object(*arguments)
        result = self.run_program(*arguments)
        self.assert_done(result)
        return json.loads(result.output)

    def test_wrong_usage(self):
        descriptor = ["--descriptor", "4,4,8,0,0,1,4"]
        for arguments, part in (
            (["info", "a", "--name", "a"], "NAME excludes --name"),
            (["info", "a", "--section", "s", *descriptor], "NAME excludes --section"),
            (["info", "a", "b"], "not expected: b"),
            (["info", "--section", "s"], "--descriptor is required"),
            (["export"], "OUT is required"),
            (["export", "a"], "OUT: must end in .png, not 'a'"),
            (["export", "out.png"], "NAME, or --section with --descriptor, is required"),
            (["export", "a", "out.png", "--section", "s", *descriptor], "NAME excludes --section"),
            (["script", "a.js"], "NAME, or --section with --descriptor, is required"),
            (["watch", "--section", "s", *descriptor], "--section"),
            (["view"], "NAME, or --section with --descriptor, is required"),
            (["view", "a", "--name", "a"], "NAME excludes --name"),
            (["view", "--section", "s"], "--descriptor is required"),
            (["recode", "a.png"], "OUT is required"),
            (["recode", "a.png", "out.gif"], "OUT: must end in .png"),
        ):
            with self.subTest(arguments=arguments):
                result = self.run_program(*arguments)
                self.assertEqual((result.code, result.output), (2, ""))
                self.assertIn(part, result.errors)


if __name__ == "__main__":
    main()
