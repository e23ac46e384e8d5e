// One scan after another: what is published, and in which order.
#include "tests/app/support/EngineTest.h"

#include <algorithm>
#include <string>

#include <QThread>
#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;

class EngineScan : public EngineTest {
protected:
    void prepareEverything() {
        world->found.listeningPorts = {{1, {3'000, 5'173}}, {9, {8'080}}};
        world->owners = {.owners = {{2, "shop-db"}},
                         .engine = VintrelCore::DockerService::EngineState::answering};
        world->found.items = {safeItem(1), reviewItem(2)};
        world->found.managers = {{2, "mydev.service"}};
        world->found.cwds = {{1, cwdOf("~/work/shop")}};
        world->found.processTable = {{1, {.ppid = 0, .label = "init"}}, {2, {.ppid = 1, .label = "vite"}}};
    }
};

TEST_F(EngineScan, returnsAtOnceAndDeliversLater) {
    world.scanGate().close();
    world->found.items = {safeItem(1)};
    engine().scan();
    EXPECT_TRUE(engine().isScanning());
    EXPECT_TRUE(engine().items().empty());
    world.scanGate().open();
    waitForScan();
    EXPECT_EQ(pidsOf(engine().items()), PIDs{1});
}

TEST_F(EngineScan, publishesAllThatWasFound) {
    prepareEverything();
    scan();
    EXPECT_EQ(engine().items(), (std::vector{safeItem(1), reviewItem(2)}));
    EXPECT_EQ(engine().listeningPorts(), world->found.listeningPorts);
    EXPECT_EQ(engine().containerOwners(), world->owners.owners);
    EXPECT_EQ(engine().cwds(), world->found.cwds);
    EXPECT_EQ(engine().processTable(), world->found.processTable);
    EXPECT_EQ(engine().managers(), world->found.managers);
    EXPECT_EQ(engine().previousPIDs(), (PIDSet{1, 2}));
    EXPECT_TRUE(engine().openFiles().empty());
    EXPECT_TRUE(engine().problems().empty());
}

TEST_F(EngineScan, publishesInOrder) {
    prepareEverything();
    scan();
    std::erase(changes, Field::managers);
    EXPECT_EQ(changes, (Fields{Field::isScanning, Field::items, Field::listeningPorts, Field::cwds,
                               Field::processTable, Field::isScanning, Field::containerOwners}))
        << "containers are late";
}

TEST_F(EngineScan, everyFieldHasItsNewValueWhenItIsToldOf) {
    prepareEverything();
    std::vector<bool> seen;
    onChange = [&](Field field) {
        switch (field) {
        case Field::isScanning:
            seen.push_back(engine().isScanning() == (countOf(Field::isScanning) == 1));
            break;
        case Field::items:
            seen.push_back(engine().items().size() == 2);
            break;
        case Field::listeningPorts:
            seen.push_back(engine().listeningPorts().size() == 2);
            break;
        case Field::containerOwners:
            seen.push_back(engine().containerOwners().size() == 1);
            break;
        case Field::cwds:
            seen.push_back(engine().cwds().size() == 1);
            break;
        case Field::processTable:
            seen.push_back(engine().processTable().size() == 2);
            break;
        default:
            break;
        }
    };
    scan();
    EXPECT_EQ(seen, std::vector<bool>(7, true));
}

TEST_F(EngineScan, thePreviousPidsAreNotedBeforeTheItemsAreTold) {
    std::optional<PIDSet> noted;
    onChange = [&](Field field) {
        if (field == Field::items) {
            noted = engine().previousPIDs();
        }
    };
    scan({safeItem(1), safeItem(2)});
    EXPECT_EQ(noted, (PIDSet{1, 2}));
}

TEST_F(EngineScan, isScanningUntilTheHistoryIsWritten) {
    prepareEverything();
    std::vector<size_t> samples;
    onChange = [&](Field field) {
        if (field == Field::processTable || (field == Field::isScanning && !engine().isScanning())) {
            samples.push_back(engine().scanHistory().samples(1, safeItem(1).startTime).size());
            EXPECT_EQ(engine().isScanning(), field == Field::processTable);
        }
    };
    scan();
    EXPECT_EQ(samples, (std::vector<size_t>{0, 1}));
}

TEST_F(EngineScan, whatIsTheSameAsBeforeIsNotToldAgain) {
    prepareEverything();
    scan();
    changes.clear();
    scan();
    EXPECT_EQ(changes, (Fields{Field::isScanning, Field::isScanning}));
}

TEST_F(EngineScan, onlyWhatIsOtherThanBeforeIsTold) {
    prepareEverything();
    scan();
    changes.clear();
    world->found.listeningPorts.erase(9);
    world->found.items.pop_back();
    scan();
    EXPECT_EQ(changes, (Fields{Field::isScanning, Field::items, Field::listeningPorts, Field::isScanning}));
}

TEST_F(EngineScan, ofAnEmptyWorldTellsNothingButItself) {
    scan();
    EXPECT_EQ(changes, (Fields{Field::isScanning, Field::isScanning}));
    EXPECT_EQ(engine().previousPIDs(), PIDSet{}) << "a scan has completed";
}

TEST_F(EngineScan, whatIsGoneIsForgotten) {
    prepareEverything();
    scan();
    world->found = {};
    world->owners = {};
    scan();
    EXPECT_TRUE(engine().items().empty());
    EXPECT_TRUE(engine().listeningPorts().empty());
    EXPECT_TRUE(engine().containerOwners().empty());
    EXPECT_TRUE(engine().cwds().empty());
    EXPECT_TRUE(engine().processTable().empty());
    EXPECT_TRUE(engine().managers().empty());
    EXPECT_EQ(engine().previousPIDs(), PIDSet{});
}

TEST_F(EngineScan, aSecondOneMeanwhileIsDropped) {
    beginScan({safeItem(1)});
    changes.clear();
    engine().scan();
    engine().scan();
    EXPECT_TRUE(engine().isScanning());
    EXPECT_TRUE(changes.empty());
    finishScan();
    spinFor(50ms);
    EXPECT_EQ(scansBegun(), 1U) << "it is not made up for";
    EXPECT_FALSE(engine().isScanning());
    EXPECT_EQ(countOf(Field::isScanning), 1U);
}

TEST_F(EngineScan, anotherOneWorksOnceTheFirstHasEnded) {
    scan({safeItem(1)});
    scan({safeItem(1), safeItem(2)});
    EXPECT_EQ(scansBegun(), 2U);
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{1, 2}));
    EXPECT_EQ(engine().previousPIDs(), (PIDSet{1, 2}));
}

TEST_F(EngineScan, keepsTheOrderInWhichItemsWereFound) {
    scan({safeItem(30), reviewItem(4), safeItem(17), reviewItem(2)});
    EXPECT_EQ(pidsOf(engine().items()), (PIDs{30, 4, 17, 2}));
}

TEST_F(EngineScan, asksOffTheMainThreadAndTellsOnIt) {
    prepareEverything();
    std::vector<QThread*> tellers;
    onChange = [&](Field) { tellers.push_back(QThread::currentThread()); };
    scan();
    EXPECT_FALSE(world->threads.empty());
    EXPECT_EQ(std::ranges::count(world->threads, std::this_thread::get_id()), 0);
    EXPECT_EQ(std::ranges::count(tellers, engine().thread()), static_cast<long>(changes.size()));
}

TEST_F(EngineScan, theMainThreadGoesOnMeanwhile) {
    beginScan({safeItem(1)});
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(10);
    EXPECT_TRUE(spinUntil([&] { return ticks >= 5; }));
    EXPECT_TRUE(engine().isScanning());
    finishScan();
}

TEST_F(EngineScan, manyInARowWork) {
    for (int32_t round = 1; round <= 200; ++round) {
        scan({safeItem(round), safeItem(round + 1)});
        ASSERT_EQ(pidsOf(engine().items()), (PIDs{round, round + 1}));
    }
    EXPECT_EQ(scansBegun(), 200U);
}

} // namespace Vintrel
