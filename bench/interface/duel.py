#!/usr/bin/env python3
"""duel.py --json FILE NATIVE COMPONENT...: the same works by two programs of
bench/interface, in turns, and their ratios. COMPONENT is a command line.
"""
import argparse
import json
import statistics
import subprocess
import sys

ROUNDS = 15
SECONDS = 0.02
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


def duel(number, work, size, native, component):
    seconds = {native: [], component: []}
    for turn in range(ROUNDS + 1):
        for program in (native, component) if turn % 2 else (component, native):
            found = float(program.ask(f"run {number} {SECONDS}"))
            if turn > 0:  # the first turn warms up
                seconds[program].append(found)
    ratio = statistics.median(n / c for n, c in zip(seconds[native], seconds[component]))
    width, height = map(int, size.split("x"))
    rate = {program: width * height / statistics.median(found) for program, found in seconds.items()}
    same = native.ask(f"check {number}") == component.ask(f"check {number}")
    return {"work": work, "size": size, "rounds": ROUNDS, "native": rate[native], "dll": rate[component],
            "ratio": ratio, "goal": GOAL, "met": round(ratio, 2) >= GOAL, "same_result": same}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--json", required=True)
    parser.add_argument("native")
    parser.add_argument("component", nargs="+")
    arguments = parser.parse_args()
    native, component = Program([arguments.native]), Program(arguments.component)
    works = native.works()
    if works != component.works():
        sys.exit("duel: the two programs know different works")
    rows = []
    for number, (work, size) in enumerate(works):
        print(f"{work}, through the interface", file=sys.stderr)
        rows.append(duel(number, work, size, native, component))
    for program in (native, component):
        program.process.stdin.close()
        program.process.wait()
    with open(arguments.json, "w", encoding="utf-8") as file:
        json.dump({"interface": rows}, file, indent=1)


if __name__ == "__main__":
    main()
