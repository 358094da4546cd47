#!/usr/bin/env python3
"""report.py [--json FILE] [--svg FILE] [--markdown FILE] MEASURED.json...

Prints tables of what the programs of bench/ measured. With options it also writes
everything as one JSON file, draws a plot, and puts the tables between the marks of a
Markdown page. Only the standard library is used.
"""
import argparse
import json
import platform
import sys

import performance_plot

PEERS = ["memcpy", "plain", "OpenCV", "libyuv"]
LEVELS = [  # the first whose flags the processor all has
    ("AVX-512 with VBMI", {"avx512f", "avx512bw", "avx512vl", "avx512dq", "avx512vbmi", "avx512_vbmi2"}),
    ("AVX-512", {"avx512f", "avx512bw", "avx512vl", "avx512dq"}),
    ("AVX2", {"avx2", "bmi2", "fma"}),
    ("SSE4", {"sse4_2", "ssse3"}),
    ("baseline", set()),
]
AT_MEMCPY = 0.9  # from here on a conversion is as fast as moving its bytes
CLIFF = 1.25  # a fall between sizes that is this much steeper than memcpy's
MARK = "<!-- measured: {} -->"


def machine():
    fields = {}
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            key, _, value = line.partition(":")
            fields.setdefault(key.strip(), value.strip())
    flags = set(fields.get("flags", "").split())
    with open("/etc/os-release", encoding="utf-8") as file:
        release = dict(line.strip().split("=", 1) for line in file if "=" in line)
    return {
        "processor": fields.get("model name", platform.processor()),
        "family": f"{fields.get('vendor_id', '')} {fields.get('cpu family', '')}/{fields.get('model', '')}",
        "instructions": next(name for name, needed in LEVELS if needed <= flags),
        "cache": fields.get("cache size", ""),
        "system": release.get("PRETTY_NAME", "").strip('"'),
    }


def describe(measured):
    m = measured["machine"]
    text = f"{m['processor']} ({m['family']}, {m['instructions']}), {m['system']}"
    if "compiler" in measured:
        text += (f"; {measured['compiler']}; OpenCV {measured['opencv']}, libyuv {measured['libyuv']}")
    if "level" in measured:
        text += f"; Tavlo at level {measured['level']}"
    return text


def times(value):
    return "" if value is None else f"{value:.2f}"


def rate(pixels_per_second):
    return f"{pixels_per_second / 1e6:.0f}"


def ratios(row):
    return {c["name"]: c["ratio"] for c in row["contenders"][1:]}


def goal(row):
    if "goal" not in row:
        return ["", "", ""]
    against = " or ".join(row["against"])
    verdict = "met"
    if not row["met"]:
        # Where memory is the limit, more is not to be had from wider instructions.
        verdict = "MISSED, at memcpy's speed" if ratios(row)["memcpy"] >= AT_MEMCPY else "MISSED"
    return [f"{row['goal']:g} x {against}", times(row["ratio"]), verdict]


def at_level(row, level):
    """The ratio that the goal is about, with the instructions of a smaller processor."""
    return times(row["ratio"] / ratios(row)[level]) if "goal" in row else ""


def conversions_table(measured):
    levels = sorted({name for row in measured["table"] for name in ratios(row) if name.startswith("at ")})
    rows = [["work", "size", "Mpixel/s"] + ["x " + p for p in PEERS] + ["goal"] + levels + ["is", ""]]
    for row in measured["table"]:
        found, aim = ratios(row), goal(row)
        rows.append([row["work"], row["size"], rate(row["contenders"][0]["rate"])] +
                    [times(found.get(p)) for p in PEERS] + aim[:1] + [at_level(row, level) for level in levels] +
                    aim[1:])
    return rows


def steepest_fall(rows):
    """By how much the rate falls from one size to the next beside memcpy's fall, where that is most."""
    worst = 0
    for smaller, larger in zip(rows, rows[1:]):
        fall, memcpys = (smaller["contenders"][i]["rate"] / larger["contenders"][i]["rate"] for i in (0, 1))
        worst = max(worst, fall / max(memcpys, 1))
    return worst


def missed_table(measured):
    """Only for the page: what the tables above say, gathered."""
    rows = [["work", "size", "goal", "is", "x memcpy"]]
    for row in measured["table"]:
        if not row.get("met", True):
            aim = goal(row)
            rows.append([row["work"], row["size"], aim[0], aim[1], times(ratios(row)["memcpy"])])
    for row in measured.get("interface", []):
        if not row["met"]:
            rows.append([row["work"] + ", through the interface", row["size"], f"{row['goal']:g} x native",
                         times(row["ratio"]), ""])
    return rows


def curve_table(measured):
    sizes = list(dict.fromkeys(row["size"] for row in measured["curve"]))
    rows = [["Mpixel/s (x memcpy) at"] + sizes + ["steepest fall, of memcpy's", ""]]
    for work in dict.fromkeys(row["work"] for row in measured["curve"]):
        own = [row for row in measured["curve"] if row["work"] == work]
        cells = {row["size"]: f"{rate(row['contenders'][0]['rate'])} ({times(ratios(row)['memcpy'])})" for row in own}
        fall = steepest_fall(own)
        rows.append([work] + [cells.get(size, "") for size in sizes] + [times(fall), "CLIFF" if fall > CLIFF else ""])
    return rows


def interface_table(measured):
    rows = [["through the interface", "size", "DLL Mpixel/s", "native Mpixel/s", "DLL x native", "same bytes", "goal", ""]]
    for row in measured["interface"]:
        rows.append([row["work"], row["size"], rate(row["dll"]), rate(row["native"]), times(row["ratio"]),
                     "yes" if row["same_result"] else "NO", f"{row['goal']:g}", "met" if row["met"] else "MISSED"])
    return rows


def calls_table(measured):
    rows = [["one call", "ns", "bare minimum", "ns", "ratio"]]
    for row in measured["calls"]:
        rows.append([row["call"], f"{row['nanoseconds']:.0f}", row["bare"], f"{row['bare_nanoseconds']:.0f}",
                     f"{row['ratio']:.1f}"])
    return rows


def tables(measured):
    makers = {"table": conversions_table, "curve": curve_table, "interface": interface_table,
              "calls": calls_table}
    return {key: make(measured) for key, make in makers.items() if measured.get(key)}


def as_text(rows):
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    number = [all(not row[i] or row[i][0].isdigit() for row in rows[1:]) for i in range(len(widths))]
    lines = ("  ".join(cell.rjust(width) if right else cell.ljust(width)
                       for cell, width, right in zip(row, widths, number)).rstrip() for row in rows)
    return "\n".join(lines)


def as_markdown(rows):
    line = "| {} |".format
    return "\n".join([line(" | ".join(rows[0])), line(" | ".join("---" for _ in rows[0]))] +
                     [line(" | ".join(row)) for row in rows[1:]])


def put_between_marks(path, blocks):
    with open(path, encoding="utf-8") as file:
        page = file.read()
    for name, text in blocks.items():
        begin, end = MARK.format(name), MARK.format("end")
        if begin in page:
            head, rest = page.split(begin, 1)
            page = head + begin + "\n" + text + "\n" + rest[rest.index(end):]
    with open(path, "w", encoding="utf-8") as file:
        file.write(page)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--json")
    parser.add_argument("--svg")
    parser.add_argument("--markdown")
    parser.add_argument("measured", nargs="+")
    arguments = parser.parse_args()

    measured = {"machine": machine()}
    for path in arguments.measured:
        with open(path, encoding="utf-8") as file:
            measured |= json.load(file)
    made = tables(measured)
    print(describe(measured))
    for rows in made.values():
        print("\n" + as_text(rows))
    with_goal = [row for key in ("table", "interface") for row in measured.get(key, []) if "goal" in row]
    if with_goal:
        print(f"\n{sum(row['met'] for row in with_goal)} of {len(with_goal)} goals met")

    if arguments.json:
        with open(arguments.json, "w", encoding="utf-8") as file:
            json.dump(measured, file, indent=1)
            file.write("\n")
    if arguments.svg:
        with open(arguments.svg, "w", encoding="utf-8") as file:
            file.write(performance_plot.draw(measured, describe(measured)))
    if arguments.markdown:
        blocks = {key: as_markdown(rows) for key, rows in made.items()}
        if "table" in made:
            missed = missed_table(measured)
            blocks["missed"] = as_markdown(missed) if len(missed) > 1 else "None in this run."
        put_between_marks(arguments.markdown, {"machine": describe(measured) + "."} | blocks)


if __name__ == "__main__":
    sys.exit(main())
