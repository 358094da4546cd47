"""natvis.py FILE COMPILER FLAG...: writes a C++ source in which every type of a .natvis file is
used by that name and every expression by that type, and compiles it. Fields are private, so it is
compiled without access control."""
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree
from pathlib import Path

NAMESPACE = "{http://schemas.microsoft.com/vstudio/debugger/natvis/2010}"

# What stands for the wildcards of a type.
ARGUMENTS = {
    "tavlo::com_ptr<*>": ["ITavlo2"],
    "tavlo::unaligned<*>": ["unsigned short"],
    "tavlo::view<*>": ["const unsigned short"],
    "Mardu::Sentel::Tavlo::CAccessorImpl<*,*,*>": [
        "Mardu::Sentel::Tavlo::CReadAccessor",
        "Mardu::Sentel::Tavlo::AccessorTraits<IReadAccessor>",
        "CLSID_ReadAccessor",
    ],
}

INCLUDES = """#include "shared/image/tavlo.h"
#include "access/accessor.h"
#include <tavlo/tavlo.hpp>
"""


def expressions(node):
    """All expressions of a type: conditions, and what is shown."""
    for element in node.iter():
        if "Condition" in element.attrib:
            yield element.attrib["Condition"]
        text = (element.text or "").strip()
        if element.tag == NAMESPACE + "DisplayString":
            yield from re.findall(r"(?<!\{)\{([^{}]+)\}(?!\})", text)
        elif text:
            yield text


def translate(expression, arguments):
    """A debugger's expression in C++."""
    expression = re.sub(r",[a-z0-9]+$", "", expression)
    for index, argument in enumerate(arguments):
        expression = expression.replace(f"$T{index + 1}", argument)
    # The debugger knows the fields of Microsoft's shared_ptr.
    expression = re.sub(r"(\w+)\._Ptr", r"\1.get()", expression)
    return expression.replace("$i", "0")


def main():
    file, *compiler = sys.argv[1:]
    lines = [INCLUDES]
    count = 0
    for index, node in enumerate(xml.etree.ElementTree.parse(file).getroot().findall(NAMESPACE + "Type")):
        name = node.attrib["Name"]
        arguments = ARGUMENTS.get(name, [])
        lines.append(f"// {name}")
        concrete = re.sub(r"<.*>", "<" + ", ".join(arguments) + ">", name) if "*" in name else name
        lines.append(f"struct Check{index} : ::{concrete} {{")
        for number, expression in enumerate(expressions(node)):
            lines.append(f"auto Value{number}() {{ return sizeof({translate(expression, arguments)}); }}")
            count += 1
        lines.append("};")
    with tempfile.TemporaryDirectory() as folder:
        source = Path(folder) / "natvis.cpp"
        source.write_text("\n".join(lines) + "\n")
        # Classes are derived from, be they final.
        result = subprocess.run(
            compiler + ["-Dfinal=", "-fno-access-control", "-fsyntax-only", str(source)])
    print(f"{index + 1} types, {count} expressions")
    if count < 50:
        sys.exit("too few expressions were found")
    sys.exit(result.returncode)


main()
