#!/usr/bin/env python3
"""double_default.py LIBRARY.tlb: writes the default 1.0 of every double parameter into a
type library that widl made.

widl marks such a parameter as having a default but cannot write a double one. The value
goes into the library's segment of custom data, as a type number and the value.
"""
import struct
import sys

HEADER_INTS = 21
HAS_HELP_DLL = 0x100
CUSTOM_DATA = 11          # number of the segment in the directory
TYPE_INFO_SIZE = 0x64
FUNCTION_HAS_DEFAULTS = 0x1000
PARAMETER_HAS_DEFAULT = 0x20
NO_VALUE = 0xFFFFFFFF
VT_R8 = 5
SIMPLE_R8 = 0x80000000 | VT_R8 << 16 | VT_R8


def integer(library, offset):
    return struct.unpack_from("<I", library, offset)[0]


def function_records(library, type_info):
    """The offsets and lengths of a type's function records."""
    at = integer(library, type_info + 4)
    functions = struct.unpack_from("<H", library, type_info + 0x18)[0]
    at += 4
    for _ in range(functions):
        length = integer(library, at) & 0xFFFF
        yield at, length
        at += length


def missing_defaults(library, record, length):
    """The offsets of the default values of a function that are still to be written."""
    if not integer(library, record + 0x10) & FUNCTION_HAS_DEFAULTS:
        return
    count = struct.unpack_from("<H", library, record + 0x14)[0]
    parameters = record + length - 12 * count
    values = parameters - 4 * count
    for i in range(count):
        data_type, _, flags = struct.unpack_from("<III", library, parameters + 12 * i)
        if data_type == SIMPLE_R8 and flags & PARAMETER_HAS_DEFAULT and integer(library, values + 4 * i) == NO_VALUE:
            yield values + 4 * i


def main(path):
    with open(path, "rb") as file:
        library = bytearray(file.read())
    if library[:4] != b"MSFT":
        sys.exit(f"{path}: not a type library")
    types = integer(library, 0x20)
    directory = 4 * (HEADER_INTS + types + (1 if integer(library, 0x14) & HAS_HELP_DLL else 0))
    custom_data = directory + 16 * CUSTOM_DATA
    type_infos = integer(library, directory)

    found = [place
             for i in range(types)
             for record, length in function_records(library, type_infos + TYPE_INFO_SIZE * i)
             for place in missing_defaults(library, record, length)]
    if not found:
        return
    # The segment moves to the end of the file, where it can grow.
    start, length = struct.unpack_from("<II", library, custom_data)
    values = bytes(library[start:start + length]) if length else b""
    grown = values + struct.pack("<Hdxx", VT_R8, 1.0)
    struct.pack_into("<II", library, custom_data, len(library), len(grown))
    for place in found:
        struct.pack_into("<I", library, place, len(values))
    library += grown
    with open(path, "wb") as file:
        file.write(library)


if __name__ == "__main__":
    main(sys.argv[1])
