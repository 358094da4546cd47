"""Reads and writes pictures with Python's own library only.

It shares no code with the system, so that a comparison made here proves something.
As a program it compares two pictures: pictures.py A B
"""

import struct
import sys
import zlib

PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"
GREY, RGB, PALETTE, GREY_ALPHA, RGBA = 0, 2, 3, 4, 6
CHANNELS = {GREY: 1, RGB: 3, PALETTE: 1, GREY_ALPHA: 2, RGBA: 4}
# First column, first row, column step, row step of Adam7's passes.
ADAM7 = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]


class Unreadable(Exception):
    """The file is no picture that this module knows."""


class Picture:
    """Samples in rows without padding: one list entry a sample, channels interleaved."""

    def __init__(self, width, height, channels, depth, samples):
        self.width = width
        self.height = height
        self.channels = channels  # 1 grey, 3 red green blue, 4 with alpha
        self.depth = depth  # 8 or 16
        self.samples = samples

    def as_colours(self):
        """The same picture as 8-bit RGBA, wide channels rounded to the nearest."""
        samples = self.samples
        if self.depth == 16:
            samples = [(v * 255 + 32767) // 65535 for v in samples]
        if self.channels == 4:
            return Picture(self.width, self.height, 4, 8, list(samples))
        result = [255] * (self.width * self.height * 4)
        for channel in range(3):
            result[channel::4] = samples[channel % self.channels :: self.channels]
        return Picture(self.width, self.height, 4, 8, result)


def first_difference(a, b):
    """None when both pictures show the same, else a sentence that says where they differ."""
    if (a.width, a.height) != (b.width, b.height):
        return f"sizes differ: {a.width} x {a.height} and {b.width} x {b.height}"
    if (a.channels, a.depth) != (b.channels, b.depth):
        if a.channels == b.channels == 1:
            return f"grey depths differ: {a.depth} and {b.depth} bits"
        a, b = a.as_colours(), b.as_colours()
    if list(a.samples) == list(b.samples):
        return None
    at = next(i for i, (v, w) in enumerate(zip(a.samples, b.samples)) if v != w)
    y, x = divmod(at // a.channels, a.width)
    return f"pixel ({x}, {y}) differs: {a.samples[at]} and {b.samples[at]}"


def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))


def write_png(path, width, height, depth, colour_type, rows, extra_chunks=()):
    """rows: the bytes of each row as the format has them, unfiltered."""
    step = max(1, depth * CHANNELS[colour_type] // 8)
    filtered = bytearray()
    above = bytes(len(rows[0]))
    for row in rows:
        # The filter whose bytes are smallest as signed numbers packs best.
        shifted = bytes(step) + row[:-step] if len(row) > step else bytes(len(row))
        corner = bytes(step) + above[:-step] if len(row) > step else bytes(len(row))
        candidates = [
            bytes(row),
            bytes((v - a) & 255 for v, a in zip(row, shifted)),
            bytes((v - b) & 255 for v, b in zip(row, above)),
            bytes((v - (a + b) // 2) & 255 for v, a, b in zip(row, shifted, above)),
            bytes((v - paeth(a, b, c)) & 255 for v, a, b, c in zip(row, shifted, above, corner)),
        ]
        best = min(range(5), key=lambda i: sum(min(v, 256 - v) for v in candidates[i]))
        filtered += bytes([best]) + candidates[best]
        above = row
    with open(path, "wb") as file:
        file.write(PNG_SIGNATURE)
        file.write(chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, depth, colour_type, 0, 0, 0)))
        for kind, body in extra_chunks:
            file.write(chunk(kind, body))
        file.write(chunk(b"IDAT", zlib.compress(bytes(filtered), 9)))
        file.write(chunk(b"IEND", b""))


def paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
    return a if pa <= pb and pa <= pc else b if pb <= pc else c


def unfilter(data, position, row_bytes, rows, step):
    """The rows of one pass, and the position after them."""
    result = []
    above = bytearray(row_bytes)
    for _ in range(rows):
        kind = data[position]
        row = bytearray(data[position + 1 : position + 1 + row_bytes])
        position += 1 + row_bytes
        if kind == 1:
            for i in range(step, row_bytes):
                row[i] = (row[i] + row[i - step]) & 255
        elif kind == 2:
            row = bytearray((v + b) & 255 for v, b in zip(row, above))
        elif kind == 3:
            for i in range(row_bytes):
                left = row[i - step] if i >= step else 0
                row[i] = (row[i] + (left + above[i]) // 2) & 255
        elif kind == 4:
            for i in range(row_bytes):
                left, corner = (row[i - step], above[i - step]) if i >= step else (0, 0)
                row[i] = (row[i] + paeth(left, above[i], corner)) & 255
        elif kind != 0:
            raise Unreadable(f"filter {kind}")
        result.append(row)
        above = row
    return result, position


def unpack(row, depth, count):
    if depth == 16:
        return list(struct.unpack(f">{count}H", bytes(row[: 2 * count])))
    if depth == 8:
        return list(row[:count])
    mask = (1 << depth) - 1
    return [row[i * depth // 8] >> (8 - depth - i * depth % 8) & mask for i in range(count)]


def read_png(path):
    with open(path, "rb") as file:
        data = file.read()
    if data[:8] != PNG_SIGNATURE:
        raise Unreadable(f"{path} is no PNG")
    position, packed, palette, transparency = 8, b"", b"", None
    while position < len(data):
        length, kind = struct.unpack(">I4s", data[position : position + 8])
        body = data[position + 8 : position + 8 + length]
        if struct.unpack(">I", data[position + 8 + length : position + 12 + length])[0] != zlib.crc32(kind + body):
            raise Unreadable(f"{path}: a chunk is damaged")
        position += 12 + length
        if kind == b"IHDR":
            width, height, depth, colour_type, _, _, interlace = struct.unpack(">IIBBBBB", body)
        elif kind == b"PLTE":
            palette = body
        elif kind == b"tRNS":
            transparency = body
        elif kind == b"IDAT":
            packed += body
    raw = zlib.decompress(packed)
    channels = CHANNELS[colour_type]
    step = max(1, depth * channels // 8)
    samples = [0] * (width * height * channels)
    position = 0
    for x0, y0, dx, dy in ADAM7 if interlace else [(0, 0, 1, 1)]:
        columns, rows = max(0, -(-(width - x0) // dx)), max(0, -(-(height - y0) // dy))
        if columns == 0 or rows == 0:
            continue
        lines, position = unfilter(raw, position, (columns * channels * depth + 7) // 8, rows, step)
        for i, line in enumerate(lines):
            values = unpack(line, depth, columns * channels)
            start = ((y0 + i * dy) * width + x0) * channels
            for channel in range(channels):
                end = start + columns * dx * channels if dx > 1 else start + columns * channels
                end = min(end, (y0 + i * dy + 1) * width * channels)
                samples[start + channel : end : dx * channels] = values[channel::channels]
    return straight(width, height, depth, colour_type, samples, palette, transparency)


def straight(width, height, depth, colour_type, samples, palette, transparency):
    """Grey of 8 or 16 bits, or colours: without palette, packed bits or a colour key."""
    if colour_type == PALETTE:
        alphas = list(transparency or b"")
        alphas += [255] * (256 - len(alphas))
        colours = [palette[3 * i : 3 * i + 3] + bytes([alphas[i]]) for i in range(len(palette) // 3)]
        return Picture(width, height, 4, 8, list(b"".join(colours[i] for i in samples)))
    if transparency is not None:
        count = CHANNELS[colour_type]
        key = list(struct.unpack(f">{count}H", transparency))
        full = (1 << depth) - 1
        keyed = []
        for i in range(0, len(samples), count):
            pixel = samples[i : i + count]
            keyed += (pixel * 3 if count == 1 else pixel) + [0 if pixel == key else full]
        samples, colour_type = keyed, RGBA
    if depth < 8:
        samples = [v * 255 // ((1 << depth) - 1) for v in samples]
        depth = 8
    if colour_type == GREY_ALPHA:
        wide = [0] * (width * height * 4)
        for channel in range(4):
            wide[channel::4] = samples[channel // 3 :: 2]
        samples, colour_type = wide, RGBA
    return Picture(width, height, CHANNELS[colour_type], depth, samples)


def read_bmp(path):
    with open(path, "rb") as file:
        data = file.read()
    if data[:2] != b"BM":
        raise Unreadable(f"{path} is no BMP")
    offset, _, width, height, _, bits, compression = struct.unpack("<IIiiHHI", data[10:34])
    if compression != 0 or bits not in (24, 32):
        raise Unreadable(f"{path}: only plain 24-bit and 32-bit BMP is known here")
    row_bytes = (width * bits // 8 + 3) // 4 * 4
    samples = []
    for y in range(abs(height)):
        line = y if height < 0 else height - 1 - y
        row = data[offset + line * row_bytes :][: width * bits // 8]
        colours = [0] * (width * 3)
        for channel in range(3):
            colours[channel::3] = row[2 - channel :: bits // 8]
        samples += colours
    return Picture(width, abs(height), 3, 8, samples)


def read(path):
    for reader in (read_png, read_bmp):
        try:
            return reader(path)
        except Unreadable as reason:
            unreadable = reason
    raise unreadable


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: pictures.py A B")
    try:
        a, b = read(sys.argv[1]), read(sys.argv[2])
    except Unreadable as reason:
        print(f"pictures.py: {reason}", file=sys.stderr)
        sys.exit(3)
    difference = first_difference(a, b)
    if difference:
        sys.exit(f"pictures.py: {difference}")
    print(f"all {a.width * a.height} pixels are identical")


if __name__ == "__main__":
    main()
