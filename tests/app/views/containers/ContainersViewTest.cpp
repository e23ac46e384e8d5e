// What the containers tab shows, and when it asks.
#include "Vintrel/engine/Background.h"
#include "tests/app/views/containers/ContainersTest.h"

#include <QAccessible>
#include <QScrollBar>

namespace Vintrel {

using namespace std::chrono_literals;
using VintrelCore::DockerService::EngineState;

class ContainersViewTest : public ContainersTest {
protected:
    /// Scans a machine on which the containers' engine takes questions like this.
    void scan(EngineState state) {
        world->owners.engine = state;
        engine->scan();
        ASSERT_TRUE(spinUntil([this] { return !engine->isScanning(); }));
    }
};

TEST_F(ContainersViewTest, asksForBothWhenItIsFirstShown) {
    EXPECT_TRUE(prepared.lists.empty());
    EXPECT_TRUE(prepared.stats.empty());
    show();
    EXPECT_EQ(prepared.asked(), Texts{"list"});
    EXPECT_EQ(prepared.stats.size(), 1U);
    view->hide();
    show();
    EXPECT_EQ(prepared.asked(), Texts{"list"});
    EXPECT_EQ(prepared.stats.size(), 1U);
}

TEST_F(ContainersViewTest, asksForBothWithAnotherToken) {
    show();
    view->setRefreshToken(1);
    EXPECT_EQ(prepared.lists.size(), 2U);
    EXPECT_EQ(prepared.stats.size(), 2U);
    view->setRefreshToken(1);
    EXPECT_EQ(prepared.lists.size(), 2U);
    view->setRefreshToken(0);
    EXPECT_EQ(prepared.lists.size(), 3U);
    EXPECT_EQ(prepared.stats.size(), 3U);
}

TEST_F(ContainersViewTest, pollsNothing) {
    show({container("web")});
    spinFor(300ms);
    EXPECT_EQ(prepared.lists.size(), 1U);
    EXPECT_EQ(prepared.stats.size(), 1U);
}

TEST_F(ContainersViewTest, saysThatThereIsNoClient) {
    prepared.client.reset();
    show();
    prepared.lists.back().answer({});
    spinFor(1ms);
    EXPECT_EQ(texts(), Texts{"Docker isn’t installed."});
}

TEST_F(ContainersViewTest, noClientGoesBeforeAnyList) {
    show({container("web")});
    prepared.client.reset();
    refresh({container("web")});
    EXPECT_EQ(texts(), Texts{"Docker isn’t installed."});
}

TEST_F(ContainersViewTest, loadsUntilTheFirstAnswer) {
    show();
    EXPECT_FALSE(view->isLoaded());
    EXPECT_EQ(texts(), Texts{"Loading…"});
    prepared.stats.back().answer({{"id-web", {"1%", "1MiB"}}});
    EXPECT_EQ(texts(), Texts{"Loading…"});
    prepared.lists.back().answer({});
    EXPECT_TRUE(view->isLoaded());
    EXPECT_EQ(texts(), Texts{"No running containers."});
    view->setRefreshToken(1);
    EXPECT_EQ(texts(), Texts{"No running containers."});
}

TEST_F(ContainersViewTest, listsProjectsUnderTheirHeadersAndThenTheRest) {
    show({container("scratch"), container("shop-web", "shop"), container("blog", "blog"),
          container("shop-db", "shop"), container("other")});
    EXPECT_EQ(names(), (Texts{"blog", "shop-web", "shop-db", "scratch", "other"}));
    EXPECT_EQ(texts(),
              (Texts{"blog (1)", "blog", "blog-image", "Up 2 hours",         //
                     "shop (2)", "shop-web", "shop-web-image", "Up 2 hours", //
                     "shop-db", "shop-db-image", "Up 2 hours",               //
                     "scratch", "scratch-image", "Up 2 hours", "other", "other-image", "Up 2 hours"}));
}

TEST_F(ContainersViewTest, figuresFillInTheRowsThatHaveThem) {
    show({container("web"), container("db")});
    prepared.stats.back().answer({{"id-web", {"0.15%", "12.5MiB"}}, {"id-gone", {"9%", "9GiB"}}});
    spinFor(1ms);
    EXPECT_EQ(texts(), (Texts{"web", "web-image", "Up 2 hours", "·", "0.15% · 12.5MiB", "db", "db-image",
                              "Up 2 hours"}));
}

TEST_F(ContainersViewTest, figuresMayComeFirst) {
    show();
    prepared.stats.back().answer({{"id-web", {"0.15%", "12.5MiB"}}});
    prepared.lists.back().answer({container("web")});
    spinFor(1ms);
    EXPECT_EQ(texts(), (Texts{"web", "web-image", "Up 2 hours", "·", "0.15% · 12.5MiB"}));
}

TEST_F(ContainersViewTest, figuresReplaceThoseBefore) {
    show({container("web"), container("db")}, {{"id-web", {"1%", "1MiB"}}});
    view->reloadStats();
    prepared.stats.back().answer({{"id-db", {"2%", "2MiB"}}});
    spinFor(1ms);
    EXPECT_EQ(texts(),
              (Texts{"web", "web-image", "Up 2 hours", "db", "db-image", "Up 2 hours", "·", "2% · 2MiB"}));
    EXPECT_EQ(view->stats().size(), 1U);
}

TEST_F(ContainersViewTest, failedFiguresTakeThoseBeforeAway) {
    show({container("web")}, {{"id-web", {"1%", "1MiB"}}});
    view->reloadStats();
    prepared.stats.back().answer({});
    EXPECT_EQ(texts(), (Texts{"web", "web-image", "Up 2 hours"}));
}

TEST_F(ContainersViewTest, figuresStandAloneWithoutAStatus) {
    Container silent = container("web");
    silent.status = "";
    show({silent}, {{"id-web", {"1%", "1MiB"}}});
    EXPECT_EQ(texts(), (Texts{"web", "web-image", "1% · 1MiB"}));
}

TEST_F(ContainersViewTest, aFailedListIsAnEmptyOne) {
    show({container("web", "shop")});
    refresh({});
    EXPECT_EQ(texts(), Texts{"No running containers."});
    EXPECT_TRUE(rows().empty());
}

TEST_F(ContainersViewTest, theListAskedForLastIsShown) {
    show();
    view->reload();
    prepared.lists[1].answer({container("new")});
    prepared.lists[0].answer({container("old")});
    EXPECT_EQ(view->containers(), Containers{container("new")});
}

TEST_F(ContainersViewTest, anEarlierListIsShownUntilTheLaterOneComes) {
    show();
    view->reload();
    prepared.lists[0].answer({container("old")});
    EXPECT_EQ(view->containers(), Containers{container("old")});
    prepared.lists[1].answer({container("new")});
    EXPECT_EQ(view->containers(), Containers{container("new")});
}

TEST_F(ContainersViewTest, theFiguresAskedForLastAreShown) {
    show({container("web")});
    view->reloadStats();
    view->reloadStats();
    prepared.stats[2].answer({{"id-web", {"2%", "2MiB"}}});
    prepared.stats[1].answer({{"id-web", {"1%", "1MiB"}}});
    EXPECT_EQ(view->stats().at("id-web").cpu, "2%");
}

TEST_F(ContainersViewTest, aSecondLineTellsOfAnEngineThatDoesNotAnswer) {
    show({});
    EXPECT_EQ(texts(), Texts{"No running containers."});
    const auto expectTexts = [this](const Texts& expected) {
        EXPECT_TRUE(spinUntil([&] { return texts() == expected; })) << ::testing::PrintToString(texts());
    };
    scan(EngineState::notAnswering);
    expectTexts({"No running containers.", "The container engine does not answer"});
    scan(EngineState::notPermitted);
    expectTexts({"No running containers.", "This account may not use the container engine"});
    scan(EngineState::answering);
    expectTexts({"No running containers."});
}

TEST_F(ContainersViewTest, anEngineThatDoesNotAnswerIsFoundOutWhenTheTabIsShown) {
    world->owners.engine = EngineState::notPermitted;
    show({});
    const Texts expected{"No running containers.", "This account may not use the container engine"};
    EXPECT_TRUE(spinUntil([&] { return texts() == expected; })) << ::testing::PrintToString(texts());
}

TEST_F(ContainersViewTest, aListHasNoSecondLine) {
    show({container("web")});
    scan(EngineState::notAnswering);
    EXPECT_EQ(texts(), (Texts{"web", "web-image", "Up 2 hours"}));
}

TEST_F(ContainersViewTest, itsQuestionsEndWithIt) {
    show();
    view.reset();
    EXPECT_TRUE(prepared.lists.back().owner.isNull());
    EXPECT_TRUE(prepared.stats.back().owner.isNull());
}

TEST_F(ContainersViewTest, answersFromTheBackgroundAfterItsEndAreLost) {
    VintrelTests::Gate gate;
    gate.close();
    ContainerSources sources = prepared.sources();
    bool hasAnswered = false;
    sources.list = [&](QObject* owner, const DockerService::OnContainers& onComplete) {
        const auto work = [&gate](int) {
            gate.pass();
            return Containers{container("web")};
        };
        Background::shared().run(owner, work, [&hasAnswered, onComplete](const Containers& containers) {
            hasAnswered = true;
            onComplete(containers);
        });
    };
    auto other = std::make_unique<ContainersView>(*engine, sources, nullptr);
    other->show();
    ASSERT_TRUE(spinUntil([&] { return gate.arrivals() == 1; }));
    other.reset();
    gate.open();
    spinFor(100ms);
    EXPECT_FALSE(hasAnswered);
}

TEST_F(ContainersViewTest, theListScrollsInside) {
    Containers many;
    for (int number = 0; number < 40; ++number) {
        many.push_back(container("c" + std::to_string(number)));
    }
    show(many);
    const auto* const list = view->findChild<ContainerList*>();
    EXPECT_EQ(view->height(), 480);
    EXPECT_GT(list->verticalScrollBar()->maximum(), 1'000);
    EXPECT_FALSE(list->horizontalScrollBar()->isVisible());
    EXPECT_EQ(list->frameShape(), QFrame::NoFrame);
    EXPECT_GT(view->sizeHint().height(), 1'480);
}

TEST_F(ContainersViewTest, aLongNameTakesNoMoreThanTheWidth) {
    Container wide = container("web", std::string(300, 'p'));
    wide.name = std::string(300, 'n');
    wide.image = std::string(300, 'i');
    wide.status = std::string(300, 's');
    show({wide}, {{"id-web", {"0.15%", "12.5MiB"}}});
    EXPECT_EQ(view->width(), 400);
    const ContainerRow* const wideRow = row("web");
    EXPECT_LE(wideRow->mapTo(view.get(), QPoint(wideRow->width(), 0)).x(), 400);
    const QWidget* const last = wideRow->button(ContainerAction::remove);
    EXPECT_LE(last->geometry().right(), wideRow->width());
    for (const TextLabel* const label : wideRow->findChildren<TextLabel*>()) {
        EXPECT_LE(label->geometry().right(), wideRow->button(ContainerAction::restart)->x());
        if (label->text() == "0.15% · 12.5MiB") {
            EXPECT_GE(label->width(), label->sizeHint().width());
        }
    }
}

TEST_F(ContainersViewTest, aRowReadsAsASentence) {
    show({container("web")}, {{"id-web", {"0.15%", "12.5MiB"}}});
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(row("web"));
    ASSERT_NE(accessible, nullptr);
    EXPECT_EQ(accessible->text(QAccessible::Name),
              "web, image web-image, Up 2 hours, processor 0.15%, memory 12.5MiB");
    EXPECT_EQ(accessible->role(), QAccessible::ListItem);
}

} // namespace Vintrel
