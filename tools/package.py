#!/usr/bin/env python3
"""Packs dist/ into build/revlane-VERSION.zip. ./dev package calls it when everything is built.

  package.py BUILD      BUILD is the build folder, which knows the version

The same commit gives the same bytes: names are sorted, times fixed, and nothing of the machine or
its user gets in. What does not belong into the package is an error, and so is a library that
carries the time at which it was linked.
"""

import re
import struct
import sys
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DIST = ROOT / "dist"
LIBRARIES = re.compile(r"Revlane\.dll|mui/\d+/Revlane_loc\.dll")

# The earliest time that a zip file can hold.
NO_TIME = (1980, 1, 1, 0, 0, 0)
# A regular file that all may read, as zip files say it: the mode in the upper half.
PLAIN_FILE = 0o100644 << 16


def link_time(library):
    """The time stamp in the header of a library; 0: there is none."""
    # The header's place stands at 0x3C; the time follows its mark, machine, and section count.
    header, = struct.unpack_from("<I", library, 0x3C)
    return struct.unpack_from("<I", library, header + 8)[0]


def contents():
    """The files of the package by their names in it."""
    files = {"INSTALL.txt": ROOT / "docs" / "INSTALL.txt"}
    for path in DIST.rglob("*"):
        if path.is_dir():
            continue
        name = path.relative_to(DIST).as_posix()
        if name != "THIRD-PARTY.txt" and not LIBRARIES.fullmatch(name):
            sys.exit(f"package: {name} in dist/ is no part of the product")
        files[name] = path
    return files


def version_of(build):
    cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(r"^CMAKE_PROJECT_VERSION:STATIC=(.+)$", cache, re.MULTILINE).group(1)


def main():
    build = ROOT / sys.argv[1]
    archive = ROOT / "build" / f"revlane-{version_of(build)}.zip"
    with zipfile.ZipFile(archive, "w") as package:
        for name, path in sorted(contents().items()):
            data = path.read_bytes()
            if name.endswith(".txt"):
                # Line ends as Windows' own programs write them.
                data = data.replace(b"\r\n", b"\n").replace(b"\n", b"\r\n")
            elif link_time(data) != 0:
                sys.exit(f"package: {name} holds the time at which it was linked")
            entry = zipfile.ZipInfo(name, NO_TIME)
            entry.external_attr = PLAIN_FILE
            package.writestr(entry, data, zipfile.ZIP_DEFLATED, compresslevel=9)
    print(f"The package is {archive.relative_to(ROOT)}.")


if __name__ == "__main__":
    main()
