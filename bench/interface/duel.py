#!/usr/bin/env python3
"""duel.py --json FILE NATIVE COMPONENT...: the same works by two programs of
bench/interface, in turns, and their ratios. COMPONENT is a command line.
"""
import argparse
import json
import statistics
import subprocess
import sys

SESSIONS = 3  # with programs of their own, that is with other memory
TURNS = 7     # of each work in a session
SECONDS = 0.015
GOAL = 0.9  # the component's speed as a part of the native library's


class Program:
    def __init__(self, command):
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def ask(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        return self.line()

    def line(self):
        line = self.process.stdout.readline()
        if not line:
            sys.exit(f"duel: {self.process.args} has ended")
        return line.strip()

    def works(self):
        works = [self.ask("list")]
        while works[-1]:
            works.append(self.line())
        return [tuple(line.split("|")) for line in works[:-1]]


def session(commands, seconds, checksums):
    """Adds each program's times and checksums of all works."""
    native, component = programs = [Program(command) for command in commands]
    works = native.works()
    if works != component.works():
        sys.exit("duel: the two programs know different works")
    for number, work in enumerate(works):
        for turn in range(TURNS + 1):
            for program in programs if turn % 2 else reversed(programs):
                found = float(program.ask(f"run {number} {SECONDS}"))
                if turn > 0:  # the first turn warms up
                    seconds.setdefault(work, ([], []))[programs.index(program)].append(found)
        checksums.setdefault(work, set()).update(program.ask(f"check {number}") for program in programs)
    for program in programs:
        program.process.stdin.close()
        program.process.wait()


def row(work, seconds, checksums):
    name, size = work
    width, height = map(int, size.split("x"))
    native, component = (width * height / statistics.median(found) for found in seconds)
    ratio = statistics.median(n / c for n, c in zip(*seconds))
    return {"work": name, "size": size, "rounds": len(seconds[0]), "native": native, "dll": component,
            "ratio": ratio, "goal": GOAL, "met": round(ratio, 2) >= GOAL, "same_result": len(checksums) == 1}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--json", required=True)
    parser.add_argument("native")
    parser.add_argument("component", nargs="+")
    arguments = parser.parse_args()
    seconds, checksums = {}, {}
    for number in range(SESSIONS):
        print(f"the component beside the library, session {number + 1} of {SESSIONS}", file=sys.stderr)
        session([[arguments.native], arguments.component], seconds, checksums)
    rows = [row(work, seconds[work], checksums[work]) for work in seconds]
    with open(arguments.json, "w", encoding="utf-8") as file:
        json.dump({"interface": rows}, file, indent=1)


if __name__ == "__main__":
    main()
