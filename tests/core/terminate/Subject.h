#pragma once

#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/model/ProcessItem.h"
#include "VintrelCore/terminate/KillCore.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace VintrelTests {

/// What a process does when it is asked to end.
enum class OnSIGTERM {
    dies,           ///< without a word, as processes do by default
    leaves,         ///< notes it, and exits with status 0
    leavesInAWhile, ///< the same, 200 ms later
    stays,          ///< notes it, and goes on
};

/// A child process that notes every signal it gets, for tests of who is signalled and who is not. It ends
/// with the object.
class Subject {
public:
    /// `first` is run in the child, before it is ready.
    explicit Subject(OnSIGTERM behaviour, const std::function<void()>& first = {});
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;
    ~Subject();

    [[nodiscard]] int32_t pid() const { return m_pid; }

    /// What a scan would say of it.
    [[nodiscard]] VintrelCore::ProcessItem item() const;
    [[nodiscard]] VintrelCore::FoldedProcess folded() const;

    /// The signals that it got up to now, in the order in which it handled them.
    std::vector<int> noted();

    /// Not even as a zombie has it ended.
    [[nodiscard]] bool isAlive() const;

    /// Stops it, as Ctrl+Z does.
    void stop() const;

    /// Whether it is stopped now.
    [[nodiscard]] bool isStopped() const;

    /// Ends it by force; it stays as a zombie.
    void becomeZombie() const;

    /// Ends it by force and for good: its number is nobody's then.
    void vanish();

    /// Waits for its end: the exit status, or minus the number of the signal that ended it.
    int wait();

    /// What such a child does once it is forked; `notes` gets a byte 0 when it is ready, and then one per
    /// signal. Closes every other descriptor but the standard ones.
    [[noreturn]] static void live(OnSIGTERM behaviour, int notes);

private:
    int32_t m_pid = 0;
    bool m_isReaped = false;
    VintrelCore::FileDescriptor m_notes;
    std::vector<int> m_noted;
};

/// Runs `work` in a forked copy of the test, and returns the text that it returned; "" when it came to no
/// end.
std::string inChild(const std::function<std::string()>& work);

/// The same, as an unprivileged user that has no other process, and in a process group of its own. Needs
/// root.
std::string asStranger(const std::function<std::string()>& work);

/// How long `work` took.
double secondsOf(const std::function<void()>& work);

/// Ends one item.
VintrelCore::KillCore::KillResult endOne(const VintrelCore::ProcessItem& item,
                                         const VintrelCore::KillCore::World& world,
                                         const VintrelCore::DockerCore::OwnerMap& owners = {});

/// A world with a short grace period, and without a container engine.
VintrelCore::KillCore::World shortWait(double seconds = 0.3);

/// A world whose grace period nobody would sit out: for cases in which there is no wait.
inline VintrelCore::KillCore::World endlessWait() {
    return shortWait(300);
}

/// What counts as "without a wait" against such a grace period, on a busy machine.
inline constexpr double noWait = 20;

/// Such as "notKilled, notTheSame, left 17 18", with the pids sorted.
std::string describe(const VintrelCore::KillCore::KillResult& result);

} // namespace VintrelTests

namespace VintrelCore::KillCore {

void PrintTo(const KillResult& result, std::ostream* out);

} // namespace VintrelCore::KillCore
