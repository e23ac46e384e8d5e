#!/usr/bin/python3
"""What a screen reader knows of a program that is running, and what it can do there.

    accessibility.py APPLICATION [COMMAND [NAME]]

    tree          every control that there is, also what is scrolled out of sight
    focused       the one that has the keyboard, or null
    press NAME    does what the first control of that name does when it is pressed; false when there is none
    await NAME    waits until a control is shown whose name contains this; false when there is none for long

Without a command they come from standard input, a line each. The answer to each is a line of JSON.
"""

import json
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402  (the version first)

PATIENCE = 20  # seconds
MOST_CHILDREN = 3000
ROWS = ("list item",)
TEXTS = ("entry", "text")
STATES = {name: getattr(Atspi.StateType, name.upper())
          for name in ("active", "checked", "enabled", "focusable", "focused", "selected", "showing")}


def children(node):
    for index in range(min(node.get_child_count(), MOST_CHILDREN)):
        child = node.get_child_at_index(index)
        if child is not None:
            yield child


def described(node, window, row):
    """What is said of a control; `row` is the name of the list's row that it belongs to."""
    states = node.get_state_set()
    role = node.get_role_name()
    interfaces = node.get_interfaces()
    named = [name for name, state in STATES.items() if states.contains(state)]
    if role == "page tab":  # Qt says of the chosen one that it has the keyboard, always
        named = ["selected" if name == "focused" else name for name in named]
    extents = Atspi.Component.get_extents(node, Atspi.CoordType.SCREEN) if "Component" in interfaces else None
    return {
        "window": window,
        "row": row,
        "role": role,
        "name": node.get_name() or "",
        "description": node.get_description() or "",
        "text": Atspi.Text.get_text(node, 0, -1) if role in TEXTS and "Text" in interfaces else "",
        "place": [extents.x, extents.y, extents.width, extents.height] if extents else [0, 0, 0, 0],
        "states": named,
    }


def controls(node, window="", row=""):
    """Every control below `node`, from top to bottom, each with its node."""
    for child in children(node):
        if not child.get_state_set().contains(Atspi.StateType.VISIBLE):
            continue
        told = described(child, window, row)
        yield child, told
        yield from controls(child, window or told["name"], told["name"] if told["role"] in ROWS else row)


class Program:
    def __init__(self, name):
        self.name = name

    def controls(self):
        # A program can be listed twice; the one with windows is meant.
        for node in children(Atspi.get_desktop(0)):
            if node.get_name() == self.name:
                yield from controls(node)

    def tree(self):
        return [told for _, told in self.controls()]

    def focused(self):
        return next((told for _, told in self.controls() if "focused" in told["states"]), None)

    def press(self, name):
        for node, told in self.controls():
            if told["name"] == name and "Action" in node.get_interfaces():
                return Atspi.Action.do_action(node, 0)
        return False

    def awaited(self, name):
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            if any(name in told["name"] and "showing" in told["states"] for _, told in self.controls()):
                return True
            time.sleep(0.05)
        return False

    def answer(self, command, name=""):
        return {"tree": self.tree, "focused": self.focused, "press": lambda: self.press(name),
                "await": lambda: self.awaited(name)}[command]()


def patient_answer(program, words):
    """Controls may go while they are being asked: then once more."""
    end = time.monotonic() + PATIENCE
    while True:
        try:
            return program.answer(*words)
        except GLib.Error:
            if time.monotonic() > end:
                raise
            time.sleep(0.02)


def main(arguments):
    program = Program(arguments[0])
    commands = [arguments[1:]] if len(arguments) > 1 else (line.rstrip("\n").split(" ", 1) for line in sys.stdin)
    said = None
    for words in commands:
        said = patient_answer(program, words)
        print(json.dumps(said), flush=True)
    return 1 if said is False else 0


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1:]))
