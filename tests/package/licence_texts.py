"""The package has the licence text of everything foreign that its binaries contain, and the guide tells
which: licence_texts.py PACKAGE.zip SOURCES BUILD SCRATCH

What a binary contains is asked of the linker, which links it once more and writes a map, and of the
compiler's command lines, which name foreign sources and libraries that are headers only.
"""
import functools
import os
import pathlib
import re
import shlex
import subprocess
import sys
import unittest
import zipfile

PACKAGE, SOURCES, BUILD, SCRATCH = (pathlib.Path(argument).absolute() for argument in sys.argv[1:])
sys.path.insert(0, str(SOURCES / "packaging"))
from licences import LIBRARIES, holder

BINARIES = ("Tavlo.dll", "TavloPS.dll", "tavlo.exe")


def is_foreign(path):
    return not path.is_relative_to(BUILD) and (
        not path.is_relative_to(SOURCES) or path.is_relative_to(SOURCES / "build"))


def linked(command, binary):
    """The objects and archives that the linker takes something from."""
    words = shlex.split(next(part for part in command.split(" && ") if f"-o bin/{binary} " in part))
    words[words.index("-o") + 1] = str(SCRATCH / binary)
    table = SCRATCH / f"{binary}.map"
    subprocess.run([*words, f"-Wl,-Map={table}"], cwd=BUILD, check=True)
    text = table.read_text(encoding="utf-8")
    members, objects = r"^(\S.*\.a)\([^)]*\)$", r"^LOAD (\S+\.o(?:bj)?)$"
    return re.findall(f"{members}|{objects}", text, re.MULTILINE)


def compiled(commands):
    """The sources, and the folders of foreign headers."""
    for command in commands:
        words = shlex.split(command)
        if "-c" in words:
            yield words[words.index("-c") + 1]
            yield from (words[i + 1] for i, word in enumerate(words) if word == "-isystem")


@functools.cache
def foreign(binary):
    commands = subprocess.run(["ninja", "-C", BUILD, "-t", "commands", f"bin/{binary}"], capture_output=True, text=True,
                              check=True).stdout.splitlines()
    found = [archive or thing for archive, thing in linked(commands[-1], binary)] + list(compiled(commands))
    places = {pathlib.Path(os.path.normpath(BUILD / place)) for place in found}
    return {place for place in places if is_foreign(place)}


class Licences(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        SCRATCH.mkdir(parents=True, exist_ok=True)
        cls.contents = {binary: {holder(place) for place in foreign(binary)} for binary in BINARIES}
        cls.package = zipfile.ZipFile(PACKAGE)
        cls.texts = {name.split("/")[-1]: name for name in cls.package.namelist() if name.split("/")[1] == "licences"}

    @classmethod
    def tearDownClass(cls):
        cls.package.close()

    def test_all_that_is_foreign_belongs_to_a_library(self):
        for binary in BINARIES:
            self.assertGreater(len(foreign(binary)), 0, binary)
            self.assertEqual([place for place in foreign(binary) if holder(place) is None], [], binary)

    def test_every_library_has_its_text_and_no_other(self):
        self.assertEqual(set(self.texts), {f"{name}.txt" for name in set().union(*self.contents.values())})
        for name, library in LIBRARIES.items():
            first, *rest = self.package.read(self.texts[f"{name}.txt"]).decode().split("\r\n")
            self.assertEqual(first, f"{library.title} {library.version()}")
            self.assertGreater(len(rest), 15, name)
            self.assertNotIn("\n", "".join(rest), name)

    def test_the_guide_names_every_library(self):
        page = (SOURCES / "docs/licences.md").read_text(encoding="utf-8")
        rows = {tuple(cell.strip(" `") for cell in row.split("|")[1:-1]) for row in page.splitlines() if ".txt" in row}
        expected = {(library.title, library.version(), library.licence, f"licences/{name}.txt",
                     "`, `".join(binary for binary in BINARIES if name in self.contents[binary]))
                    for name, library in LIBRARIES.items()}
        self.assertEqual(rows, expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
