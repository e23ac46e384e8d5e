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

bool isSocket(std::string_view type) {
    return std::ranges::find(socketTypes, type) != socketTypes.end();
}

bool isNumber(std::string_view descriptor) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return !descriptor.empty() && std::ranges::all_of(descriptor, isDigit);
}

} // namespace

std::vector<Platform::OpenDescriptor> parseDescriptors(std::string_view lsofOutput) {
    std::vector<Platform::OpenDescriptor> descriptors;
    bool isNumbered = false;
    while (const auto line = Text::takeLine(lsofOutput)) {
        const std::string_view value = line->substr(1);
        switch (line->front()) {
        case 'f':
            isNumbered = isNumber(value);
            if (isNumbered) {
                descriptors.emplace_back();
            }
            break;
        case 't':
            if (isNumbered) {
                descriptors.back().type = value;
            }
            break;
        case 'n':
            if (isNumbered) {
                descriptors.back().name = value;
            }
            break;
        default:
            break;
        }
    }
    for (Platform::OpenDescriptor& descriptor : descriptors) {
        if (!isSocket(descriptor.type)) { // those of sockets are no names of files
            descriptor.name = Lsof::unescaped(descriptor.name);
        }
    }
    return descriptors;
}

std::vector<OpenFile> filesAmong(std::vector<Platform::OpenDescriptor> descriptors) {
    std::vector<OpenFile> files;
    std::unordered_set<std::string> names;
    for (Platform::OpenDescriptor& descriptor : descriptors) {
        const bool isOfInterest =
            !descriptor.name.empty() && (isSocket(descriptor.type) || descriptor.type == regularFile);
        if (isOfInterest && names.insert(descriptor.name).second) {
            files.push_back({.name = std::move(descriptor.name), .isSocket = isSocket(descriptor.type)});
        }
    }
    return files;
}

OpenFileList listed(std::vector<OpenFile> files, std::string_view home, size_t cap) {
    OpenFileList list{.files = std::move(files)};
    if (list.files.size() > cap) {
        list.overflow = list.files.size() - cap;
        list.files.resize(cap);
    }
    for (OpenFile& file : list.files) {
        if (!file.isSocket) {
            file.name = CwdResolver::abbreviateHome(file.name, home);
        }
    }
    return list;
}

std::vector<OpenFile> parseOpenFiles(std::string_view lsofOutput) {
    return filesAmong(parseDescriptors(lsofOutput));
}

std::vector<std::string> lsofArguments(std::span<const int32_t> pids) {
    return {"-p", Lsof::list(pids), "-Fftn"};
}

OpenFileList openFiles(int32_t forPID, const std::optional<std::string_view>& lsofOutput,
                       const std::optional<std::string>& home, size_t cap) {
    std::string own;
    if (!lsofOutput && forPID > 0) { // lsof gives other numbers a special meaning
        own = Lsof::ask(lsofArguments({&forPID, 1})).output;
    }
    return listed(parseOpenFiles(lsofOutput.value_or(own)), home.value_or(""), cap);
}

} // namespace VintrelCore::OpenFilesResolver
