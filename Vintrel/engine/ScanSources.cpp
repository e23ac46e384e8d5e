#include "Vintrel/engine/ScanSources.h"

#include "VintrelCore/scan/Protection.h"
#include "VintrelCore/scan/Snapshot.h"

#include <chrono>
#include <utility>

namespace Vintrel {

using namespace VintrelCore;

namespace {

ScanSources::Listeners askForListeners(int interrupt) {
    Lsof::Answer answer = Lsof::Query(PortRegistry::lsofArguments()).finish(interrupt);
    auto ports = PortRegistry::listeningPorts(answer.output);
    answer.output.clear();
    return {.ports = std::move(ports), .answer = std::move(answer)};
}

ScanSources::Candidates takeSnapshot(const ScanCore::EnumerateOptions& options, int interrupt) {
    Snapshot snapshot; // before ps is started
    const Shell::Fault fault = snapshot.take(Shell::runToOutcome(ScanCore::psCommand(), interrupt));
    if (fault != Shell::Fault::none) {
        return {.fault = fault};
    }
    auto items = snapshot.candidates(options);
    auto managers = snapshot.managersOf(items);
    return {.items = std::move(items), .managers = std::move(managers)};
}

ScanSources::Directories askForDirectories(const ScanSources::DirectoriesQuery& query, int interrupt) {
    if (query.pids.empty()) {
        return {};
    }
    Lsof::Answer answer = Lsof::Query(CwdResolver::lsofArguments(query.pids)).finish(interrupt);
    auto cwds = CwdResolver::processCwds({.forPIDs = query.pids,
                                          .lsofOutput = answer.output,
                                          .home = query.home,
                                          .mayTouchFiles = query.mayTouchFiles && !answer.metDeadMount});
    answer.output.clear();
    return {.cwds = std::move(cwds), .answer = std::move(answer)};
}

AncestryResolver::ProcessTable askForProcessTable(int interrupt) {
    const Shell::Outcome outcome = Shell::runToOutcome(AncestryResolver::psCommand(), interrupt);
    return AncestryResolver::processTable(outcome.ok() ? outcome.output : std::string_view());
}

OpenFileList askForOpenFiles(const std::vector<int32_t>& pids, int interrupt) {
    if (pids.empty()) {
        return {};
    }
    const Lsof::Answer answer = Lsof::Query(OpenFilesResolver::lsofArguments(pids)).finish(interrupt);
    return OpenFilesResolver::openFiles(pids.front(), answer.output, Platform::homeFolder());
}

} // namespace

ScanSources::ScanSources()
    : listeningPorts(askForListeners),
      containerOwners(VintrelCore::DockerService::askForOwners),
      enumerate(takeSnapshot),
      workingDirectories(askForDirectories),
      endedAmong(VintrelCore::endedAmong),
      ofOtherAccounts(VintrelCore::ofOtherAccounts),
      processTable(askForProcessTable),
      usedCPU([](const std::vector<ProcessItem>& items) { return CPUSampler::read(items); }),
      openFiles(askForOpenFiles),
      kill(KillService::endAll),
      now([] { return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()); }) {}

} // namespace Vintrel
