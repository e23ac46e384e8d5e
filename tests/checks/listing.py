#!/usr/bin/env python3
"""Every source file is named in a CMakeLists.txt; none is found by a pattern."""

import os.path
import re

import sources

ROOMS = ("VintrelCore", "Vintrel", "cli")
PATTERNS = re.compile(r"\bfile\s*\(\s*GLOB(?:_RECURSE)?\b|\baux_source_directory\s*\(", re.IGNORECASE)
SYSTEMS = ("darwin", "linux")
COMMENT = re.compile(r'#\[(=*)\[.*?\]\1\]|#[^\n]*|("(?:\\.|[^"\\])*")', re.DOTALL)


def without_cmake_comments(text):
    return COMMENT.sub(lambda found: found[2] or re.sub(r"[^\n]", " ", found[0]), text)


def named_files(text, folder):
    """Line, path below the root, and whether the file belongs to one operating system, for each file named."""
    for word in re.finditer(r'[^\s()";]+\.(?:cpp|h|mm)(?=[\s()";]|$)', text):
        path = word[0].replace("${CMAKE_CURRENT_SOURCE_DIR}", folder).replace("${PROJECT_SOURCE_DIR}/", "")
        if path == word[0]:
            path = os.path.join(folder, path)
        line = sources.line_of(text, word.start())
        for system in SYSTEMS if "${platform}" in path else (None,):
            yield line, os.path.normpath(path.replace("${platform}", system or "")), system


def check(root):
    named = set()
    for name in sources.project_files(root, ("CMakeLists.txt", ".cmake")):
        text = without_cmake_comments(sources.read(root, name))
        for pattern in PATTERNS.finditer(text):
            yield name, sources.line_of(text, pattern.start()), "source files are named, not found by a pattern"
        if name.split("/")[0] in ROOMS:
            for line, path, system in named_files(text, os.path.dirname(name)):
                named.add(path)
                # The build at hand misses only the files of its own system.
                if system and not (root / path).is_file():
                    yield name, line, f"{path} does not exist"
    for name in sources.project_files(root, (".cpp", ".h", ".mm")):
        if name.split("/")[0] in ROOMS and name not in named:
            yield name, 1, "is named in no CMakeLists.txt"


if __name__ == "__main__":
    sources.run(check)
