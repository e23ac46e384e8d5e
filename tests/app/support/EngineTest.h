#pragma once

#include "Vintrel/engine/Preferences.h"
#include "Vintrel/engine/ScanEngine.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/PreparedSources.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include <QSettings>

namespace Vintrel {

using VintrelCore::CustomRule;
using VintrelCore::ProcessItem;
using VintrelCore::ProcessKind;
using VintrelTests::cwdOf;
using VintrelTests::pidsOf;
using VintrelTests::reviewItem;
using VintrelTests::runnerItem;
using VintrelTests::safeItem;
using VintrelTests::spinFor;
using VintrelTests::spinUntil;
namespace KillCore = VintrelCore::KillCore;
namespace Shell = VintrelCore::Shell;

using Field = ScanEngine::Field;
using Fields = std::vector<Field>;
using PIDs = std::vector<int32_t>;
using PIDSet = ScanEngine::PIDSet;

/// An engine in a prepared world, made when it is first asked for.
class EngineTest : public VintrelTests::AppTest {
protected:
    explicit EngineTest(Face face = Face::none) : AppTest(face) {}

    ScanEngine& engine() {
        if (!m_engine) {
            m_engine = std::make_unique<ScanEngine>(notifications, world.sources());
            QObject::connect(m_engine.get(), &ScanEngine::changed, m_engine.get(), [this](Field field) {
                changes.push_back(field);
                if (onChange) {
                    onChange(field);
                }
            });
        }
        return *m_engine;
    }

    void endEngine() { m_engine.reset(); }

    /// Scans, and waits for the results.
    void scan() {
        engine().scan();
        waitForScan();
    }

    /// Scans a world in which these are the candidates.
    void scan(const std::vector<ProcessItem>& candidates) {
        world->found.items = candidates;
        scan();
    }

    void waitForScan() {
        ASSERT_TRUE(spinUntil(
            [this] { return !engine().isScanning() && engine().containerOwners() == world->owners.owners; }));
    }

    /// Scans a world in which these are the candidates, as far as the closed gate.
    void beginScan(const std::vector<ProcessItem>& candidates) {
        world->found.items = candidates;
        world.scanGate().close();
        const int before = world.scanGate().arrivals();
        engine().scan();
        ASSERT_TRUE(spinUntil([&] { return world.scanGate().arrivals() > before; }));
    }

    /// Lets the scan that was begun come to its end.
    void finishScan() {
        world.scanGate().open();
        waitForScan();
    }

    [[nodiscard]] size_t scansBegun() const { return world->scans.size(); }

    [[nodiscard]] const std::vector<UserNotification>& posted() const { return notifications.added; }

    /// Waits until this many notifications were posted in all, and a while for one too many.
    void expectPosted(const std::vector<UserNotification>& expected) {
        EXPECT_TRUE(spinUntil([&] { return posted().size() >= expected.size(); }, std::chrono::seconds(5)));
        spinFor(std::chrono::milliseconds(30));
        ASSERT_EQ(posted().size(), expected.size());
        for (size_t index = 0; index < expected.size(); ++index) {
            EXPECT_EQ(posted()[index].title, expected[index].title);
            EXPECT_EQ(posted()[index].body, expected[index].body);
        }
    }

    /// Writes settings that an engine made afterwards finds.
    void store(const std::function<void(QSettings&)>& setValues) const { settings().fill(setValues); }

    /// Makes an engine that announces new strays.
    void enableNotifications() {
        store([](QSettings& values) { values.setValue("notificationsEnabled", true); });
    }

    [[nodiscard]] static Preferences stored() { return Preferences::load().values; }

    [[nodiscard]] size_t countOf(Field field) const {
        return static_cast<size_t>(std::ranges::count(changes, field));
    }

    [[nodiscard]] bool hasProblem(Problem::Source source) {
        return std::ranges::find(engine().problems(), source, &Problem::source) != engine().problems().end();
    }

    VintrelTests::PreparedSources world;
    VintrelTests::RecordingNotifications notifications;
    Fields changes;                      ///< everything the engine told of, in order
    std::function<void(Field)> onChange; ///< called after each was noted

private:
    std::unique_ptr<ScanEngine> m_engine;
};

/// What a clean came to, once it has.
class CleanOutcome {
public:
    /// To be handed to the engine.
    [[nodiscard]] auto taker() {
        return [this](const CleanSummary& summary, const auto&...) { m_summaries.push_back(summary); };
    }

    [[nodiscard]] size_t count() const { return m_summaries.size(); }

    [[nodiscard]] const CleanSummary& summary() const { return m_summaries.front(); }

    [[nodiscard]] bool wait() const {
        return spinUntil([this] { return !m_summaries.empty(); });
    }

private:
    std::vector<CleanSummary> m_summaries;
};

inline void PrintTo(const CleanSummary& summary, std::ostream* stream) {
    *stream << summary.cleaned << " of " << summary.requested << ", " << summary.reclaimedKB << " KB";
}

} // namespace Vintrel
