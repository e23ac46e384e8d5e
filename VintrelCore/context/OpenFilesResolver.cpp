#include "VintrelCore/context/OpenFilesResolver.h"

#include "VintrelCore/base/Text.h"
#include "VintrelCore/context/CwdResolver.h"
#include "VintrelCore/context/Lsof.h"

#include <algorithm>
#include <array>
#include <unordered_set>
#include <utility>

namespace VintrelCore::OpenFilesResolver {

namespace {

constexpr std::array<std::string_view, 3> socketTypes{"IPv4", "IPv6", "unix"};
constexpr std::string_view regularFile = "REG";

/// What lsof says about one descriptor.
struct Record {
    std::string_view descriptor;
    std::string_view type;
    std::string_view name;

    [[nodiscard]] bool isSocket() const { return std::ranges::find(socketTypes, type) != socketTypes.end(); }

    /// Descriptors without a number are the working directory, the program itself and what is mapped.
    [[nodiscard]] bool isOfInterest() const {
        const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
        return !descriptor.empty() && std::ranges::all_of(descriptor, isDigit) && !name.empty() &&
               (isSocket() || type == regularFile);
    }
};

} // namespace

std::vector<OpenFile> parseOpenFiles(std::string_view lsofOutput) {
    std::vector<OpenFile> files;
    std::unordered_set<std::string> names;
    Record record;
    const auto close = [&] {
        if (!record.isOfInterest()) {
            return;
        }
        const bool isSocket = record.isSocket();
        std::string name = isSocket ? std::string(record.name) : Lsof::unescaped(record.name);
        if (names.insert(name).second) {
            files.push_back({.name = std::move(name), .isSocket = isSocket});
        }
    };
    while (const auto line = Text::takeLine(lsofOutput)) {
        const std::string_view value = line->substr(1);
        switch (line->front()) {
        case 'f':
            close();
            record = {.descriptor = value, .type = {}, .name = {}};
            break;
        case 't':
            record.type = value;
            break;
        case 'n':
            record.name = value;
            break;
        default:
            break;
        }
    }
    close();
    return files;
}

std::vector<std::string> lsofArguments(std::span<const int32_t> pids) {
    return {"-p", Lsof::list(pids), "-Fftn"};
}

OpenFileList openFiles(int32_t forPID, const std::optional<std::string_view>& lsofOutput,
                       const std::optional<std::string>& home, size_t cap) {
    std::string own;
    if (!lsofOutput && forPID > 0) { // what is no number of a process means something else to lsof
        own = Lsof::ask(lsofArguments({&forPID, 1})).output;
    }
    OpenFileList list{.files = parseOpenFiles(lsofOutput.value_or(own))};
    if (list.files.size() > cap) {
        list.overflow = list.files.size() - cap;
        list.files.resize(cap);
    }
    for (OpenFile& file : list.files) {
        if (!file.isSocket) {
            file.name = CwdResolver::abbreviateHome(file.name, home.value_or(""));
        }
    }
    return list;
}

} // namespace VintrelCore::OpenFilesResolver
