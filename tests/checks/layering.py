#!/usr/bin/env python3
"""Who may include whom: the core's folders stand in an order, and each sees only those below it."""

import sources

# Folders of equal rank do not know each other.
RANKS = {"base": 0, "model": 1, "platform": 2, "context": 3, "docker": 3, "scan": 4, "terminate": 5, "log": 5,
         "command": 6}
PUBLIC_FACE = "VintrelCore/VintrelCore.h"
FOREIGN = ("Vintrel/", "cli/", "tests/", "bench/", "fuzz/")


def offence_in_core(folder, included, quoted):
    """What is wrong with a core file's include; None when nothing is."""
    if included.startswith(FOREIGN):
        return "the core knows nothing of what is built on it"
    if not included.startswith("VintrelCore/"):
        return 'the form is "VintrelCore/<folder>/<file>"' if quoted else None
    if not quoted:
        return 'the form is "VintrelCore/<folder>/<file>", in quotes'
    parts = included.split("/")
    if len(parts) < 3 or parts[1] not in RANKS:
        return 'the form is "VintrelCore/<folder>/<file>"'
    if parts[1] != folder and RANKS[parts[1]] >= RANKS[folder]:
        return f"{folder}/ may not include {parts[1]}/"
    return None


def is_out_of_views_reach(included):
    """Views show; whatever ends a process or runs a tool is done elsewhere."""
    return included.endswith("base/Shell.h") or "/terminate/KillCore" in included


def check(root):
    for name in sources.project_files(root, (".cpp", ".h", ".mm")):
        parts = name.split("/")
        in_core = parts[0] == "VintrelCore" and name != PUBLIC_FACE
        in_views = name.startswith("Vintrel/views/")
        if in_core and (len(parts) < 3 or parts[1] not in RANKS):
            yield name, 1, "stands in no folder of the core's order"
            continue
        if not in_core and not in_views:
            continue
        for line, included, quoted in sources.includes(sources.read(root, name)):
            if in_core and (what := offence_in_core(parts[1], included, quoted)):
                yield name, line, f"includes {included}: {what}"
            if in_views and is_out_of_views_reach(included):
                yield name, line, f"includes {included}: views neither end processes nor run tools"


if __name__ == "__main__":
    sources.run(check)
