#!/usr/bin/env python3
"""Draws the tone curves that tone_curves printed: tone_plot.py FILE.csv FILE.svg"""
import csv
import sys

SIZE, GAP, LEFT, TOP = 190, 34, 42, 62
COLORS = ["#1f6fb2", "#3a9c58", "#30363d", "#d9822b", "#b23a48"]
SIGNS = {"contrast": "C", "brightness": "B", "gamma": "G", "sigma": "S"}


def text(x, y, content, size=11, anchor="start", color="#222", weight="normal"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" fill="{color}" '
            f'font-weight="{weight}">{content}</text>')


def panel(left, parameter, curves):
    bottom = TOP + SIZE
    parts = [text(left, TOP - 14, f"{parameter} {SIGNS[parameter]}", 14, weight="bold"),
             f'<rect x="{left}" y="{TOP}" width="{SIZE}" height="{SIZE}" fill="#fafbfc" stroke="#99a5b1"/>']
    for quarter in (0.25, 0.5, 0.75):
        x, y = left + quarter * SIZE, TOP + quarter * SIZE
        parts.append(f'<path d="M{x:.1f} {TOP}V{bottom}M{left} {y:.1f}h{SIZE}" stroke="#e1e6eb"/>')
    parts += [text(left, bottom + 15, "0"), text(left + SIZE, bottom + 15, "1", anchor="end"),
              text(left + SIZE / 2, bottom + 15, "source", anchor="middle", color="#667")]
    for index, (value, points) in enumerate(curves.items()):
        path = " ".join(f"{left + x * SIZE:.1f},{bottom - y * SIZE:.1f}" for x, y in points)
        color = COLORS[index % len(COLORS)]
        parts.append(f'<polyline points="{path}" fill="none" stroke="{color}" stroke-width="2" stroke-linejoin="round"/>')
        y = bottom + 36 + 16 * index
        note = ", brightness 1" if parameter == "contrast" and value.startswith("-") else ""
        parts += [f'<path d="M{left} {y - 4}h22" stroke="{color}" stroke-width="3"/>',
                  text(left + 30, y, value.replace("-", "−") + note)]
    return parts


def main(source, target):
    families = {}
    with open(source, encoding="utf-8", newline="") as rows:
        for row in csv.DictReader(rows):
            family = families.setdefault(row["parameter"], {})
            family.setdefault(row["value"], []).append((float(row["source"]), float(row["target"])))
    width = LEFT + len(families) * (SIZE + GAP)
    height = TOP + SIZE + 36 + 16 * max(map(len, families.values()))
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
             f'viewBox="0 0 {width} {height}" font-family="DejaVu Sans, Verdana, sans-serif">',
             "<title>The tone curve, one parameter at a time</title>",
             '<rect width="100%" height="100%" fill="#fff"/>',
             text(LEFT, 26, "The tone curve, one parameter at a time; the others are 1, 0, 1, 1", 13, color="#445"),
             text(LEFT - 8, TOP + 10, "1", anchor="end"), text(LEFT - 8, TOP + SIZE, "0", anchor="end")]
    for index, (parameter, curves) in enumerate(families.items()):
        parts += panel(LEFT + index * (SIZE + GAP), parameter, curves)
    with open(target, "w", encoding="utf-8") as svg:
        svg.write("\n".join([*parts, "</svg>"]) + "\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
