#!/usr/bin/env python3
"""The interface reference has every interface, method, enumeration, field and class of the public
IDL files, with its own text, and its links lead somewhere."""
import pathlib
import re
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools/guide"))
import reference


def main():
    idl = "".join(reference.public_text(ROOT / "idl" / name) for name in reference.FILES)
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        reference.write(ROOT / "idl", folder)
        pages = {path.name: path.read_text(encoding="utf-8") for path in pathlib.Path(folder).iterdir()}
    everything = "\n".join(pages.values())
    texts = re.findall(r'helpstring\("([^"]*)"\)\s*\]', idl) + re.findall(r'helpstring\("([^"]*)"\),', idl)
    comments = [line.strip()[2:].strip() for line in idl.splitlines() if line.startswith("    //")]
    for text in texts + comments:
        # The library's own name is that of the whole reference.
        if not text.endswith("Type Library") and text not in everything:
            faults.append(f"the text '{text}' is missing")
    for name in re.findall(r"^(?:interface|dispinterface)\s+(\w+)\s*(?::|$)", idl, re.M):
        if f"{name}.md" not in pages:
            faults.append(f"{name} has no page")
    methods = re.findall(r"^\s+(?:HRESULT|void\*?)\s+(\w+)\(", idl, re.M)
    signatures = re.findall(r"^    (?:HRESULT|void\*?) (?:[gp][eu]t_)?(\w+)\(", everything, re.M)
    if sorted(methods) != sorted(signatures):
        faults.append(f"{len(methods)} methods, but {len(signatures)} in the reference")
    for name in re.findall(r"^    coclass (\w+)", idl, re.M):
        if f"| `{name}` " not in pages["index.md"]:
            faults.append(f"the class {name} is missing")
    for page, text in pages.items():
        for link in re.findall(r"\]\(([^)]+)\)", text):
            if link not in pages:
                faults.append(f"{page} leads to {link}, which is not there")
    print("\n".join([*faults, f"{len(texts)} texts, {len(methods)} methods, {len(pages)} pages"]))
    return 1 if faults or len(texts) < 100 or len(methods) < 80 else 0


if __name__ == "__main__":
    sys.exit(main())
