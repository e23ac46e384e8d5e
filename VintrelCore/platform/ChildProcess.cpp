#include "VintrelCore/base/ChildProcess.h"

#include "VintrelCore/platform/Spawning.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <unistd.h>

extern "C" char** environ; // NOLINT(readability-redundant-declaration): not every system's headers declare it

namespace VintrelCore::ChildProcess {

namespace {

/// A pipe whose ends stand above the standard descriptors, where installing them in the child cannot clobber
/// one.
std::optional<std::array<FileDescriptor, 2>> openHighPipe() {
    auto pipe = Platform::openPipe();
    if (!pipe) {
        return std::nullopt;
    }
    for (FileDescriptor& end : *pipe) {
        if (end.get() <= STDERR_FILENO) {
            end = FileDescriptor(::fcntl(end.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        }
        if (!end) {
            return std::nullopt;
        }
    }
    return pipe;
}

/// What posix_spawn is to do between the start of the child and its program.
class SpawnSettings {
public:
    SpawnSettings(int output, bool isToTellErrors) {
        posix_spawnattr_init(&m_attributes);
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        if (isToTellErrors) {
            posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO);
        } else {
            posix_spawn_file_actions_addopen(&m_actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        }
        const short flags = Platform::inheritNothingElse(m_actions);

        sigset_t all;
        sigset_t none;
        sigfillset(&all);
        sigemptyset(&none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setpgroup(&m_attributes, 0);
        constexpr int common = POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK;
        posix_spawnattr_setflags(&m_attributes, static_cast<short>(common | flags));
    }

    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    ~SpawnSettings() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }

    [[nodiscard]] const posix_spawnattr_t* attributes() const { return &m_attributes; }

    [[nodiscard]] const posix_spawn_file_actions_t* actions() const { return &m_actions; }

private:
    posix_spawnattr_t m_attributes{};
    posix_spawn_file_actions_t m_actions{};
};

/// posix_spawn wants pointers to writable text and leaves it alone.
char* asArgument(const std::string& text) {
    return const_cast<char*>(text.c_str()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

} // namespace

std::optional<Child> start(const std::string& executable, std::span<const std::string> arguments,
                           std::span<const std::string> environment, bool isToTellErrors) {
    auto pipe = openHighPipe();
    if (!pipe || ::fcntl((*pipe)[0].get(), F_SETFL, O_NONBLOCK) != 0) {
        return std::nullopt;
    }
    std::vector<char*> argv{asArgument(executable)};
    std::ranges::transform(arguments, std::back_inserter(argv), asArgument);
    argv.push_back(nullptr);
    std::vector<char*> envp;
    std::ranges::transform(environment, std::back_inserter(envp), asArgument);
    envp.push_back(nullptr);

    const SpawnSettings settings((*pipe)[1].get(), isToTellErrors);
    pid_t pid = 0;
    if (::posix_spawn(&pid, executable.c_str(), settings.actions(), settings.attributes(), argv.data(),
                      envp.data()) != 0) {
        return std::nullopt;
    }
    // The child is ours to reap, so its number cannot have gone to somebody else in between.
    return Child{.pid = pid, .output = std::move((*pipe)[0]), .endOfChild = Platform::watchEndOf(pid)};
}

std::vector<std::string> toolEnvironment() {
    const auto nameOf = [](std::string_view entry) { return entry.substr(0, entry.find('=')); };
    const auto unwanted = Platform::unwantedToolEnvironment();
    const auto forced = Platform::forcedToolEnvironment();

    std::vector<std::string> entries(forced.begin(), forced.end());
    for (char* const* entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view name = nameOf(*entry);
        if (std::ranges::find(unwanted, name) == unwanted.end() &&
            std::ranges::find(forced, name, nameOf) == forced.end()) {
            entries.emplace_back(*entry);
        }
    }
    return entries;
}

} // namespace VintrelCore::ChildProcess
