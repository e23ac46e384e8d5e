"""Finds declarations and function bodies in C++ by its braces. Enough for formatted code; no parser."""

import re

OPENING = {"(": ")", "[": "]", "{": "}"}
ACCESS = re.compile(r"^\s*(?:(?:public|private|protected)(?:\s+(?:slots|Q_SLOTS))?|signals|Q_SIGNALS)\s*:(?!:)")
# Class macros without a semicolon behind them: Q_OBJECT, Q_PROPERTY(...).
MACROS = re.compile(r"^\s*(?:[A-Z][A-Z0-9_]+(?:\s*\((?:[^()]|\([^()]*\))*\))?\s+)+(?=[a-z:~\[]|[A-Z]\w*[a-z])")
INIT_LIST = re.compile(r"\)[^:;{}()]*:(?!:)")


def closing(code, opening):
    """The place of the brace that closes the one at `opening`; the last place when it is missing."""
    depth = 0
    for brace in re.compile(r"[{}]").finditer(code, opening):
        depth += 1 if brace[0] == "{" else -1
        if depth == 0:
            return brace.start()
    return len(code) - 1


def first_at_top(head, wanted):
    """The first of the characters `wanted` outside parentheses, brackets and template arguments; -1 for none."""
    depth = angles = 0
    for place, character in enumerate(head):
        if depth == 0 and angles == 0 and character in wanted:
            return place
        if character in OPENING:
            depth += 1
        elif character in OPENING.values():
            depth -= 1
        elif depth == 0 and character == "<" and re.search(r"\w\s?$", head[:place]):
            angles += 1
        elif depth == 0 and character == ">" and angles and head[place - 1] != "-":
            angles -= 1
    return -1


def without_template_parameters(head):
    angles = depth = 0
    for place, character in enumerate(head):
        if character in OPENING:
            depth += 1
        elif character in OPENING.values():
            depth -= 1
        elif depth == 0 and character in "<>":
            angles += 1 if character == "<" else -1
            if angles == 0:
                return head[place + 1:].lstrip()
    return head


def trimmed(head):
    """A statement's beginning without attributes, access specifiers, class macros and template parameters."""
    before = None
    while before != head:
        before = head
        head = re.sub(r"^\s*\[\[.*?\]\]|\balignas\s*\([^()]*\)", "", head, flags=re.DOTALL)
        head = MACROS.sub("", ACCESS.sub("", head)).lstrip()
        if re.match(r"template\s*<", head):
            head = without_template_parameters(head)
    return head


def is_function(head):
    if re.search(r"\boperator\b", head):
        return True
    found = first_at_top(head, "(=")
    return found >= 0 and head[found] == "("


def kind_of_brace(head):
    """What the brace behind `head` opens."""
    head = trimmed(head)
    if re.match(r'(?:inline\s+)?namespace\b', head) or re.match(r'extern\s*"[^"]*"\s*$', head):
        return "namespace"
    if re.match(r"enum\b", head):
        return "enumeration"
    if is_function(head):
        continues = re.search(r"[\w>]\s*$", head) and INIT_LIST.search(head)
        return "value" if continues else "function"  # m_count{0} in a constructor's list
    if re.match(r"(?:typedef\s+)?(?:\w+\s+)*?(?:class|struct|union)\b", head) and "=" not in head:
        return "class"
    return "value"


class Scan:
    """The result: `functions` as (head, opening, closing), `declarations` as (scope, head, place)."""

    def __init__(self, code):
        self.code = code
        self.functions = []
        self.declarations = []
        self._scope(0, "namespace")

    def _scope(self, place, scope):
        """Reads up to the brace that closes the scope, and gives its place."""
        code, start, depth = self.code, place, 0
        while place < len(code):
            character = code[place]
            if character in "([":
                depth += 1
            elif character in ")]":
                depth -= 1
            elif character == "{":
                place, start = self._brace(place, start, depth)
            elif character == ";" and depth == 0:
                head = code[start:place]
                own = trimmed(head)
                self.declarations.append((scope, head, start + max(head.rfind(own), 0) if own else place))
                start = place + 1
            elif character == "}":
                return place
            place += 1
        return place

    def _brace(self, place, start, depth):
        """Handles what the brace opens; gives its end, and where the statement that goes on there begins."""
        head = self.code[start:place]
        kind = "value" if depth else kind_of_brace(head)
        if kind in ("namespace", "class"):
            end = self._scope(place + 1, kind)
            return end, end + 1
        end = closing(self.code, place)
        if kind == "function" or (kind == "value" and re.search(r"=\s*\[[^{]*$", head) and not depth):
            self.functions.append((head, place, end))
        return end, start if kind == "value" else end + 1
