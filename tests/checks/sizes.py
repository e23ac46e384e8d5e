#!/usr/bin/env python3
"""Files and functions that fit into a reader's head."""

import re

import scopes
import sources

LINES_OF_FILE = {".cpp": 500, ".h": 200}
LINES_OF_FUNCTION = 60  # from the line of the opening brace to that of the closing one


def name_of(head):
    found = re.search(r"([\w:~]+(?:\s*\[\])?)\s*\(", scopes.trimmed(head))
    return re.sub(r"\s+", "", found[1]) if found else "a function"


def check(root):
    for name in sources.project_files(root, LINES_OF_FILE):
        text = sources.read(root, name)
        lines = len(text.splitlines())
        most = LINES_OF_FILE[name[name.rindex("."):]]
        if lines > most:
            yield name, lines, f"the file has {lines} lines; {most} are the most"
        for head, opening, closing in scopes.Scan(sources.code_only(text)).functions:
            first = sources.line_of(text, opening)
            taken = sources.line_of(text, closing) - first + 1
            if taken > LINES_OF_FUNCTION:
                yield name, first, f"{name_of(head)} has {taken} lines; {LINES_OF_FUNCTION} are the most"


if __name__ == "__main__":
    sources.run(check)
