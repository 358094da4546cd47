#!/usr/bin/env python3
"""The plot of the tone curve in the guide shows what the recoder gives: tone_curve.py PROGRAM

The numbers of both are compared, which may differ by a rounded tenth of a pixel."""
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools/guide"))
import tone_plot

NUMBER = re.compile(r"\d+\.\d+|\d+")


def main(program):
    shown = (ROOT / "docs/images/tone-curve.svg").read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as folder:
        values, plot = pathlib.Path(folder) / "values.csv", pathlib.Path(folder) / "plot.svg"
        values.write_bytes(subprocess.run([program], check=True, stdout=subprocess.PIPE).stdout)
        tone_plot.main(values, plot)
        drawn = plot.read_text(encoding="utf-8")
    same = NUMBER.sub("", shown) == NUMBER.sub("", drawn)
    pairs = list(zip(map(float, NUMBER.findall(shown)), map(float, NUMBER.findall(drawn))))
    worst = max(abs(a - b) for a, b in pairs)
    print(f"{len(pairs)} numbers, differing by {worst:.2f} at most")
    if not same or worst > 0.11 or len(pairs) < 10000:
        print("docs/images/tone-curve.svg is not what the recoder gives now: tools/docs --plots draws it again")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
