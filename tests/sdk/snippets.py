"""snippets.py TREE GUIDE...: every block of C++ or CMake in the guides stands, however its lines are
broken, in a source of the tree that is built and run by a test."""
import re
import sys
from pathlib import Path

SOURCES = {
    "cpp": ["samples/first/*.cpp", "samples/updates/*.cpp", "tests/sdk/consumer/*.cpp", "tests/wrapper/*.cpp"],
    "cmake": ["tests/sdk/consumer/CMakeLists.txt", "samples/CMakeLists.txt", "samples/first/CMakeLists.txt"],
}


def essence(text):
    """What is compared: everything but blanks and line ends."""
    return "".join(text.split())


def main():
    tree = Path(sys.argv[1])
    sources = {language: [essence(file.read_text()) for pattern in patterns for file in tree.glob(pattern)]
               for language, patterns in SOURCES.items()}
    bad = 0
    for guide in map(Path, sys.argv[2:]):
        blocks = re.findall(r"^```(cpp|cmake)\n(.*?)^```$", guide.read_text(), re.MULTILINE | re.DOTALL)
        if not blocks:
            print(f"{guide.name}: no blocks were found")
            bad += 1
        for language, block in blocks:
            if not any(essence(block) in source for source in sources[language]):
                print(f"{guide.name}: no source has\n{block}")
                bad += 1
        print(f"{guide.name}: {len(blocks)} blocks")
    sys.exit(1 if bad else 0)


main()
