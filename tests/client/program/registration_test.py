"""Registers and unregisters everything with the client program, in a Wine prefix of its own.

registration_test.py [--group NAME] -- RUNNER... PROGRAM
"""

import json
import os
import re
import shutil
import subprocess
import tempfile

import program
from program import ProgramTest, main

FILES = ("Tavlo.dll", "TavloPS.dll", "SentelCommon.tlb")
NOT_REGISTERED = "0x80040154"
NO_PROXIES = "0x80040155"
NOT_FOUND = "0x80070002"
NO_PROGRAM = "0x800700C1"


class RegistrationTest(ProgramTest):
    @classmethod
    def setUpClass(cls):
        cls.prefix = tempfile.mkdtemp(prefix="tavlo-registration-")
        program.ENVIRONMENT["TAVLO_WINEPREFIX"] = cls.prefix
        cls.wine("cmd", "/c", "exit")
        # One server for all tests, in the place of the one that made the prefix. Its first
        # program starts services, which keep that program's output open.
        cls.server("-w")
        cls.server("-p")
        cls.wine("net", "start", "RpcSs")

    @classmethod
    def tearDownClass(cls):
        cls.server("-k")
        cls.server("-w")
        shutil.rmtree(cls.prefix)
        if os.path.exists(cls.prefix + ".lock"):
            os.remove(cls.prefix + ".lock")

    def tearDown(self):
        for scope in ([], ["--user"]):
            self.assert_done(self.run_program("unregister", *scope))

    @classmethod
    def server(cls, option):
        subprocess.run(["wineserver", option], env=dict(os.environ, WINEPREFIX=cls.prefix), check=False)

    @classmethod
    def wine(cls, *arguments, folder=None):
        """What it writes, which goes to a file: the first program starts services that keep it open."""
        with tempfile.TemporaryFile() as output:
            subprocess.run(
                [program.program[0], *arguments],
                cwd=folder,
                env=program.ENVIRONMENT,
                stdin=subprocess.DEVNULL,
                stdout=output,
                stderr=subprocess.DEVNULL,
                check=False,
            )
            output.seek(0)
            return output.read().decode("utf-8", "replace")

    def keys(self, root):
        """The keys of a root's classes, less what the platform shows of them to 32-bit programs."""
        self.wine("reg", "export", root + "\\Software\\Classes", "keys.reg", "/y", folder=self.folder)
        if not os.path.exists(self.path("keys.reg")):
            return set()  # the root has no classes
        with open(self.path("keys.reg"), encoding="utf-16") as text:
            keys = re.findall(r"^\[[^\\]*\\Software\\Classes\\(.*)\]", text.read(), re.MULTILINE)
        os.remove(self.path("keys.reg"))
        return {key.lower() for key in keys if not key.lower().startswith("wow6432node")}

    def machine_and_user(self):
        return self.keys("HKLM"), self.keys("HKCU")

    def assert_reported(self, result, verb, files, whom, folder=None):
        self.assert_done(result)
        lines = result.output.splitlines()
        self.assertEqual(len(lines), len(files))
        for line, file in zip(lines, files):
            self.assertTrue(line.startswith(verb + " "), line)
            self.assertTrue(line.endswith(" " + whom), line)
            if file != "SentelCommon.tlb" or verb == "registered":
                self.assertIn(file + "'", line)

    def folder_with(self, name, *files):
        os.mkdir(self.path(name))
        for file in files:
            shutil.copy(os.path.join(os.path.dirname(program.program[-1]), file), self.path(name))
        return name


class Registering(RegistrationTest):
    def test_everything_for_all_users_and_back(self):
        before = self.machine_and_user()
        self.assert_reported(self.run_program("register"), "registered", FILES, "for all users")
        machine, user = self.machine_and_user()
        self.assertEqual(user, before[1])
        self.assertIn("tavlo.tavlofactory", machine - before[0])

        self.assert_reported(self.run_program("unregister"), "unregistered", FILES[::-1], "for all users")
        self.assertEqual(self.machine_and_user(), before)

    def test_everything_for_the_user_and_back(self):
        before = self.machine_and_user()
        self.assert_done(self.run_program("register"))
        machine = self.keys("HKLM") - before[0]
        self.assert_done(self.run_program("unregister"))

        self.assert_reported(self.run_program("register", "--user"), "registered", FILES, "for this user")
        parents = {"appid", "clsid", "interface", "typelib"}
        self.assertEqual(self.keys("HKLM"), before[0])
        self.assertEqual(self.keys("HKCU") - before[1] - parents, machine)

        self.assert_reported(self.run_program("unregister", "--user"), "unregistered", FILES[::-1], "for this user")
        self.assertEqual(self.keys("HKLM"), before[0])
        self.assertEqual(self.keys("HKCU") - before[1] - parents, set())

    def test_what_is_registered_works_between_processes(self):
        picture = self.grey16()
        result = self.run_program("publish", picture, "--name", "n")
        self.assert_failed(result, NOT_REGISTERED, "Tavlo.dll is not registered")
        self.assert_failed(self.run_program("info", "--name", "n"), NO_PROXIES, "TavloPS.dll is not registered")

        self.assert_done(self.run_program("register"))
        with self.publish(picture, name="n") as publisher, self.start("watch", "n") as watcher:
            self.assertEqual(watcher.next_line(), "watching n: 37 x 11, Unsigned(16)\n")
            self.assert_done(self.run_program("paint", "n"))
            self.assertEqual(watcher.next_line(), "0,0,37,11\n")
            self.assertEqual(self.export(publisher).samples[-1], 65535)

    def test_the_proxies_serve_what_the_type_library_claims(self):
        for scope, root in ([], "HKLM"), (["--user"], "HKCU"):
            self.assert_done(self.run_program("register", *scope))
            key = root + r"\Software\Classes\Interface\{8F352F7B-AFCF-4BE1-9408-3461C7C8EAD4}\ProxyStubClsid32"
            query = self.wine("reg", "query", key, "/ve")
            self.assertRegex(query, r"REG_SZ\s+\{[0-9A-Fa-f-]{36}\}")
            self.assertNotIn("{00020424-0000-0000-C000-000000000046}", query, "the platform's own for type libraries")
            self.assert_done(self.run_program("unregister", *scope))

    def test_a_second_time_changes_nothing(self):
        self.assert_done(self.run_program("register"))
        once = self.machine_and_user()
        self.assert_done(self.run_program("register"))
        self.assertEqual(self.machine_and_user(), once)

    def test_what_is_not_registered_is_said(self):
        for scope, whom in ([], "for all users"), (["--user"], "for this user"):
            result = self.run_program("unregister", *scope)
            self.assert_done(result)
            self.assertEqual(
                result.output,
                f"the common type library is not registered {whom}\nthe component is not registered {whom}\n",
            )

    def steps(self, *arguments):
        result = self.run_program(*arguments, "--json")
        self.assert_done(result)
        return [json.loads(line) for line in result.output.splitlines()]

    def test_json_is_an_object_a_step(self):
        kinds = ["component", "proxies", "common_library"]
        for scope, where in ([], "machine"), (["--user"], "user"):
            steps = self.steps("register", *scope)
            self.assertEqual([step["what"] for step in steps], kinds)
            for step, file in zip(steps, FILES):
                self.assertEqual(list(step), ["result", "what", "file", "scope"])
                self.assertEqual((step["result"], step["scope"]), ("registered", where))
                self.assertTrue(step["file"].endswith("\\" + file), step)
            back = self.steps("unregister", *scope)
            self.assertEqual([step["what"] for step in back], kinds[::-1])
            self.assertEqual({(step["result"], step["scope"]) for step in back}, {("unregistered", where)})
            self.assertEqual(
                self.steps("unregister", *scope),
                [
                    {"result": "not_registered", "what": what, "file": None, "scope": where}
                    for what in ("common_library", "component")
                ],
            )
        (step,) = self.steps("register-common", "--user")
        self.assertEqual((step["result"], step["what"], step["scope"]), ("registered", "common_library", "user"))
        (step,) = self.steps("register-common", "--user", "--unregister")
        self.assertEqual((step["result"], step["file"]), ("unregistered", None))

    def test_json_of_a_failing_step_comes_after_those_that_were_done(self):
        folder = self.folder_with("broken", *FILES)
        self.write("broken/TavloPS.dll", b"no program")
        result = self.run_program("register", "--folder", folder, "--json")
        self.assertEqual(result.code, 1)
        (line,) = result.output.splitlines()
        self.assertEqual(json.loads(line)["what"], "component")
        self.assertEqual(json.loads(result.errors)["code"], NO_PROGRAM)

    def common_library(self, root):
        """The file that is registered as the common type library."""
        key = root + r"\Software\Classes\TypeLib\{80384BE4-AF42-443A-8F1B-0E3ECF0F0CDF}\1.0\0\win64"
        found = re.search(r"REG_SZ\s+(.*\S)", self.wine("reg", "query", key, "/ve"))
        return found and found.group(1)

    def test_another_components_library_is_kept(self):
        for scope, root, where in ([], "HKLM", "machine"), (["--user"], "HKCU", "user"):
            folder = self.folder_with("other " + where, FILES[2])
            self.assert_done(self.run_program("register-common", folder + "\\" + FILES[2], *scope))
            other = self.common_library(root)
            self.assertTrue(other and other.endswith(folder + "\\" + FILES[2]), other)
            for verb in "register", "unregister":
                steps = self.steps(verb, *scope)
                (step,) = (step for step in steps if step["what"] == "common_library")
                self.assertEqual((step["result"], step["file"]), ("kept", other))
                self.assertEqual(self.common_library(root), other)
                self.assertEqual({step["result"] for step in steps}, {verb + "ed", "kept"})

            self.assert_done(self.run_program("register-common", *scope))
            self.assertNotEqual(self.common_library(root), other, "whoever asks for it by name means it")
            self.assert_done(self.run_program("register-common", folder + "\\" + FILES[2], *scope))
            os.remove(self.path(os.path.join(folder, FILES[2])))
            self.assert_done(self.run_program("register", *scope))
            self.assertNotEqual(self.common_library(root), other, "what cannot be read serves nobody")
            self.assert_done(self.run_program("unregister", *scope))
            self.assertIsNone(self.common_library(root))

    def test_quiet_says_nothing(self):
        for command in ("register", "unregister", "unregister"):
            result = self.run_program(command, "--quiet")
            self.assert_done(result)
            self.assertEqual(result.output, "")

    def test_files_elsewhere(self):
        folder = self.folder_with("Größe 画像", *FILES)
        result = self.run_program("register", "--folder", folder)
        self.assert_reported(result, "registered", FILES, "for all users")
        self.assertIn(folder + "\\", result.output)
        self.assert_done(self.run_program("unregister", "--folder", folder))

    def test_a_missing_file_is_said_before_anything_changes(self):
        before = self.machine_and_user()
        for missing in FILES:
            folder = self.folder_with("without " + missing, *(file for file in FILES if file != missing))
            for command in ("register", "unregister"):
                result = self.run_program(command, "--folder", folder)
                self.assert_failed(result, "cannot find '", missing + "'", NOT_FOUND)
        self.assertEqual(self.machine_and_user(), before)

    def test_a_failing_step_is_named_and_the_last(self):
        folder = self.folder_with("broken", *FILES)
        self.write("broken/TavloPS.dll", b"no program")
        result = self.run_program("register", "--folder", folder)
        self.assertEqual(result.code, 1)
        self.assertEqual(len(result.output.splitlines()), 1)
        self.assertRegex(result.output, r"registered the component '.*Tavlo\.dll' for all users")
        self.assertRegex(result.errors, rf"cannot register its proxies '.*TavloPS\.dll': {NO_PROGRAM}: ")

    def test_a_dll_that_cannot_register_itself(self):
        folder = self.folder_with("wrong", *FILES)
        system = os.path.join(self.prefix, "drive_c", "windows", "system32", "version.dll")
        shutil.copy(system, self.path("wrong/Tavlo.dll"))
        result = self.run_program("register", "--folder", folder)
        self.assert_failed(result, "cannot register the component '", "Tavlo.dll'", "0x8007007F")

    def test_wrong_usage(self):
        for command in ("register", "unregister"):
            result = self.run_program(command, "now")
            self.assertEqual((result.code, result.output), (2, ""))
            self.assertIn("now", result.errors)


if __name__ == "__main__":
    main()
