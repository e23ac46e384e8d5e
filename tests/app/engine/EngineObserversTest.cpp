// Observers may act on what they are told while they are told.
#include "tests/app/support/EngineTest.h"

#include <string>

#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

class EngineObservers : public EngineTest {};

TEST_F(EngineObservers, mayDismissWhileItemsArePublished) {
    onChange = [this](Field field) {
        if (field == Field::items && !engine().items().empty()) {
            engine().dismiss(engine().items().front().pid);
        }
    };
    world->found.listeningPorts = {{9, {3'000}}};
    scan({safeItem(1), safeItem(2), safeItem(3)});
    EXPECT_TRUE(engine().items().empty());
    EXPECT_EQ(engine().dismissedPIDs(), (PIDSet{1, 2, 3}));
    EXPECT_EQ(engine().listeningPorts().size(), 1U) << "the rest is published all the same";
    EXPECT_EQ(countOf(Field::items), 4U);
}

TEST_F(EngineObservers, mayDismissWhileTheScanEnds) {
    onChange = [this](Field field) {
        if (field == Field::isScanning && !engine().isScanning()) {
            engine().dismiss(1);
        }
    };
    scan({safeItem(1), safeItem(2)});
    EXPECT_EQ(pidsOf(engine().items()), PIDs{2});
}

TEST_F(EngineObservers, mayAskForAScanWhileOneIsPublished) {
    onChange = [this](Field field) {
        if (field == Field::items) {
            engine().scan();
        }
    };
    scan({safeItem(1)});
    spinFor(50ms);
    EXPECT_EQ(scansBegun(), 1U) << "one is under way until all is published";
}

TEST_F(EngineObservers, mayAskForAScanWhenOneHasEnded) {
    onChange = [this](Field field) {
        if (field == Field::isScanning && !engine().isScanning() && scansBegun() < 3) {
            world->found.items.push_back(safeItem(static_cast<int32_t>(10 + scansBegun())));
            engine().scan();
        }
    };
    scan({safeItem(1)});
    EXPECT_TRUE(spinUntil([this] { return scansBegun() == 3 && !engine().isScanning(); }));
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 11, 12}));
    EXPECT_EQ(countOf(Field::isScanning), 6U);
}

TEST_F(EngineObservers, mayAskForAScanWhenOneHasEndedAndNewStraysAreAnnounced) {
    enableNotifications();
    scan({safeItem(1)});
    onChange = [this](Field field) {
        if (field == Field::isScanning && !engine().isScanning() && scansBegun() == 2) {
            engine().scan();
        }
    };
    scan({safeItem(1), safeItem(2)});
    EXPECT_TRUE(spinUntil([this] { return scansBegun() == 3 && !engine().isScanning(); }));
    expectPosted({{.title = "New stray process", .body = "Vite: bin/vite"}});
}

TEST_F(EngineObservers, mayChangeTheSettingThatTheyAreToldOf) {
    onChange = [this](Field field) {
        if (field == Field::ignoredNames && engine().ignoredNames().size() < 3) {
            Texts longer = engine().ignoredNames();
            longer.push_back("more");
            engine().setIgnoredNames(longer);
        }
    };
    engine().setIgnoredNames({"node"});
    EXPECT_EQ(engine().ignoredNames(), (Texts{"node", "more", "more"}));
    EXPECT_EQ(stored().ignoredNames, (Texts{"node", "more", "more"}));
    EXPECT_EQ(countOf(Field::ignoredNames), 3U);
}

TEST_F(EngineObservers, mayHandASettingItsOwnValue) {
    engine().setIgnoredNames({"node", "bun"});
    changes.clear();
    engine().setIgnoredNames(engine().ignoredNames());
    engine().setProtectedProjects(engine().protectedProjects());
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(engine().ignoredNames(), (Texts{"node", "bun"}));
}

TEST_F(EngineObservers, mayChangeAnotherSetting) {
    onChange = [this](Field field) {
        if (field == Field::elapsedThreshold) {
            engine().setScanInterval(33);
            engine().setCustomRules({{"a", "b"}});
        }
    };
    engine().setElapsedThreshold(11);
    EXPECT_EQ(stored().elapsedThreshold, 11);
    EXPECT_EQ(stored().scanInterval, 33);
    EXPECT_EQ(stored().customRules.size(), 1U);
    EXPECT_EQ(changes, (Fields{Field::elapsedThreshold, Field::scanInterval, Field::customRules}));
}

TEST_F(EngineObservers, mayTurnAnnouncementsOffAgain) {
    onChange = [this](Field field) {
        if (field == Field::notificationsEnabled) {
            engine().setNotificationsEnabled(false);
        }
    };
    engine().setNotificationsEnabled(true);
    spinFor(50ms);
    EXPECT_FALSE(engine().notificationsEnabled());
    EXPECT_FALSE(stored().notificationsEnabled);
    EXPECT_EQ(countOf(Field::notificationsEnabled), 2U);
}

TEST_F(EngineObservers, maySweepWhileItemsArePublished) {
    CleanOutcome outcome;
    onChange = [&](Field field) {
        if (field == Field::cwds && outcome.count() == 0 && world->killings.empty()) {
            engine().cleanAllSafe(outcome.taker());
        }
    };
    world->found.cwds = {{1, cwdOf("~/work")}};
    scan({safeItem(1)});
    ASSERT_TRUE(outcome.wait());
    EXPECT_EQ(outcome.summary(), (CleanSummary{1, 1, 1'024}));
    EXPECT_EQ(world->killings.size(), 1U);
}

TEST_F(EngineObservers, mayEndARowWhenItIsPublished) {
    int results = 0;
    onChange = [&](Field field) {
        if (field == Field::items && !engine().items().empty()) {
            engine().kill(engine().items().front(), [&](const KillCore::KillResult&) { ++results; });
        }
    };
    scan({safeItem(1)});
    EXPECT_TRUE(spinUntil([&] { return results == 1; }));
    EXPECT_EQ(world->killings.size(), 1U);
}

TEST_F(EngineObservers, whoIsToldOfACleanMayAskForAnother) {
    scan({safeItem(1)});
    CleanOutcome second;
    engine().cleanAllSafe([&](const CleanSummary&) { engine().cleanAllSafe(second.taker()); });
    ASSERT_TRUE(second.wait());
    EXPECT_EQ(second.count(), 1U);
}

TEST_F(EngineObservers, whoIsToldOfACleanMayEndTheEngine) {
    scan({safeItem(1)});
    bool isTold = false;
    engine().cleanAllSafe([&](const CleanSummary&) {
        isTold = true;
        endEngine();
    });
    EXPECT_TRUE(spinUntil([&] { return isTold; }));
    spinFor(50ms);
}

TEST_F(EngineObservers, severalAreAllToldOnce) {
    int first = 0;
    int second = 0;
    QObject::connect(&engine(), &ScanEngine::changed, [&](Field) { ++first; });
    QObject::connect(&engine(), &ScanEngine::changed, [&](Field) { ++second; });
    engine().setIgnoredNames({"node"});
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);
}

} // namespace Vintrel
