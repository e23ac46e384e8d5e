#include "Vintrel/views/Reasoning.h"

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/views/StrayList.h"
#include "VintrelCore/context/AncestryResolver.h"
#include "VintrelCore/scan/ScanCore.h"

#include <algorithm>
#include <functional>

namespace Vintrel {

namespace {

using VintrelCore::ProcessItem;

std::vector<std::string> tagsOf(const ProcessItem& item, const ScanEngine& engine) {
    std::vector<std::string> tags;
    if (item.isOrphan()) {
        tags.emplace_back("orphan");
    }
    if (!item.hasTTY()) {
        tags.emplace_back("no tty");
    }
    if (engine.scanHistory().isSustainedLowCPU(item.pid, item.startTime)) {
        tags.emplace_back("idle dev server — sustained low CPU across recent scans");
    }
    const auto& owners = engine.containerOwners();
    const auto owner = owners.find(item.pid);
    if (owner != owners.end()) {
        tags.push_back("owned by container " + owner->second);
    }
    if (item.reviewReason) {
        tags.emplace_back(inWords(*item.reviewReason));
    }
    if (VintrelCore::ScanCore::hasDevModeFlag(item.command)) {
        tags.emplace_back("dev-mode flag");
    }
    return tags;
}

std::string joined(const std::vector<std::string>& texts, std::string_view separator) {
    std::string all;
    for (const std::string& text : texts) {
        if (!all.empty()) {
            all += separator;
        }
        all += text;
    }
    return all;
}

std::vector<std::string> factsOf(const ProcessItem& item, const ScanEngine& engine,
                                 const std::vector<std::string>& ancestors) {
    std::vector<std::string> facts;
    if (!ancestors.empty()) {
        facts.push_back("child of " + ancestors.front());
    }
    const auto manager = engine.managers().find(item.pid);
    if (manager != engine.managers().end()) {
        facts.push_back("managed by " + manager->second);
    }
    if (item.bucket() == VintrelCore::Bucket::safe && engine.staysOutOfSweeps(item)) {
        facts.emplace_back("not in the sweep: its folder is unknown");
    }
    if (item.hasTTY()) {
        facts.push_back("tty " + item.tty);
    }
    std::vector<std::string> ports;
    for (const int port : StrayList::portsOf(item, engine.listeningPorts())) {
        ports.push_back(std::to_string(port));
    }
    if (!ports.empty()) {
        facts.push_back(joined(ports, ", ") + " listening");
    }
    return facts;
}

} // namespace

Reasoning Reasoning::of(const ProcessItem& item, const ScanEngine& engine) {
    const auto ancestors = VintrelCore::AncestryResolver::ancestorChain(item.ppid, engine.processTable());
    Reasoning reasoning{.tags = tagsOf(item, engine), .facts = factsOf(item, engine, ancestors)};
    if (ancestors.size() > 1) {
        reasoning.ancestry = joined(ancestors, " ← ");
    }
    const auto files = engine.openFiles().find(item.pid);
    if (files != engine.openFiles().end()) {
        reasoning.openFiles = describe(files->second);
    }
    return reasoning;
}

Reasoning::OpenFiles Reasoning::describe(const VintrelCore::OpenFileList& list) {
    const size_t count = list.files.size() + list.overflow;
    const size_t shown = std::min(list.files.size(), shownPaths);
    OpenFiles description{.count = std::to_string(count) + (count == 1 ? " open file" : " open files"),
                          .paths = {},
                          .rest = {}};
    std::vector<VintrelCore::OpenFile> files = list.files;
    std::ranges::stable_partition(files, std::not_fn(&VintrelCore::OpenFile::isSocket)); // files say more
    for (size_t index = 0; index < shown; ++index) {
        description.paths.push_back(files[index].name);
    }
    if (count > shown) {
        description.rest = std::to_string(count - shown) + " more";
    }
    return description;
}

} // namespace Vintrel
