"""Makes small BMP, TIFF and JPEG files byte by byte, and pixels to fill them with."""

import struct

TIFF_UNSIGNED, TIFF_FLOAT = 1, 3
PHOTOMETRIC = {1: 1, 3: 2, 4: 5}  # grey, red green blue, cyan magenta yellow black


def ramp(count, bits):
    """Numbers that fill the whole range of their bits, neighbours far apart."""
    return [(i * 40503 + 77) % (1 << bits) for i in range(count)]


def bmp(width, height, bits, rows, palette=b""):
    """rows: top down, as they lie in the file without padding."""
    padded = b"".join(row + bytes(-len(row) % 4) for row in reversed(rows))
    offset = 54 + len(palette)
    header = struct.pack("<IiiHHIIiiII", 40, width, height, 1, bits, 0, len(padded), 2835, 2835, len(palette) // 4, 0)
    return b"BM" + struct.pack("<IHHI", offset + len(padded), 0, 0, offset) + header + palette + padded


def tiff(width, height, channels, bits, data, sample_format=TIFF_UNSIGNED):
    short, long = 3, 4
    offset = 8
    depths = struct.pack(f"<{channels}H", *[bits] * channels)
    tags = [
        (256, long, 1, width),
        (257, long, 1, height),
        (258, short, channels, bits if channels == 1 else offset + len(data)),
        (259, short, 1, 1),
        (262, short, 1, PHOTOMETRIC[channels]),
        (273, long, 1, offset),
        (277, short, 1, channels),
        (278, long, 1, height),
        (279, long, 1, len(data)),
        (284, short, 1, 1),
        (339, short, 1, sample_format),
    ]
    if channels > 1:
        # One sample format would have to be said for every channel; unsigned goes without saying.
        tags.pop()
        data_end = data + depths + bytes(len(depths) % 2)
    else:
        data_end = data
    data_end += bytes(len(data_end) % 2)
    directory = struct.pack("<H", len(tags))
    for tag, kind, count, value in tags:
        packed = struct.pack("<HH", value, 0) if kind == short and count == 1 else struct.pack("<I", value)
        directory += struct.pack("<HHI", tag, kind, count) + packed
    return b"II" + struct.pack("<HI", 42, offset + len(data_end)) + data_end + directory + bytes(4)


def flat_jpeg(components):
    """8 x 8 pixels of one value for each component (grey, or Y, Cb, Cr), which every decoder sees alike."""

    def segment(marker, body):
        return struct.pack(">BBH", 0xFF, marker, len(body) + 2) + body

    count = len(components)
    bits = ""
    for value in components:
        # The quantiser of 8 makes the first coefficient the block's value less 128.
        coefficient = value - 128
        length = abs(coefficient).bit_length()
        bits += format(length, "04b")
        if length:
            bits += format(coefficient if coefficient > 0 else coefficient + (1 << length) - 1, f"0{length}b")
        bits += "0"
    bits += "1" * (-len(bits) % 8)
    scan = bytes(int(bits[i : i + 8], 2) for i in range(0, len(bits), 8)).replace(b"\xff", b"\xff\x00")
    return (
        b"\xff\xd8"
        + segment(0xE0, b"JFIF\0\x01\x01\0\0\x01\0\x01\0\0")
        + segment(0xDB, b"\0" + bytes([8] * 64))
        + segment(0xC0, struct.pack(">BHHB", 8, 8, 8, count) + b"".join(bytes([i + 1, 0x11, 0]) for i in range(count)))
        + segment(0xC4, b"\0" + bytes([0, 0, 0, 9] + [0] * 12) + bytes(range(9)))
        + segment(0xC4, b"\x10" + bytes([1] + [0] * 15) + b"\0")
        + segment(0xDA, bytes([count]) + b"".join(bytes([i + 1, 0]) for i in range(count)) + b"\0\x3f\0")
        + scan
        + b"\xff\xd9"
    )
