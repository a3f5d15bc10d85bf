"""Writes a C++ file from whose debug information abidw describes the public types of a library.

    public_types.py INCLUDE-FOLDER FOLDER-OF-THE-HEADERS

A library built for release has no debug information. The file includes every header and has an exported function
for each class, structure and enumeration in them: what these reach is described, with sizes, members and tables of
virtual functions. Functions of the library itself are compared by their symbols.
"""

import pathlib
import re
import sys

include_folder = pathlib.Path(sys.argv[1])
types = []
for header in sorted(include_folder.glob(sys.argv[2] + "/*.h")):
    print(f"#include <{header.relative_to(include_folder)}>")
    namespace = ""
    is_template = False
    for line in header.read_text().splitlines():
        if found := re.match(r"namespace (\w+) {", line):
            namespace = found[1] + "::"
        elif line.startswith("}  // namespace"):
            namespace = ""
        elif found := re.match(r"(?:class|struct|enum class) (?:[A-Z_]+_EXPORT )?(\w+)[^;]*{", line):
            if not is_template:
                types.append(namespace + found[1])
        is_template = line.startswith("template")
for name in types:
    function = name.replace("::", "_")
    print(f'extern "C" __attribute__((visibility("default"))) void {function}({name}*) {{}}')
