"""A desktop with viewers on it, and somebody who uses them."""

import os
import queue
import re
import subprocess
import threading
import time
import uuid

from screen import Screen

PATIENCE = 120  # seconds until something counts as stuck
WIDTH, HEIGHT = 1300, 850

KEYS = {"shift": "shift", "control": "ctrl", "escape": "Escape", "left": "Left", "up": "Up", "right": "Right",
        "down": "Down", "plus": "plus", "minus": "minus", "f1": "F1", "f11": "F11", "enter": "Return"}
BUTTONS = {"left": 1, "right": 3, "wheel up": 4, "wheel down": 5}


class Talk:
    """A program that answers each line with a line."""

    def __init__(self, command, environment):
        self.process = subprocess.Popen(command, env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.DEVNULL, text=True, encoding="utf-8", bufsize=1)
        self.lines = queue.Queue()
        self.reader = threading.Thread(target=self._read, daemon=True)
        self.reader.start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.put(line.rstrip("\r\n"))
        self.lines.put("no, it has ended")

    def answer(self):
        line = self.lines.get(timeout=PATIENCE)
        if not line.startswith("ok"):
            raise AssertionError(f"the answer was '{line}'")
        return line[3:]

    def say(self, line):
        self.write(line)
        return self.answer()

    def write(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()

    def end(self):
        self.process.stdin.close()
        self.process.wait(timeout=PATIENCE)
        self.reader.join()
        self.process.stdout.close()


class Desktop:
    def __init__(self, emulator, program, driver, producer):
        self.emulator, self.program, self.producer = emulator, program, producer
        self.screen = Screen(WIDTH, HEIGHT)
        self.environment = dict(os.environ, TAVLO_DISPLAY=self.screen.display, LC_ALL="C.UTF-8")
        name = "tavlo" + uuid.uuid4().hex[:8]
        self.user = Talk(emulator + ["explorer", f"/desktop={name},{WIDTH}x{HEIGHT}", driver], self.environment)

    def close(self):
        # Without its screen, whatever is left on the desktop ends too.
        try:
            self.user.end()
        finally:
            self.screen.close()

    def hands(self, *actions):
        """The user's hands on the keyboard and the mouse."""
        subprocess.run(["xdotool", *(str(action) for action in actions)], check=True, timeout=PATIENCE,
                       env=dict(os.environ, DISPLAY=self.screen.display))

    def run(self, *arguments):
        """Runs the program to its end."""
        return subprocess.run(self.emulator + [self.program, *arguments], env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=PATIENCE)

    def start(self, *arguments):
        """Starts the program, which ends with its input: that of the with block."""
        return subprocess.Popen(self.emulator + [self.program, *arguments], env=self.environment,
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)

    def view(self, what, *options):
        """Opens a viewer and gives its window."""
        return self.view_titled(what.split("/")[-1], f'"{what}"', *options)

    def view_titled(self, title, *arguments):
        command = " ".join([f'"Z:{self.program}"', "view", *arguments])
        self.user.say(f"start {command}")
        return Viewer(self, title)

    def produce(self, name, width, height, encoding, bits):
        talk = Talk(self.emulator + [self.producer, name, str(width), str(height), str(encoding), str(bits)],
                    self.environment)
        talk.answer()
        return talk


class Viewer:
    """A viewer's window. What is done to it is done by keys and the mouse."""

    def __init__(self, desktop, title):
        self.desktop, self.user = desktop, desktop.user
        self.user.say(f"window {title} - Tavlo")
        # The keyboard's focus follows a little later.
        self.wait_for_text("STATUS", ".")

    def text(self, part):
        return self.user.say(f"text {part}")

    def wait_for(self, look, what):
        """Looks until it finds something."""
        end = time.monotonic() + PATIENCE
        while True:
            found = look()
            if found:
                return found
            if time.monotonic() > end:
                raise AssertionError(f"{what} did not appear; the texts are " +
                                     ", ".join(f"'{self.text(part)}'" for part in ("STATUS", "PANEL", "PICTURE")))

    def wait_for_text(self, part, pattern):
        """Looks until the part's text has the pattern."""
        return self.wait_for(lambda: re.search(pattern, self.text(part)), f"'{pattern}'")

    def parameters(self):
        """What the panel says, by name."""
        return dict(line.split(" ", 1) for line in self.text("PANEL").split("|") if line)

    def place(self, part="PICTURE"):
        return tuple(int(n) for n in self.user.say(f"place {part}").split())

    def to(self, x, y):
        left, top, _, _ = self.place()
        return ["mousemove", left + x, top + y]

    def move(self, x, y):
        """The pointer, in pixels of the picture's part."""
        self.desktop.hands(*self.to(x, y))

    def click(self, x, y):
        self.desktop.hands(*self.to(x, y), "click", 1)

    def drag(self, button, start, end, *held):
        """From one point of the picture's part to another."""
        middle = (start[0] + end[0]) // 2, (start[1] + end[1]) // 2
        actions = self.to(*start)
        for key in held:
            actions += ["keydown", KEYS[key]]
        actions += ["mousedown", BUTTONS[button], *self.to(*middle), *self.to(*end), "mouseup", BUTTONS[button]]
        for key in held:
            actions += ["keyup", KEYS[key]]
        self.desktop.hands(*actions)

    def key(self, key, *held, times=1):
        together = "+".join([*(KEYS[one] for one in held), KEYS.get(key, key.lower())])
        self.desktop.hands("key", "--delay", 0, *[together] * times)

    def wheel(self, steps):
        self.desktop.hands("click", "--delay", 0, "--repeat", abs(steps), BUTTONS["wheel up" if steps > 0 else "wheel down"])

    def shot(self, part="PICTURE"):
        """What the screen shows of a part."""
        return self.desktop.screen.grab(*self.place(part))

    def close(self):
        self.user.say("close")
        self.user.say("ended")
