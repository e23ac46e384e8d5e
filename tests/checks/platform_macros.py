#!/usr/bin/env python3
"""Operating systems are told apart in the platform folders, and nowhere else."""

import re

import sources

ALLOWED = ("VintrelCore/platform/", "Vintrel/shell/linux/", "Vintrel/shell/darwin/")
DIRECTIVE = re.compile(r"^[ \t]*#[ \t]*(?:if|ifdef|ifndef|elif|elifdef|elifndef)\b((?:[^\n]*\\\n)*[^\n]*)", re.MULTILINE)
SYSTEM = re.compile(
    r"\b(?:_*(?:linux|unix|gnu_linux|sun|hpux|CYGWIN|MINGW32|MINGW64|APPLE|MACH|ANDROID|HAIKU|Fuchsia"
    r"|FreeBSD|NetBSD|OpenBSD|DragonFly)_*|_*WIN(?:32|64)_*|BSD|TARGET_OS_\w+|Q_OS_\w+)\b")


def check(root):
    for name in sources.project_files(root, (".cpp", ".cc", ".h", ".hpp", ".mm", ".m", ".c")):
        if name.startswith(ALLOWED):
            continue
        text = sources.without_comments(sources.read(root, name))
        for directive in DIRECTIVE.finditer(text):
            for system in SYSTEM.finditer(directive[1]):
                line = sources.line_of(text, directive.start(1) + system.start())
                yield name, line, f"asks for an operating system ({system[0]}) outside the platform folders"


if __name__ == "__main__":
    sources.run(check)
