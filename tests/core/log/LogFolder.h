#pragma once

#include "VintrelCore/log/CleanLogFile.h"
#include "tests/core/base/FolderContent.h"
#include "tests/core/log/Events.h"
#include "tests/support/Process.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

using Events = std::vector<VintrelCore::CleanEvent>;
using Names = std::set<std::string>;

constexpr int64_t retentionCap = VintrelCore::CleanLogFile::retentionCap;

inline Names nameSetOf(const std::filesystem::path& folder) {
    const auto names = namesIn(folder);
    return {names.begin(), names.end()};
}

/// The events that stand in a file; absent when it is no log.
inline std::optional<Events> eventsIn(const std::filesystem::path& log) {
    const auto bytes = bytesOf(log);
    return bytes ? VintrelCore::CleanLogFile::decode(*bytes) : std::nullopt;
}

/// The name of the file that writers of `name` lock: what stands beside a log after a first event.
inline std::string lockNameOf(const std::string& name) {
    const TemporaryFolder folder;
    const Events events{eventAt(1)};
    const bool isSaved =
        VintrelCore::CleanLogFile::append(events, folder.path() / name, retentionCap).isSaved;
    Names names = nameSetOf(folder.path());
    names.erase(name);
    if (!isSaved || names.size() != 1) {
        throw std::runtime_error("one file is expected beside a log, its lock");
    }
    return *names.begin();
}

/// Runs `work` in a child process; its result (or, negative, the signal that ended it). No expectation counts
/// in there.
inline int inChild(const std::function<int()>& work) {
    const pid_t child = VintrelTests::forked();
    if (child == 0) {
        std::_Exit(work());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// Makes a child process one of an account that may do nothing special.
inline bool becomeNobody() {
    constexpr unsigned nobody = 65'534;
    return ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}

/// A disk of its own on a folder, seen by this process alone. Needs root. What stood in the folder is hidden.
class ScratchDisk {
public:
    ScratchDisk(std::filesystem::path folder, const std::string& options) : m_folder(std::move(folder)) {
        std::filesystem::create_directories(m_folder);
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("scratch", m_folder.c_str(), "tmpfs", 0, options.c_str()) != 0) {
            throw std::runtime_error("no scratch disk");
        }
    }

    ScratchDisk(const ScratchDisk&) = delete;
    ScratchDisk& operator=(const ScratchDisk&) = delete;

    ~ScratchDisk() { ::umount2(m_folder.c_str(), MNT_DETACH); }

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

    [[nodiscard]] bool makeReadOnly() const {
        return ::mount("scratch", m_folder.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    std::filesystem::path m_folder;
};

} // namespace VintrelTests
