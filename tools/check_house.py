#!/usr/bin/env python3
"""The repository's own rules, those that neither the compiler nor clang-tidy knows.

Prints one line for each fault and ends with 1 if there is one.
"""

import json
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# A room may include itself and the rooms named here. The order is that of ARCHITECTURE.md.
MAY_INCLUDE = {
    "win32": set(),
    "git": {"win32"},
    "plugin/host": {"win32", "git", "resources"},
    "changes": {"win32", "git", "plugin/host", "resources"},
    "history": {"win32", "git", "plugin/host", "changes", "resources"},
    "sidebar": {"win32", "git", "plugin/host", "changes", "resources"},
    "plugin": {"win32", "git", "plugin/host", "changes", "history", "sidebar", "resources"},
    "resources": set(),
    "editor": {"win32", "plugin/host"},
    "tests": {"win32", "git", "plugin/host", "changes", "history", "sidebar", "plugin",
              "resources", "editor"},
}

# git/ is about repositories: it knows of Windows what processes and files need, and no window.
NO_WINDOWS_IN_GIT = re.compile(
    r"^(commctrl|commdlg|shlobj|uxtheme|windowsx|richedit)\.h$"
    r"|^win32/(window|error_box|clipboard|dialog|menu)\.h$|^resources/")

# What the words would be that this file forbids; spelled in pieces so that it passes itself.
DOCUMENTS = re.compile(
    r"\bPart" + r" \d+\.\d+|\bspec(s|ification|ifications)?\b|\bdesign" + r"\.md\b", re.IGNORECASE)
UNFINISHED = re.compile(r"\b(TO" + r"DO|FIX" + r"ME|XX" + r"X|HA" + r"CK)\b|\bstu" + r"b(bed|s)?\b")
MACHINE_PATHS = re.compile(r"(?<![\w.$}*])/(work|root|home)/")
ADDRESSES = re.compile(
    r"https?://[^\s\"')]*(deb\.|debian\.org|ubuntu\.com|pypi|npmjs|registry|mirror|proxy\.golang"
    r"|archive\.|/simple\b)", re.IGNORECASE)

EXPORTS = {"OnCommand", "QueryStatus", "OnEvents", "GetMenuTextID", "GetStatusMessageID",
           "GetBitmapID", "PlugInProc"}
WINDOWS_LIBRARIES = {
    "advapi32.dll", "comctl32.dll", "comdlg32.dll", "crypt32.dll", "dwmapi.dll", "gdi32.dll",
    "gdiplus.dll", "imm32.dll", "kernel32.dll", "msvcrt.dll", "ole32.dll", "oleaut32.dll",
    "rpcrt4.dll", "secur32.dll", "shell32.dll", "shlwapi.dll", "user32.dll", "uxtheme.dll",
    "version.dll", "ws2_32.dll"}

faults = 0


def fault(where, what):
    global faults
    faults += 1
    print(f"{where}: {what}")


def git(*arguments):
    return subprocess.run(["git", "-C", str(ROOT), *arguments], check=True,
                          capture_output=True).stdout.decode("utf-8", "replace")


def room_of(path):
    """The room that a path relative to the root lies in; None outside all rooms."""
    for room in sorted(MAY_INCLUDE, key=len, reverse=True):
        if path.startswith(room + "/"):
            return room
    return None


def without_literals(line):
    """The line with the contents of its string and character literals blanked."""
    return re.sub(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])*\'', '""', line)


def check_words(where, text, in_message=False):
    for number, line in enumerate(text.splitlines(), 1):
        place = f"{where}:{number}"
        if DOCUMENTS.search(line):
            fault(place, f"names a document that is not part of the repository: {line.strip()}")
        # What a patch leaves or takes away is somebody else's.
        if in_message or (where.endswith(".patch") and line.startswith((" ", "-"))):
            continue
        if UNFINISHED.search(line):
            fault(place, f"is marked as unfinished: {line.strip()}")
        if MACHINE_PATHS.search(line):
            fault(place, f"holds a path of one machine: {line.strip()}")
        if ADDRESSES.search(line):
            fault(place, f"holds the address of a package archive: {line.strip()}")


def check_includes(path, text):
    room = room_of(path)
    if room is None:
        return
    for number, line in enumerate(text.splitlines(), 1):
        include = re.match(r'\s*#\s*include\s*(["<])([^">]+)[">]', line)
        if not include:
            continue
        place = f"{path}:{number}"
        style, name = include.groups()
        if name == "BS_thread_pool.hpp" and path != "win32/thread_pool.h":
            fault(place, "the thread pool is included by way of win32/thread_pool.h")
        if room == "git" and NO_WINDOWS_IN_GIT.search(name):
            fault(place, f"git/ must not know windows, controls or resources: {name}")
        if style == "<":
            continue
        if not (ROOT / name).is_file():
            fault(place, f"{name} is no file seen from the root of the repository")
        target = room_of(name)
        if target == "resources" and name != "resources/ids.h":
            fault(place, "only resources/ids.h is for including")
        if target is not None and target != room and target not in MAY_INCLUDE[room]:
            fault(place, f"{room}/ must not include from {target}/: {name}")


def check_comments(path, text):
    # Raw literals may hold anything, an embedded script's comments for one.
    text = re.sub(r'R"(\w*)\(.*?\)\1"', lambda raw: "\n" * raw.group().count("\n"), text,
                  flags=re.DOTALL)
    for number, line in enumerate(text.splitlines(), 1):
        code = without_literals(line)
        opened = code.find("/*")
        if opened >= 0 and (code.find("//") < 0 or opened < code.find("//")):
            fault(f"{path}:{number}", "comments begin with //")


def check_library():
    """What dist/Revlane.dll exports and imports."""
    library = ROOT / "dist" / "Revlane.dll"
    if not library.exists():
        return
    table = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", str(library)], check=True,
                           capture_output=True).stdout.decode("utf-8", "replace")
    names = table.partition("[Ordinal/Name Pointer] Table")[2]
    exports = set(re.findall(r"^\s*\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+[0-9a-f]+\s+)?(\S+)$", names,
                             re.MULTILINE))
    if exports != EXPORTS:
        fault("dist/Revlane.dll",
              f"exports {sorted(exports)} instead of {sorted(EXPORTS)}")
    for name in re.findall(r"DLL Name: (\S+)", table):
        if name.lower() not in WINDOWS_LIBRARIES:
            fault("dist/Revlane.dll", f"needs {name}, which is not a library of Windows")


def check_port():
    """vcpkg's port of libgit2 has the version that the cross build links: the patches are for it."""
    header = ROOT / "build" / "mingw" / "prefix" / "git2" / "version.h"
    if not header.exists():
        return
    built = re.search(r'LIBGIT2_VERSION\s+"(.+)"', header.read_text(encoding="utf-8")).group(1)
    port = ROOT / "tools" / "dependencies" / "patches" / "vcpkg.json"
    version = json.loads(port.read_text(encoding="utf-8"))["version"]
    if version != built:
        fault(port.relative_to(ROOT), f"is libgit2 {version}, and {built} is what is linked here")


def main():
    # Files that git would take in count as well, so that a fault shows before it is committed.
    listed = git("ls-files", "-z", "--cached", "--others", "--exclude-standard").split("\0")
    for path in sorted(set(filter(None, listed))):
        if DOCUMENTS.search(path):
            fault(path, "the name names a document that is not part of the repository")
        file = ROOT / path
        if not file.is_file():
            continue
        data = file.read_bytes()
        if b"\0" in data:
            continue
        try:
            text = data.decode("utf-8")
        except UnicodeDecodeError:
            fault(path, "is not UTF-8")
            continue
        if path != "tools/check_house.py":
            check_words(path, text)
        if path.endswith((".h", ".cpp")):
            check_includes(path, text)
            check_comments(path, text)

    for entry in filter(None, git("log", "--all", "-z", "--format=%H%n%B").split("\0")):
        commit, _, message = entry.partition("\n")
        check_words(f"commit {commit[:10]}", message, in_message=True)

    check_library()
    check_port()
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
