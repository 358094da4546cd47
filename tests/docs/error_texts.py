#!/usr/bin/env python3
"""Every error that the component and its C++ layer can give stands in docs/errors.md: each text
that is thrown, and each HRESULT that the code names."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ["component", "include/tavlo"]
THROWN = re.compile(r"throw\s+(?:\w+::)*\w+\s*\(|ThrowLastError\s*\(|return\s*\{\s*E_\w+,|error\s*\(\w+,")
LITERAL = re.compile(r'L?"((?:[^"\\]|\\.)*)"')
RESULT = re.compile(r"\b(?:E|CO_E|STG_E|DISP_E|TYPE_E|CLASS_E|CONNECT_E|REGDB_E|RPC_E)_[A-Z_]+\b")


def code_of(path):
    """The file without comments and without what the language itself reads from strings."""
    text = path.read_text(encoding="utf-8")
    text = re.sub(r"^\s*#.*$", "", text, flags=re.M)
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    return re.sub(r"//.*$", "", text, flags=re.M)


def arguments(code, start):
    """What stands between the parenthesis or brace that ends at start and its partner."""
    depth = 1
    for token in re.finditer(r'"(?:[^"\\]|\\.)*"|[(){}]', code[start:]):
        if token[0] in "({":
            depth += 1
        elif token[0] in ")}":
            depth -= 1
            if depth == 0:
                return code[start:start + token.start()]
    return code[start:]


def texts(code):
    for match in THROWN.finditer(code):
        if match[0].startswith("return"):
            inside = arguments(code, code.index("{", match.start()) + 1)
        else:
            inside = arguments(code, code.index("(", match.start()) + 1)
        # Literals beside each other are one.
        joined = re.sub(r'"\s+L?"', "", inside)
        for literal in LITERAL.findall(joined):
            yield literal.strip()


def main():
    table = (ROOT / "docs/errors.md").read_text(encoding="utf-8")
    missing, found, results = [], 0, 0
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*")):
            if path.suffix not in {".cpp", ".h", ".hpp"}:
                continue
            code = code_of(path)
            for text in texts(code):
                # Single words are parts of a text that is put together.
                if " " not in text:
                    continue
                found += 1
                if text not in table:
                    missing.append(f"{path.relative_to(ROOT)}: the text '{text}'")
            for result in sorted(set(RESULT.findall(code))):
                results += 1
                if not re.search(rf"\b{result}\b", table):
                    missing.append(f"{path.relative_to(ROOT)}: {result}")
    for line in missing:
        print("docs/errors.md lacks " + line)
    print(f"{found} texts and {results} results looked for")
    if found < 30 or results < 60:
        print("fewer than the code has: the search has gone blind")
        return 1
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
