#!/usr/bin/python3
"""Stands inside a terminal, reads what is typed without echo, and writes all of it to the file named."""

import os
import sys
import tty


def main():
    tty.setraw(0)
    with open(sys.argv[1], "wb", buffering=0) as target:
        while True:
            data = os.read(0, 65536)
            if not data:
                return
            target.write(data)


if __name__ == "__main__":
    sys.exit(main())
