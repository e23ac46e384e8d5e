"""For tests of the checks: runs one on a small tree in a temporary folder."""

import contextlib
import importlib
import io
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import sources


def place(text):
    name, _, line = text.rpartition(":")
    return name, int(line)


class CheckTest(unittest.TestCase):
    check = ""  # the module under test

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        subprocess.run(["git", "init", "-q", folder.name], check=True, env=sources.environment_for_git())

    def write(self, files):
        for name, text in files.items():
            path = self.root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")

    def outcome(self):
        """Exit status, and what was printed."""
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            status = sources.report(list(importlib.import_module(self.check).check(self.root)))
        return status, printed.getvalue().splitlines()

    def assertOffences(self, files, *expected):
        """`expected`: "file:line", or "file:line" and a part of the message behind a blank."""
        self.write(files)
        status, lines = self.outcome()
        wanted = sorted((text.partition(" ") for text in expected), key=lambda parts: place(parts[0]))
        self.assertEqual([line.split(": ")[0] for line in lines], [where for where, _, _ in wanted])
        for line, (_, _, what) in zip(lines, wanted):
            self.assertIn(what, line)
        self.assertEqual(status, 1)

    def assertClean(self, files):
        self.write(files)
        self.assertEqual(self.outcome(), (0, []))
