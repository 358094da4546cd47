"""Runs the examples of the client program's help, and compares the help with the guide.

help_test.py [--group NAME] -- RUNNER... PROGRAM
"""

import os
import re
import shlex
import struct
import uuid

from program import ProgramTest, main
from picture_files import ramp, tiff

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..")
COMMON = {"--json", "--quiet", "--help"}


class HelpTest(ProgramTest):
    def page(self, *command):
        result = self.run_program("help", *command)
        self.assert_done(result)
        return result.output

    def section(self, page, title):
        """The lines of a section, without their indentation."""
        match = re.search(rf"^(?:.* )?{title}\n((?:(?:    .*)?\n)+)", page, re.MULTILINE)
        return [line[4:] for line in match[1].splitlines() if line]

    def commands(self):
        return re.findall(r"^    (\S+) ", "\n".join(self.section(self.page(), "COMMANDS")), re.MULTILINE)

    def options(self, command):
        """What the help of a command describes: its options, and its arguments."""
        headings = [line for line in self.section(self.page(command), "OPTIONS") if not line.startswith(" ")]
        options = {name for line in headings for name in re.findall(r"--[a-z-]+", line)}
        return options, [line for line in headings if not line.startswith("-")]

    def examples(self, *command):
        return [line[4:] for line in self.section(self.page(*command), "EXAMPLES") if line.startswith("    ")]


class HelpExamples(HelpTest):
    """What changes registrations is run by nobody here, and windows are opened by other tests."""

    NOT_RUN = {"register", "unregister", "register-common", "view"}

    def setUp(self):
        super().setUp()
        values = [value >> 4 for value in ramp(37 * 11, 16)]
        self.write("scan.tif", tiff(37, 11, 1, 16, struct.pack("<407H", *values)))
        for name in ("mean.js", "mean.txt"):
            self.write(name, b"WScript.Echo(image.Descriptor.Width);")
        # The examples' own names may be in use.
        self.name = f"scan-{uuid.uuid4()}"

    def arguments(self, line):
        program, *arguments = shlex.split(line, posix=False)
        self.assertEqual(program, "tavlo")
        return [self.name if argument == "scan" else argument for argument in arguments]

    def run_with_an_image(self, arguments):
        with self.publish("scan.tif", section=self.name, name=self.name):
            self.assert_done(self.run_program(*arguments))

    def test_publishing(self):
        for line in self.examples("publish"):
            with self.subTest(line=line), self.start(*self.arguments(line)) as publisher:
                self.assertIn(self.name, publisher.next_line())
                self.assert_done(publisher.end())

    def test_watching(self):
        for line in self.examples("watch"):
            arguments = self.arguments(line)
            with self.subTest(line=line), self.publish("scan.tif", name=self.name):
                with self.start(*arguments) as watcher:
                    if "--count" in arguments:
                        while watcher.process.poll() is None:
                            self.assert_done(self.run_program("paint", self.name))
                    else:
                        self.assertIn(self.name, watcher.next_line())
                    self.assert_done(watcher.end())

    def test_all_others(self):
        commands = self.commands()
        self.assertGreater(len(commands), 10)
        lines = self.examples() + [line for command in commands for line in self.examples(command)]
        done = set()
        for line in lines:
            arguments = self.arguments(line)
            if arguments[0] in self.NOT_RUN | {"publish", "watch"}:
                continue
            with self.subTest(line=line):
                self.run_with_an_image(arguments)
                done.add(arguments[0])
        self.assertEqual(done | self.NOT_RUN | {"publish", "watch"}, {*commands, "help"})


class HelpAndGuide(HelpTest):
    def guide(self, name):
        with open(os.path.join(ROOT, "docs", name), encoding="utf-8") as text:
            return text.read()

    def synopses(self, text):
        """The guide's lines for each command, which begin with its name."""
        synopses = {}
        for command, rest in re.findall(r"^    tavlo ([a-z][a-z-]*)\b(.*)$", text, re.MULTILINE):
            synopses.setdefault(command, []).append(rest)
        return synopses

    def assert_same_options(self, command, lines):
        options, arguments = self.options(command)
        # The ways to name an image have a word of their own.
        told = " ".join(lines).replace("IMAGE", "--name --section --descriptor NAME")
        self.assertEqual(set(re.findall(r"--[a-z-]+", told)), options - COMMON, command)
        for argument in arguments:
            self.assertIn(argument, told, command)

    def test_the_guide_has_the_commands_and_options_of_the_help(self):
        beginning = self.guide("client.md").split("\n## ")[0]
        synopses = self.synopses(beginning)
        self.assertEqual(set(synopses) - {"help"}, set(self.commands()))
        for command in self.commands():
            with self.subTest(command=command):
                self.assert_same_options(command, synopses[command])
        self.assertEqual(set(re.findall(r"--[a-z][a-z-]*", beginning.split("| option |")[1])) - {"--version"}, COMMON)

    def test_the_guide_to_the_viewer_has_its_options(self):
        synopses = self.synopses(self.guide("viewer.md").split("\n## ")[0])
        self.assert_same_options("view", synopses["view"])

    def test_every_command_has_a_section_in_the_guide(self):
        headings = re.findall(r"^## (.*)$", self.guide("client.md"), re.MULTILINE)
        for command in self.commands():
            self.assertTrue(any(command in re.split(r", | and ", heading) for heading in headings), command)

    def test_options_that_the_guide_names_exist(self):
        known = {"--version", *COMMON}
        for command in self.commands():
            known |= self.options(command)[0]
        for name in ("client.md", "viewer.md"):
            self.assertEqual(set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", self.guide(name))) - known, set(), name)

    def test_the_guide_has_the_fields_of_json(self):
        """Each command's table names the members that the command prints."""
        guide = self.guide("client.md")
        for member in ("stride_x", "nan_count", "components", "rectangle", "conversion", "seconds", "scope", "images"):
            self.assertIn(f"`{member}`", guide)


if __name__ == "__main__":
    main()
