#!/usr/bin/env python3
"""The check of boundaries passes on the tree as it is, finds every method of it that is made to throw, and tells
what is wrong with others."""

import importlib.machinery
import importlib.util
import os
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
TOOL = os.path.join(ROOT, "tools", "check_boundaries")


def check(root):
    return subprocess.run([sys.executable, "-B", TOOL, root], capture_output=True, text=True, check=False)


def loaded():
    sys.dont_write_bytecode = True
    loader = importlib.machinery.SourceFileLoader("check_boundaries", TOOL)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


class Boundaries(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.root = scratch.name
        os.makedirs(os.path.join(self.root, "component", "thing"))

    def file(self, name, text):
        with open(os.path.join(self.root, "component", "thing", name), "w", encoding="utf-8") as file:
            file.write(text)

    def expect(self, *lines):
        result = check(self.root)
        self.assertEqual(result.stdout.splitlines(), [
            f"component/thing/{place} does this outside Guarded, which may throw: {what}" for place, what in lines])
        self.assertEqual(result.returncode, 1)

    def test_ThisTreeKeepsThem(self):
        result = check(ROOT)
        self.assertEqual(result.returncode, 0, result.stdout)

    def test_GuardedBodiesPass(self):
        self.file("thing.h", "class Thing final : public IThing\n{\npublic:\n"
                             "    STDMETHODIMP Do(int* p) override;\n"
                             "    STDMETHODIMP Inline() override { return Guarded([&] { Work(); }); }\n};\n")
        self.file("thing.cpp", "HRESULT Thing::Do(int* p)\n{\n    if (p == nullptr)\n        return E_POINTER;\n"
                               "    return Guarded([&]() -> HRESULT {\n        Work(std::string());\n    });\n}\n"
                               "int Thing::Other()\n{\n    return Work();\n}\n")
        self.assertEqual(check(self.root).returncode, 0)

    def test_ALockOutsideIsTold(self):
        self.file("thing.h", "class Thing : public ComObject<IThing>\n{\n    STDMETHODIMP Do(int* p) override;\n};\n")
        self.file("thing.cpp", "HRESULT Thing::Do(int* p)\n{\n    const std::lock_guard lock(mutex_);\n"
                               "    return Guarded([&] { Work(); });\n}\n")
        self.expect(("thing.cpp:3: Do", "lock"))

    def test_AllocationsAndThrowsAreTold(self):
        self.file("thing.h", "struct Thing : IThing\n{\n    STDMETHODIMP_(ULONG) Release() override\n    {\n"
                             "        delete p;\n        p = new int;\n        if (p)\n            throw 1;\n    }\n};\n")
        self.expect(("thing.h:6: Release", "new"), ("thing.h:8: Release", "throw"))

    def test_ATryBlockCountsThatCatchesAll(self):
        body = "STDMETHODIMP Do() override\n{ try { Work(); } catch (%s) { return E_FAIL; } }\n"
        self.file("a.h", "class A : I\n{\n" + body % "..." + "};\n")
        self.file("b.h", "class B : I\n{\n" + body % "const std::exception&" + "};\n")
        self.expect(("b.h:4: Do", "Work"))

    def test_WhatMethodsShareIsLookedAt(self):
        self.file("a.cpp", "HRESULT Run(int* p) noexcept\n{\n    return Work(p);\n}\n")
        self.expect(("a.cpp:3: Run", "Work"))

    def test_EveryBodyOfThisTreeIsFoundWithoutItsGuard(self):
        tool = loaded()
        files = {}
        for folder, _, names in os.walk(os.path.join(ROOT, "component")):
            for name in names:
                if name.endswith((".h", ".cpp")):
                    with open(os.path.join(folder, name), encoding="utf-8") as file:
                        files[file.name] = tool.without_comments(file.read())
        owners = {(owner, method) for text in files.values() for owner, body in tool.classes(text)
                  for method in tool.DECLARED.findall(body)}
        methods = tool.SHARED | {method for _, method in owners}
        methods |= {name for text in files.values() for name in tool.NOEXCEPT.findall(text)}
        mutants = 0
        for name, text in files.items():
            for (begin, end), method in tool.bodies(text, owners):
                body = text[begin:end]
                for guard in re.finditer(r"\bGuarded\(", body):
                    unguarded = body[:guard.start()] + "Unchecked(" + body[guard.end():]
                    found = list(tool.complaints(text[:begin] + unguarded + text[end:], owners, methods))
                    self.assertTrue(found, f"{name}: {method}")
                    mutants += 1
        # As many as there are today, roughly: a walk that finds no methods finds no faults.
        self.assertGreater(mutants, 55)


if __name__ == "__main__":
    unittest.main()
