#!/usr/bin/env python3
"""Makes pages of Markdown from the interfaces' own texts: reference.py IDL-FOLDER TARGET-FOLDER

Texts are the helpstrings of the public IDL files and, where the IDL takes none (values of
enumerations and fields of structures), the comments above them."""
import pathlib
import re
import sys

LONGEST = 90  # of a signature in one line
FILES = ["TavloLib.idl", "SentelCommon.idl"]
ATTRIBUTES = r"\[(?P<attributes>(?:[^\[\]\"]|\"[^\"]*\"|\[[^\]]*\])*)\]\s*"
MEMBER = re.compile(r"\s*" + ATTRIBUTES + r"(?P<type>[\w ]+?)\s*(?P<star>\*?)\s*\b(?P<name>\w+)\s*\((?P<parameters>.*?)\);", re.S)
PARAMETER = re.compile(r"\[((?:[^\[\]]|\[[^\]]*\])*?)\]\s*([^,\[]+?)(?=\s*,\s*\[|\s*$)", re.S)


def help_of(attributes):
    found = re.search(r'helpstring\("([^"]*)"\)', attributes)
    return found[1] if found else ""


def without_helpstring(attributes):
    return re.sub(r'helpstring\("[^"]*"\)', "", attributes)


def uuid_of(attributes):
    return re.search(r"uuid\(([-\w]+)\)", attributes)[1]


def cell(text):
    return text.replace("|", "\\|").replace("<", "&lt;")


class Member:
    def __init__(self, match):
        bare = without_helpstring(match["attributes"])
        self.name, self.help = match["name"], help_of(match["attributes"])
        self.access = "get" if "propget" in bare else "put" if "propput" in bare else ""
        kept = [self.spelled(a, d) for a, d in PARAMETER.findall(match["parameters"])]
        result = match["type"].strip() + match["star"]
        head = f"{result} {'get_' if self.access == 'get' else 'put_' if self.access else ''}{self.name}("
        self.signature = head + ", ".join(kept) + ")"
        if len(self.signature) > LONGEST:
            # A parameter a line, under the first one.
            self.signature = head + (",\n" + " " * (4 + len(head))).join(kept) + ")"

    @staticmethod
    def spelled(attributes, declaration):
        flags = re.findall(r"\b(in|out|retval)\b", attributes)
        default = re.search(r"defaultvalue\(([^)]*)\)", attributes)
        text = f"[{', '.join(flags)}] {' '.join(declaration.split())}"
        return text + (f" = {default[1]}" if default else "")


class Interface:
    def __init__(self, match):
        self.name, self.base = match["name"], match["base"]
        self.help, self.uuid = help_of(match["attributes"]), uuid_of(match["attributes"])
        bare = without_helpstring(match["attributes"])
        self.is_dual, self.is_local = bool(re.search(r"\bdual\b", bare)), bool(re.search(r"\blocal\b", bare))
        self.members = [Member(m) for m in MEMBER.finditer(match["body"])]

    def page(self):
        lines = [f"# {self.name}", "", self.help, "",
                 f"`{self.name} : {self.base}`, `{{{self.uuid}}}`"
                 + (", also for scripts" if self.is_dual else "")
                 + (", called within one process only" if self.is_local else ""), ""]
        done = {}
        for member in self.members:
            # Getter and setter stand under one heading, with their text once when it is the same.
            if member.name not in done:
                lines += [f"## {member.name}", ""]
            lines += [f"    {member.signature}", ""]
            if done.get(member.name) != member.help:
                lines += [member.help, ""]
            done[member.name] = member.help
        return merged_code("\n".join(lines) + "\n")


def merged_code(text):
    """A setter right after its getter's text belongs to the getter's block of code."""
    return re.sub(r"(    [^\n]*get_(\w+)\([^\n]*\n)\n([^\n]+\n)\n(    [^\n]*put_\2\([^\n]*\n)\n", r"\1\4\n\3\n", text)


def commented(body):
    """(comment, code) for every line of code under its comment lines."""
    comment = []
    for line in body.splitlines():
        line = line.strip()
        if line.startswith("//"):
            comment.append(line[2:].strip())
        elif line:
            yield " ".join(comment), line
            comment = []


class Record:
    """An enumeration or a structure."""

    def __init__(self, match):
        self.kind, self.name = match["kind"], match["name"]
        self.help = help_of(match["attributes"])
        self.rows = list(commented(match["body"]))

    def section(self):
        lines = [f"## {self.name}", "", self.help, ""]
        if self.kind == "enum":
            lines += ["| value | | meaning |", "| --- | --- | --- |"]
            for comment, code in self.rows:
                name, value = re.fullmatch(r"(\w+)\s*=\s*(\d+),?", code).groups()
                lines.append(f"| {value} | `{name}` | {cell(comment)} |")
        else:
            lines += ["| field | type | meaning |", "| --- | --- | --- |"]
            for comment, code in self.rows:
                kind, name = re.fullmatch(r"(\w+)\s+(\w+);", code).groups()
                lines.append(f"| `{name}` | `{kind}` | {cell(comment)} |")
        return "\n".join(lines) + "\n"


class Class:
    def __init__(self, match):
        self.name = match["name"]
        self.help, self.uuid = help_of(match["attributes"]), uuid_of(match["attributes"])
        self.interfaces = re.findall(r"(?:interface|dispinterface)\s+(\w+);", match["body"])


class Events:
    """A dispinterface: what connection points call."""

    def __init__(self, match):
        self.name, self.help, self.uuid = match["name"], help_of(match["attributes"]), uuid_of(match["attributes"])
        self.members = [Member(m) for m in MEMBER.finditer(match["body"])]
        self.base, self.is_dual, self.is_local = "IDispatch", False, False

    page = Interface.page


def public_text(path):
    """A file as clients compile it: without what is for the proxies alone."""
    text = pathlib.Path(path).read_text(encoding="utf-8")
    return re.sub(r"^#ifdef TAVLO_PROXIES\n.*?^#else\n(.*?)^#endif\n", r"\1", text, flags=re.M | re.S)


def read(folder):
    """Everything that the public files declare, in their order; and the conventions at their top."""
    found = {"interfaces": [], "records": [], "classes": []}
    conventions = []
    for name in FILES:
        text = public_text(pathlib.Path(folder) / name)
        if not conventions:
            conventions = [line[2:].strip() for line in re.match(r"(?://.*\n)+", text)[0].splitlines()]
        pattern = {
            "records": r"typedef\s+" + ATTRIBUTES + r"(?P<kind>enum|struct)\s+(?P<name>\w+)\s*\{(?P<body>.*?)\}\s*\w+;",
            "interfaces": ATTRIBUTES + r"interface\s+(?P<name>\w+)\s*:\s*(?P<base>\w+)\s*\{(?P<body>.*?)\n\};",
            "classes": ATTRIBUTES + r"coclass\s+(?P<name>\w+)\s*\{(?P<body>.*?)\};",
        }
        make = {"records": Record, "interfaces": Interface, "classes": Class}
        for what, expression in pattern.items():
            found[what] += [make[what](m) for m in re.finditer(expression, text, re.S)]
        events = ATTRIBUTES + r"dispinterface\s+(?P<name>\w+)\s*\{(?P<body>.*?)\};"
        found["interfaces"] += [Events(m) for m in re.finditer(events, text, re.S)]
    return found, conventions


def contents(found, conventions):
    lines = ["# Interface reference", "", "Made of the texts in the IDL files, which the type libraries carry too.", ""]
    for line in conventions:
        # A list goes on in lines that are no items of it; a paragraph comes before it.
        lines += ["", line] if line.endswith("here:") else [line]
        if line.endswith("here:"):
            lines.append("")
    lines += ["", "## Interfaces", "", "| interface | |", "| --- | --- |"]
    lines += [f"| [{i.name}]({i.name}.md) | {cell(i.help)} |" for i in found["interfaces"]]
    lines += ["", "Their enumerations and structures are in [types](types.md).",
              "", "## Classes", "", "| class | interfaces | |", "| --- | --- | --- |"]
    pages = {i.name for i in found["interfaces"]}
    for c in found["classes"]:
        links = ", ".join(f"[{i}]({i}.md)" if i in pages else f"`{i}`" for i in c.interfaces)
        lines.append(f"| `{c.name}` `{{{c.uuid}}}` | {links} | {cell(c.help)} |")
    return "\n".join(lines) + "\n"


def write(idl, target):
    """The pages' names, the contents first."""
    found, conventions = read(idl)
    folder = pathlib.Path(target)
    folder.mkdir(parents=True, exist_ok=True)
    pages = {"index": contents(found, conventions)}
    pages |= {i.name: i.page() for i in found["interfaces"]}
    pages["types"] = "# Types\n\n" + "\n".join(r.section() for r in found["records"])
    for name, text in pages.items():
        (folder / f"{name}.md").write_text(text, encoding="utf-8")
    return list(pages)


if __name__ == "__main__":
    print("\n".join(write(*sys.argv[1:])))
