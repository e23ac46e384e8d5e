#!/usr/bin/env python3
"""Static analysis of sources: analysis.py {tidy|warnings} BUILD-FOLDER FOLDER...

"tidy" makes the checks of .clang-tidy, "warnings" lets the compiler of releases look for what it warns of. The flags
come from the build's compile_commands.json.

The checks visit every declaration of every header, so a source of forty lines takes as long as a whole folder. This
therefore analyses the sources of a folder as one. Where two sources use a name twice and do not compile together, it
halves the folder until they do. The analyzer follows paths through included sources only when the main file's name
contains "UnifiedSource" (clang/lib/StaticAnalyzer/Core/AnalysisManager.cpp).
"""
import collections
import concurrent.futures
import json
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

TIDY = "clang-tidy-19"
COMPILER = "clang++-19"
RELEASE_COMPILER = "g++"
MOST_TOGETHER = 12


def analysis_flags(command, source):
    """The flags that matter for the meaning of a source: neither outputs nor precompiled headers."""
    flags = []
    words = iter(shlex.split(command)[1:])
    for word in words:
        if word in ("-o", "-c", "-MT", "-MF", "-include"):
            next(words)
        elif word == "-Xclang":
            next(words)
        elif word not in ("-MD", "-MMD", "-Winvalid-pch", source) and not word.startswith("-fsanitize"):
            flags.append(word)
    return flags


def sources_by_folder(build, folders):
    root = pathlib.Path.cwd()
    groups = collections.defaultdict(list)
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if not path.is_relative_to(root) or path.is_relative_to(build):
            continue
        source = path.relative_to(root)
        if any(source.is_relative_to(folder) for folder in folders):
            flags = tuple(analysis_flags(entry["command"], entry["file"]))
            groups[source.parent, flags].append(str(path))
    return [(flags, sorted(set(sources))) for (_, flags), sources in sorted(groups.items())]


def parts(sources):
    count = -(-len(sources) // MOST_TOGETHER)
    size = -(-len(sources) // count)
    return [sources[start:start + size] for start in range(0, len(sources), size)]


def halves(flags, sources, scratch, look):
    half = len(sources) // 2
    return analyse(flags, sources[:half], scratch, look) + analyse(flags, sources[half:], scratch, look)


def compile_alone(compiler, flags, source):
    return subprocess.run([*compiler, *flags, "-fsyntax-only", source], capture_output=True, text=True)


def tidy(flags, unified, is_one):
    """What it finds; None when the sources do not compile together."""
    if not is_one and compile_alone([COMPILER, "-w"], flags, unified).returncode != 0:
        return None
    found = subprocess.run([TIDY, "--config-file=.clang-tidy", "--quiet", unified, "--", *flags, "-Wno-error"],
                           capture_output=True, text=True)
    return "" if found.returncode == 0 else found.stdout or found.stderr


def warnings(flags, unified, is_one):
    """Likewise. What is said of sources together may be said because they are together: only one alone counts."""
    of_headers_alone = "-Wno-subobject-linkage"
    found = compile_alone([RELEASE_COMPILER, "-Werror", of_headers_alone], flags, unified)
    if found.returncode == 0:
        return ""
    return found.stderr if is_one else None


def analyse(flags, sources, scratch, look):
    """The output of the look at these sources; "" when it finds nothing."""
    with tempfile.NamedTemporaryFile("w", dir=scratch, prefix="UnifiedSource-", suffix=".cpp") as unified:
        unified.write("".join(f'#include "{source}"\n' for source in sources))
        unified.flush()
        found = look(flags, unified.name, len(sources) == 1)
    return halves(flags, sources, scratch, look) if found is None else found


def main():
    look = {"tidy": tidy, "warnings": warnings}[sys.argv[1]]
    build = pathlib.Path(sys.argv[2]).resolve()
    folders = sys.argv[3:]
    groups = [(flags, part) for flags, sources in sources_by_folder(build, folders) for part in parts(sources)]
    if not groups:
        sys.exit(f"{build}/compile_commands.json names no source below {' '.join(folders)}")
    with tempfile.TemporaryDirectory() as scratch, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = [text for text in pool.map(lambda group: analyse(*group, scratch, look), groups) if text]
    print("\n".join(found), end="")
    print(f"{sum(len(sources) for _, sources in groups)} sources analysed", file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
