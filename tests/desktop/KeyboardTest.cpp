// Everything without a pointer: each step is a key, and each result is read as a screen reader reads it, or
// from the files.
#include "tests/desktop/DesktopTest.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace VintrelTests;
using testing::HasSubstr;

namespace {

constexpr const char* filterName = "Filter by command, project, or port";

std::string killButton(const Stray& stray) {
    return "Kill PID " + std::to_string(stray.pid());
}

class Keyboard : public DesktopTest {
public:
    Keyboard() { settings().write("[General]\nelapsedThreshold=0.000001\nscanInterval=3600\n"); }

    /// Leaves only rows with that text.
    void filterFor(const std::string& text) {
        press("ctrl+f");
        ASSERT_TRUE(awaitFocus(named(filterName)));
        type(text);
        ASSERT_TRUE(await(
            [&](const Control& control) { return control.name == filterName && control.text == text; }));
    }

    void clearFilter() {
        press("ctrl+f"); // which selects what is there
        ASSERT_TRUE(awaitFocus(named(filterName)));
        press("BackSpace");
        ASSERT_TRUE(
            await([](const Control& control) { return control.name == filterName && control.text.empty(); }));
    }

    void chooseTab(const std::string& name) {
        const auto isTabs = [](const Control& control) { return control.role.starts_with("page tab"); };
        ASSERT_TRUE(moveTo(isTabs, "shift+Tab"));
        const auto isChosen = [&name](const Control& control) {
            return control.role == "page tab" && control.name == name && control.is("selected");
        };
        for (int step = 0; step < 2 && !find(isChosen); ++step) {
            const auto chosen =
                find(both(ofRole("page tab"), [](const Control& tab) { return tab.is("selected"); }));
            press("Right");
            ASSERT_TRUE(chosen && await([&](const Control& tab) {
                            return tab.role == "page tab" && tab.name != chosen->name && tab.is("selected");
                        }));
        }
        ASSERT_TRUE(find(isChosen));
    }

    [[nodiscard]] bool settingsHold(const std::string& line) {
        return eventually([&] { return storedSettings().find(line + "\n") != std::string::npos; });
    }
};

bool isSwitchedOn(const Control& control) {
    return control.is("checked");
}

} // namespace

TEST_F(Keyboard, findsExpandsProtectsKillsCleansAndChangesASetting) {
    const Stray shop({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    const Stray notes({.argv = {"jest", "--watch"}, .cwd = project("notes")});
    const Stray ledgra({.argv = {"pytest", "-x"}, .cwd = project("ledgra")});
    letStraysAge();
    ASSERT_TRUE(start());

    ASSERT_NO_FATAL_FAILURE(filterFor("shop"));
    ASSERT_TRUE(awaitGone(row("Jest, notes, ")) && awaitGone(row("pytest, ledgra, ")));
    ASSERT_TRUE(moveTo(inRow("vitest, shop, ", "Why is this here?")));
    press("space");
    EXPECT_TRUE(await(inRow("vitest, shop, ", "orphan")));
    press("Right");
    ASSERT_TRUE(awaitFocus(inRow("vitest, shop, ", "Ignore for session")));
    press("Right");
    ASSERT_TRUE(awaitFocus(inRow("vitest, shop, ", "Protect: keep this project out of “Clean all”")));
    press("space");
    EXPECT_TRUE(awaitFocus(inRow("vitest, shop, ", "Un-protect this project")));
    EXPECT_TRUE(settingsHold("protectedProjects=~/shop")) << storedSettings();

    ASSERT_NO_FATAL_FAILURE(clearFilter());
    ASSERT_TRUE(await(row("Jest, notes, ")));
    ASSERT_TRUE(moveTo(named(killButton(notes))));
    press("Return");
    EXPECT_TRUE(eventually([&] { return !isRunning(notes.pid()); }));
    EXPECT_TRUE(awaitGone(row("Jest, notes, ")));
    EXPECT_TRUE(isRunning(ledgra.pid()));

    ASSERT_TRUE(moveTo(named("Clean all"), "shift+Tab"));
    press("Return");
    EXPECT_TRUE(eventually([&] { return !isRunning(ledgra.pid()); }));
    EXPECT_TRUE(awaitGone(row("pytest, ledgra, ")));
    EXPECT_TRUE(find(row("vitest, shop, ")));
    EXPECT_TRUE(isRunning(shop.pid())) << "its project is protected";

    ASSERT_NO_FATAL_FAILURE(chooseTab("Cleaned"));
    EXPECT_TRUE(await(row("pytest in ledgra, ")));
    EXPECT_TRUE(find(row("Jest in notes, ")));
    EXPECT_EQ(storedEvents().size(), 2U);

    ASSERT_TRUE(moveTo(both(named("Settings"), ofRole("push button")), "shift+Tab"));
    press("Return");
    ASSERT_TRUE(awaitFocus([](const Control& control) { return control.window == "Vintrel Settings"; }));
    ASSERT_TRUE(moveTo(named("vitest")));
    ASSERT_TRUE(isSwitchedOn(*focused()));
    press("space");
    EXPECT_TRUE(awaitFocus(
        [](const Control& control) { return control.name == "vitest" && !isSwitchedOn(control); }));
    EXPECT_TRUE(settingsHold("disabledKinds=vitest")) << storedSettings();
}

TEST_F(Keyboard, escapeClearsTheFilterAndThenCloses) {
    const Stray stray({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    letStraysAge();
    ASSERT_TRUE(start());
    ASSERT_NO_FATAL_FAILURE(filterFor("nothing like it"));
    ASSERT_TRUE(await(named("No processes match “nothing like it”")));

    press("Escape");
    EXPECT_TRUE(await(row("vitest, shop, ")));
    const auto field = find(named(filterName));
    ASSERT_TRUE(field);
    EXPECT_EQ(field->text, "");
    EXPECT_TRUE(isRunning(program().pid()));

    press("Escape");
    EXPECT_EQ(exitStatus(), 0);
    EXPECT_TRUE(isRunning(stray.pid()));
}

TEST_F(Keyboard, theShortcutEndsTheOnlySafeStrayUnlessSomebodyTypes) {
    const Stray stray({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    const Stray risky({.argv = {"node", "server.js"}, .cwd = project("shop")});
    letStraysAge();
    ASSERT_TRUE(start());
    press("ctrl+f");
    ASSERT_TRUE(awaitFocus(named(filterName)));
    press("ctrl+shift+k");
    ASSERT_NO_FATAL_FAILURE(filterFor("vitest")); // which comes after it
    const auto untouched = await(row("vitest, shop, "));
    ASSERT_TRUE(untouched);
    EXPECT_THAT(untouched->name, testing::Not(HasSubstr("ending")));
    EXPECT_TRUE(isRunning(stray.pid()));

    ASSERT_TRUE(moveTo(inRow("vitest, shop, ", "Why is this here?")));
    press("ctrl+shift+k");
    EXPECT_TRUE(eventually([&] { return !isRunning(stray.pid()); }));
    EXPECT_TRUE(awaitGone(row("vitest, shop, ")));
    EXPECT_TRUE(isRunning(risky.pid()));
}

TEST_F(Keyboard, theShortcutDoesNothingWhileSeveralAreSafe) {
    const Stray one({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    const Stray other({.argv = {"vitest", "--watch"}, .cwd = project("notes")});
    letStraysAge();
    ASSERT_TRUE(start());
    ASSERT_TRUE(moveTo(inRow("vitest, shop, ", "Why is this here?")));
    press("ctrl+shift+k");
    press("space"); // which comes after it
    ASSERT_TRUE(await(inRow("vitest, shop, ", "orphan")));
    const auto isEnding = [](const Control& control) {
        return control.name.find("ending") != std::string::npos;
    };
    EXPECT_FALSE(find(both(ofRole("list item"), isEnding)));
    EXPECT_TRUE(isRunning(one.pid()) && isRunning(other.pid()));
}
