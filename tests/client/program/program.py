"""What tests of the client program share: running it, pictures for it, reading its results."""

import os
import queue
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import uuid

TESTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
sys.path[:0] = [TESTS, os.path.join(TESTS, "..", "tools")]
import pictures
from picture_files import ramp
from wine_output import without_wine

program = []
PATIENCE = 120  # seconds until a process counts as stuck
ENVIRONMENT = dict(os.environ, LC_ALL="C.UTF-8")

UNSIGNED, FLOAT, RGB, RGBA, BGR, BGRA = 0, 2, 3, 4, 5, 13


class Result:
    def __init__(self, code, output, errors):
        self.code = code
        self.output = output.decode("utf-8")
        self.errors = without_wine(errors.decode("utf-8"))


def run(*arguments, folder):
    # Into files: Wine may start a process that outlives the program and keeps its output open.
    with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
        done = subprocess.run(
            program + list(arguments),
            cwd=folder,
            env=ENVIRONMENT,
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=errors,
            timeout=PATIENCE,
        )
        output.seek(0)
        errors.seek(0)
        return Result(done.returncode, output.read(), errors.read())


class Output:
    """The lines that a process writes, as they come. Its end is the process's, told by finish,
    and not that of the pipe: Wine may start a process that outlives the program and keeps it open."""

    END = b"\0\n"

    def __init__(self):
        source, self.target = os.pipe()
        self.lines = queue.Queue()
        self.ending = threading.Lock()
        self.reader = threading.Thread(target=self.read, args=[source], daemon=True)
        self.reader.start()

    def read(self, source):
        with open(source, "rb") as lines:
            for line in lines:
                if line.endswith(self.END):
                    if line != self.END:
                        self.lines.put(line[: -len(self.END)])
                    break
                self.lines.put(line)
        self.lines.put(None)

    def finish(self):
        """Nothing is written any more."""
        with self.ending:
            if self.target is not None:
                os.write(self.target, self.END)
                os.close(self.target)
                self.target = None
                self.reader.join()

    def next(self):
        return self.lines.get(timeout=PATIENCE)

    def rest(self):
        self.finish()
        rest = []
        while not self.lines.empty():
            rest.append(self.lines.get() or b"")
        return b"".join(rest)


class Running:
    """A process of the program that goes on until the with block ends, or the process itself."""

    def __init__(self, folder, *arguments, other=None, stdin=subprocess.PIPE):
        """other: a program that is run in the client's place."""
        self.output, self.errors = Output(), Output()
        self.process = subprocess.Popen(
            (program[:-1] + [other] if other else program) + list(arguments),
            cwd=folder,
            env=ENVIRONMENT,
            stdin=stdin,
            stdout=self.output.target,
            stderr=self.errors.target,
        )
        # Its last line is the end of what there is to wait for.
        threading.Thread(target=lambda: (self.process.wait(), self.output.finish()), daemon=True).start()

    def next_line(self):
        """The next line that it prints; None when it prints no more."""
        try:
            line = self.output.next()
        except queue.Empty:
            self.process.kill()
            raise
        return None if line is None else line.decode("utf-8")

    def end(self, last_input=b""):
        """Its result, with the lines that nobody has taken, once it has ended: with its input, or by Ctrl+C
        where that is none of ours."""
        try:
            if self.process.stdin is None:
                self.process.send_signal(signal.SIGINT)
            else:
                self.process.stdin.write(last_input)
                self.process.stdin.close()
        except OSError:
            pass  # it has ended already
        return self.wait()

    def wait(self):
        """Like end, for a process that ends by itself."""
        self.process.wait(timeout=PATIENCE)
        return Result(self.process.returncode, self.output.rest(), self.errors.rest())

    def kill(self):
        """Ends it at once, without any clean-up of its own."""
        self.process.kill()
        self.process.wait(timeout=PATIENCE)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.end()
        self.output.finish()
        self.errors.finish()
        try:
            if self.process.stdin is not None:
                self.process.stdin.close()
        except OSError:
            pass


class Publisher(Running):
    """A process that holds a picture as an image. Named when it has a name and no section."""

    def __init__(self, folder, picture, *options, section=None, name=None):
        self.name = name
        self.section = section or (None if name else f"tavlo-test-{uuid.uuid4()}")
        place = (["--section", self.section] if self.section else []) + (["--name", name] if name else [])
        super().__init__(folder, "publish", picture, *place, *options)
        self.line = self.next_line()
        if not self.line:
            raise AssertionError(f"publish ended: {self.end().errors}")
        self.descriptor = self.line.split()[-1] if self.section else None

    def image(self, descriptor=None):
        if not self.section:
            return ["--name", self.name]
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

    def start(self, *arguments, **more):
        return Running(self.folder, *arguments, **more)

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
