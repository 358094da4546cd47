#!/usr/bin/env python3
"""pack.py FOLDER FILE.zip: packs a folder under its own name.

The same files give the same bytes: entries are sorted by name, and have one time, SOURCE_DATE_EPOCH
in UTC, and one set of permissions.
"""
import os
import sys
import time
import zipfile

EARLIEST = 315532800  # 1980, where the format's times begin


def entries(folder):
    for parent, _, files in os.walk(folder):
        for file in files:
            path = os.path.join(parent, file)
            yield os.path.relpath(path, os.path.dirname(folder)).replace(os.sep, "/"), path


def main(folder, archive):
    moment = time.gmtime(max(int(os.environ["SOURCE_DATE_EPOCH"]), EARLIEST))[:6]
    unfinished = archive + ".part"
    with zipfile.ZipFile(unfinished, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as package:
        for name, path in sorted(entries(os.path.abspath(folder))):
            entry = zipfile.ZipInfo(name, moment)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            with open(path, "rb") as file:
                package.writestr(entry, file.read(), compresslevel=9)
    os.replace(unfinished, archive)


if __name__ == "__main__":
    main(*sys.argv[1:])
