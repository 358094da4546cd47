"""Draws measurements as SVG: a bar for every piece of work with its goal, and a curve over
image sizes for some of them."""
import math
from xml.sax.saxutils import escape

WIDTH = 1060
LEFT = 330           # where bars begin
BAR = 9              # the height of one
COLORS = ["#1f6fb2", "#d9822b", "#3a9c58", "#b23a48", "#7a52a3", "#8a6d3b", "#2aa3a3", "#c45ab3", "#666666"]


def text(x, y, content, size=11, anchor="start", color="#222"):
    return (f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" text-anchor="{anchor}" fill="{color}">'
            f"{escape(content)}</text>")


def line(x1, y1, x2, y2, color="#ccc", width=1.0, dash=""):
    style = f' stroke-dasharray="{dash}"' if dash else ""
    return (f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{color}" '
            f'stroke-width="{width}"{style}/>')


def box(x, y, width, height, color):
    return f'<rect x="{x:.1f}" y="{y:.1f}" width="{max(width, 0.5):.1f}" height="{height}" fill="{color}"/>'


class RatioAxis:
    """A logarithmic one, from a power of two to another that hold all ratios, and 1."""

    def __init__(self, ratios):
        self.low = min(-1, math.floor(math.log2(min(ratios))))
        self.high = max(1, math.ceil(math.log2(max(ratios))))

    def at(self, ratio):
        return LEFT + (WIDTH - 30 - LEFT) * (math.log2(ratio) - self.low) / (self.high - self.low)

    def powers(self):
        return range(self.low, self.high + 1)


def bars(rows, y):
    """One group a piece of work, one bar a size: how its speed stands against the goal's peer."""
    sizes = list(dict.fromkeys(row["size"] for row in rows))
    groups = {}
    for row in rows:
        groups.setdefault(row["work"], []).append(row)
    axis = RatioAxis([row[key] for row in rows for key in ("ratio", "goal")])
    top = y + 34
    bottom = top + sum(BAR * len(group) + 7 for group in groups.values())
    parts = [text(10, y + 4, "Speed as a multiple of the peer's that the goal names; a black line is the goal", 13)]
    x = LEFT
    for size in sizes:
        color = COLORS[sizes.index(size) % len(COLORS)]
        parts += [box(x, y + 12, 10, 10, color), text(x + 14, y + 21, size)]
        x += 24 + 7 * len(size)
    for power in axis.powers():
        at = axis.at(2.0 ** power)
        parts += [line(at, top, at, bottom, "#999" if power == 0 else "#ddd"),
                  text(at, bottom + 13, f"{2.0 ** power:g}" if power >= 0 else f"1/{2 ** -power}", 10, "middle")]
    y = top + 4
    for work, group in groups.items():
        middle = y + BAR * len(group) / 2 + 4
        parts.append(text(LEFT - 8, middle, f"{work} / {' or '.join(group[0]['against'])}", 11, "end"))
        for row in group:
            begin, end = sorted((axis.at(1), axis.at(row["ratio"])))
            parts.append(box(begin, y, end - begin, BAR - 1, COLORS[sizes.index(row["size"]) % len(COLORS)]))
            y += BAR
        at = axis.at(group[0]["goal"])
        parts.append(line(at, y - BAR * len(group) - 2, at, y + 1, "#000", 2))
        y += 7
    return parts, bottom + 30


def curves(rows, y):
    """Bytes moved a second would hide the work, so these are pixels; memcpy moves as many bytes as its work
    and is drawn dashed."""
    sizes = list(dict.fromkeys(row["size"] for row in rows))
    works = list(dict.fromkeys(row["work"] for row in rows))
    height, left, right = 320, 70, WIDTH - 230

    def rates(row):
        return [c["rate"] for c in row["contenders"] if c["name"] in ("ours", "memcpy")]

    every = [rate for row in rows for rate in rates(row)]
    low, high = math.floor(math.log10(min(every))), math.ceil(math.log10(max(every)))

    def at_rate(rate):
        return y + 24 + height * (high - math.log10(rate)) / (high - low)

    def at_size(size):
        return left + 30 + (right - left - 60) * sizes.index(size) / max(len(sizes) - 1, 1)

    parts = [text(10, y + 4, "Pixels per second over image sizes; dashed: memcpy of as many bytes", 13)]
    for rate in (digit * 10.0 ** power for power in range(low, high) for digit in (1, 2, 5, 10)):
        at = at_rate(rate)
        parts += [line(left, at, right, at), text(left - 6, at + 4, f"{rate / 1e9:g} G", 10, "end")]
    parts += [text(at_size(size), y + height + 42, size, 11, "middle") for size in sizes]
    for i, work in enumerate(works):
        color = COLORS[i % len(COLORS)]
        own = [row for row in rows if row["work"] == work]
        for which, dash in ((0, ""), (1, "4 3")):
            points = " ".join(f"{at_size(row['size']):.1f},{at_rate(rates(row)[which]):.1f}" for row in own)
            style = f' stroke-dasharray="{dash}" stroke-opacity="0.6"' if dash else ""
            parts.append(f'<polyline points="{points}" fill="none" stroke="{color}" stroke-width="2"{style}/>')
        parts += [box(right + 14, y + 30 + 18 * i, 10, 10, color), text(right + 30, y + 39 + 18 * i, work)]
    return parts, y + height + 60


def draw(measured, description):
    parts, y = [text(10, 20, "Tavlo: conversions of pixels", 16), text(10, 38, description, 10, color="#555")], 66
    with_goal = [row for row in measured.get("table", []) if "goal" in row]
    if with_goal:
        more, y = bars(with_goal, y)
        parts += more
    if measured.get("curve"):
        more, y = curves(measured["curve"], y + 10)
        parts += more
    return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{y:.0f}" '
            f'viewBox="0 0 {WIDTH} {y:.0f}" font-family="sans-serif">\n'
            f'<rect width="100%" height="100%" fill="#fff"/>\n' + "\n".join(parts) + "\n</svg>\n")
