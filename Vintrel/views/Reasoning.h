#pragma once

#include "VintrelCore/context/OpenFilesResolver.h"
#include "VintrelCore/model/ProcessItem.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Vintrel {

class ScanEngine;

/// Why a candidate is listed, and what it is about: what an expanded row says.
struct Reasoning {
    /// What a row says of open files.
    struct OpenFiles {
        std::string count;              ///< "6 open files"
        std::vector<std::string> paths; ///< the first few
        std::string rest;               ///< "3 more"; empty when there are no more

        bool operator==(const OpenFiles&) const = default;
    };

    std::vector<std::string> tags{};      ///< "orphan", "no tty": the criteria that apply
    std::vector<std::string> facts{};     ///< "child of zsh", "5183 listening": a line each
    std::string ancestry{};               ///< all parents, nearest first; empty when there is but one
    std::optional<OpenFiles> openFiles{}; ///< absent until they have been looked up

    bool operator==(const Reasoning&) const = default;

    /// Paths listed before the rest is counted.
    static constexpr size_t shownPaths = 3;

    [[nodiscard]] static Reasoning of(const VintrelCore::ProcessItem& item, const ScanEngine& engine);
    [[nodiscard]] static OpenFiles describe(const VintrelCore::OpenFileList& list);
};

} // namespace Vintrel
