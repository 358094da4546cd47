#!/usr/bin/env python3
"""Writes one compilation database that clang reads, of those of several builds, and prints its sources:

    compile_commands.py ROOT TARGET-FOLDER DATABASE.json... FOLDER...

Sources below these folders of ROOT, each once: as the first build that has it compiles it. Where that
is a cross compiler, clang is told its target and where its C++ library lies; options that clang does
not know are left out."""
import functools
import json
import pathlib
import re
import shlex
import subprocess
import sys

CROSS = re.compile(r"(\w+-w64-mingw32)-g\+\+")
UNKNOWN = ("-fno-var-tracking", "-Wa,", "-fsanitize", "-fno-sanitize", "-ffile-prefix-map")


@functools.cache
def library_of(compiler):
    """The folders of a compiler's C++ library."""
    told = subprocess.run([compiler, "-xc++", "-E", "-v", "/dev/null"], capture_output=True, text=True, check=True).stderr
    listed = told.split("<...> search starts here:")[1].split("End of search list")[0].split()
    return [str(pathlib.Path(folder).resolve()) for folder in listed if "c++" in folder]


def for_clang(entry):
    words = shlex.split(entry["command"])
    compiler = words[0]
    kept = [word for word in words[1:] if not word.startswith(UNKNOWN)]
    cross = CROSS.search(compiler)
    if cross:
        library = [word for folder in library_of(compiler) for word in ("-isystem", folder)]
        kept = ["--target=" + cross[1], *library, *kept]
    return {"directory": entry["directory"], "file": entry["file"], "arguments": ["clang++", *kept]}


def main(root, target, *rest):
    root = pathlib.Path(root)
    databases = [word for word in rest if word.endswith(".json")]
    folders = [root / word for word in rest if word not in databases]
    found = {}
    for database in databases:
        for entry in json.loads(pathlib.Path(database).read_text(encoding="utf-8")):
            path = pathlib.Path(entry["file"])
            if path.suffix == ".cpp" and any(path.is_relative_to(folder) for folder in folders):
                found.setdefault(entry["file"], for_clang(entry))
    text = json.dumps(list(found.values()), indent=1)
    (pathlib.Path(target) / "compile_commands.json").write_text(text, encoding="utf-8")
    print("\n".join(found))


if __name__ == "__main__":
    main(*sys.argv[1:])
