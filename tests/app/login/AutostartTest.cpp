// Turning the start at login on and off: what is written, and what others wrote stays.
#include "tests/app/login/AutostartFolders.h"
#include "tests/core/log/LogFolder.h"
#include "tests/support/NeedsRoot.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace Vintrel {

using namespace VintrelTests;
using namespace std::string_literals;

namespace fs = std::filesystem;

namespace {

constexpr std::string_view forAll = "[Desktop Entry]\nType=Application\nName=Vintrel\nExec=vintrel-app\n";

} // namespace

TEST(AutostartTest, enablingWritesAnEntryOfItsOwn) {
    const AutostartFolders folders;
    EXPECT_TRUE(folders.item().setEnabled(true));
    EXPECT_EQ(folders.userText(), folders.freshEntry());
    EXPECT_TRUE(folders.item().isEnabled());
    EXPECT_EQ(namesIn(folders.userEntry().parent_path()).size(), 1U);
}

TEST(AutostartTest, disablingRemovesIt) {
    const AutostartFolders folders;
    ASSERT_TRUE(folders.item().setEnabled(true));
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_TRUE(namesIn(folders.userEntry().parent_path()).empty());
    EXPECT_TRUE(folders.item().setEnabled(false)) << "it is off already";
    EXPECT_FALSE(fs::exists(folders.userEntry()));
}

TEST(AutostartTest, whatOthersWroteStays) {
    const AutostartFolders folders;
    const std::string theirs = "# my comment\n"
                               "[Desktop Entry]\n"
                               "Exec=/old/vintrel-app --flag\n"
                               "Name[de]=Streuner\n"
                               "X-GNOME-Autostart-Delay=30\n"
                               "\n"
                               "[X-Mine]\n"
                               "Key=value\n";
    folders.writeUser(theirs);
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_EQ(folders.userText(), "# my comment\n"
                                  "[Desktop Entry]\n"
                                  "Exec=/old/vintrel-app --flag\n"
                                  "Name[de]=Streuner\n"
                                  "X-GNOME-Autostart-Delay=30\n"
                                  "Hidden=true\n"
                                  "\n"
                                  "[X-Mine]\n"
                                  "Key=value\n");
    EXPECT_TRUE(folders.item().setEnabled(true));
    EXPECT_TRUE(folders.item().isEnabled());
    EXPECT_EQ(folders.userText(), "# my comment\n"
                                  "[Desktop Entry]\n"
                                  "Exec=" +
                                      folders.program +
                                      " --service\n"
                                      "Name[de]=Streuner\n"
                                      "X-GNOME-Autostart-Delay=30\n"
                                      "Type=Application\n"
                                      "Name=Vintrel\n"
                                      "Comment=Finds stray development processes and ends them safely\n"
                                      "Icon=dev.vintrel.Vintrel\n"
                                      "X-KDE-autostart-after=panel\n"
                                      "X-LXQt-Need-Tray=true\n"
                                      "\n"
                                      "[X-Mine]\n"
                                      "Key=value\n");
}

TEST(AutostartTest, theDesktopsOwnSwitchIsTurnedOnAgain) {
    const AutostartFolders folders;
    folders.writeUser(folders.freshEntry() + "X-GNOME-Autostart-enabled=false\n");
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_TRUE(folders.item().setEnabled(true));
    EXPECT_TRUE(folders.item().isEnabled());
    EXPECT_EQ(folders.userText(), folders.freshEntry());
}

TEST(AutostartTest, anEntryForAllIsHiddenByOneOfTheUsers) {
    const AutostartFolders folders;
    folders.write("second", forAll);
    EXPECT_TRUE(folders.item().isEnabled());
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_EQ(folders.userText(), folders.freshEntry() + "Hidden=true\n")
        << "a whole entry, or it is disregarded";
    EXPECT_EQ(bytesOf(folders.entryIn("second")), forAll);
    EXPECT_TRUE(folders.item().setEnabled(true));
    EXPECT_TRUE(folders.item().isEnabled());
    EXPECT_EQ(folders.userText(), folders.freshEntry());
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_FALSE(folders.item().isEnabled()) << "an own entry is not removed while there is another";
}

TEST(AutostartTest, anUnreadableEntryForAllIsHiddenToo) {
    const AutostartFolders folders;
    folders.write("first", std::string(forAll) + "#" + std::string(1 << 20, 'x') + "\n");
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_EQ(folders.userText(), folders.freshEntry() + "Hidden=true\n");
}

TEST(AutostartTest, aMovedProgramIsStartedFromItsNewPlace) {
    AutostartFolders folders;
    ASSERT_TRUE(folders.item().setEnabled(true));
    folders.program = folders.addProgram("my apps/vintrel 50%/vintrel-app");
    EXPECT_TRUE(folders.item().setEnabled(true));
    const std::string folder = folders.root.path().string();
    EXPECT_EQ(DesktopEntry(*folders.userText()).value("Exec"),
              "\"" + folder + "/my apps/vintrel 50%%/vintrel-app\" --service");
}

TEST(AutostartTest, enablingWhatIsEnabledWritesNothing) {
    const AutostartFolders folders;
    ASSERT_TRUE(folders.item().setEnabled(true));
    struct stat before{};
    struct stat after{};
    ASSERT_EQ(::stat(folders.userEntry().c_str(), &before), 0);
    EXPECT_TRUE(folders.item().setEnabled(true));
    ASSERT_EQ(::stat(folders.userEntry().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST(AutostartTest, aProgramThatIsNotThereIsNotRegistered) {
    AutostartFolders folders;
    for (const std::string program : {"/nowhere/vintrel-app", "vintrel-app", "", "/tmp"}) {
        folders.program = program;
        EXPECT_FALSE(folders.item().setEnabled(true)) << program;
    }
    folders.program = folders.addProgram("a=b/vintrel-app");
    EXPECT_FALSE(folders.item().setEnabled(true)) << "no entry can name it";
    EXPECT_FALSE(fs::exists(folders.userEntry()));
}

TEST(AutostartTest, conditionsOfOthersAreNotOverruled) {
    const AutostartFolders folders;
    const std::string theirs = "[Desktop Entry]\nExec=/x\nOnlyShowIn=KDE;\n";
    folders.writeUser(theirs);
    EXPECT_FALSE(folders.item().setEnabled(true));
    EXPECT_EQ(folders.userText(), theirs);
    EXPECT_FALSE(folders.item().isEnabled());
}

TEST(AutostartTest, anAbsurdlyLargeEntryIsLeftAlone) {
    const AutostartFolders folders;
    const std::string large = folders.freshEntry() + "#" + std::string(1 << 20, 'x') + "\n";
    folders.writeUser(large);
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_FALSE(folders.item().setEnabled(true));
    EXPECT_FALSE(folders.item().setEnabled(false));
    EXPECT_EQ(folders.userText(), large);
}

TEST(AutostartTest, whatIsNoFileIsLeftAlone) {
    const AutostartFolders folders;
    fs::create_directories(folders.userEntry());
    EXPECT_FALSE(folders.item().isEnabled());
    EXPECT_FALSE(folders.item().setEnabled(true));
    EXPECT_FALSE(folders.item().setEnabled(false));
    EXPECT_TRUE(fs::is_directory(folders.userEntry()));
    fs::remove(folders.userEntry());
    fs::create_symlink("/dev/null", folders.userEntry());
    EXPECT_FALSE(folders.item().setEnabled(true)) << "somebody masked it";
    EXPECT_EQ(fs::read_symlink(folders.userEntry()), "/dev/null");
}

TEST(AutostartTest, bytesThatAreNoTextStay) {
    const AutostartFolders folders;
    const std::string odd = "# \xff\xfe \0 \n[Desktop Entry]\nX-Odd=\xc3\n"s;
    folders.writeUser(odd);
    ASSERT_TRUE(folders.item().setEnabled(true));
    EXPECT_TRUE(folders.userText()->starts_with(odd));
    EXPECT_TRUE(folders.item().isEnabled());
}

TEST(AutostartTest, aLinkIsFollowed) {
    const AutostartFolders folders;
    const fs::path target = folders.root.write("dotfiles/entry", "# mine\n" + folders.freshEntry());
    fs::create_directories(folders.userEntry().parent_path());
    fs::create_symlink(target, folders.userEntry());
    EXPECT_TRUE(folders.item().setEnabled(false));
    EXPECT_TRUE(fs::is_symlink(folders.userEntry()));
    EXPECT_EQ(bytesOf(target), "# mine\n" + folders.freshEntry() + "Hidden=true\n");
}

TEST(AutostartTest, withoutPermissionNothingChanges) {
    VINTREL_NEEDS_ROOT();
    const AutostartFolders folders;
    const std::string text = "# mine\n" + folders.freshEntry();
    folders.writeUser(text);
    fs::permissions(folders.root.path(), fs::perms::all);
    const int outcome = inChild([&folders] {
        if (!becomeNobody()) {
            return 100;
        }
        const bool isChanged = folders.item().setEnabled(false);
        return (isChanged ? 1 : 0) + (folders.item().isEnabled() ? 2 : 0);
    });
    EXPECT_EQ(outcome, 2) << "it says that it failed, and what holds";
    fs::permissions(folders.userEntry(), fs::perms::owner_read);
    const int unreadable = inChild([&folders] {
        if (!becomeNobody()) {
            return 100;
        }
        return (folders.item().setEnabled(true) ? 1 : 0) + (folders.item().isEnabled() ? 2 : 0);
    });
    EXPECT_EQ(unreadable, 0);
    EXPECT_EQ(folders.userText(), text);
}

} // namespace Vintrel
