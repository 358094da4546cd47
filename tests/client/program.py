"""What tests of the client program share: running it, pictures for it, reading its results."""

import os
import queue
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import uuid

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tools"))
import pictures
from test_pictures import ramp

program = []
PATIENCE = 120  # seconds until a process counts as stuck
ENVIRONMENT = dict(os.environ, LC_ALL="C.UTF-8")

UNSIGNED, FLOAT, RGB, RGBA, BGR, BGRA = 0, 2, 3, 4, 5, 13


class Result:
    def __init__(self, code, output, errors):
        self.code = code
        self.output = output.decode("utf-8")
        self.errors = errors.decode("utf-8")


def run(*arguments, folder):
    done = subprocess.run(
        program + list(arguments), cwd=folder, env=ENVIRONMENT, stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE
    )
    return Result(done.returncode, done.stdout, done.stderr)


class Publisher:
    """A process that holds a picture as an image, until the with block ends."""

    def __init__(self, folder, picture, *options, section=None):
        self.section = section or f"tavlo-test-{uuid.uuid4()}"
        self.process = subprocess.Popen(
            program + ["publish", picture, "--section", self.section, *options],
            cwd=folder,
            env=ENVIRONMENT,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        lines = queue.Queue()
        threading.Thread(target=lambda: lines.put(self.process.stdout.readline()), daemon=True).start()
        try:
            self.line = lines.get(timeout=PATIENCE).decode("utf-8")
        except queue.Empty:
            self.process.kill()
            raise
        if not self.line:
            raise AssertionError(f"publish ended: {self.end().errors}")
        self.descriptor = self.line.split()[-1]

    def end(self, last_input=b""):
        output, errors = self.process.communicate(last_input, timeout=PATIENCE)
        return Result(self.process.returncode, output, errors)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.end()

    def image(self, descriptor=None):
        return ["--section", self.section, "--descriptor", descriptor or self.descriptor]

    def encoding(self):
        """Bits and encoding as the program printed them."""
        return tuple(int(value) for value in self.descriptor.split(",")[2:4])


class ProgramTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)
        return name

    def write_png(self, name, width, height, depth, colour_type, rows, *extra_chunks):
        pictures.write_png(self.path(name), width, height, depth, colour_type, rows, extra_chunks)
        return name

    def grey16(self, name="grey16.png", width=37, height=11):
        values = ramp(width * height, 16)
        rows = [struct.pack(f">{width}H", *values[y * width : (y + 1) * width]) for y in range(height)]
        return self.write_png(name, width, height, 16, pictures.GREY, rows)

    def bytes_png(self, name, colour_type, width=19, height=7, depth=8):
        row_bytes = width * depth * pictures.CHANNELS[colour_type] // 8
        values = bytes(ramp(row_bytes * height, 8))
        rows = [values[y * row_bytes : (y + 1) * row_bytes] for y in range(height)]
        return self.write_png(name, width, height, depth, colour_type, rows)

    def publish(self, picture, *options, **more):
        return Publisher(self.folder, picture, *options, **more)

    def run_program(self, *arguments):
        return run(*arguments, folder=self.folder)

    def assert_done(self, result):
        self.assertEqual((result.code, result.errors), (0, ""))

    def assert_failed(self, result, *parts):
        self.assertEqual(result.code, 1, result.errors)
        self.assertEqual(result.output, "")
        for part in parts:
            self.assertIn(part, result.errors)

    def export(self, publisher, descriptor=None, name="out.png"):
        self.assert_done(self.run_program("export", *publisher.image(descriptor), name))
        return pictures.read_png(self.path(name))

    def assert_same(self, a, b):
        self.assertIsNone(pictures.first_difference(a, b))

    def assert_round_trip(self, name, encodings):
        with self.publish(name) as publisher:
            self.assertIn(publisher.encoding(), encodings)
            self.assert_same(pictures.read(self.path(name)), self.export(publisher))


def main():
    at = sys.argv.index("--")
    program.extend(sys.argv[at + 1 :])
    own = sys.argv[1:at]
    group = own[own.index("--group") + 1] if "--group" in own else None
    unittest.main(argv=sys.argv[:1], defaultTest=group, verbosity=2)
