#include "VintrelCore/platform/ProcessDescriptors.h"

#include <cerrno>

#include <signal.h>

namespace VintrelCore::Platform {

OpenedProcess openProcess(int32_t pid) {
    return {.isNobody = ::kill(pid, 0) != 0 && errno == ESRCH};
}

int signalThrough(const FileDescriptor&, int) {
    return ENOSYS;
}

} // namespace VintrelCore::Platform
