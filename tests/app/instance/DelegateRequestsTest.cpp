// What the program does when somebody outside asks.
#include "Vintrel/shell/DelegateRequests.h"

#include "tests/app/shell/ShellTest.h"

#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace Vintrel {

using VintrelTests::reviewItem;
using VintrelTests::safeItem;

namespace {

class NotedInstance : public ApplicationInstance {
public:
    std::vector<std::string> actions;

    [[nodiscard]] Claim claim() override { return Claim::granted; }

    bool activateAction(const std::string& name) override {
        actions.push_back(name);
        return true;
    }
};

class DelegateRequestsTest : public ShellTest {
protected:
    /// From now on there is a delegate.
    AppDelegate& serve() {
        launch();
        requests.serve(*delegate);
        return *delegate;
    }

    [[nodiscard]] bool isAtRest() const { return !delegate->engine().isScanning(); }

    [[nodiscard]] std::vector<std::string> titles() const {
        std::vector<std::string> titles;
        for (const UserNotification& notification : notifications.added) {
            titles.push_back(notification.title);
        }
        return titles;
    }

    NotedInstance instance;
    DelegateRequests requests{notifications};
};

using Titles = std::vector<std::string>;

} // namespace

TEST_F(DelegateRequestsTest, openThePopover) {
    serve();
    EXPECT_FALSE(delegate->popover().isVisible());
    requests.activate({});
    EXPECT_TRUE(delegate->popover().isVisible());
}

TEST_F(DelegateRequestsTest, carryLinksOutWithoutThePopover) {
    world->found.items = {safeItem(1)};
    serve();
    requests.open({"vintrel://clean"});
    EXPECT_TRUE(spinUntil([this] { return !notifications.added.empty(); }));
    EXPECT_EQ(titles(), Titles{"Cleaned 1 of 1"});
    EXPECT_FALSE(delegate->popover().isVisible());
}

TEST_F(DelegateRequestsTest, carryLinksOutInEverySpelling) {
    serve();
    const std::vector<std::string> links{"vintrel://clean", "VINTREL://Clean", "vintrel:clean",
                                         "vintrel:///clean", "vintrel://clean/now?x=1"};
    for (size_t count = 1; count <= links.size(); ++count) {
        requests.open({links[count - 1]});
        EXPECT_TRUE(spinUntil([&] { return notifications.added.size() >= count; })) << links[count - 1];
    }
    spinFor(30ms);
    EXPECT_EQ(titles(), Titles(links.size(), "Nothing to clean"));
}

TEST_F(DelegateRequestsTest, carryLinksOutInTheirOrder) {
    world->found.items = {safeItem(1)};
    serve();
    requests.open({"vintrel://scan", "vintrel://nothing", "vintrel://clean"});
    EXPECT_TRUE(spinUntil([this] { return !notifications.added.empty() && isAtRest(); }));
    EXPECT_EQ(titles(), Titles{"Cleaned 1 of 1"});
    EXPECT_EQ(world->scans.size(), 2U) << "the clean waits for the scan, and another one follows it";
}

TEST_F(DelegateRequestsTest, disregardUnknownLinks) {
    serve();
    requests.open({"vintrelx://scan", "vintrel://", "vintrel:", "https://clean", "", "vintrel://cleaner"});
    EXPECT_FALSE(delegate->engine().isScanning());
    spinFor(50ms);
    EXPECT_EQ(titles(), Titles());
    EXPECT_TRUE(world->scans.empty());
}

TEST_F(DelegateRequestsTest, tellTheAnswerToWhoCannotHearIt) {
    world->found.items = {reviewItem(1)};
    serve();
    requests.performAndTell(*VintrelShortcuts::find("clean-safe-strays"));
    EXPECT_TRUE(spinUntil([this] { return !notifications.added.empty(); }));
    spinFor(30ms);
    const std::vector<UserNotification> expected{
        {.title = "Clean Safe Strays", .body = "No unprotected safe-to-clean processes."}};
    EXPECT_EQ(notifications.added, expected);
    EXPECT_TRUE(world->killings.empty());
}

TEST_F(DelegateRequestsTest, carryOutWhatTheStartAsksFor) {
    serve();
    requests.carryOut({.isToShow = true, .urls = {"vintrel://scan"}, .action = "scan-now"}, instance);
    EXPECT_TRUE(delegate->popover().isVisible());
    EXPECT_TRUE(delegate->engine().isScanning());
    EXPECT_EQ(instance.actions, std::vector<std::string>{"scan-now"});
}

TEST_F(DelegateRequestsTest, stayInTheBackgroundWhenTheStartAsksForNothing) {
    serve();
    for (const StartRequest& request : {StartRequest{}, StartRequest{.isService = true}}) {
        requests.carryOut(request, instance);
    }
    EXPECT_FALSE(delegate->popover().isVisible());
    EXPECT_FALSE(delegate->engine().isScanning());
    EXPECT_TRUE(instance.actions.empty());
}

TEST_F(DelegateRequestsTest, areWithoutEffectWhenThereIsNoDelegate) {
    const auto askForAll = [this] {
        requests.activate({});
        requests.open({"vintrel://clean"});
        requests.performAndTell(*VintrelShortcuts::find("scan-now"));
    };
    askForAll();
    serve();
    delegate.reset();
    askForAll();
    EXPECT_EQ(titles(), Titles());
}

} // namespace Vintrel
