#!/usr/bin/env python3
"""What is installed beside the programs is true to them: FILES_TEST.py PROJECT BUILD VINTREL VINTREL-APP."""

import configparser
import gzip
import os
import plistlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

ID = "dev.vintrel.Vintrel"
PROJECT = BUILD = CLI = APP = Path()

# All that the packages hold.
CLI_FILES = {"bin/vintrel", "share/man/man1/vintrel.1.gz", "share/bash-completion/completions/vintrel",
             "share/zsh/vendor-completions/_vintrel", "share/fish/vendor_completions.d/vintrel.fish",
             "share/doc/vintrel/copyright", "share/doc/vintrel/changelog.Debian.gz"}
APP_FILES = {"bin/vintrel-app", "share/man/man1/vintrel-app.1.gz", f"share/applications/{ID}.desktop",
             f"share/dbus-1/services/{ID}.service", f"share/icons/hicolor/scalable/apps/{ID}.svg",
             f"share/icons/hicolor/symbolic/apps/{ID}-symbolic.svg", f"share/metainfo/{ID}.metainfo.xml",
             f"share/gnome-shell/search-providers/{ID}.search-provider.ini", f"share/krunner/dbusplugins/{ID}.desktop",
             "share/doc/vintrel-app/copyright", "share/doc/vintrel-app/changelog.Debian.gz"}


def said(program, *arguments):
    return subprocess.run([program, *arguments], capture_output=True, text=True, check=True, timeout=60).stdout


def commands():
    """The words at the beginning of the help's indented lines."""
    return re.findall(r"^  ([a-z]+)\b", said(CLI, "help"), re.MULTILINE)


def options(text):
    return set(re.findall(r"--[a-z][a-z-]*", text))


def desktop_file(path):
    parser = configparser.ConfigParser(interpolation=None, delimiters=("=",))
    parser.optionxform = str
    parser.read(path, encoding="utf-8")
    return parser


class Installed(unittest.TestCase):
    """The files of a component, as its package holds them."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.files = {}
        for component in ("cli", "app"):
            root = Path(cls.folder.name) / component
            subprocess.run(["cmake", "--install", BUILD, "--component", component, "--prefix", root],
                           capture_output=True, check=True, timeout=60)
            cls.files[component] = {str(path.relative_to(root)) for path in root.rglob("*") if not path.is_dir()}

    def text(self, component, name):
        content = (Path(self.folder.name) / component / name).read_bytes()
        return (gzip.decompress(content) if name.endswith(".gz") else content).decode()

    def manual(self, component, name):
        """As somebody reads it: without the marks of its form."""
        text = self.text(component, f"share/man/man1/{name}.1.gz")
        return re.sub(r"^\.[A-Z]{1,2} ", "", re.sub(r"\\f.|\"", "", text).replace("\\-", "-"), flags=re.MULTILINE)


class Components(Installed):
    def test_theCommandLineComesWithoutTheApplication(self):
        # Below /usr/local zsh looks elsewhere.
        files = {name.replace("zsh/site-functions", "zsh/vendor-completions") for name in self.files["cli"]}
        self.assertEqual(files, CLI_FILES)

    def test_theApplicationComesWithAllThatDesktopsNeedWhereTheyLookForIt(self):
        self.assertEqual(self.files["app"], APP_FILES)

    def test_noFileIsInBoth(self):
        self.assertEqual(self.files["cli"] & self.files["app"], set())


class Manuals(Installed):
    def test_everyCommandAndOptionIsExplained(self):
        self.assertGreater(len(commands()), 3)
        manual = self.manual("cli", "vintrel")
        for command in commands():
            self.assertRegex(manual, rf"(?m)^{command}\b")
        self.assertEqual(options(said(CLI, "help")) - options(manual), set())
        self.assertEqual(options(said(APP, "--help")) - options(self.manual("app", "vintrel-app")), set())

    def test_noneIsExplainedThatIsNotThere(self):
        self.assertEqual(options(self.manual("cli", "vintrel")), options(said(CLI, "help")) | {"--help", "--version"})
        self.assertEqual(options(self.manual("app", "vintrel-app")), options(said(APP, "--help")))


class Completions(unittest.TestCase):
    def test_everyCommandAndOptionIsOffered(self):
        words = set(commands()) | options(said(CLI, "help")) | {"--help", "--version"}
        for name in ("vintrel.bash", "_vintrel", "vintrel.fish"):
            text = (PROJECT / "packaging/completions" / name).read_text(encoding="utf-8")
            # fish writes "-l safe" for "--safe".
            offered = set(re.findall(r"[a-z-]+", re.sub(r"-l ", "--", text)))
            self.assertEqual(words - offered, set(), name)


class Versions(Installed):
    def test_isTheSameEverywhere(self):
        version = said(CLI, "--version").removeprefix("vintrel ").strip()
        self.assertRegex(version, r"^\d+\.\d+\.\d+$")
        self.assertEqual(said(APP, "--version"), f"vintrel-app {version}\n")
        for component, name in (("cli", "vintrel"), ("app", "vintrel-app")):
            self.assertIn(f'"Vintrel {version}"', self.text(component, f"share/man/man1/{name}.1.gz"))
            changelog = self.text(component, f"share/doc/{name}/changelog.Debian.gz")
            self.assertTrue(changelog.startswith(f"vintrel ({version}-"), changelog)
        release = xml.fromstring(self.text("app", f"share/metainfo/{ID}.metainfo.xml")).find("releases/release")
        self.assertEqual(release.get("version"), version)
        self.assertRegex(release.get("date"), r"^\d{4}-\d{2}-\d{2}$")

    def test_standsInOneSourceAlone(self):
        version = re.escape(said(CLI, "--version").split()[1])
        found = [str(path.relative_to(PROJECT))
                 for folder in ("Vintrel", "VintrelCore", "cli", "packaging")
                 for path in (PROJECT / folder).rglob("*") if path.is_file()
                 if re.search(rf"(?<![\d.]){version}(?![\d.])", path.read_text(encoding="utf-8", errors="replace"))]
        self.assertEqual(found, [])


class Desktop(Installed):
    def test_theEntryStartsTheProgramAndTakesItsLinks(self):
        entry = desktop_file(Path(self.folder.name) / f"app/share/applications/{ID}.desktop")
        main = entry["Desktop Entry"]
        self.assertEqual(main["Type"], "Application")
        self.assertEqual(main["Exec"], "vintrel-app %u")
        self.assertEqual(main["DBusActivatable"], "true")
        self.assertEqual(main["MimeType"], "x-scheme-handler/vintrel;")
        self.assertIn(f"share/icons/hicolor/scalable/apps/{main['Icon']}.svg", self.files["app"])
        actions = [name for name in main.get("Actions", "").split(";") if name]
        self.assertEqual({f"Desktop Action {name}" for name in actions}, set(entry.sections()) - {"Desktop Entry"})

    def test_theServiceIsTheInstalledProgram(self):
        service = desktop_file(Path(self.folder.name) / f"app/share/dbus-1/services/{ID}.service")["D-BUS Service"]
        self.assertEqual(service["Name"], ID)
        self.assertEqual(os.path.basename(service["Exec"].split()[0]), "vintrel-app")
        self.assertTrue(service["Exec"].startswith("/"))

    def test_theDescriptionLeadsToTheEntry(self):
        component = xml.fromstring(self.text("app", f"share/metainfo/{ID}.metainfo.xml"))
        self.assertEqual(component.findtext("id"), ID)
        self.assertIn(f"share/applications/{component.findtext('launchable')}", self.files["app"])
        self.assertEqual(component.findtext("provides/binary"), "vintrel-app")
        self.assertEqual(component.findtext("provides/mediatype"), "x-scheme-handler/vintrel")

    def test_theBundleForMacOSHasNoDockIconAndTakesLinks(self):
        text = (PROJECT / "packaging/darwin/Info.plist.in").read_text(encoding="utf-8")
        names = re.findall(r"\$\{(\w+)\}", text)
        self.assertEqual(set(names), {"MACOSX_BUNDLE_EXECUTABLE_NAME", "PROJECT_VERSION"})
        bundle = plistlib.loads(re.sub(r"\$\{(\w+)\}", r"\1", text).encode())
        self.assertEqual(bundle["CFBundleIdentifier"], ID)
        self.assertIs(bundle["LSUIElement"], True)
        self.assertEqual([kind["CFBundleURLSchemes"] for kind in bundle["CFBundleURLTypes"]], [["vintrel"]])


class SoftwareCentres(Installed):
    """What they show of the application."""

    NAME = f"share/metainfo/{ID}.metainfo.xml"

    @classmethod
    def configured(cls, **variables):
        """The description as it is made with these variables."""
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["cmake", "-G", "Ninja", "-S", PROJECT, "-B", folder,
                            *(f"-D{name}={value}" for name, value in variables.items())],
                           capture_output=True, check=True, timeout=100)
            return xml.parse(Path(folder) / f"packaging/appstream/{ID}.metainfo.xml").getroot()

    def test_theyTellWhoMadeItAndWhatIsNew(self):
        component = xml.fromstring(self.text("app", self.NAME))
        self.assertEqual(component.find("developer").get("id"), "dev.vintrel")
        self.assertTrue(component.findtext("developer/name"))
        self.assertIsNone(component.find("developer_name"))
        for release in component.findall("releases/release"):
            self.assertTrue(release.findall("description/ul/li"), release.get("version"))

    def test_withoutAnAddressTheyShowNoPageAndNoPictures(self):
        component = self.configured()
        self.assertEqual(component.findall("url") + component.findall("screenshots"), [])

    def test_theyShowThePageAndPicturesThatHaveAnAddress(self):
        component = self.configured(VINTREL_HOMEPAGE="https://vintrel.invalid/?a=1&b=2",
                                    VINTREL_SCREENSHOTS_URL="https://vintrel.invalid/pictures/")
        self.assertEqual([(url.get("type"), url.text) for url in component.findall("url")],
                         [("homepage", "https://vintrel.invalid/?a=1&b=2")])
        shots = component.findall("screenshots/screenshot")
        self.assertEqual([shot.get("type") for shot in shots].count("default"), 1)
        for shot in shots:
            self.assertTrue(shot.findtext("caption"))
            folder, _, name = shot.findtext("image").rpartition("/")
            self.assertEqual(folder, "https://vintrel.invalid/pictures")
            self.assertTrue((PROJECT / "docs/screenshots" / name).is_file(), name)


class Terms(Installed):
    def test_theCopyrightFileHoldsTheWholeLicence(self):
        words = (PROJECT / "LICENSE").read_text(encoding="utf-8").partition("\n\n")[2].split()
        for component, name in (("cli", "vintrel"), ("app", "vintrel-app")):
            text = re.sub(r"(?m)^ \.$", "", self.text(component, f"share/doc/{name}/copyright"))
            self.assertIn(" ".join(words[words.index("Permission"):]), " ".join(text.split()))
            self.assertIn(f"Copyright: {' '.join(words[2:words.index('Permission')])}\n", text)


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(f"usage: {Path(sys.argv[0]).name} PROJECT BUILD VINTREL VINTREL-APP")
    PROJECT, BUILD, CLI, APP = (Path(argument).resolve() for argument in sys.argv[1:])
    unittest.main(argv=sys.argv[:1])
