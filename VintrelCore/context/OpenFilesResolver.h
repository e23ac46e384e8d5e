#pragma once

#include "VintrelCore/platform/Facts.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace VintrelCore {

/// A regular file or a socket that a process has open.
struct OpenFile {
    std::string name;      ///< a path ("~" stands for the home folder), or a socket as lsof describes it
    bool isSocket = false; ///< of the network, or local

    bool operator==(const OpenFile&) const = default;
};

/// What a process has open, cut off after the first few.
struct OpenFileList {
    std::vector<OpenFile> files{}; ///< in lsof's order
    size_t overflow = 0;           ///< how many more there are

    bool operator==(const OpenFileList&) const = default;
};

/// What a process works with, by way of lsof: what a user wants to know before ending it. No state.
namespace OpenFilesResolver {

inline constexpr size_t defaultCap = 15;

/// What `forPID` has open. lsof runs only without prepared output. `home` is the folder to write as "~".
/// Empty for a process that is gone or that may not be looked into.
[[nodiscard]] OpenFileList openFiles(int32_t forPID,
                                     const std::optional<std::string_view>& lsofOutput = std::nullopt,
                                     const std::optional<std::string>& home = std::nullopt,
                                     size_t cap = defaultCap);

/// The arguments behind it, for callers that ask about several processes or want to be able to stop lsof.
/// `pids` must not be empty: lsof would list every process of the machine.
[[nodiscard]] std::vector<std::string> lsofArguments(std::span<const int32_t> pids);

/// The numbered descriptors in lsof's field format. The working directory, the program itself and what is
/// mapped have none.
[[nodiscard]] std::vector<Platform::OpenDescriptor> parseDescriptors(std::string_view lsofOutput);

/// The regular files and sockets among them, each name once.
[[nodiscard]] std::vector<OpenFile> filesAmong(std::vector<Platform::OpenDescriptor> descriptors);

/// Cut off after `cap`, with "~" for the folder `home`.
[[nodiscard]] OpenFileList listed(std::vector<OpenFile> files, std::string_view home,
                                  size_t cap = defaultCap);

/// Regular files and sockets behind numbered descriptors, each name once, from lsof's field format. Source of
/// the format: the manual page lsof(8), "output for other programs".
[[nodiscard]] std::vector<OpenFile> parseOpenFiles(std::string_view lsofOutput);

} // namespace OpenFilesResolver
} // namespace VintrelCore
