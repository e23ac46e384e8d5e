#!/usr/bin/env python3
"""What the shells offer when the Tab key is pressed: COMPLETIONS_TEST.py FOLDER SHELL...

FOLDER holds a completion file for each shell: vintrel.bash, _vintrel, vintrel.fish.
"""

import os
import pty
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PATIENCE = 30  # seconds; a busy machine is no reason to fail
PROMPT = "ready> "
SHOW = "\x14"  # Ctrl+T: puts the line into a file

# Two rows as the program prints them: the shells offer their numbers, and show the rest where they can.
STAND_IN = """#!/bin/sh
[ "$*" = list ] || exit 9
echo "PID    BUCKET  KIND    AGE  RAM     PROJECT  COMMAND"
echo "28566  safe    vitest  3h   188 MB  shop     node: vitest"
echo "31007  review  Vite    2h   153 MB  shop     node vite"
"""


class Terminal:
    """An interactive shell."""

    def __init__(self, command, environment):
        self.child, self.terminal = pty.fork()
        if self.child == 0:
            os.execvpe(command[0], command, environment)
        self.text = ""

    def until(self, holds):
        deadline = time.monotonic() + PATIENCE
        while not holds():
            if time.monotonic() > deadline:
                raise AssertionError(f"the shell only said {self.text!r}")
            if select.select([self.terminal], [], [], 0.02)[0]:
                self.text += os.read(self.terminal, 4096).decode(errors="replace")

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def close(self):
        os.close(self.terminal)  # hangs up
        os.waitpid(self.child, 0)


class Shell(unittest.TestCase):
    folder = None
    shell = ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        programs = self.home / "bin"
        programs.mkdir()
        (programs / "vintrel").write_text(STAND_IN, encoding="utf-8")
        (programs / "vintrel").chmod(0o755)
        self.environment = {"HOME": folder.name, "PATH": f"{programs}:/usr/bin:/bin", "TERM": "dumb",
                            "LC_ALL": "C.UTF-8"}

    def opened(self, command):
        terminal = Terminal(command, self.environment)
        self.addCleanup(terminal.close)
        return terminal


class TypedShell(Shell):
    """One that completes only while somebody types."""

    def completed(self, typed):
        """The line after one press of the key: a space behind it says that there was one choice alone."""
        line = self.home / "line"
        terminal = self.start()
        terminal.until(lambda: PROMPT in terminal.text)
        terminal.type(typed + "\t" + SHOW)
        terminal.until(line.exists)
        return line.read_text(encoding="utf-8")

    def assertTyped(self, typed, line):
        self.assertEqual(self.completed(typed), line)
        (self.home / "line").unlink()

    def test_commandsAreCompleted(self):
        self.assertTyped("vintrel cl", "vintrel clean ")
        self.assertTyped("vintrel k", "vintrel kill ")

    def test_optionsAreCompleted(self):
        self.assertTyped("vintrel --v", "vintrel --version ")
        self.assertTyped("vintrel list --", "vintrel list --safe ")

    def test_whatIsListedCanBeEnded(self):
        self.assertTyped("vintrel kill 2", "vintrel kill 28566 ")

    def test_nothingIsOfferedThatTheProgramRefuses(self):
        for line in ("vintrel clean --", "vintrel list --safe --", "vintrel kill 28566 3"):
            self.assertTyped(line, line)


class BashTest(TypedShell):
    def start(self):
        (self.home / "rc").write_text(
            f"PS1={PROMPT!r}\nsource {self.folder}/vintrel.bash\n"
            """show() { printf %s "$READLINE_LINE" >~/line.new; /bin/mv ~/line.new ~/line; }\n"""
            """bind -x '"\\C-t": show'\n""", encoding="utf-8")
        return self.opened(["bash", "--noprofile", "--rcfile", str(self.home / "rc"), "-i"])


class ZshTest(TypedShell):
    def start(self):
        functions = self.home / "functions"
        functions.mkdir(exist_ok=True)
        shutil.copy(self.folder / "_vintrel", functions)
        (self.home / ".zshrc").write_text(
            f"PS1={PROMPT!r}\nfpath=({functions} $fpath)\nautoload -Uz compinit\ncompinit -u\n"
            """show() { print -rn -- "$BUFFER" >~/line.new; /bin/mv ~/line.new ~/line }\n"""
            "zle -N show\nbindkey '^T' show\n", encoding="utf-8")
        return self.opened(["zsh", "-d", "-i"])


class FishTest(Shell):
    def offered(self, line):
        script = f"source {self.folder}/vintrel.fish; complete -C {line!r}"
        outcome = subprocess.run(["fish", "--no-config", "-c", script], env=self.environment, timeout=PATIENCE,
                                 capture_output=True, text=True, check=True)
        self.assertEqual(outcome.stderr, "")
        return dict((line + "\t").split("\t")[:2] for line in outcome.stdout.splitlines())

    def test_commandsAreOfferedWithWhatTheyDo(self):
        offered = self.offered("vintrel ")
        self.assertEqual(set(offered), {"list", "clean", "kill", "help"})
        self.assertTrue(all(offered.values()))

    def test_optionsAreOffered(self):
        self.assertEqual(set(self.offered("vintrel --")), {"--help", "--version"})
        self.assertEqual(set(self.offered("vintrel list --")), {"--safe"})

    def test_whatIsListedCanBeEnded(self):
        self.assertEqual(self.offered("vintrel kill "),
                         {"28566": "safe    vitest  3h   188 MB  shop     node: vitest",
                          "31007": "review  Vite    2h   153 MB  shop     node vite"})

    def test_nothingIsOfferedThatTheProgramRefuses(self):
        for line in ("vintrel clean ", "vintrel list --safe -", "vintrel kill 28566 "):
            self.assertEqual(self.offered(line), {}, line)


SHELLS = {"bash": BashTest, "zsh": ZshTest, "fish": FishTest}

if __name__ == "__main__":
    if len(sys.argv) < 3 or not Path(sys.argv[1]).is_dir() or not set(sys.argv[2:]) <= set(SHELLS):
        sys.exit(f"usage: {Path(sys.argv[0]).name} FOLDER-OF-COMPLETIONS bash|zsh|fish...")
    Shell.folder = Path(sys.argv[1]).resolve()
    suite = unittest.TestSuite(unittest.defaultTestLoader.loadTestsFromTestCase(SHELLS[name]) for name in sys.argv[2:])
    sys.exit(0 if unittest.TextTestRunner(verbosity=1).run(suite).wasSuccessful() else 1)
