#!/usr/bin/env python3
"""Prepares the guide for the generator, and looks at what it made:

    site.py prepare ROOT WORK SITE   pages, reference and configuration into WORK
    site.py check SITE               every link, picture and anchor of the pages in SITE is there
"""
import html.parser
import json
import pathlib
import re
import shutil
import sys
import urllib.parse

import reference


def with_lists(text):
    """A list that follows its heading line directly: other readers of Markdown see it, the generator
    wants a blank line."""
    lines, fenced = [], False
    for line in text.splitlines():
        if line.startswith("```"):
            fenced = not fenced
        before = lines[-1] if lines else ""
        if not fenced and line.startswith("- ") and before and not re.match(r"- |  ", before):
            lines.append("")
        lines.append(line)
    return "\n".join(lines) + "\n"


def navigation(docs):
    """The sections of index.md with the pages that they name first; other pages come last."""
    sections, seen = [{"Contents": "index.md"}], {"index.md"}
    text = (docs / "index.md").read_text(encoding="utf-8")
    for section in re.split(r"^## ", text, flags=re.M)[1:]:
        pages = []
        for title, page in re.findall(r"\[([^\]]+)\]\(([\w/-]+\.md)\)", section):
            if page not in seen:
                seen.add(page)
                pages.append({title: page})
        if pages:
            sections.append({section.splitlines()[0]: pages})
    others = [str(p.relative_to(docs)) for p in sorted(docs.rglob("*.md"))]
    rest = [page for page in others if page not in seen]
    return sections + ([{"More": rest}] if rest else [])


def prepare(root, work, site):
    root, work = pathlib.Path(root), pathlib.Path(work)
    pages = work / "pages"
    shutil.rmtree(work, ignore_errors=True)
    shutil.copytree(root / "docs", pages)
    for page in pages.rglob("*.md"):
        page.write_text(with_lists(page.read_text(encoding="utf-8")), encoding="utf-8")
    nav = navigation(root / "docs")
    made = reference.write(root / "idl", pages / "reference")
    named = {"index": "Overview", "types": "Types"}
    nav.append({"Interface reference": [{named.get(name, name): f"reference/{name}.md"} for name in made]})
    # JSON is YAML. Pages are read from files too, so they name each other with their endings, and
    # nothing is fetched from elsewhere.
    (work / "mkdocs.yml").write_text(json.dumps({
        "site_name": "Tavlo", "docs_dir": "pages", "site_dir": str(pathlib.Path(site).resolve()),
        "use_directory_urls": False, "plugins": [], "strict": True, "nav": nav,
        "theme": {"name": None, "custom_dir": str(pathlib.Path(__file__).resolve().parent / "theme")},
        "markdown_extensions": ["tables", "fenced_code", "sane_lists", {"toc": {"permalink": False}}],
    }, indent=1, ensure_ascii=False), encoding="utf-8")


class Links(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.found, self.loaded, self.anchors = [], set(), set()
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        if "id" in attributes:
            self.anchors.add(attributes["id"])
        wanted = {"a": "href", "img": "src", "link": "href", "script": "src"}.get(tag)
        if wanted and attributes.get(wanted):
            self.found.append(attributes[wanted])
            if tag != "a":
                self.loaded.add(attributes[wanted])

    def loads(self, link):
        return link in self.loaded


def check(site):
    site = pathlib.Path(site).resolve()
    pages = {path: Links(path.read_text(encoding="utf-8")) for path in sorted(site.rglob("*.html"))}
    faults = []
    for path, page in pages.items():
        for link in page.found:
            parts = urllib.parse.urlsplit(link)
            where = f"{path.relative_to(site)}: {link}"
            if parts.netloc:
                # The guide is read without a network.
                if page.loads(link):
                    faults.append(f"{where} is fetched from elsewhere")
                continue
            if parts.scheme:
                continue
            target = path if not parts.path else (path.parent / urllib.parse.unquote(parts.path)).resolve()
            target = target / "index.html" if target.is_dir() else target
            if not target.is_relative_to(site):
                faults.append(f"{where} leads out of the guide")
            elif not target.exists():
                faults.append(f"{where} is not there")
            elif parts.fragment and target in pages and parts.fragment not in pages[target].anchors:
                faults.append(f"{where} has no such anchor")
    print("\n".join([*faults, f"{len(pages)} pages"]))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit({"prepare": prepare, "check": check}[sys.argv[1]](*sys.argv[2:]))
