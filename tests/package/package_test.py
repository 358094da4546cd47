"""Unpacks the package and uses it as its users do, in a Wine prefix that is made for that.

package_test.py GROUP --package FILE.zip --wine RUNNER --unregistered PROGRAM --c CC --cxx CXX --cmake CMAKE
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, ".."))
from wine_output import without_wine

PATIENCE = 300  # seconds until a process counts as stuck
ROOTS = ("HKLM\\Software", "HKCU")
COMPONENT_FILES = ("Tavlo.dll", "TavloPS.dll", "SentelCommon.tlb", "Tavlo.manifest")

options = argparse.Namespace()


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="tavlo package ")
        cls.prefix = os.path.join(cls.folder, "prefix")
        cls.environment = dict(os.environ, TAVLO_WINEPREFIX=cls.prefix, LC_ALL="C.UTF-8")
        with zipfile.ZipFile(options.package) as package:
            package.extractall(cls.folder)
        (name,) = (name for name in os.listdir(cls.folder) if name.startswith("tavlo-"))
        cls.unpacked = os.path.join(cls.folder, name)
        # One server for all, in the place of the one that made the prefix. Its first program starts
        # services, which keep that program's output open.
        cls.wine("cmd", "/c", "exit", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cls.server("-w")
        cls.server("-p")
        cls.wine("net", "start", "RpcSs", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # What the platform writes at a program's first run is not of our making.
        cls.wine("cscript", "//nologo", "nothing.vbs", stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    @classmethod
    def tearDownClass(cls):
        cls.server("-k")
        cls.server("-w")
        shutil.rmtree(cls.folder)

    @classmethod
    def server(cls, option):
        subprocess.run(["wineserver", option], env=dict(os.environ, WINEPREFIX=cls.prefix), check=False)

    @classmethod
    def wine(cls, *arguments, **more):
        return subprocess.run(
            [options.wine, *arguments], cwd=cls.folder, env=cls.environment, stdin=subprocess.DEVNULL,
            check=False, timeout=PATIENCE, **more,
        )

    def output(self, *arguments, code=0):
        """What a program prints; it ends with the code."""
        done = self.wine(*arguments, capture_output=True)
        text = without_wine((done.stdout + done.stderr).decode("utf-8").replace("\r", ""))
        self.assertEqual(done.returncode, code, text)
        return text

    def script(self, name, *arguments, code=0):
        """Runs one of the package's own scripts."""
        return self.output("cmd", "/c", "Z:" + os.path.join(self.unpacked, name).replace("/", "\\"), *arguments, code=code)

    def files(self):
        """Every file of the unpacked package with its bytes."""
        paths = [os.path.join(parent, name) for parent, _, names in os.walk(self.unpacked) for name in names]
        contents = {}
        for path in paths:
            with open(path, "rb") as file:
                contents[os.path.relpath(path, self.unpacked)] = file.read()
        return contents

    def registry(self):
        """Every key and value of every root."""
        roots = []
        for root in ROOTS:
            self.output("reg", "export", root, "registry.reg", "/y")
            with open(os.path.join(self.folder, "registry.reg"), encoding="utf-16") as file:
                # Keys in the order of their names, which is not always the one of the export.
                roots.append(dict(part.partition("\n")[::2] for part in file.read().split("\n\n")))
        return roots

    def assert_same_registry(self, before, after):
        self.maxDiff = None
        for old, new in zip(before, after):
            changed = {key: (old.get(key), new.get(key)) for key in {*old, *new} if old.get(key) != new.get(key)}
            self.assertEqual(changed, {})

    def added_classes(self, before, after):
        """What was written about classes, by the keys below their root, less what the platform writes of
        type libraries for 32-bit programs: under Wine that goes to all users whatever is asked for."""
        return {
            key.lower().partition("\\software\\classes\\")[2]: values
            for key, values in after.items()
            if values.strip() and before.get(key) != values and "wow6432node" not in key.lower()
        }

    def run_script_samples(self):
        folder = os.path.join(self.unpacked, "samples", "scripts")
        samples = sorted(os.listdir(folder))
        self.assertGreater(len(samples), 0)
        for sample in samples:
            with self.subTest(sample):
                with open(os.path.join(HERE, "..", "scripts", "samples", sample + ".txt"), encoding="utf-8") as file:
                    expected = file.read()
                self.assertEqual(self.output("cscript", "//nologo", "Z:" + os.path.join(folder, sample)), expected)
        for sample in ("reflect.vbs", "reflect.js"):
            path = "Z:" + os.path.join(self.unpacked, "samples", "updates", sample)
            self.assertEqual(self.output("cscript", "//nologo", path), "connected to 640 x 480\ndone\n")


class Installation(PackageTest):
    def test_for_all_users(self):
        before = self.registry()
        files = self.files()
        report = self.script("install.cmd")
        self.assertEqual(len(re.findall(r"^registered .* for all users$", report, re.MULTILINE)), 3, report)
        (guide,) = re.findall(r"^the guide is 'Z:(.*)'$", report, re.MULTILINE)
        self.assertEqual(guide.replace("\\", "/"), os.path.join(self.unpacked, "guide/index.html"))
        self.assertTrue(os.path.exists(guide.replace("\\", "/")))
        installed = self.registry()
        self.assertEqual(installed[1], before[1])
        self.run_script_samples()
        report = self.script("uninstall.cmd")
        self.assertEqual(len(re.findall(r"^unregistered .* for all users$", report, re.MULTILINE)), 3, report)
        self.assert_same_registry(before, self.registry())
        self.assertNotEqual(installed, before)
        self.assertEqual(self.files(), files)

    def test_for_one_user(self):
        """The same as for all, but in the user's part of the registry. Wine looks for classes in the other
        one only, so what is registered is compared, not used."""
        # The folders of a user's classes belong to the platform, too, which has not made them yet.
        for folder in ("AppID", "CLSID", "Interface", "TypeLib"):
            self.output("reg", "add", "HKCU\\Software\\Classes\\" + folder, "/f")
        before = self.registry()
        self.script("install.cmd")
        for_all = self.added_classes(before[0], self.registry()[0])
        self.script("uninstall.cmd")
        self.assertGreater(len(for_all), 11 * 5)

        report = self.script("install.cmd", "--user")
        self.assertEqual(len(re.findall(r"^registered .* for this user$", report, re.MULTILINE)), 3, report)
        installed = self.registry()
        self.assertEqual(self.added_classes(before[0], installed[0]), {})
        self.assertEqual(self.added_classes(before[1], installed[1]), for_all)
        report = self.script("uninstall.cmd", "--user")
        self.assertEqual(len(re.findall(r"^unregistered .* for this user$", report, re.MULTILINE)), 3, report)
        self.assert_same_registry(before, self.registry())

    def test_failures_are_reported(self):
        before = self.registry()
        for name in ("install.cmd", "uninstall.cmd"):
            self.assertIn("--nobody", self.script(name, "--nobody", code=2))
        proxies = os.path.join(self.unpacked, "bin", "TavloPS.dll")
        os.rename(proxies, proxies + ".away")
        try:
            report = self.script("install.cmd", code=1)
            self.assertIn("TavloPS.dll", report)
            self.assertNotIn("guide", report)
        finally:
            os.rename(proxies + ".away", proxies)
        self.assert_same_registry(before, self.registry())


class Samples(PackageTest):
    """The samples in C++, built from the package alone."""

    def test_they_build_and_run(self):
        built = os.path.join(self.folder, "samples")
        for command in (
            [options.cmake, "-G", "Ninja", "-S", os.path.join(self.unpacked, "samples"), "-B", built,
             "-DCMAKE_SYSTEM_NAME=Windows", "-DCMAKE_C_COMPILER=" + options.c, "-DCMAKE_CXX_COMPILER=" + options.cxx,
             "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_PREFIX_PATH=" + self.unpacked],
            [options.cmake, "--build", built, "--parallel", "2"],
        ):
            done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            self.assertEqual(done.returncode, 0, done.stdout.decode())

        before = self.registry()
        first = os.path.join(built, "first", "first_client.exe")
        self.assertNotIn("pixel", self.output(first, code=3))  # what an exception leaves
        self.script("install.cmd")
        self.assertEqual(self.output(first), "pixel (10, 20) is 255\n")
        self.assertEqual(self.output(os.path.join(built, "first", "ten_minutes.exe")).splitlines()[-1], "done")
        self.assertEqual(self.output(os.path.join(built, "updates", "subscribe_sample.exe")).splitlines()[-1], "done")
        program = os.path.join(self.unpacked, "bin", "tavlo.exe")
        self.assertEqual(self.output(program, "list"), "")
        self.script("uninstall.cmd")
        self.assert_same_registry(before, self.registry())


class Unregistered(PackageTest):
    """The component's files and the example manifest beside a program."""

    def lay_out(self, name, files, component="."):
        folder = os.path.join(self.folder, name)
        os.makedirs(os.path.join(folder, component))
        shutil.copy(options.unregistered, os.path.join(folder, "program.exe"))
        for file in files:
            shutil.copy(os.path.join(self.unpacked, "bin", file), os.path.join(folder, component))
        shutil.copy(os.path.join(self.unpacked, "share", "manifests", "example.exe.manifest"),
                    os.path.join(folder, "program.exe.manifest"))
        return os.path.join(folder, "program.exe")

    def test_files_beside_the_program(self):
        before = self.registry()
        self.output(self.lay_out("beside", COMPONENT_FILES))
        self.assert_same_registry(before, self.registry())

    def test_files_in_a_folder_of_their_own(self):
        self.output(self.lay_out("apart", COMPONENT_FILES, "Tavlo"))

    def test_the_dll_brings_its_manifest(self):
        self.output(self.lay_out("without the file", COMPONENT_FILES[:-1]))

    def test_nothing_works_without_the_programs_manifest(self):
        program = self.lay_out("without the program's", COMPONENT_FILES)
        os.remove(program + ".manifest")
        report = self.output(program, "--gtest_filter=*EveryClass*:*NothingIs*", code=1)
        self.assertIn("[       OK ] Unregistered.NothingIsInTheRegistry", report)
        self.assertIn("[  FAILED  ] Unregistered.EveryClassIsMade", report)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("group")
    for option in ("package", "wine", "unregistered", "c", "cxx", "cmake"):
        parser.add_argument("--" + option, required=True)
    parser.parse_args(namespace=options)
    unittest.main(argv=sys.argv[:1], defaultTest=options.group, verbosity=2)


if __name__ == "__main__":
    main()
