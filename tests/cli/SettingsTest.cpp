// The settings as the program finds them: good, damaged, unreadable.
#include "tests/cli/VintrelRun.h"
#include "tests/support/NeedsRoot.h"
#include "tests/support/Stray.h"

#include <filesystem>

#include <gtest/gtest.h>

using namespace VintrelTests;

namespace {

std::string bucketOf(const VintrelOutcome& outcome, int32_t pid) {
    const auto rows = parseTable(outcome.output);
    return rows.contains(pid) ? rows.at(pid).bucket : "not listed";
}

} // namespace

TEST(Settings, theThresholdDecidesWhoIsOld) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    EXPECT_EQ(bucketOf(home.run({"list"}), stray.pid()), "review") << "half an hour by default";
    home.writeSettings("[General]\nelapsedThreshold=0.000001\n");
    EXPECT_EQ(bucketOf(home.run({"list"}), stray.pid()), "safe");
    home.writeSettings("[General]\nelapsedThreshold=0\n");
    EXPECT_EQ(bucketOf(home.run({"list"}), stray.pid()), "review") << "zero counts as not set";
}

TEST(Settings, aDamagedFileGivesDefaultsAndALineOnStandardError) {
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    home.writeSettings(
        "[General]\nelapsedThreshold=0.000001\nprotectedProjects=\"~/code\nignoredNames=vitest\n");
    const auto outcome = home.run({"list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(bucketOf(outcome, stray.pid()), "review");
    EXPECT_EQ(outcome.errors, "vintrel: the settings in " +
                                  (home.path() / "config/Vintrel/Vintrel.conf").string() +
                                  " are damaged; using defaults\n");
}

TEST(Settings, aFileThatCannotBeReadGivesDefaultsAndALineOnStandardError) {
    const VintrelHome home;
    home.folder().makeFolder("config/Vintrel/Vintrel.conf");
    const auto outcome = home.run({"list"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "vintrel: the settings in " +
                                  (home.path() / "config/Vintrel/Vintrel.conf").string() +
                                  " cannot be read; using defaults\n");
}

TEST(Settings, areTheAccountsOwnWhateverTheEnvironmentLacks) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    const Stray stray({.argv = {"vitest"}});
    letStraysAge();
    home.folder().write(".config/Vintrel/Vintrel.conf", "[General]\nelapsedThreshold=0.000001\n");
    const auto accounts = home.folder().write("passwd", "root:x:0:0::" + home.path().string() + ":/bin/sh\n");
    for (const char* const change :
         {"unset HOME XDG_CONFIG_HOME", "unset XDG_CONFIG_HOME; HOME=", "unset XDG_CONFIG_HOME; HOME=home",
          "XDG_CONFIG_HOME=config", "unset HOME; XDG_CONFIG_HOME=config", "unset HOME; XDG_CONFIG_HOME="}) {
        const auto outcome = home.run(
            {"list"},
            {"unshare", "-m", "/bin/sh", "-c",
             "mount --bind " + accounts.string() + " /etc/passwd && " + change + "; exec \"$@\"", "sh"});
        EXPECT_EQ(outcome.errors, "") << change;
        EXPECT_EQ(bucketOf(outcome, stray.pid()), "safe") << change;
    }
}

TEST(Settings, anotherAccountsFileCannotBeRead) {
    VINTREL_NEEDS_ROOT();
    const VintrelHome home;
    home.writeSettings("[General]\nelapsedThreshold=0.000001\n");
    namespace fs = std::filesystem;
    fs::permissions(home.path(), fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(home.path() / "config/Vintrel/Vintrel.conf", fs::perms::owner_all);
    const auto outcome = home.run({"list"}, {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.errors.contains("cannot be read; using defaults")) << outcome.errors;
}

TEST(Settings, theUsersPortsProtectListeners) {
    const VintrelHome home;
    home.writeSettings("[General]\nelapsedThreshold=0.000001\n");
    const int port = freePort();
    const Stray stray({.argv = {"vitest"}, .port = port});
    letStraysAge();
    EXPECT_EQ(bucketOf(home.run({"list"}), stray.pid()), "safe");
    home.folder().write("data/Vintrel/ports.json", R"({"shop": [)" + std::to_string(port) + "]}");
    EXPECT_EQ(bucketOf(home.run({"list"}), stray.pid()), "review");
    home.folder().write("data/Vintrel/ports.json", R"({"shop": [)" + std::to_string(port));
    EXPECT_EQ(bucketOf(home.run({"list"}), stray.pid()), "safe") << "a damaged file adds nothing";
}
