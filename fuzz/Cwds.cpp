#include "VintrelCore/base/Path.h"
#include "VintrelCore/context/CwdResolver.h"
#include "fuzz/Fuzzing.h"

#include <string>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

constexpr std::string_view home = "/home/dev";

void checkCwd(const ProcessCwd& cwd, const std::string& directory) {
    if (!directory.starts_with('/')) {
        return; // lsof names absolute directories; anything else only must not crash
    }
    require(!cwd.label.empty() && !cwd.fullPath.empty(), "a working directory has a name");
    require(!cwd.projectRoot, "without a repository there is no root");
    require(!Path::isAtOrBelow(cwd.fullPath, home), "home is abbreviated");
    const std::vector<std::string> itself{cwd.fullPath};
    const bool isRoot = Path::withoutTrailingSlashes(cwd.fullPath) == "/";
    require(isRoot || CwdResolver::isProtected(cwd.fullPath, itself, home),
            "a protected folder protects itself");
    require(!CwdResolver::isProtected(cwd.fullPath, std::vector<std::string>{"/", ""}, home),
            "the root protects nothing");
}

void checkInRepository(std::string_view output) {
    const auto parentOf = [](const std::string& directory) {
        return std::optional(std::string(Path::parent(directory)));
    };
    const auto cwds = CwdResolver::processCwds(
        {.forPIDs = {1}, .lsofOutput = output, .home = std::string(home), .gitRootFinder = parentOf});
    for (const auto& [pid, cwd] : cwds) {
        require(cwd.projectRoot.has_value(), "a repository that was found is a root");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view output = Fuzzing::textOf(data, size);
    const auto directories = CwdResolver::parseCwds(output);
    for (const auto& [pid, directory] : directories) {
        require(!directory.empty(), "a directory has a name");
        const bool mayBeEscaped = output.contains('\\');
        require(mayBeEscaped || output.contains("n" + directory), "a directory stands in the output");
    }
    require(CwdResolver::parseCwds("\n" + std::string(output) + "\n\n") == directories,
            "empty lines change nothing");

    const auto noRepository = [](const std::string&) { return std::optional<std::string>(); };
    const auto cwds = CwdResolver::processCwds(
        {.forPIDs = {1}, .lsofOutput = output, .home = std::string(home), .gitRootFinder = noRepository});
    require(cwds.size() == directories.size(), "every directory becomes an entry");
    for (const auto& [pid, directory] : directories) {
        require(cwds.contains(pid), "under its pid");
        checkCwd(cwds.at(pid), directory);
    }
    checkInRepository(output);
    return 0;
}
