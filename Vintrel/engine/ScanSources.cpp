#include "Vintrel/engine/ScanSources.h"

#include <chrono>

namespace Vintrel {

using namespace VintrelCore;

namespace {

Scan::Result scanNow(Scan::Inputs inputs, int interrupt) {
    inputs.slowMounts = SlowMounts();
    return Scan::run(inputs, *Scan::factsOfNow(interrupt), interrupt);
}

OpenFileList openFilesOf(const std::vector<int32_t>& pids, int interrupt) {
    const auto facts = Scan::factsOfNow(interrupt);
    return OpenFilesResolver::listed(OpenFilesResolver::filesAmong(facts->openDescriptors(pids)),
                                     Platform::homeFolder());
}

} // namespace

ScanSources::ScanSources()
    : scan(scanNow),
      usedCPU([](const std::vector<ProcessItem>& items) { return CPUSampler::read(items); }),
      containerOwners(VintrelCore::DockerService::askForOwners),
      openFiles(openFilesOf),
      kill(KillService::endAll),
      now([] { return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()); }) {}

} // namespace Vintrel
