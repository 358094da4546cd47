"""What is in the package: contents.py PACKAGE.zip SOURCES BUILD SCRATCH

The build is an ordinary one, so files for debuggers name its folders; "locations" is about those.
"""
import pathlib
import subprocess
import sys
import unittest
import zipfile

PACKAGE, SOURCES, BUILD, SCRATCH = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
WANTED = (
    "install.cmd", "uninstall.cmd", "README.txt", "bin/tavlo.exe", "bin/Tavlo.dll", "bin/TavloPS.dll",
    "bin/SentelCommon.tlb", "bin/Tavlo.manifest", "share/manifests/example.exe.manifest",
    "samples/first/first.cpp", "samples/scripts/read_pixel.vbs", "symbols/Tavlo.dll.debug",
    "guide/index.html", "guide/install.html", "guide/guide.css", "guide/images/viewer.png",
    "guide/reference/ITavlo2.html",
)


class Contents(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.package = zipfile.ZipFile(PACKAGE)
        cls.names = cls.package.namelist()
        (cls.folder,) = {name.split("/")[0] for name in cls.names}

    @classmethod
    def tearDownClass(cls):
        cls.package.close()

    def read(self, name):
        return self.package.read(f"{self.folder}/{name}")

    def test_entries_are_sorted_and_alike(self):
        entries = self.package.infolist()
        self.assertEqual(self.names, sorted(self.names))
        self.assertEqual({entry.date_time for entry in entries}, {(2023, 11, 14, 22, 13, 20)})
        self.assertEqual({entry.external_attr for entry in entries}, {0o100644 << 16})

    def test_what_belongs_in_it_is_there(self):
        for name in WANTED:
            self.assertGreater(len(self.read(name)), 0, name)

    def test_what_is_opened_on_windows_has_its_line_ends(self):
        for name in ("install.cmd", "uninstall.cmd", "README.txt"):
            lines = self.read(name).split(b"\n")
            self.assertTrue(all(line.endswith(b"\r") for line in lines[:-1]), name)
            self.assertNotIn(b"@", self.read(name).replace(b"@echo off", b""), name)

    def test_every_page_of_the_guide_is_there(self):
        docs = SOURCES / "docs"
        pages = [page.relative_to(docs).with_suffix(".html") for page in docs.rglob("*.md")]
        self.assertGreater(len(pages), 0)
        for page in pages:
            self.assertIn(f"{self.folder}/guide/{page}", self.names)

    def test_no_link_of_the_guide_is_broken(self):
        guide = [name for name in self.names if name.startswith(f"{self.folder}/guide/")]
        self.package.extractall(SCRATCH, guide)
        site = SOURCES / "tools" / "guide" / "site.py"
        done = subprocess.run([sys.executable, "-B", site, "check", SCRATCH / self.folder / "guide"],
                              capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_no_file_tells_where_it_was_made(self):
        for name in self.names:
            if name.startswith(f"{self.folder}/symbols/"):
                continue
            data = self.package.read(name)
            for place in (SOURCES, BUILD):
                self.assertNotIn(str(place).encode(), data, name)
                self.assertNotIn(str(place).encode("utf-16-le"), data, name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
