// What can be used has a name, and what is listed reads as a sentence.
#include "VintrelCore/model/ProcessKind.h"
#include "tests/desktop/DesktopTest.h"
#include "tests/support/ContainerEngine.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace VintrelTests;
using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::MatchesRegex;

namespace {

constexpr const char* popover = "Vintrel";
constexpr const char* settingsWindow = "Vintrel Settings";

class Names : public DesktopTest {
public:
    Names() {
        settings().write(
            "[General]\nelapsedThreshold=0.000001\nscanInterval=3600\nprotectedProjects=~/mine\n");
    }

    /// What people use in the window: whatever takes the keyboard or is known as something to press.
    [[nodiscard]] Controls usedIn(const std::string& window) {
        constexpr std::array<std::string_view, 5> roles{"push button", "check box", "page tab", "text",
                                                        "entry"};
        Controls all = controls();
        std::erase_if(all, [&](const Control& control) {
            return control.window != window ||
                   (!control.is("focusable") && std::ranges::find(roles, control.role) == roles.end());
        });
        return all;
    }

    [[nodiscard]] std::vector<std::string> rolesWithoutName(const std::string& window) {
        std::vector<std::string> roles;
        for (const Control& control : usedIn(window)) {
            if (control.name.empty()) {
                roles.push_back(control.role + " in \"" + control.row + "\"");
            }
        }
        return roles;
    }

    [[nodiscard]] std::vector<std::string> namesIn(const std::string& window) {
        std::vector<std::string> names;
        for (const Control& control : usedIn(window)) {
            names.push_back(control.name);
        }
        return names;
    }

    [[nodiscard]] std::vector<std::string> rows() {
        std::vector<std::string> sentences;
        for (const Control& control : controls()) {
            if (control.role == "list item") {
                sentences.push_back(control.name);
            }
        }
        return sentences;
    }

    void choose(const std::string& name) {
        const auto tab = await(both(named(name), ofRole("page tab")));
        ASSERT_TRUE(tab);
        click(*tab);
        ASSERT_TRUE(await([&name](const Control& control) {
            return control.role == "page tab" && control.name == name && control.is("selected");
        }));
    }
};

} // namespace

TEST_F(Names, areGivenToAllProcessesAndTheirButtons) {
    const Stray safe({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    const Stray kept({.argv = {"pytest", "-x"}, .cwd = project("mine")});
    const Stray risky({.argv = {"npm", "run", "dev"}, .cwd = project("notes")});
    letStraysAge();
    ASSERT_TRUE(start());
    const auto info = await(inRow("vitest, shop, ", "Why is this here?"));
    ASSERT_TRUE(info);
    click(*info);
    ASSERT_TRUE(await(inRow("vitest, shop, ", "orphan")));

    EXPECT_THAT(rolesWithoutName(popover), IsEmpty());
    EXPECT_THAT(
        namesIn(popover),
        IsSupersetOf({"Rescan (restores hidden items)", "Settings", "Quit Vintrel", "Processes", "Containers",
                      "Cleaned", "Filter by command, project, or port", "Clean all", "vitest (1)",
                      "pytest (1)", "npm (1)", "Why is this here?", "Ignore for session",
                      "Un-protect this project", "Protect: keep this project out of “Clean all”"}));
    for (const Stray* const stray : {&safe, &kept, &risky}) {
        EXPECT_THAT(namesIn(popover), Contains("Kill PID " + std::to_string(stray->pid())));
    }
    const std::string figures = "[0-9]+s · [0-9.]+% · [0-9.]+ [KM]B";
    EXPECT_THAT(rows(), testing::UnorderedElementsAre(MatchesRegex("vitest, shop, " + figures),
                                                      MatchesRegex("pytest, mine, " + figures +
                                                                   ". Protected — kept out of “Clean all”"),
                                                      MatchesRegex("npm, notes, " + figures)));
    EXPECT_TRUE(find(both(named("Stray processes"), ofRole("list"))));
}

TEST_F(Names, areGivenToContainersAndTheirButtons) {
    ContainerEngine engine;
    engine.start("shop-web-1", {"sleep", "600"}, {"--label", "com.docker.compose.project=shop"});
    ASSERT_TRUE(start(engine.host()));
    ASSERT_NO_FATAL_FAILURE(choose("Containers"));
    ASSERT_TRUE(await(row("shop-web-1, image ")));

    EXPECT_THAT(rolesWithoutName(popover), IsEmpty());
    EXPECT_THAT(namesIn(popover), IsSupersetOf({"Refresh containers", "Restart shop-web-1", "Stop shop-web-1",
                                                "Stop and remove"}));
    EXPECT_THAT(rows(),
                testing::ElementsAre(testing::StartsWith("shop-web-1, image vintrel-test/tools:1, Up ")));
    EXPECT_TRUE(find(named("shop (1)")));
}

TEST_F(Names, areGivenToWhatHasBeenCleaned) {
    std::filesystem::create_directories(cleanLogFile().parent_path());
    std::ofstream(cleanLogFile()) << R"([{"kind":"Vite","projectLabel":"shop","rssKB":2048,)"
                                  << R"("timestamp":"2024-05-01T10:00:00Z"}])";
    ASSERT_TRUE(start());
    ASSERT_NO_FATAL_FAILURE(choose("Cleaned"));
    EXPECT_THAT(rows(), testing::ElementsAre(testing::StartsWith("Vite in shop, 2 MB, cleaned ")));
    EXPECT_THAT(rolesWithoutName(popover), IsEmpty());
    EXPECT_THAT(namesIn(popover), Contains("Nothing to refresh"));
}

TEST_F(Names, areGivenToAllSettings) {
    ASSERT_TRUE(start());
    const auto button = await(both(named("Settings"), ofRole("push button")));
    ASSERT_TRUE(button);
    click(*button);
    ASSERT_TRUE(await(named("Launch at login")));

    EXPECT_THAT(rolesWithoutName(settingsWindow), IsEmpty());
    std::vector<std::string> expected{"Launch at login", "Alert on new strays", "Scan more often",
                                      "Scan less often", "Ignored processes",   "Protected projects",
                                      "Custom rules"};
    for (const auto kind : VintrelCore::ProcessKinds::allCases) {
        expected.emplace_back(VintrelCore::label(kind));
    }
    EXPECT_THAT(namesIn(settingsWindow), testing::IsSupersetOf(expected));
}
