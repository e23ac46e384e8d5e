// What the buttons of a row do.
#include "tests/app/views/containers/ContainersTest.h"

namespace Vintrel {

class ContainerActionsTest : public ContainersTest {
protected:
    void click(const std::string& name, ContainerAction action) const {
        QTest::mouseClick(button(name, action), Qt::LeftButton);
    }

    const Containers webAndDB{container("web"), container("db")};
};

TEST_F(ContainerActionsTest, theButtonsSayWhatTheyDo) {
    show(webAndDB);
    EXPECT_EQ(button("web", ContainerAction::restart)->accessibleName(), "Restart web");
    EXPECT_EQ(button("web", ContainerAction::stop)->accessibleName(), "Stop web");
    EXPECT_EQ(button("web", ContainerAction::remove)->accessibleName(), "Stop and remove");
    EXPECT_EQ(button("db", ContainerAction::stop)->toolTip(), "Stop db");
    EXPECT_EQ(button("db", ContainerAction::remove)->toolTip(), "Stop and remove");
}

TEST_F(ContainerActionsTest, theButtonsHaveTheirSymbols) {
    show(webAndDB);
    EXPECT_EQ(button("web", ContainerAction::restart)->symbolName(), "arrow.clockwise.circle");
    EXPECT_EQ(button("web", ContainerAction::stop)->symbolName(), "stop.circle");
    EXPECT_EQ(button("web", ContainerAction::remove)->symbolName(), "trash");
}

TEST_F(ContainerActionsTest, theHelpFollowsAContainersName) {
    show(webAndDB);
    Container renamed = container("web");
    renamed.name = "front";
    refresh({renamed});
    EXPECT_EQ(button("web", ContainerAction::restart)->toolTip(), "Restart front");
    EXPECT_EQ(button("web", ContainerAction::stop)->accessibleName(), "Stop front");
}

TEST_F(ContainerActionsTest, restartRunsOneCommand) {
    show(webAndDB);
    click("db", ContainerAction::restart);
    EXPECT_EQ(prepared.asked(), (Texts{"list", "restart id-db"}));
    EXPECT_EQ(prepared.lists.back().owner, view.get());
}

TEST_F(ContainerActionsTest, stopRunsOneCommand) {
    show(webAndDB);
    click("web", ContainerAction::stop);
    EXPECT_EQ(prepared.asked(), (Texts{"list", "stop id-web"}));
    EXPECT_EQ(prepared.lists.back().owner, view.get());
}

TEST_F(ContainerActionsTest, removeStopsAndRemovesWithoutAsking) {
    show(webAndDB);
    click("web", ContainerAction::remove);
    EXPECT_EQ(prepared.asked(), (Texts{"list", "remove id-web"}));
    EXPECT_EQ(prepared.lists.back().owner, view.get());
}

TEST_F(ContainerActionsTest, theFreshListReplacesTheOneBefore) {
    show(webAndDB);
    click("web", ContainerAction::stop);
    prepared.lists.back().answer({container("db")});
    EXPECT_EQ(view->containers(), Containers{container("db")});
    EXPECT_EQ(names(), Texts{"db"});
    EXPECT_EQ(prepared.lists.size(), 2U) << "nothing more is asked";
}

TEST_F(ContainerActionsTest, aFailedActionLeavesTheRow) {
    show(webAndDB);
    ContainerRow* const web = row("web");
    click("web", ContainerAction::stop);
    prepared.lists.back().answer(webAndDB);
    EXPECT_EQ(names(), (Texts{"web", "db"}));
    EXPECT_EQ(row("web"), web);
    EXPECT_TRUE(isEnabled("web"));
}

TEST_F(ContainerActionsTest, theButtonsAreDisabledUntilTheFreshList) {
    show(webAndDB);
    click("web", ContainerAction::restart);
    EXPECT_FALSE(isEnabled("web"));
    EXPECT_TRUE(button("web", ContainerAction::restart)->isVisible());
    EXPECT_TRUE(isEnabled("db"));
    click("web", ContainerAction::remove);
    EXPECT_EQ(prepared.lists.size(), 2U) << "a disabled button does nothing";
    prepared.lists.back().answer(webAndDB);
    EXPECT_TRUE(isEnabled("web"));
}

TEST_F(ContainerActionsTest, twoActionsEndEachByItself) {
    show(webAndDB);
    click("web", ContainerAction::restart);
    click("db", ContainerAction::restart);
    prepared.lists[2].answer(webAndDB);
    EXPECT_FALSE(isEnabled("web"));
    EXPECT_TRUE(isEnabled("db"));
}

TEST_F(ContainerActionsTest, anotherListDoesNotEndAnAction) {
    show(webAndDB);
    click("web", ContainerAction::restart);
    refresh({container("db"), container("web")});
    EXPECT_EQ(names(), (Texts{"db", "web"}));
    EXPECT_FALSE(isEnabled("web"));
}

TEST_F(ContainerActionsTest, figuresDoNotEndAnAction) {
    show(webAndDB);
    click("web", ContainerAction::restart);
    view->reloadStats();
    prepared.stats.back().answer({{"id-web", {"1%", "1MiB"}}});
    EXPECT_FALSE(isEnabled("web"));
}

TEST_F(ContainerActionsTest, aRowThatComesBackMeanwhileIsStillBusy) {
    show(webAndDB);
    click("web", ContainerAction::restart);
    refresh({container("db")});
    EXPECT_EQ(names(), Texts{"db"});
    refresh(webAndDB);
    EXPECT_FALSE(isEnabled("web"));
}

TEST_F(ContainerActionsTest, afterAListThatWasAskedForMeanwhileItAsksAgain) {
    show(webAndDB);
    click("web", ContainerAction::stop);
    refresh(webAndDB); // perhaps from before the container stopped
    prepared.lists[1].answer({container("db")});
    EXPECT_EQ(prepared.asked(), (Texts{"list", "stop id-web", "list", "list"}));
    EXPECT_EQ(names(), (Texts{"web", "db"})) << "the list asked for last";
    EXPECT_FALSE(isEnabled("web"));
    prepared.lists[3].answer({container("db")});
    EXPECT_EQ(names(), Texts{"db"});
}

TEST_F(ContainerActionsTest, aListStillUnderWayDoesNotBringBackWhatHasStopped) {
    show(webAndDB);
    click("web", ContainerAction::stop);
    view->reload();
    prepared.lists[1].answer({container("db")});
    EXPECT_EQ(names(), Texts{"db"});
    EXPECT_EQ(prepared.lists.size(), 4U);
    prepared.lists[3].answer({container("db")});
    prepared.lists[2].answer(webAndDB);
    EXPECT_EQ(names(), Texts{"db"});
}

TEST_F(ContainerActionsTest, aContainerMayGoWhileItsActionIsUnderWay) {
    show(webAndDB);
    click("web", ContainerAction::remove);
    refresh({});
    prepared.lists[1].answer({});
    prepared.lists.back().answer({container("web")});
    EXPECT_TRUE(isEnabled("web"));
}

TEST_F(ContainerActionsTest, answersThatComeAtOnceAreTakenToo) {
    ContainerSources sources = prepared.sources();
    sources.list = [this](QObject*, const DockerService::OnContainers& onComplete) { onComplete(webAndDB); };
    sources.remove = [](const std::string&, QObject*, const DockerService::OnContainers& onComplete) {
        onComplete({});
    };
    view = std::make_unique<ContainersView>(*engine, sources, nullptr);
    show();
    click("web", ContainerAction::remove);
    EXPECT_TRUE(rows().empty());
    spinFor(std::chrono::milliseconds(1));
    EXPECT_EQ(texts(), Texts{"No running containers."});
}

} // namespace Vintrel
