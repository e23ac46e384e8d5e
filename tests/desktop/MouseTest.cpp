// What the mouse does to real processes.
#include "tests/desktop/DesktopTest.h"
#include "tests/support/Stray.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace VintrelTests;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

class Mouse : public DesktopTest {
public:
    Mouse() {
        settings().write(
            "[General]\nelapsedThreshold=0.000001\nscanInterval=3600\nprotectedProjects=~/mine\n");
    }

    /// What has been cleaned, as "kind in project".
    [[nodiscard]] std::vector<std::string> cleaned() const {
        std::vector<std::string> all;
        for (const auto& event : storedEvents()) {
            all.push_back(event.kind + " in " + event.projectLabel);
        }
        return all;
    }
};

std::string killButton(const Stray& stray) {
    return "Kill PID " + std::to_string(stray.pid());
}

} // namespace

TEST_F(Mouse, aClickOnKillEndsThatProcessAndItsRowGoes) {
    const Stray neighbour({.argv = {"vitest", "--watch"}, .cwd = project("notes")});
    const Stray stray({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    letStraysAge();
    ASSERT_TRUE(start());
    const auto button = await(named(killButton(stray)));
    ASSERT_TRUE(button);
    EXPECT_THAT(button->row, testing::StartsWith("vitest, shop, "));

    click(*button);
    EXPECT_TRUE(eventually([&] { return !isRunning(stray.pid()); }));
    EXPECT_TRUE(awaitGone(row("vitest, shop, ")));
    EXPECT_TRUE(await(row("vitest, notes, ")));
    EXPECT_TRUE(isRunning(neighbour.pid()));
    EXPECT_TRUE(isRunning(program().pid()));
    EXPECT_THAT(cleaned(), ElementsAre("vitest in shop"));
}

TEST_F(Mouse, cleanAllEndsWhatIsSafeAndSparesWhatIsProtected) {
    const Stray first({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    const Stray second({.argv = {"pytest", "-x"}, .cwd = project("notes")});
    const Stray kept({.argv = {"vitest", "--watch"}, .cwd = project("mine")});
    const Stray risky({.argv = {"node", "server.js"}, .cwd = project("shop")});
    letStraysAge();
    ASSERT_TRUE(start());
    EXPECT_TRUE(find(row("vitest, mine, ")));
    const auto button = await(both(named("Clean all"), ofRole("push button")));
    ASSERT_TRUE(button);

    click(*button);
    EXPECT_TRUE(eventually([&] { return !isRunning(first.pid()) && !isRunning(second.pid()); }));
    EXPECT_TRUE(awaitGone(row("vitest, shop, ")));
    EXPECT_TRUE(awaitGone(row("pytest, notes, ")));
    const auto spared = await(row("vitest, mine, "));
    ASSERT_TRUE(spared);
    EXPECT_THAT(spared->name, testing::EndsWith("Protected — kept out of “Clean all”"));
    EXPECT_TRUE(isRunning(kept.pid()));
    EXPECT_TRUE(isRunning(risky.pid())) << "nobody has said that it is safe to clean";
    EXPECT_THAT(cleaned(), UnorderedElementsAre("vitest in shop", "pytest in notes"));

    const auto tab = await(both(named("Cleaned"), ofRole("page tab")));
    ASSERT_TRUE(tab);
    click(*tab);
    EXPECT_TRUE(await(row("vitest in shop, ")));
    EXPECT_TRUE(find(row("pytest in notes, ")));
    EXPECT_TRUE(find(named("2 cleaned")));
}

TEST_F(Mouse, withAFilterCleanAllEndsOnlyWhatMatches) {
    const Stray shown({.argv = {"vitest", "--watch"}, .cwd = project("shop")});
    const Stray hidden({.argv = {"vitest", "--watch"}, .cwd = project("notes")});
    letStraysAge();
    ASSERT_TRUE(start());
    const auto field = await(named("Filter by command, project, or port"));
    ASSERT_TRUE(field);
    click(*field);
    type("shop");
    ASSERT_TRUE(awaitGone(row("vitest, notes, ")));
    const auto button = await(both(named("Clean all"), ofRole("push button")));
    ASSERT_TRUE(button);

    click(*button);
    EXPECT_TRUE(eventually([&] { return !isRunning(shown.pid()); }));
    EXPECT_TRUE(await(named("No processes match “shop”")));
    EXPECT_TRUE(isRunning(hidden.pid()));
    const auto clear = await(named("Clear filter"));
    ASSERT_TRUE(clear);
    click(*clear);
    EXPECT_TRUE(await(row("vitest, notes, ")));
    EXPECT_THAT(cleaned(), ElementsAre("vitest in shop"));
}
