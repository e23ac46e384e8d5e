// Desktop entry files as text: what is read from them, and that nothing else changes when a key does.
#include "Vintrel/shell/linux/DesktopEntry.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using Texts = std::vector<std::string>;

std::string withSet(std::string_view text, std::string_view key, std::string_view value) {
    DesktopEntry entry(text);
    entry.set(key, value);
    return entry.text();
}

} // namespace

TEST(DesktopEntryTest, valuesStandInTheGroup) {
    const DesktopEntry entry("# Name=comment\n"
                             "[Desktop Entry]\n"
                             "Name = Vintrel \t\r\n"
                             "Name[de]=Anders\n"
                             "#Icon=comment\n"
                             "Empty=\n"
                             "[Desktop Action Quit]\n"
                             "Exec=other\n");
    EXPECT_EQ(entry.value("Name"), "Vintrel");
    EXPECT_EQ(entry.value("Name[de]"), "Anders");
    EXPECT_EQ(entry.value("Empty"), "");
    EXPECT_EQ(entry.value("Icon"), std::nullopt);
    EXPECT_EQ(entry.value("Exec"), std::nullopt);
    EXPECT_EQ(entry.value("name"), std::nullopt) << "the case of keys counts";
}

TEST(DesktopEntryTest, nothingIsReadOutsideOfTheGroup) {
    EXPECT_EQ(DesktopEntry("Name=a\n").value("Name"), std::nullopt);
    EXPECT_EQ(DesktopEntry("[desktop entry]\nName=a\n").value("Name"), std::nullopt);
    EXPECT_EQ(DesktopEntry("").value("Name"), std::nullopt);
    EXPECT_EQ(DesktopEntry("[Other]\nName=a\n[Desktop Entry]\nName=b\n").value("Name"), "b");
}

TEST(DesktopEntryTest, theLastOfSeveralCounts) {
    EXPECT_EQ(DesktopEntry("[Desktop Entry]\nName=a\nName=b\n").value("Name"), "b");
}

TEST(DesktopEntryTest, escapesAreResolved) {
    EXPECT_EQ(DesktopEntry("[Desktop Entry]\nA=\\sa\\tb\\nc\\rd\\\\n\\x\n").value("A"), " a\tb\nc\rd\\n\\x");
    EXPECT_EQ(DesktopEntry("[Desktop Entry]\nA=end\\\n").value("A"), "end\\");
}

TEST(DesktopEntryTest, flagsAreTrueOrFalse) {
    const DesktopEntry entry("[Desktop Entry]\nA=true\nB=false\nC=1\nD=0\nE=TRUE\nF=maybe\nG=\n");
    EXPECT_EQ(entry.flag("A"), true);
    EXPECT_EQ(entry.flag("B"), false);
    EXPECT_EQ(entry.flag("C"), true);
    EXPECT_EQ(entry.flag("D"), false);
    EXPECT_EQ(entry.flag("E"), true);
    EXPECT_EQ(entry.flag("F"), std::nullopt);
    EXPECT_EQ(entry.flag("G"), std::nullopt);
    EXPECT_EQ(entry.flag("H"), std::nullopt);
}

TEST(DesktopEntryTest, listsAreSplitAtSemicolons) {
    const DesktopEntry entry("[Desktop Entry]\nA=GNOME;KDE;\nB=a\\;b;c\nC=\n");
    EXPECT_EQ(entry.list("A"), (Texts{"GNOME", "KDE", ""}));
    EXPECT_EQ(entry.list("B"), (Texts{"a;b", "c"}));
    EXPECT_EQ(entry.list("C"), Texts{""});
    EXPECT_EQ(entry.list("D"), std::nullopt);
}

TEST(DesktopEntryTest, changingAKeyLeavesTheRest) {
    EXPECT_EQ(withSet("# of mine\n\n[Desktop Entry]\nA = 1\nName[de]=x\n\n# two\n[Other]\nA=2\n", "A", "3"),
              "# of mine\n\n[Desktop Entry]\nA=3\nName[de]=x\n\n# two\n[Other]\nA=2\n");
    EXPECT_EQ(withSet("[Desktop Entry]\r\nA=1\r\nB=2\r\n", "A", "3"), "[Desktop Entry]\r\nA=3\r\nB=2\r\n");
    EXPECT_EQ(withSet("[Desktop Entry]\nA=1\nA=2\n", "A", "3"), "[Desktop Entry]\nA=1\nA=3\n");
}

TEST(DesktopEntryTest, aNewKeyStandsAtTheEndOfTheGroup) {
    EXPECT_EQ(withSet("[Desktop Entry]\nA=1\n\n[Other]\nB=2\n", "B", "3"),
              "[Desktop Entry]\nA=1\nB=3\n\n[Other]\nB=2\n");
    EXPECT_EQ(withSet("[Desktop Entry]\nA=1", "B", "3"), "[Desktop Entry]\nA=1\nB=3\n");
    EXPECT_EQ(withSet("[Desktop Entry]", "B", "3"), "[Desktop Entry]\nB=3\n");
}

TEST(DesktopEntryTest, aMissingGroupIsMadeBeforeTheOthers) {
    EXPECT_EQ(withSet("", "A", "1"), "[Desktop Entry]\nA=1\n");
    EXPECT_EQ(withSet("# mine\n[Other]\nA=2\n", "A", "1"), "# mine\n[Desktop Entry]\nA=1\n[Other]\nA=2\n");
}

TEST(DesktopEntryTest, whatIsSetIsReadAgain) {
    for (const std::string value :
         {"plain", "with blank", " leading", "a\\b", "a\nb\tc\rd", "", "a;b", "ä"}) {
        EXPECT_EQ(DesktopEntry(withSet("", "A", value)).value("A"), value);
    }
}

TEST(DesktopEntryTest, removingTakesEveryOccurrenceInTheGroup) {
    DesktopEntry entry("[Desktop Entry]\nA=1\nB=2\nA=3\n[Other]\nA=4\n");
    entry.remove("A");
    EXPECT_EQ(entry.text(), "[Desktop Entry]\nB=2\n[Other]\nA=4\n");
}

TEST(DesktopEntryTest, foreignLinesAreNoticed) {
    static constexpr auto known = std::to_array<std::string_view>({"A", "B"});
    EXPECT_TRUE(DesktopEntry("").holdsOnly(known));
    EXPECT_TRUE(DesktopEntry("[Desktop Entry]\nA=1\n\nB=2\n").holdsOnly(known));
    EXPECT_FALSE(DesktopEntry("[Desktop Entry]\nA=1\nC=2\n").holdsOnly(known));
    EXPECT_FALSE(DesktopEntry("[Desktop Entry]\nA=1\nA[de]=2\n").holdsOnly(known));
    EXPECT_FALSE(DesktopEntry("[Desktop Entry]\nA=1\n# comment\n").holdsOnly(known));
    EXPECT_FALSE(DesktopEntry("[Desktop Entry]\nA=1\n[Other]\n").holdsOnly(known));
    EXPECT_FALSE(DesktopEntry("[Desktop Entry]\nA=1\nno key\n").holdsOnly(known));
    EXPECT_FALSE(DesktopEntry("A=1\n[Desktop Entry]\nA=1\n").holdsOnly(known));
}

TEST(DesktopEntryTest, commandsAreQuotedWhereNeeded) {
    EXPECT_EQ(DesktopEntry::commandFor("/usr/bin/vintrel-app"), "/usr/bin/vintrel-app");
    EXPECT_EQ(DesktopEntry::commandFor("/opt/my apps/vintrel"), R"("/opt/my apps/vintrel")");
    EXPECT_EQ(DesktopEntry::commandFor("/a'b"), R"("/a'b")");
    EXPECT_EQ(DesktopEntry::commandFor(R"(/a"b`c$d\e)"), R"("/a\"b\`c\$d\\e")");
    EXPECT_EQ(DesktopEntry::commandFor("/50%/f"), "/50%%/f") << "a single one begins a field code";
    EXPECT_EQ(DesktopEntry::commandFor("/größe"), "/größe");
    for (const char reserved : std::string_view("\t\n><~|&;*?#()")) {
        const std::string program = std::string("/a") + reserved;
        EXPECT_EQ(DesktopEntry::commandFor(program), "\"" + program + "\"");
    }
}

TEST(DesktopEntryTest, someProgramsCannotBeNamed) {
    EXPECT_EQ(DesktopEntry::commandFor("/a=b/vintrel"), std::nullopt);
    EXPECT_EQ(DesktopEntry::commandFor(""), std::nullopt);
    EXPECT_EQ(DesktopEntry::commandFor(std::string_view("/a\0b", 4)), std::nullopt);
}

TEST(DesktopEntryTest, aBackslashOfAPathIsEscapedTwice) {
    const std::string text = withSet("", "Exec", *DesktopEntry::commandFor(R"(/a\b)"));
    EXPECT_EQ(text, "[Desktop Entry]\nExec=\"/a\\\\\\\\b\"\n");
}

} // namespace Vintrel
