#include "VintrelCore/base/Path.h"
#include "VintrelCore/context/OpenFilesResolver.h"
#include "fuzz/Fuzzing.h"

#include <algorithm>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

using namespace VintrelCore;
using Fuzzing::require;

constexpr std::string_view home = "/home/dev";

void checkFiles(const std::vector<OpenFile>& files, std::string_view output) {
    std::unordered_set<std::string> names;
    const bool mayBeEscaped = output.contains('\\');
    for (const OpenFile& file : files) {
        require(!file.name.empty() && names.insert(file.name).second, "each file has a name of its own");
        require(mayBeEscaped || output.contains("n" + file.name), "a name stands in the output");
        require(output.contains(file.isSocket ? "t" : "tREG"), "and so does its type");
    }
}

/// The first `cap` of all files, and how many more there are.
void checkCapped(const std::vector<OpenFile>& files, std::string_view output, size_t cap) {
    const auto list = OpenFilesResolver::openFiles(1, output, "", cap);
    require(list.files.size() == std::min(cap, files.size()), "no more than the cap");
    require(list.files.size() + list.overflow == files.size(), "all are counted");
    require(std::ranges::equal(list.files, std::span(files).first(list.files.size())),
            "the first ones are shown");
}

void checkHome(const std::vector<OpenFile>& files, std::string_view output) {
    const auto list = OpenFilesResolver::openFiles(1, output, std::string(home), files.size());
    require(list.files.size() == files.size() && list.overflow == 0, "all fit");
    for (size_t place = 0; place < files.size(); ++place) {
        const OpenFile& shown = list.files[place];
        const OpenFile& real = files[place];
        require(shown.isSocket == real.isSocket, "a socket stays one");
        const bool isAbbreviated = !real.isSocket && Path::isAtOrBelow(real.name, home);
        require(isAbbreviated ? shown.name.starts_with('~') : shown.name == real.name,
                "home is abbreviated, and nothing else");
        require(shown.isSocket || !Path::isAtOrBelow(shown.name, home), "wherever it stands in front");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view output = Fuzzing::textOf(data, size);
    const auto files = OpenFilesResolver::parseOpenFiles(output);
    checkFiles(files, output);
    require(OpenFilesResolver::parseOpenFiles("\n" + std::string(output) + "\n\n") == files,
            "empty lines change nothing");
    auto twice = std::string(output) + "\n" + std::string(output);
    require(OpenFilesResolver::parseOpenFiles("f\n" + twice).size() <= 2 * files.size() + 1,
            "a second reading adds nothing of its own");
    for (const size_t cap :
         {size_t{0}, size_t{1}, OpenFilesResolver::defaultCap, files.size(), files.size() + 1}) {
        checkCapped(files, output, cap);
    }
    checkHome(files, output);
    return 0;
}
