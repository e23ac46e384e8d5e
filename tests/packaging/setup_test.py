#!/usr/bin/env python3
"""What packaging/setup.sh does on machines where something is missing: SETUP_TEST.py PACKAGING.

The machines are folders of commands that note how they are called: nothing is installed.
"""

import os
import pty
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PACKAGING = Path()
TOOLS = ("awk", "cat", "cut", "env", "find", "grep", "mktemp", "rm", "tail")

# A plan as apt-get prints it.
PLAN = """Reading package lists...
The following NEW packages will be installed:
  blue red
0 upgraded, 2 newly installed, 0 to remove and 0 not upgraded.
Need to get 83.2 MB/90.1 MB of archives.
After this operation, 1,254 MB of additional disk space will be used.
'http://example.invalid/blue.deb' blue.deb 53080 MD5Sum:0
"""
COSTS = "Installing them (to download: 83.2 MB; on disk: 1,254 MB)"


class Machine(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name)
        self.bin = self.home / "bin"
        self.bin.mkdir()
        for tool in TOOLS:
            (self.bin / tool).symlink_to(shutil.which(tool))
        self.command("id", "echo 1000")
        self.calls_file = self.home / "calls"
        self.calls_file.touch()

    def command(self, name, script=""):
        """A command that notes its call."""
        file = self.bin / name
        file.unlink(missing_ok=True)  # it may be a link to the machine's own command
        with file.open("x", encoding="utf-8") as stream:
            stream.write(f'#!/bin/bash\necho "{name} $*" >>"$CALLS"\n{script}\n')
        file.chmod(0o755)

    def debian(self, installed=()):
        cases = "".join(f'{name}) echo installed ;;\n' for name in installed)
        self.command("dpkg-query", f'case ${{!#}} in\n{cases}*) exit 1 ;;\nesac')
        self.command("sudo", '"$@"')
        self.command("apt-get", f"[[ $* != *--print-uris* ]] || cat <<'PLAN'\n{PLAN}PLAN")

    def run_script(self, script, **options):
        environment = {"PATH": str(self.bin), "HOME": str(self.home), "CALLS": str(self.calls_file)}
        text = f"set -euo pipefail\nsource {PACKAGING}/setup.sh\n{script}"
        return subprocess.run(["/bin/bash", "-c", text, "setup"], env=environment, cwd=self.home, timeout=60,
                              capture_output=True, text=True, check=False, **options)

    def install(self, needs, groups="run"):
        (self.home / "packages.txt").write_text(needs, encoding="utf-8")
        (self.home / "packages-elsewhere.txt").write_text(
            "# DEBIAN FEDORA ARCH OPENSUSE\nred red-devel red red-devel\nblue blue-cxx both blue\n"
            "green green-devel both green\n", encoding="utf-8")
        return self.run_script(f"install_packages {self.home}/packages.txt {groups}")

    def calls(self, of=""):
        return [line for line in self.calls_file.read_text(encoding="utf-8").splitlines() if line.startswith(of)]


class Needs(Machine):
    def assertMet(self, package, proof, met=True):
        self.assertEqual(self.run_script(f"need_is_met {package} {proof}").returncode == 0, met, proof)

    def test_aCommandIsOneOnThePath(self):
        self.command("red")
        self.assertMet("any", "cmd:red")
        self.assertMet("any", "cmd:blue", False)

    def test_aCommandCountsWhereOnlyAdministratorsLookForIt(self):
        self.assertFalse((self.bin / "chroot").exists())
        self.assertMet("any", "cmd:chroot")  # in /usr/sbin

    def test_aLibraryIsOneThatPkgConfigKnows(self):
        self.command("pkg-config", '[[ $* == "--exists Red" ]]')
        self.assertMet("red", "pkg:Red")
        self.assertMet("blue", "pkg:Blue", False)

    def test_anInstalledPackageNeedsNoPkgConfig(self):
        self.debian(installed=["blue"])
        self.assertMet("blue", "pkg:Blue")
        self.assertMet("blue", "''")
        self.assertMet("red", "''", False)

    def test_areThoseOfTheGroupsAskedFor(self):
        self.debian(installed=["red"])
        self.assertEqual(self.install("# none\n\nrun red\nall blue cmd:blue\n").returncode, 0)
        self.assertEqual(self.calls("apt-get"), [])


class WithApt(Machine):
    def setUp(self):
        super().setUp()
        self.debian(installed=["green"])

    def test_isNotAskedWhenNothingIsMissing(self):
        outcome = self.install("run green\n")
        self.assertEqual((outcome.returncode, outcome.stderr), (0, ""))
        self.assertEqual(self.calls("apt-get") + self.calls("sudo"), [])

    def test_installsWhatIsMissingAndSaysFirstWhatThatCosts(self):
        outcome = self.install("run red\nrun green\nrun blue cmd:blue\n")
        self.assertEqual(outcome.returncode, 0, outcome.stderr)
        self.assertIn("Missing: red blue\n", outcome.stderr)
        self.assertIn(COSTS, outcome.stderr)
        plan, install = "--print-uris --no-install-recommends red blue", "install -qy --no-install-recommends red blue"
        self.assertEqual(self.calls("apt-get"),
                         ["apt-get update -q", f"apt-get install -q {plan}", f"apt-get {install}"])
        self.assertEqual(self.calls("sudo"),
                         ["sudo apt-get update -q", f"sudo env DEBIAN_FRONTEND=noninteractive apt-get {install}"])

    def test_rootNeedsNoSudo(self):
        self.command("id", "echo 0")
        (self.bin / "sudo").unlink()
        self.assertEqual(self.install("run red\n").returncode, 0)
        self.assertEqual(len(self.calls("apt-get")), 3)

    def test_withoutTheMeansToBeRootSaysWhatRootHasToDo(self):
        (self.bin / "sudo").unlink()
        outcome = self.install("run red\nrun blue\n")
        self.assertEqual(outcome.returncode, 1)
        self.assertEqual(outcome.stderr,
                         "setup: these are missing; install them as root: apt-get install red blue\n")
        self.assertEqual(self.calls("apt-get"), [])

    def test_aFailureShowsWhatAptSaid(self):
        self.command("apt-get", '[[ $* == update* ]] || { echo "E: no space left"; exit 100; }')
        outcome = self.install("run red\n")
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("E: no space left\n", outcome.stderr)
        self.assertIn("(to download: an unknown amount; on disk: an unknown amount)", outcome.stderr)
        self.assertRegex(outcome.stderr, r"setup: the installation failed; its whole output is in \S+\n$")


class WithoutApt(Machine):
    NEEDS = "run red pkg:Red\nrun blue cmd:blue\nrun green pkg:Green\n"

    def test_namesOneCommandInTheWordsOfTheSystem(self):
        for manager, command in (("dnf", "dnf install red-devel blue-cxx green-devel"),
                                 ("pacman", "pacman -S red both"), ("zypper", "zypper install red-devel blue green")):
            self.command(manager)
            outcome = self.install(self.NEEDS)
            self.assertEqual(outcome.returncode, 1)
            self.assertIn(f"\n\n    sudo {command}\n\n", outcome.stderr)
            (self.bin / manager).unlink()
        self.assertEqual(self.calls(), [])

    def test_namesThemAllOnOtherSystems(self):
        outcome = self.install(self.NEEDS)
        self.assertEqual(outcome.returncode, 1)
        for line in ("Debian     red blue green", "Fedora     red-devel blue-cxx green-devel", "Arch       red both",
                     "openSUSE   red-devel blue green"):
            self.assertIn(line + "\n", outcome.stderr)

    def test_whatIsThereNeedsNoPackageManager(self):
        self.command("blue")
        self.command("pkg-config")
        outcome = self.install(self.NEEDS)
        self.assertEqual((outcome.returncode, outcome.stderr), (0, ""))

    def test_cmakeHasTheLastWordAboutLibraries(self):
        self.command("blue")
        self.command("cmake")
        self.assertEqual(self.install(self.NEEDS).returncode, 0)
        self.assertEqual(self.install(self.NEEDS, groups="run test").returncode, 0)
        self.assertEqual(self.calls(), ["cmake --preset release", "cmake --preset debug"])
        self.command("cmake", "exit 1")
        self.assertEqual(self.install(self.NEEDS).returncode, 1)

    def test_cmakeSaysNothingAboutCommands(self):
        self.command("cmake")
        self.assertEqual(self.install(self.NEEDS).returncode, 1)
        self.assertEqual(self.calls(), [])


def rows(name):
    lines = (PACKAGING / name).read_text(encoding="utf-8").splitlines()
    return [line.split() for line in lines if line and not line.startswith("#")]


class Names(unittest.TestCase):
    """What other systems call the packages."""

    def test_areThereForEveryPackageOfThePublicCommands(self):
        elsewhere = rows("packages-elsewhere.txt")
        self.assertEqual({len(row) for row in elsewhere}, {4})
        needed = {row[1] for row in rows("packages.txt") if row[0] in ("run", "test")}
        self.assertIn("qt6-base-dev", needed)
        self.assertEqual(needed - {row[0] for row in elsewhere}, set())

    def test_areThoseThatUsersAreTold(self):
        readme = (PACKAGING.parent / "README.md").read_text(encoding="utf-8")
        needed = {row[1] for row in rows("packages.txt") if row[0] == "run"}
        for column, command in enumerate(("dnf install", "pacman -S", "zypper install"), start=1):
            told = re.search(rf"`sudo {command} ([^`]+)`", readme)[1].split()
            names = {row[column] for row in rows("packages-elsewhere.txt") if row[0] in needed}
            self.assertEqual(sorted(told), sorted(names))


class Building(Machine):
    BUILD = "build release one two"

    def test_isQuietInAPipeWhenAllGoesWell(self):
        self.command("cmake", "echo working")
        outcome = self.run_script(self.BUILD)
        self.assertEqual((outcome.returncode, outcome.stdout, outcome.stderr), (0, "", ""))
        self.assertEqual(self.calls(), ["cmake --preset release",
                                        "cmake --build --preset release --target one two"])

    def test_showsInAPipeWhatWentWrong(self):
        for failing in ("--preset", "--build"):
            self.command("cmake", f"echo at work; [[ $1 != {failing} ]]")
            outcome = self.run_script(self.BUILD)
            self.assertEqual((outcome.returncode, outcome.stdout), (1, ""))
            self.assertIn("at work\n", outcome.stderr)
            self.assertTrue(outcome.stderr.endswith("setup: the release build failed\n"), outcome.stderr)

    def test_givesTheBuildTheTerminal(self):
        self.command("cmake", '[[ $1 != --build ]] || { [[ -t 1 ]] && echo "on a terminal"; }; echo "as $1"')
        main, terminal = pty.openpty()
        environment = {"PATH": str(self.bin), "CALLS": str(self.calls_file)}
        outcome = subprocess.run(["/bin/bash", "-c", f"source {PACKAGING}/setup.sh; {self.BUILD}"], env=environment,
                                 cwd=self.home, timeout=60, stdout=subprocess.PIPE, stderr=terminal, check=False)
        os.close(terminal)
        shown = os.read(main, 4096).decode()
        os.close(main)
        self.assertEqual((outcome.returncode, outcome.stdout), (0, b""))
        self.assertEqual(shown.replace("\r", ""), "on a terminal\nas --build\n")


class Current(Machine):
    """A tree whose programs have just been built."""

    def setUp(self):
        super().setUp()
        for name in ("build/program", "core/deep/one.cpp", "core/two.h", "tests/test.cpp", ".git/index"):
            file = self.home / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(name, encoding="utf-8")
        (self.home / "build/program").chmod(0o755)
        self.stamp = self.home / "build/stamp"
        self.settle()

    def settle(self):
        """Makes a stamp that is later than all there is, as clocks of files go."""
        reference = self.home / "build/reference"
        reference.touch()
        while True:
            self.stamp.touch()
            if self.stamp.stat().st_mtime_ns > reference.stat().st_mtime_ns:
                return

    def outlastStamp(self):
        """Waits until what changes is later than the stamp, as clocks of files go."""
        reference = self.home / "build/reference"
        while reference.stat().st_mtime_ns <= self.stamp.stat().st_mtime_ns:
            reference.touch()

    def assertCurrent(self, current=True):
        outcome = self.run_script("is_current build/stamp build/program")
        self.assertEqual(outcome.stderr, "")
        self.assertEqual(outcome.returncode == 0, current)

    def test_isWhatHasNotBeenTouched(self):
        self.assertCurrent()
        self.assertCurrent()

    def test_isNothingWithoutAStampOrAProgram(self):
        for name in ("build/stamp", "build/program"):
            (self.home / name).rename(self.home / "build/away")
            self.assertCurrent(False)
            (self.home / "build/away").rename(self.home / name)

    def test_everyChangeOfASourceIsNoticed(self):
        changes = {
            "changed": lambda core: (core / "deep/one.cpp").write_text("1", encoding="utf-8"),
            "added": lambda core: (core / "deep/new.cpp").touch(),
            "renamed": lambda core: (core / "two.h").rename(core / "three.h"),
            "removed": lambda core: (core / "deep/one.cpp").unlink(),
            "back in time": lambda core: os.utime(core / "three.h", (0, 0)),
        }
        for name, change in changes.items():
            self.settle()
            self.assertCurrent()
            self.outlastStamp()
            change(self.home / "core")
            with self.subTest(name):
                self.assertCurrent(False)

    def test_whatIsNotBuiltDoesNotMatter(self):
        for name in ("tests/test.cpp", ".git/index", "build/other"):
            (self.home / name).write_text("changed", encoding="utf-8")
        self.assertCurrent()

    def test_isNothingThatCannotBeLookedAt(self):
        self.command("find", "exit 1")
        self.assertCurrent(False)


if __name__ == "__main__":
    if len(sys.argv) < 2 or not (Path(sys.argv[1]) / "setup.sh").is_file():
        sys.exit(f"usage: {Path(sys.argv[0]).name} PACKAGING")
    PACKAGING = Path(sys.argv.pop(1)).resolve()
    unittest.main()
