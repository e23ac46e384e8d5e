// When an entry starts the program: every condition, one at a time.
#include "tests/app/login/AutostartFolders.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelTests::AutostartFolders;
using VintrelTests::ScopedEnvironment;

namespace {

/// Whether an entry with these lines is in effect on this desktop.
bool isInEffect(const std::string& lines, const std::vector<std::string>& desktops = {"ubuntu", "GNOME"}) {
    return Autostart::isInEffect(DesktopEntry("[Desktop Entry]\nType=Application\nExec=/x\n" + lines),
                                 {.desktops = desktops, .programs = {}});
}

} // namespace

TEST(AutostartConditionsTest, aPlainEntryIsInEffect) {
    EXPECT_TRUE(isInEffect(""));
}

TEST(AutostartConditionsTest, withoutACommandOrAGroupItIsNoEntry) {
    EXPECT_FALSE(Autostart::isInEffect(DesktopEntry(""), {}));
    EXPECT_FALSE(Autostart::isInEffect(DesktopEntry("[Desktop Entry]\nType=Application\n"), {}));
    EXPECT_FALSE(Autostart::isInEffect(DesktopEntry("Exec=/x\n"), {}));
}

TEST(AutostartConditionsTest, hidden) {
    EXPECT_FALSE(isInEffect("Hidden=true\n"));
    EXPECT_TRUE(isInEffect("Hidden=false\n"));
    EXPECT_TRUE(isInEffect("[Other]\nHidden=true\n"));
}

TEST(AutostartConditionsTest, theSwitchOfOneDesktop) {
    EXPECT_FALSE(isInEffect("X-GNOME-Autostart-enabled=false\n"));
    EXPECT_TRUE(isInEffect("X-GNOME-Autostart-enabled=true\n"));
}

TEST(AutostartConditionsTest, onlyShowIn) {
    EXPECT_TRUE(isInEffect("OnlyShowIn=KDE;GNOME;\n"));
    EXPECT_TRUE(isInEffect("OnlyShowIn=ubuntu\n"));
    EXPECT_FALSE(isInEffect("OnlyShowIn=KDE;\n"));
    EXPECT_FALSE(isInEffect("OnlyShowIn=gnome;\n")) << "the case of names counts";
    EXPECT_FALSE(isInEffect("OnlyShowIn=GNOME;\n", {})) << "on no known desktop";
}

TEST(AutostartConditionsTest, notShowIn) {
    EXPECT_FALSE(isInEffect("NotShowIn=KDE;GNOME;\n"));
    EXPECT_TRUE(isInEffect("NotShowIn=KDE;\n"));
    EXPECT_TRUE(isInEffect("NotShowIn=GNOME;\n", {}));
}

TEST(AutostartConditionsTest, theFirstNameOfTheDesktopThatIsListedDecides) {
    const std::string both = "OnlyShowIn=GNOME;\nNotShowIn=ubuntu;\n";
    EXPECT_FALSE(isInEffect(both, {"ubuntu", "GNOME"}));
    EXPECT_TRUE(isInEffect(both, {"GNOME", "ubuntu"}));
}

TEST(AutostartConditionsTest, tryExecNamesAProgram) {
    const AutostartFolders folders;
    const auto isTried = [&folders](const std::string& program) {
        return Autostart::isInEffect(DesktopEntry("[Desktop Entry]\nExec=/x\nTryExec=" + program + "\n"),
                                     {.programs = {"/nowhere", (folders.root.path() / "bin").string()}});
    };
    EXPECT_TRUE(isTried(folders.program));
    EXPECT_TRUE(isTried("vintrel-app"));
    EXPECT_TRUE(isTried("")) << "names nothing";
    EXPECT_FALSE(isTried("other-app"));
    EXPECT_FALSE(isTried(folders.program + "x"));
    EXPECT_FALSE(isTried((folders.root.path() / "bin").string())) << "a folder";
    EXPECT_FALSE(isTried(folders.root.write("bin/text", "no program").string()));
}

TEST(AutostartConditionsTest, theEnvironmentTellsTheDesktopAndThePrograms) {
    const AutostartFolders folders;
    folders.writeUser("[Desktop Entry]\nExec=/x\nOnlyShowIn=GNOME\nTryExec=vintrel-app\n");
    EXPECT_TRUE(folders.item().isEnabled());
    {
        const ScopedEnvironment other("XDG_CURRENT_DESKTOP", "KDE");
        EXPECT_FALSE(folders.item().isEnabled());
    }
    {
        const ScopedEnvironment other("PATH", "/nowhere");
        EXPECT_FALSE(folders.item().isEnabled());
    }
    EXPECT_TRUE(folders.item().isEnabled());
}

TEST(AutostartConditionsTest, theUsersEntryCountsBeforeThoseForAll) {
    const AutostartFolders folders;
    const std::string on = "[Desktop Entry]\nExec=/x\n";
    const std::string off = on + "Hidden=true\n";
    EXPECT_FALSE(folders.item().isEnabled());
    folders.write("second", on);
    EXPECT_TRUE(folders.item().isEnabled());
    folders.write("first", off);
    EXPECT_FALSE(folders.item().isEnabled());
    folders.writeUser(on);
    EXPECT_TRUE(folders.item().isEnabled());
    folders.writeUser("");
    EXPECT_FALSE(folders.item().isEnabled()) << "an empty file is in the way, too";
}

TEST(AutostartConditionsTest, foldersThatAreNotAbsoluteAreDisregarded) {
    const AutostartFolders folders;
    folders.root.write("home/.config/autostart/dev.vintrel.Vintrel.desktop", "[Desktop Entry]\nExec=/x\n");
    EXPECT_FALSE(folders.item().isEnabled());
    for (const std::optional<std::string>& configured :
         {std::optional<std::string>(), std::optional<std::string>(""),
          std::optional<std::string>("config")}) {
        const ScopedEnvironment relative("XDG_CONFIG_HOME", configured);
        EXPECT_TRUE(folders.item().isEnabled());
    }
}

} // namespace Vintrel
