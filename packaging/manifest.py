#!/usr/bin/env python3
"""Writes the assembly manifest by which programs use the component without registration.

Everything in it is read from where registration has it: classes from the registry scripts, interfaces
from their definitions, the class of the proxies from the header that they are built with.
"""
import argparse
import re
from xml.sax.saxutils import quoteattr

AUTOMATION = "{00020424-0000-0000-C000-000000000046}"
DISPATCH = "{00020420-0000-0000-C000-000000000046}"
ATTRIBUTES = r"\[((?:\"[^\"]*\"|[^\]\"])*)\]"


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def element(indent, name, attributes, children=()):
    text = " ".join(f"{key}={quoteattr(value)}" for key, value in attributes.items())
    if not children:
        return [f"{indent}<{name} {text}/>"]
    return [f"{indent}<{name} {text}>", *children, f"{indent}</{name}>"]


def value(script, key):
    return re.search(rf"^ *{key} = s '([^']*)'", script, re.MULTILINE).group(1)


def com_class(script):
    """A class as its registry script has it."""
    clsid, description = re.search(r"ForceRemove '({[^']*})' = s '([^']*)'", script).groups()
    progid = value(script, "ProgID")
    independent = value(script, "VersionIndependentProgID")
    # Names go to the class that holds them when all are registered.
    names = [f"      <progid>{independent}</progid>"] if independent != progid else []
    return element("    ", "comClass", {
        "description": description,
        "clsid": clsid,
        "threadingModel": re.search(r"val ThreadingModel = s '([^']*)'", script).group(1),
        "tlbid": value(script, "TypeLib"),
        "progid": progid,
    }, names)


def definitions(idl, keyword):
    """The attributes, name and base of everything that the keyword defines."""
    for attributes, name, base in re.findall(rf"{ATTRIBUTES}\s*{keyword} (\w+)(?: : (\w+))?\s*{{", idl):
        words = re.sub(r'"[^"]*"', '""', attributes)
        yield re.search(r"uuid\(([0-9A-F-]+)\)", words).group(1), words, name, base


def library(idl):
    (identifier, words, _, _), = definitions(idl, "library")
    return "{" + identifier + "}", re.search(r"version\(([\d.]+)\)", words).group(1)


def interfaces(idl, proxy, tlbid):
    for identifier, words, name, base in definitions(idl, "interface"):
        if re.search(r"\blocal\b", words):
            continue  # it never leaves its apartment
        attributes = {"name": name, "iid": "{" + identifier + "}", "proxyStubClsid32": proxy}
        if tlbid:
            attributes["tlbid"] = tlbid
        yield from element("  ", "comInterfaceExternalProxyStub", attributes)
    for identifier, _, name, _ in definitions(idl, "dispinterface"):
        yield from element("  ", "comInterfaceExternalProxyStub",
                           {"name": name, "iid": "{" + identifier + "}", "proxyStubClsid32": DISPATCH, "tlbid": tlbid})


def proxy_class(header):
    numbers = re.search(r"PROXY_CLSID_IS {(\w+),(\w+),(\w+),{([\w,]+)}}", header).groups()
    a, b, c = (int(number, 16) for number in numbers[:3])
    d = bytes(int(number, 16) for number in numbers[3].split(",")).hex()
    return f"{{{a:08x}-{b:04x}-{c:04x}-{d[:4]}-{d[4:]}}}".upper()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--version", required=True)
    parser.add_argument("--output", required=True)
    parser.add_argument("--common", required=True)
    parser.add_argument("--public", required=True)
    parser.add_argument("--private", required=True)
    parser.add_argument("--proxy", required=True)
    parser.add_argument("--scripts", nargs="+", required=True)
    options = parser.parse_args()

    common, public, private = read(options.common), read(options.public), read(options.private)
    common_id, common_version = library(common)
    public_id, public_version = library(public)
    proxy = proxy_class(read(options.proxy))

    def type_library(identifier, version):
        return element("    ", "typelib", {"tlbid": identifier, "version": version, "helpdir": ""})

    classes = [line for script in options.scripts for line in com_class(read(script))]
    lines = [
        '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>',
        '<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">',
        *element("  ", "assemblyIdentity", {
            "type": "win32", "name": "Tavlo", "version": options.version + ".0", "processorArchitecture": "amd64"}),
        *element("  ", "file", {"name": "Tavlo.dll"}, [*type_library(public_id, public_version), *classes]),
        *element("  ", "file", {"name": "TavloPS.dll"}, element("    ", "comClass", {
            "description": "Tavlo's proxies", "clsid": proxy, "threadingModel": "Both"})),
        *element("  ", "file", {"name": "SentelCommon.tlb"}, type_library(common_id, common_version)),
        *interfaces(public, proxy, public_id),
        *interfaces(private, proxy, None),
        *interfaces(common, AUTOMATION, common_id),
        "</assembly>",
        "",
    ]
    text = "\n".join(lines)
    try:
        if read(options.output) == text:
            return  # what depends on it is up to date
    except FileNotFoundError:
        pass
    with open(options.output, "w", encoding="utf-8", newline="\n") as file:
        file.write(text)


if __name__ == "__main__":
    main()
