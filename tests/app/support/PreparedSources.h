#pragma once

#include "Vintrel/engine/ScanSources.h"
#include "Vintrel/engine/UserNotifications.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/docker/DockerCore.h"
#include "VintrelCore/docker/DockerService.h"
#include "VintrelCore/log/CPUSampler.h"
#include "VintrelCore/log/CleanEvent.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/terminate/KillResult.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace VintrelTests {

/// Where a test holds up work that is under way. Open at first.
class Gate {
public:
    void close() { set(true); }

    void open() { set(false); }

    /// How many have come to the gate so far, open or not.
    [[nodiscard]] int arrivals() const {
        const std::scoped_lock lock(m_mutex);
        return m_arrivals;
    }

    /// Waits until the gate is open.
    void pass() {
        std::unique_lock lock(m_mutex);
        ++m_arrivals;
        m_opened.wait(lock, [this] { return !m_isClosed; });
    }

private:
    void set(bool isClosed) {
        {
            const std::scoped_lock lock(m_mutex);
            m_isClosed = isClosed;
        }
        m_opened.notify_all();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_isClosed = false;
    int m_arrivals = 0;
};

struct State;

/// The outside world of an engine: what it answers is prepared, and what it was asked is kept.
class PreparedSources {
public:
    struct Killing {
        std::vector<VintrelCore::ProcessItem> items;
        VintrelCore::DockerCore::OwnerMap owners;
    };

    struct World {
        // Answers.
        Vintrel::ScanSources::Listeners listeners{};
        VintrelCore::DockerService::OwnersAnswer owners{};
        Vintrel::ScanSources::Candidates candidates{};
        Vintrel::ScanSources::Directories directories{};
        VintrelCore::ScanCore::PIDSet ended{};
        VintrelCore::ScanCore::PIDSet ofOtherAccounts{};
        VintrelCore::AncestryResolver::ProcessTable processTable{};
        VintrelCore::CPUSampler::Reading reading{};
        VintrelCore::OpenFileList openFiles{};
        /// By pid; whoever is not here ends as asked.
        std::unordered_map<int32_t, VintrelCore::KillCore::KillResult> killResults{};
        VintrelCore::Instant now{std::chrono::seconds(1'700'000'000)};

        // Questions.
        std::vector<VintrelCore::ScanCore::EnumerateOptions> enumerations{};
        std::vector<Vintrel::ScanSources::DirectoriesQuery> directoryQueries{};
        std::vector<std::vector<int32_t>> sampled{}; ///< pids of the items whose processor time was read
        std::vector<std::vector<int32_t>> openFilesQueries{};
        std::vector<Killing> killings{};
        std::vector<std::thread::id> threads{}; ///< on which the sources were called
    };

    PreparedSources() = default;
    PreparedSources(const PreparedSources&) = delete;
    PreparedSources& operator=(const PreparedSources&) = delete;

    ~PreparedSources() { openGates(); }

    [[nodiscard]] Vintrel::ScanSources sources() const;

    /// The world, for one expression: no source is answering meanwhile.
    class Access {
    public:
        explicit Access(std::shared_ptr<State> state);
        World* operator->() const;

    private:
        std::shared_ptr<State> m_state;
        std::unique_lock<std::recursive_mutex> m_lock;
    };

    Access operator->() const { return Access(m_state); }

    /// Before anything of a scan is asked.
    [[nodiscard]] Gate& listeningPortsGate() const;
    /// Before the candidates are told. What was asked is known by then.
    [[nodiscard]] Gate& enumerateGate() const;
    [[nodiscard]] Gate& openFilesGate() const;
    /// Before anything is ended.
    [[nodiscard]] Gate& killGate() const;

private:
    void openGates() const;

    std::shared_ptr<State> m_state = makeState();
    static std::shared_ptr<State> makeState();
};

// Items. Their commands, times and memory follow from the pid, so that no two are alike.

/// A dev server that may be swept.
[[nodiscard]] VintrelCore::ProcessItem safeItem(int32_t pid);

/// A dev server that a person has to decide on.
[[nodiscard]] VintrelCore::ProcessItem reviewItem(int32_t pid);

/// A package runner with what it started.
[[nodiscard]] VintrelCore::ProcessItem runnerItem(int32_t pid, const std::vector<int32_t>& folded);

[[nodiscard]] std::vector<int32_t> pidsOf(const std::vector<VintrelCore::ProcessItem>& items);

/// A working directory; the label is its last component.
[[nodiscard]] VintrelCore::ProcessCwd cwdOf(const std::string& fullPath);

} // namespace VintrelTests

namespace Vintrel {

/// For messages about failures.
inline void PrintTo(const UserNotification& notification, std::ostream* stream) {
    *stream << notification.title << ": " << notification.body;
}

} // namespace Vintrel
