#!/usr/bin/env python3
"""The core is plain C++: no Qt, no threads of its own, and no state that outlives a call."""

import re

import scopes
import sources

QT = re.compile(r"^(?:Q|q\w+\.h$)")
THREADS = re.compile(r"\bstd::(?:jthread|thread|async)\b|\bpthread_\w+|\bthread_local\b")
THREAD_HEADERS = {"thread", "future", "pthread.h"}
NO_VARIABLE = re.compile(
    r"^(?:using|typedef|namespace|static_assert|friend|class|struct|union|enum|concept|template|return|goto|export)\b")


def variable(head, mayBeFunction):
    """The declared type and name of a variable, without its value; None when it is something else."""
    head = scopes.trimmed(head)
    if not head or NO_VARIABLE.match(head) or re.search(r"\boperator\b", head):
        return None
    end = scopes.first_at_top(head, "={[(" if not mayBeFunction else "={(")
    if end >= 0 and head[end] == "(" and mayBeFunction:
        holds_value = re.match(r'\(\s*(?:"|\d)', head[end:])  # std::string name("x"), not a parameter list
        if not holds_value:
            return None
    return re.sub(r"\[[^\]]*\]\s*$", "", head[:end] if end >= 0 else head).strip()


def without_template_arguments(declared):
    before = None
    while before != declared:
        before = declared
        declared = re.sub(r"<[^<>]*>", "", declared)
    return declared


def is_constant(declared):
    declared = without_template_arguments(declared)
    if re.search(r"\bconstexpr\b", declared):
        return True
    return re.search(r"\bconst\b", declared.rsplit("*", 1)[-1]) is not None  # what counts is the pointer itself


def statement(code, start):
    """From `start` up to the value or the end of a declaration."""
    end = scopes.first_at_top(code[start:start + 2000], ";={")
    return code[start:start + end] if end >= 0 else code[start:start + 2000]


def states(name, code):
    """Place of each variable that is neither const nor constexpr."""
    scan = scopes.Scan(code)
    bodies = [(opening, closing) for _, opening, closing in scan.functions]
    for scope, head, place in scan.declarations:
        if scope == "class" and not re.search(r"\bstatic\b", head):
            continue
        if re.search(r"\benviron\b", head) and head.lstrip().startswith("extern") and "/platform/" in name:
            continue  # the environment's list is the C library's
        declared = variable(head, mayBeFunction=True)
        if declared is not None and not is_constant(declared):
            yield place
    for found in re.finditer(r"\bstatic\b", code):
        if any(opening < found.start() < closing for opening, closing in bodies):
            declared = variable(statement(code, found.start()), mayBeFunction=False)
            if declared is not None and not is_constant(declared):
                yield found.start()


def check(root):
    for name in sources.project_files(root, (".cpp", ".h", ".mm")):
        if not name.startswith("VintrelCore/"):
            continue
        text = sources.read(root, name)
        for line, included, _ in sources.includes(text):
            if QT.match(included):
                yield name, line, f"includes {included}: the core is free of Qt"
            if included in THREAD_HEADERS:
                yield name, line, f"includes {included}: the core starts no threads"
        code = sources.code_only(text)
        for found in THREADS.finditer(code):
            yield name, sources.line_of(code, found.start()), f"{found[0]}: the core has no threads of its own"
        for place in states(name, code):
            yield name, sources.line_of(code, place), "a variable that outlives a call and is not constant"


if __name__ == "__main__":
    sources.run(check)
