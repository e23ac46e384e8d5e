// Whose work is what, in a container: with a real process 1 in a namespace of its own.
#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/ScanCore.h"
#include "VintrelCore/scan/SnapshotRecord.h"
#include "tests/support/Process.h"
#include "tests/torture/NamespacedRun.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

using namespace VintrelCore;
using namespace VintrelTests;
using namespace std::chrono_literals;

namespace {

/// An idle process, in a session of its own or in this one's, whose parent has ended.
int32_t startOrphan(bool leavesTheSession) {
    int ends[2] = {-1, -1};
    int32_t orphan = 0;
    if (::pipe(ends) != 0) {
        return 0;
    }
    const pid_t parent = forked();
    if (parent == 0) {
        if (leavesTheSession) {
            ::setsid();
        }
        const pid_t child = forked();
        if (child == 0) {
            std::this_thread::sleep_for(60s);
            ::_exit(0);
        }
        ::_exit(::write(ends[1], &child, sizeof child) == ssize_t{sizeof child} ? 0 : 1);
    }
    const bool told = ::read(ends[0], &orphan, sizeof orphan) == ssize_t{sizeof orphan};
    ::close(ends[0]);
    ::close(ends[1]);
    ::waitpid(parent, nullptr, 0);
    return told ? orphan : 0;
}

/// The corrected parent of a process; absent for one that is not a child of process 1.
std::optional<int32_t> correctedParent(int32_t pid) {
    const std::string listing = ScanCore::runPS();
    Platform::KernelView uncorrected = Platform::kernelView();
    uncorrected.correctsParents = false;
    for (const SnapshotRecord& record : snapshotRecords(listing, uncorrected)) {
        if (record.pid == pid && record.ppid != 1) {
            return std::nullopt;
        }
    }
    const auto records = snapshotRecords(listing, Platform::kernelView());
    const auto found = std::ranges::find(records, pid, &SnapshotRecord::pid);
    return found != records.end() ? std::optional(found->ppid) : std::nullopt;
}

/// In the command of a container: counts where the verdict on an orphan of its session, or on one of another
/// session, is wrong.
Figures judge(bool commandHasASession) {
    if (commandHasASession) {
        ::setsid();
    }
    Figures figures{.isPrepared = true};
    figures.wrongOutcomes += correctedParent(startOrphan(false)) != 0;
    figures.wrongOutcomes += correctedParent(startOrphan(true)) != 1;
    return figures;
}

} // namespace

TEST(ContainersWork, isInTheSessionOfProcessOneAndInThatOfItsCommand) {
    VINTREL_NEEDS_NAMESPACES();
    for (const bool commandHasASession : {false, true}) {
        const Figures figures = NamespacedRun([=] { return judge(commandHasASession); }).wait();
        EXPECT_TRUE(figures.isPrepared);
        EXPECT_EQ(figures.wrongOutcomes, 0) << commandHasASession;
    }
}
