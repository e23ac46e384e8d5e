#pragma once

#include "VintrelCore/base/FileDescriptor.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace VintrelTests {

/// Children of this process that look as odd as processes can. All end with the object.
class OddProcesses {
public:
    OddProcesses();
    OddProcesses(const OddProcesses&) = delete;
    OddProcesses& operator=(const OddProcesses&) = delete;
    ~OddProcesses();

    /// A shell that waits, with this name and these words behind its own ones. `before` runs ahead of it.
    int32_t addShell(
        const std::string& what, const std::string& name, const std::vector<std::string>& words = {},
        const std::function<void()>& before = [] {});

    /// A copy of this process that becomes something and waits.
    int32_t addCopy(const std::string& what, const std::function<void()>& become);

    /// One that has ended, and that nothing looks after.
    int32_t addZombie(const std::string& what, const std::function<void()>& become = [] {});

    /// One whose first thread has ended, while another one goes on.
    int32_t addWithoutFirstThread(const std::string& what);

    /// What each of them is, by pid.
    [[nodiscard]] const std::map<int32_t, std::string>& all() const { return m_all; }

    [[nodiscard]] std::vector<int32_t> pids() const;

private:
    int32_t add(const std::string& what, const std::function<void(int ready)>& work);

    VintrelCore::FileDescriptor m_waitingEnd; // shells read from it for ever
    VintrelCore::FileDescriptor m_otherEnd;
    std::map<int32_t, std::string> m_all;
};

/// Writes over the arguments of this process, as programs do that give themselves titles; the rest becomes
/// zero bytes. What does not fit is cut off.
void writeTitle(const std::string& title);

/// Leaves this process without arguments, as those of the kernel's own, and without an environment. It can
/// only wait from then on.
void dropArguments();

/// As many bytes as the arguments of this process have.
[[nodiscard]] size_t lengthOfArguments();

/// Makes this process the leader of a session with a terminal of its own.
void takeTerminal();

/// Takes this process into a network of its own, where every port is free. Its children come with it.
void haveANetworkOfOnesOwn();

/// A socket of this process that listens on all addresses of a version, for as long as it lives. Its children
/// share it.
void listenOn(int port, int family);

} // namespace VintrelTests
