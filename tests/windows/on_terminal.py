#!/usr/bin/env python3
"""Runs a program on a pseudo-terminal, which Wine makes a console of, and ends as it does.

usage: on_terminal.py PROGRAM [ARGUMENT...]
"""

import os
import pty
import sys


def main():
    status = pty.spawn(sys.argv[1:], lambda fd: os.read(fd, 4096), lambda fd: b"")
    return os.waitstatus_to_exitcode(status)


if __name__ == "__main__":
    sys.exit(main())
