#!/usr/bin/env python3
"""Compiles the core for macOS, on whatever system this runs: a port that nobody compiles does not last.

The compiler brings the C++ library and the system headers of macOS along; nothing is linked.
"""

import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import sources

TARGETS = ("aarch64-macos", "x86_64-macos")
LIBRARIES = ("unicode", "nlohmann")  # header-only as far as compiling goes, and the same on every system
ERROR = re.compile(r"^(?P<file>[^:\s]+):(?P<line>\d+):\d+: (?:fatal )?error: (?P<what>.*)$", re.MULTILINE)


def compiler_in(place):
    """The compiler itself, or the one that npm installed into the folder."""
    path = Path(place)
    if path.is_dir():
        path = path / "node_modules" / ".bin" / "zig"
    if not os.access(path, os.X_OK):
        sys.exit(f"no compiler for macOS at {path}: ./test --all installs it")
    return path.absolute()


def headers_in(folder, installed=Path("/usr/include")):
    """A folder with the libraries' headers alone: the C library's beside them are another system's."""
    folder.mkdir(parents=True, exist_ok=True)
    for library in LIBRARIES:
        link = folder / library
        if not link.exists():
            link.unlink(missing_ok=True)
            link.symlink_to(installed / library)
    return folder


class Compilation:
    def __init__(self, root, compiler, work):
        self.root = root.absolute()
        self.compiler = compiler
        self.work = work.absolute()
        self.headers = headers_in(self.work / "include")
        cache = str(self.work / "cache")
        self.environment = os.environ | {"ZIG_GLOBAL_CACHE_DIR": cache, "ZIG_LOCAL_CACHE_DIR": cache}

    def offences(self, job):
        target, name = job
        made = self.work / target / (name + ".o")
        made.parent.mkdir(parents=True, exist_ok=True)
        done = subprocess.run(
            [self.compiler, "c++", "-target", target, "-std=c++23", "-Wall", "-Wextra",
             "-Wno-missing-field-initializers", "-Werror",  # as in cmake/CompilerOptions.cmake
             "-isystem", self.headers, "-I", self.root, "-c", name, "-o", made],
            cwd=self.root, env=self.environment, capture_output=True, text=True, check=False)
        if done.returncode == 0:
            return []
        named = [(os.path.relpath(self.root / found["file"], self.root), int(found["line"]),
                  f"{found['what']} ({target})") for found in ERROR.finditer(done.stderr)]
        return named or [(name, 1, f"does not compile for {target}: {done.stderr.strip()}")]


def check(root, place, work):
    jobs = [(target, name) for target in TARGETS for name in sources.project_files(root, (".cpp",))
            if name.startswith("VintrelCore/") and not name.startswith("VintrelCore/platform/linux/")]
    if not jobs:
        sys.exit(f"{root} holds nothing of the core: there is nothing to check")
    compilation = Compilation(root, compiler_in(place), work)
    with ThreadPoolExecutor(max_workers=2) as pool:
        for offences in pool.map(compilation.offences, jobs):
            yield from offences


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(f"usage: {Path(sys.argv[0]).name} FOLDER-OF-THE-PROJECT COMPILER-OR-ITS-FOLDER WORKING-FOLDER")
    sys.exit(sources.report(list(check(Path(sys.argv[1]), sys.argv[2], Path(sys.argv[3])))))
