#!/usr/bin/env python3
"""All checks that need no running program: the repository's own rules, the format, the shell
scripts, and clang-tidy over every file that the cross build compiles.

  lint.py [PATH...]     only files whose path begins with one of the PATHs

clang-tidy is slow, so what was clean is remembered in the cache by everything that its verdict
depends on: the file, what it includes of ours, its command line, the libraries and the rules.
"""

import hashlib
import json
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
COMMANDS = ROOT / "build" / "mingw" / "compile_commands.json"
CROSS_COMPILER = "x86_64-w64-mingw32-g++-posix"
TARGET = "x86_64-w64-mingw32"


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True,
                          stdin=subprocess.DEVNULL, cwd=ROOT).stdout


def our_files():
    """Every file that is, or could at once be, in the repository."""
    listed = output_of("git", "ls-files", "-z", "--cached", "--others", "--exclude-standard")
    return sorted(path for path in set(filter(None, listed.split("\0")))
                  if (ROOT / path).is_file())


def check_format(files):
    sources = [path for path in files if path.endswith((".h", ".cpp"))]
    if not sources:
        return True
    return subprocess.run(["clang-format", "--dry-run", "--Werror", *sources],
                          cwd=ROOT).returncode == 0


def check_scripts(files):
    def is_shell(path):
        with open(ROOT / path, "rb") as file:
            first = file.readline(80)
        return re.match(rb"#!.*\b(ba)?sh\b|# shellcheck shell=", first) is not None

    scripts = [path for path in files if is_shell(path)]
    if not scripts:
        return True
    return subprocess.run(["shellcheck", "-x", "-P", ".", *scripts], cwd=ROOT).returncode == 0


def include_folders():
    """The folders of the cross compiler's headers. clang brings those that belong to a compiler
    itself, so gcc's own are left out."""
    search = subprocess.run([CROSS_COMPILER, "-v", "-E", "-x", "c++", os.devnull],
                            capture_output=True, text=True, check=True).stderr
    listed = search.partition("#include <...> search starts here:\n")[2]
    listed = listed.partition("End of search list.")[0].split()
    return [os.path.realpath(folder) for folder in listed
            if "c++" in folder or folder.rstrip("/").endswith(f"{TARGET}/include")]


class Tidy:
    def __init__(self):
        cache = output_of(str(ROOT / "tools" / "cache-dir")).strip()
        self.memory = Path(cache) / "clang-tidy"
        self.memory.mkdir(exist_ok=True)
        # Flags of gcc that clang does not have, and warnings that it has over gcc, are not the
        # matter of this check: the compiler itself has had its say.
        self.arguments = [f"--extra-arg=--target={TARGET}", "--extra-arg=-nostdinc++",
                          "--extra-arg=-Wno-everything"]
        for folder in include_folders():
            self.arguments += ["--extra-arg=-isystem", f"--extra-arg={folder}"]
        self.rules = hashlib.sha256(
            (ROOT / ".clang-tidy").read_bytes()
            + output_of("clang-tidy", "--version").encode()
            + output_of(CROSS_COMPILER, "--version").encode()
            + repr(self.arguments).encode()
            + Path(__file__).read_bytes()).digest()
        self.includes = {}

    def included(self, path, seen):
        """Adds `path` and all that it includes of ours to `seen`."""
        if path in seen:
            return
        seen.add(path)
        if path not in self.includes:
            text = (ROOT / path).read_text(encoding="utf-8")
            names = re.findall(r'^\s*#\s*include\s*"([^"]+)"', text, re.MULTILINE)
            self.includes[path] = [name for name in names if (ROOT / name).is_file()]
        for name in self.includes[path]:
            self.included(name, seen)

    def key(self, path, command):
        seen = set()
        self.included(path, seen)
        digest = hashlib.sha256(self.rules)
        # Another checkout of the same files gets the same answer.
        digest.update(command.replace(str(ROOT), "").encode())
        for name in sorted(seen):
            digest.update(name.encode() + b"\0" + (ROOT / name).read_bytes() + b"\0")
        return digest.hexdigest()

    def check(self, entry):
        """Returns what clang-tidy complains about in one file: nothing if it is clean."""
        path = os.path.relpath(entry["file"], ROOT)
        mark = self.memory / self.key(path, entry["command"])
        if mark.exists():
            mark.touch()
            return ""
        done = subprocess.run(
            ["clang-tidy", "--quiet", "-p", str(COMMANDS.parent), *self.arguments, path],
            cwd=ROOT, capture_output=True, text=True, stdin=subprocess.DEVNULL)
        if done.returncode == 0 and not done.stdout.strip():
            mark.touch()
            return ""
        return done.stdout or done.stderr

    def forget_old(self):
        """Keeps the memory from growing for ever: what was asked for last stays."""
        marks = sorted(self.memory.iterdir(), key=lambda mark: mark.stat().st_mtime)
        for mark in marks[:-5000]:
            mark.unlink(missing_ok=True)


def check_tidy(starts):
    if not COMMANDS.exists():
        print("lint: configure the build first (./dev lint does)", file=sys.stderr)
        return False
    entries = {}
    for entry in json.loads(COMMANDS.read_text(encoding="utf-8")):
        path = os.path.relpath(entry["file"], ROOT)
        if path.endswith(".cpp") and not path.startswith(("..", "build")) \
                and path.startswith(starts) and os.path.exists(entry["file"]):
            entries[path] = entry
    tidy = Tidy()
    clean = True
    with ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        jobs = {path: pool.submit(tidy.check, entries[path]) for path in sorted(entries)}
        for number, (path, job) in enumerate(jobs.items(), 1):
            complaints = job.result()
            if complaints:
                clean = False
                print(complaints, flush=True)
            if sys.stderr.isatty():
                print(f"\rclang-tidy {number}/{len(jobs)} ", end="", file=sys.stderr, flush=True)
    if sys.stderr.isatty():
        print(file=sys.stderr)
    tidy.forget_old()
    return clean


def main():
    starts = tuple(sys.argv[1:]) or ("",)
    files = [path for path in our_files() if path.startswith(starts)]
    checks = {
        "rules of the house": lambda: subprocess.run(
            [sys.executable, str(ROOT / "tools" / "check_house.py")]).returncode == 0,
        "format": lambda: check_format(files),
        "shell scripts": lambda: check_scripts(files),
        "clang-tidy": lambda: check_tidy(starts),
    }
    failed = []
    for name, check in checks.items():
        print(f"== {name}", flush=True)
        if not check():
            failed.append(name)
    if failed:
        print("lint: FAILED: " + ", ".join(failed))
        return 1
    print("lint: clean")
    return 0


if __name__ == "__main__":
    sys.exit(main())
