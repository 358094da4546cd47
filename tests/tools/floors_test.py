#!/usr/bin/env python3
"""The check of floors passes on the tree as it is, and tells what is wrong with trees that are not so."""

import os
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))


def check(root):
    return subprocess.run([sys.executable, os.path.join(ROOT, "tools", "check_floors"), root],
                          capture_output=True, text=True, check=False)


class Floors(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = scratch.name

    def folder(self, name, links=(), **sources):
        path = os.path.join(self.root, "component", name)
        os.makedirs(path)
        library = "tavlo_" + name.replace("/", "_")
        with open(os.path.join(path, "CMakeLists.txt"), "w", encoding="utf-8") as file:
            file.write(f"add_library({library} STATIC a.cpp)\n")
            if links:
                file.write(f"target_link_libraries({library} PUBLIC {' '.join(links)})\n")
        for source, text in sources.items():
            with open(os.path.join(path, source + ".h"), "w", encoding="utf-8") as file:
                file.write(text)

    def expect(self, *lines):
        result = check(self.root)
        self.assertEqual(result.stdout.splitlines(), list(lines))
        self.assertEqual(result.returncode, 1)

    def test_ThisTreeKeepsThem(self):
        result = check(ROOT)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_FoldersBelowAreIncludedThroughOthers(self):
        self.folder("ground", a="")
        self.folder("first", ["tavlo_ground"], a='#include "ground/a.h"\n')
        self.folder("second", ["tavlo_first"], a='#include "ground/a.h"\n#include "second/a.h"\n')
        result = check(self.root)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_AFolderAboveIsNotIncluded(self):
        self.folder("ground", a='#pragma once\n\n#include "first/a.h"\n')
        self.folder("first", ["tavlo_ground"], a="")
        self.expect("component/ground/a.h:3: includes first/a.h, but the library of component/ground "
                    "does not stand on that of component/first")

    def test_ACircleOfLinksIsTold(self):
        self.folder("ground", ["tavlo_first"], a="")
        self.folder("first", ["tavlo_ground"], a="")
        self.expect("component/first: stands on itself, by way of component/ground",
                    "component/ground: stands on itself, by way of component/first")

    def test_AFolderWithoutALibraryIsTold(self):
        os.makedirs(os.path.join(self.root, "component", "loose"))
        with open(os.path.join(self.root, "component", "loose", "a.h"), "w", encoding="utf-8"):
            pass
        self.expect("component/loose: no library is made of its sources")

    def test_AMissingFileIsTold(self):
        self.folder("ground", a='#include "first/a.h"\n')
        self.expect("component/ground/a.h:1: there is no first/a.h")


if __name__ == "__main__":
    unittest.main()
