"""What a picture must look like, computed from the published formulas without any code of the system."""

import math

RAMPS = {
    "grey": {0: 0x000000, 1: 0xFFFFFF},
    "dusk": {0: 0x03051A, 0.08: 0x0D1238, 0.18: 0x21226B, 0.34: 0x41259B, 0.47: 0x85269A, 0.57: 0xD8456F,
             0.7: 0xF2765A, 0.84: 0xFCB35F, 1: 0xFDF6CF},
}
BACKGROUND = (0x10, 0x12, 0x16)


def dragged(levels, dx, dy):
    """Black and white after a drag."""
    black, white = levels
    width = (white - black) * 2 ** (-dx / 128)
    middle = (black + white) / 2 + dy / 256 * width
    return middle - width / 2, middle + width / 2


def tone_of(levels, span, smallest=0):
    """Contrast and brightness."""
    black, white = levels
    return span / (white - black), (smallest - black) / (white - black)


def position(value, span, contrast, brightness, gamma=1.0, sigma=1.0):
    """Where on the ramp a value of 0 to span lies."""
    if gamma == 1 and sigma == 1:
        return min(max(value * (contrast / span) + brightness, 0.0), 1.0)
    x = value / span
    low, high = -(brightness / contrast), (1 - brightness) / contrast
    if x < low:
        return 0.0
    if x >= high:
        return 1.0
    width, middle = high - low, (low + high) / 2
    if x < middle:
        t = 0.5 * (2 / width * (x - low)) ** sigma
    else:
        t = 1 - 0.5 * (2 / width * (high - x)) ** sigma
    return min(max(t**gamma, 0.0), 1.0)


def ramp_colour(ramp, t):
    """Red, green and blue at t."""
    points = sorted(RAMPS[ramp].items())
    at = next(i for i, (p, _) in enumerate(points) if p >= t)

    def bytes_of(colour):
        return ((colour >> 16) & 255, (colour >> 8) & 255, colour & 255)
    if points[at][0] == t:
        return bytes_of(points[at][1])
    (k0, c0), (k1, c1) = points[at - 1], points[at]
    return tuple(int(a * (k1 - t) / (k1 - k0) + b * (t - k0) / (k1 - k0)) for a, b in zip(bytes_of(c0), bytes_of(c1)))


class Colours:
    """The colours of whole numbers of 0 to span."""

    def __init__(self, ramp, span, levels=None, gamma=1.0, sigma=1.0):
        self.ramp, self.span, self.gamma, self.sigma = ramp, span, gamma, sigma
        self.tone = tone_of(levels or (0, span), span)
        self.known = {}

    def __getitem__(self, value):
        if value not in self.known:
            self.known[value] = ramp_colour(self.ramp, position(value, self.span, *self.tone, self.gamma, self.sigma))
        return self.known[value]


def quantile(values, share):
    """The smallest value that at least this share does not exceed."""
    ordered = sorted(values)
    return ordered[max(math.ceil(share * len(ordered)) - 1, 0)]


def automatic(values):
    return quantile(values, 0.005), quantile(values, 0.995)


def at_one_to_one(image, colours, window):
    """A window's pixels, in rows, of an image that is smaller and in its middle."""
    width, height = window
    left, top = math.floor((width - image.width) / 2 + 0.5), math.floor((height - image.height) / 2 + 0.5)
    rows = []
    for y in range(height):
        row = [BACKGROUND] * width
        if top <= y < top + image.height:
            line = image.samples[(y - top) * image.width : (y - top + 1) * image.width]
            row[left : left + image.width] = [colours[v] for v in line]
        rows.append(row)
    return rows
