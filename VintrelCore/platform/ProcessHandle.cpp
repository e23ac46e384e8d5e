#include "VintrelCore/platform/ProcessHandle.h"

#include "VintrelCore/platform/ProcessDescriptors.h"

#include <cerrno>
#include <utility>

#include <poll.h>
#include <signal.h>

namespace VintrelCore::Platform {

ProcessHandle::ProcessHandle(int32_t pid) : m_pid(pid) {
    OpenedProcess opened = openProcess(pid);
    m_descriptor = std::move(opened.descriptor);
    m_isNobody = opened.isNobody || pid < 1; // 0 and below would mean groups
    m_isStranger = opened.isStranger;
}

std::optional<ProcessRecord> ProcessHandle::record() {
    if (m_isNobody || m_isStranger) {
        return std::nullopt;
    }
    const auto record = processRecord(m_pid);
    if (record && !m_known) {
        m_known = record->startTime;
    }
    return record;
}

bool ProcessHandle::isStillTheSame() const {
    if (!m_known) {
        return true; // there is nothing to compare with
    }
    const auto now = processRecord(m_pid);
    return now && now->startTime == *m_known;
}

Delivery ProcessHandle::send(int signal) const {
    if (m_isNobody) {
        return Delivery::gone;
    }
    if (m_isStranger) {
        return Delivery::notPermitted;
    }
    if (m_descriptor) {
        const int error = signalThrough(m_descriptor, signal);
        if (error == 0) {
            return Delivery::delivered;
        }
        if (hasEnded()) {
            return Delivery::gone;
        }
        // A sandbox may refuse the call itself, which is no verdict on the signal.
        const bool isRefusedHere = error == ENOSYS || ::kill(m_pid, 0) == 0;
        if (!isRefusedHere || !m_known) {
            return Delivery::notPermitted;
        }
    }
    if (!isStillTheSame()) {
        return Delivery::gone;
    }
    if (::kill(m_pid, signal) == 0) {
        return Delivery::delivered;
    }
    return errno == EPERM ? Delivery::notPermitted : Delivery::gone;
}

bool ProcessHandle::hasEnded() const {
    if (m_isNobody) {
        return true;
    }
    if (m_descriptor) {
        pollfd process{.fd = m_descriptor.get(), .events = POLLIN, .revents = 0};
        return ::poll(&process, 1, 0) > 0;
    }
    const auto now = m_isStranger ? std::nullopt : processRecord(m_pid);
    if (!now) {
        return ::kill(m_pid, 0) != 0 && errno == ESRCH;
    }
    return now->isZombie || (m_known && now->startTime != *m_known);
}

} // namespace VintrelCore::Platform
