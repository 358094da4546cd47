#!/usr/bin/env python3
"""The guide holds together: every relative link and picture of docs/ and of the pages beside it exists, every
heading that is linked to is there, and every page of docs/ is reached from docs/index.md."""
import pathlib
import re
import sys
import urllib.parse

ROOT = pathlib.Path(__file__).resolve().parents[2]
LINK = re.compile(r'!?\[(?:[^\[\]]|\[[^\]]*\])*\]\(\s*<?([^)\s>]+)>?(?:\s+"[^"]*")?\s*\)')


def prose(page):
    """A page without code, where brackets are no links."""
    lines, fenced, blank = [], False, True
    for line in page.read_text(encoding="utf-8").splitlines():
        if line.lstrip().startswith("```"):
            fenced = not fenced
        elif not fenced and not (blank and line.startswith("    ")):
            lines.append(line)
        blank = not line.strip() or (blank and line.startswith("    "))
    return "\n".join(lines)


def links(page):
    return LINK.findall(re.sub(r"`[^`\n]*`", "", prose(page)))


def anchors(page):
    """Of headings, as the sites that show Markdown make them."""
    found = set()
    for heading in re.findall(r"^#+\s+(.*?)\s*$", prose(page), flags=re.M):
        text = re.sub(r"[`*]", "", re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)).lower()
        found.add(re.sub(r"[^\w\- ]", "", text).replace(" ", "-"))
    return found


def check(root):
    faults, reached, waiting = [], set(), [root / "docs/index.md"]
    for page in [*sorted(root.glob("*.md")), *sorted((root / "docs").rglob("*.md"))]:
        for link in links(page):
            parts = urllib.parse.urlsplit(link)
            if parts.scheme or parts.netloc:
                continue
            target = page if not parts.path else (page.parent / urllib.parse.unquote(parts.path)).resolve()
            where = f"{page.relative_to(root)}: {link}"
            if not target.exists():
                faults.append(f"{where} is not there")
            elif parts.fragment and target.suffix == ".md" and parts.fragment not in anchors(target):
                faults.append(f"{where} has no such heading")
            elif page.parent.is_relative_to(root / "docs") and not target.is_relative_to(root / "docs"):
                # What is outside does not travel with the guide.
                faults.append(f"{where} leads out of docs/")
    while waiting:
        page = waiting.pop()
        if page in reached or page.suffix != ".md" or not page.exists():
            continue
        reached.add(page)
        for link in links(page):
            path = urllib.parse.urlsplit(link).path
            if path and "://" not in link:
                waiting.append((page.parent / urllib.parse.unquote(path)).resolve())
    for page in sorted((root / "docs").rglob("*.md")):
        if page not in reached:
            faults.append(f"{page.relative_to(root)} is not reached from docs/index.md")
    return faults, len(reached)


if __name__ == "__main__":
    problems, count = check(ROOT)
    print("\n".join(problems + [f"{count} pages"]))
    sys.exit(1 if problems or count < 10 else 0)
