#include "VintrelCore/terminate/RowEnding.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <signal.h>
#include <unistd.h>

namespace VintrelCore::KillCore {

using Platform::Delivery;

namespace {

/// Process 1 and below, and this program itself, are never ended.
bool isRefused(int32_t pid) {
    return pid <= 1 || pid == ::getpid();
}

Platform::ProcessHandle opened(int32_t pid, const World& world) {
    world.at(Moment::beforeOpening, pid);
    Platform::ProcessHandle handle(pid);
    world.at(Moment::afterOpening, pid);
    return handle;
}

} // namespace

Target::Target(const FoldedProcess& process, const World& world)
    : m_world(&world), m_expected(process.startTime), m_handle(opened(process.pid, world)) {}

Target::Check Target::check() {
    const auto record = m_handle.record();
    m_snapshot = record ? std::optional(record->startTime) : std::nullopt;
    m_isStopped = record && record->isStopped;
    const bool isSame = shouldSendSIGTERM(m_expected, m_snapshot);
    m_world->at(Moment::afterComparison, pid());
    if (isSame) {
        return Check::same;
    }
    if (m_snapshot) {
        return Check::notTheSame;
    }
    return m_handle.hasEnded() ? Check::gone : Check::unreadable;
}

bool Target::mayBeAsked() const {
    constexpr int none = 0; // checks the permission only
    return m_handle.send(none) != Delivery::notPermitted;
}

Delivery Target::askToEnd() const {
    const Delivery delivery = m_handle.send(SIGTERM);
    if (delivery == Delivery::delivered && m_isStopped) {
        static_cast<void>(m_handle.send(SIGCONT)); // it handles nothing before it goes on
    }
    return delivery;
}

bool Target::forceUnlessEnded() {
    const auto record = m_handle.record();
    const auto after = record ? std::optional(record->startTime) : std::nullopt;
    return shouldEscalateToSIGKILL(m_snapshot, after) && !record->isZombie &&
           m_handle.send(SIGKILL) == Delivery::delivered;
}

void RowEnding::decide(KillOutcome outcome, KillDetail detail) {
    m_result = {.outcome = outcome, .detail = detail, .left = {}};
    m_isDecided = true;
}

void RowEnding::refuseWhatIsNeverEnded() {
    if (isRefused(m_item->pid)) {
        decide(KillOutcome::notKilled, KillDetail::refused);
        m_result.left.push_back(m_item->pid);
    }
}

void RowEnding::noteStoppedContainer() {
    decide(KillOutcome::confirmed, KillDetail::containerStopped);
}

void RowEnding::noteContainerBeingStopped() {
    Target first({.pid = m_item->pid, .startTime = m_item->startTime}, *m_world);
    if (first.check() == Target::Check::same && !first.hasEnded()) {
        giveUp(KillDetail::containerStopping);
    } else {
        noteStoppedContainer(); // at the last moment
    }
}

void RowEnding::giveUp(KillDetail detail) {
    decide(KillOutcome::notKilled, detail);
    if (detail == KillDetail::notPermitted || detail == KillDetail::interrupted ||
        detail == KillDetail::containerStopping || detail == KillDetail::engineNotAnswering) {
        noteIfLeft(Target({.pid = m_item->pid, .startTime = m_item->startTime}, *m_world));
    }
    for (const FoldedProcess& process : m_item->folded) {
        Target target(process, *m_world);
        if (target.check() != Target::Check::notTheSame) {
            noteIfLeft(target);
        }
    }
}

void RowEnding::askToEnd() {
    Target runner({.pid = m_item->pid, .startTime = m_item->startTime}, *m_world);
    switch (runner.check()) {
    case Target::Check::same:
        break;
    case Target::Check::notTheSame:
        return giveUp(KillDetail::notTheSame);
    case Target::Check::gone:
        return giveUp(KillDetail::alreadyGone);
    case Target::Check::unreadable:
        return giveUp(KillDetail::notPermitted);
    }
    m_wasThere = !runner.hasEnded();
    if (!runner.mayBeAsked()) {
        return giveUp(KillDetail::notPermitted);
    }
    // A shell whose command has ended goes on to the next one of its script, if it has not been asked by
    // then.
    askFoldedToEnd(true);
    if (runner.askToEnd() == Delivery::notPermitted) {
        return giveUp(KillDetail::notPermitted);
    }
    m_targets.push_back(std::move(runner));
    askFoldedToEnd(false);
}

void RowEnding::askFoldedToEnd(bool starters) {
    for (const FoldedProcess& process : m_item->folded) {
        if ((process.as == FoldedAs::starter) == starters) {
            askFoldedToEnd(process);
        }
    }
}

void RowEnding::askFoldedToEnd(const FoldedProcess& process) {
    Target target(process, *m_world);
    const auto check = target.check();
    // Unlike a row, it is not ended without a stamp from the scan.
    const bool mayBeEnded = process.startTime && !isRefused(process.pid) && check == Target::Check::same;
    if (mayBeEnded && target.askToEnd() != Delivery::notPermitted) {
        m_targets.push_back(std::move(target));
    } else if (check != Target::Check::notTheSame) {
        m_leftAlone.push_back(std::move(target));
    }
}

std::vector<int32_t> RowEnding::signalledPIDs() const {
    std::vector<int32_t> pids;
    std::ranges::transform(m_targets, std::back_inserter(pids), &Target::pid);
    return pids;
}

bool RowEnding::forceUnlessEnded() {
    bool anyForced = false;
    for (Target& target : m_targets) {
        anyForced = target.forceUnlessEnded() || anyForced;
    }
    return anyForced;
}

bool RowEnding::hasEnded() const {
    return std::ranges::all_of(m_targets, &Target::hasEnded);
}

void RowEnding::conclude(bool wasInterrupted) {
    KillDetail detail = m_wasThere ? KillDetail::ended : KillDetail::alreadyGone;
    if (!hasEnded()) {
        detail = wasInterrupted ? KillDetail::interrupted : KillDetail::stillThere;
    }
    const bool isConfirmed = detail != KillDetail::interrupted;
    decide(isConfirmed ? KillOutcome::confirmed : KillOutcome::notKilled, detail);
    std::ranges::for_each(m_targets, [this](const Target& target) { noteIfLeft(target); });
    std::ranges::for_each(m_leftAlone, [this](const Target& target) { noteIfLeft(target); });
}

void RowEnding::noteIfLeft(const Target& target) {
    if (!target.hasEnded()) {
        m_result.left.push_back(target.pid());
    }
}

} // namespace VintrelCore::KillCore
