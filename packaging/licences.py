#!/usr/bin/env python3
"""licences.py FOLDER: writes the licence text of everything foreign that the binaries contain, a file
for each library, from the packages that the libraries come from.

Debian's own descriptions are shortened to what is compiled in.
"""
import functools
import pathlib
import re
import subprocess
import sys
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).absolute().parents[1]
CACHE = ROOT / "build/cache"
DOC = pathlib.Path("/usr/share/doc")
COMMON = pathlib.Path("/usr/share/common-licenses")
MINGW = pathlib.Path("/usr/x86_64-w64-mingw32")
GCC = pathlib.Path("/usr/lib/gcc/x86_64-w64-mingw32")


def read(path):
    return path.read_text(encoding="utf-8").replace("\t", "        ")


def copyright_of(package):
    return read(DOC / package / "copyright")


def shortened(package, *patterns):
    """Of a description by files: the parts about these, and the licences that they name."""
    parts = re.split(r"\n\s*\n", copyright_of(package))
    about = [part for part in parts if part.startswith("Files:")
             and set(patterns) & set(part.split("Copyright:")[0].split())]
    whole = [part for part in parts if re.match(r"License: *\S+\n ", part)]
    texts = []
    for part in about:
        name, follows = re.search(r"^License: *(\S+)\n?(.?)", part, re.M).groups()
        if follows != " ":
            texts += [text for text in whole if text.split()[1] == name]
            if not texts or texts[-1].split()[1] != name:
                raise ValueError(f"{package} has no text of {name}")
    if len(about) != len(patterns):
        raise ValueError(f"{package} describes {len(about)} of {', '.join(patterns)}")
    return "\n\n".join(dict.fromkeys(about + texts))


def between(text, first, last):
    return text[text.index(first):text.index(last, text.index(first))].rstrip()


def version_of(package):
    told = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True, check=True)
    return re.match(r"[\d.]+", told.stdout)[0]


def macros(path, *names):
    text = read(path)
    return ".".join(re.search(rf'#define {name}\s+"?([\w.]+)"?', text)[1] for name in names)


def gcc_text():
    # The exception comes first: it is what counts for programs.
    text = copyright_of("g++-mingw-w64-x86-64-posix")
    return "\n\n\n".join([between(text, "GCC RUNTIME LIBRARY EXCEPTION", "\n\n\n"),
                          between(text, "GCC is Copyright", "On Debian GNU/Linux systems"), read(COMMON / "GPL-3")])


@dataclass
class Library:
    """Its name as the guide has it, the licence's, what its files are compiled or linked from (a folder, a
    file or a package), and how its version and text are found."""
    title: str
    licence: str
    places: tuple
    version: object
    text: object


LIBRARIES = {
    "boost": Library(
        "Boost", "Boost Software License 1.0", (CACHE / "boost-thread",),
        lambda: version_of("libboost1.81-dev"),
        lambda: shortened("libboost1.81-dev", "libs/thread/*", "libs/thread/src/win32/tss_pe.cpp")),
    "cli11": Library(
        "CLI11", "BSD, 3 clauses", (CACHE / "cli11",),
        lambda: version_of("libcli11-dev"),
        lambda: shortened("libcli11-dev", "*")),
    "gcc": Library(
        "GCC's libgcc and libstdc++", "GPL 3 with the GCC Runtime Library Exception 3.1", (GCC,),
        lambda: version_of("gcc-mingw-w64-base"), gcc_text),
    "highway": Library(
        "Highway", "Apache 2.0", (CACHE / "highway",),
        lambda: macros(CACHE / "highway/hwy/highway.h", "HWY_MAJOR", "HWY_MINOR", "HWY_PATCH"),
        lambda: read(CACHE / "highway/LICENSE")),
    "json": Library(
        "JSON for Modern C++", "MIT", (CACHE / "json",),
        lambda: version_of("nlohmann-json3-dev"),
        lambda: shortened("nlohmann-json3-dev", "*", "include/nlohmann/detail/conversions/to_chars.hpp",
                          "include/nlohmann/detail/output/serializer.hpp")),
    "libpng": Library(
        "libpng", "PNG Reference Library License 2", (CACHE / "libpng",),
        lambda: macros(CACHE / "libpng/png.h", "PNG_LIBPNG_VER_STRING"),
        lambda: read(CACHE / "libpng/LICENSE")),
    "mingw-w64": Library(
        "mingw-w64's run-time library", "Zope Public License 2.1, parts in the public domain and others",
        ("mingw-w64-x86-64-dev",), lambda: version_of("mingw-w64-x86-64-dev"), lambda: copyright_of("mingw-w64-x86-64-dev")),
    "winpthreads": Library(
        "mingw-w64's winpthreads", "MIT, parts BSD, 3 clauses",
        (MINGW / "lib/libpthread.a", MINGW / "lib/libwinpthread.a"),
        lambda: version_of("mingw-w64-x86-64-dev"),
        lambda: shortened("mingw-w64-x86-64-dev", *(f"mingw-w64-libraries/winpthreads/{part}" for part in (
            "*", "include/pthread.h", "src/clock.c", "src/libgcc/dll_math.c")))),
    "zlib": Library(
        "zlib", "zlib", ("libz-mingw-w64-dev",),
        lambda: version_of("libz-mingw-w64-dev"),
        lambda: shortened("libz-mingw-w64-dev", "*")),
}


@functools.cache
def package_of(path):
    told = subprocess.run(["dpkg-query", "-S", path], capture_output=True, text=True, check=False)
    return told.stdout.split(":")[0]


def holder(path):
    """The library that a file or folder outside of ours belongs to; None, when nobody claims it."""
    for name, library in LIBRARIES.items():
        if any(path.is_relative_to(place) for place in library.places if isinstance(place, pathlib.Path)):
            return name
    return next((name for name, library in LIBRARIES.items() if package_of(path) in library.places), None)


def main(folder):
    target = pathlib.Path(folder)
    target.mkdir(parents=True, exist_ok=True)
    for name, library in LIBRARIES.items():
        text = f"{library.title} {library.version()}\n\n{library.text().strip()}\n"
        (target / f"{name}.txt").write_text(text, encoding="utf-8", newline="\r\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
