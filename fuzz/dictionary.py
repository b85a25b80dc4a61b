#!/usr/bin/env python3
"""Makes the dictionaries of the fuzzers from the catalogue and from the words that are kept.

usage: dictionary.py ACTIONS_DEF OUTPUT

Writes OUTPUT/<kind>.dict for each kind of input: the words of <kind>.dict beside this script, and
of texts the names of the actions and of their parameters, of bytes the headers of all messages.
"""

import pathlib
import re
import sys


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    catalogue = pathlib.Path(sys.argv[1]).read_text(encoding="utf-8")
    output = pathlib.Path(sys.argv[2])
    actions = re.findall(r"^TMX_ACTION\((\d+), (\w+),", catalogue, re.MULTILINE)
    parameters = re.findall(r"^TMX_PARAMETER\(\d+, (\w+),", catalogue, re.MULTILINE)
    if not actions or not parameters:
        sys.exit(f"{sys.argv[1]}: no actions")
    names = [f"{name}: " for name in sorted(set(parameters))]
    names += [f"{name} (" for _, name in actions]
    headers = [
        "".join(rf"\x{byte:02x}" for number in (message_class, int(code))
                for byte in number.to_bytes(4, "little"))
        for message_class in (1, 2) for code, _ in actions
    ]
    output.mkdir(parents=True, exist_ok=True)
    for kind, words in (("text", names), ("bytes", headers)):
        kept = pathlib.Path(__file__).with_name(f"{kind}.dict").read_text(encoding="ascii")
        lines = "".join(f'"{word}"\n' for word in words)
        (output / f"{kind}.dict").write_text(kept + lines, encoding="ascii")


if __name__ == "__main__":
    main()
