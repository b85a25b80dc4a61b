#!/usr/bin/env python3
"""Makes from the tables of actions what follows from them: the static table, the classes, the typed
functions, the C declarations and the list of exports. What is made holds members, lists and
signatures, and no logic. The same tables always give the same files.

usage: generate.py --enumerations FILE --functions HEADER --output DIR FAMILY.table...
"""

import argparse
import pathlib
import re
import sys

import c_interface
import cxx_classes
import tables


def write(path, text):
    """Writes a file if it changed, so that nothing is built anew without need."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.exists() or path.read_text(encoding="ascii") != text:
        path.write_text(text, encoding="ascii")


def generic_exports(header):
    """The functions that a public header declares."""
    text = re.sub(r"/\*.*?\*/", "", header.read_text(encoding="ascii"), flags=re.S)
    return re.findall(r"\bTMXACT_API\b[^;(]*?\b(Tmx\w+)\s*\(", text)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--enumerations", type=pathlib.Path, required=True)
    parser.add_argument("--functions", type=pathlib.Path, required=True,
                        help="the public header of the generic functions")
    parser.add_argument("--output", type=pathlib.Path, required=True)
    parser.add_argument("families", type=pathlib.Path, nargs="+")
    arguments = parser.parse_args()

    catalogue = tables.read_catalogue(arguments.enumerations, arguments.families)
    out = arguments.output
    exports = generic_exports(arguments.functions)
    for action in catalogue.actions:
        for name in c_interface.typed_names_of(action):
            if name in exports:
                raise tables.TableError(action.place, f"there is a function {name} already")
            exports.append(name)

    write(out / "include/tmxactions/constants.h", c_interface.constants(catalogue))
    write(out / "include/tmxactions/typed.h", c_interface.typed(catalogue))
    write(out / "include/tmxactions/actions.def", c_interface.action_list(catalogue))
    write(out / "exports.txt", "".join(f"{name}\n" for name in sorted(exports)))
    write(out / "exports.map", c_interface.version_script(sorted(exports)))
    write(out / "src/catalogue/static_table.inc", cxx_classes.static_table(catalogue))
    write(out / "src/actions/families.h", cxx_classes.families(catalogue))
    for family in catalogue.families:
        write(out / f"src/actions/{family}.h", cxx_classes.family_header(catalogue, family))
        write(out / f"src/actions/{family}.cpp", cxx_classes.family_source(catalogue, family))
        write(out / f"src/actions/{family}_templates.cpp",
              cxx_classes.templates_source(catalogue, family))
        write(out / f"src/frame/typed_{family}.cpp", cxx_classes.typed_source(catalogue, family))


if __name__ == "__main__":
    try:
        main()
    except (tables.TableError, OSError, UnicodeError) as error:
        print(error, file=sys.stderr)
        sys.exit(1)
