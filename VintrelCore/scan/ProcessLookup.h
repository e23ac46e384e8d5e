#pragma once

#include "VintrelCore/model/ProcStartTime.h"
#include "VintrelCore/platform/Facts.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace VintrelCore {

/// What is read of single processes after a snapshot, where its lines do not tell enough. Without functions
/// of its own it knows nothing, as for prepared records.
struct ProcessLookup {
    /// The exact arguments, the program's name first.
    std::function<std::optional<std::vector<std::string>>(int32_t pid)> argumentsOf = [](int32_t) {
        return std::nullopt;
    };
    /// The path of the program that runs.
    std::function<std::optional<std::string>(int32_t pid)> executableOf = [](int32_t) {
        return std::nullopt;
    };
    /// The script that a package runner runs it for, as runners tell what they start; "" without one. Absent
    /// when it cannot be read.
    std::function<std::optional<std::string>(int32_t pid)> runnersScriptOf = [](int32_t) {
        return std::nullopt;
    };
    /// Whether it holds the side of a terminal that a terminal's window or server holds.
    std::function<bool(int32_t pid)> holdsTerminal = [](int32_t) { return false; };
    /// Whether what was read up to now under that number was about the process of the snapshot, and not about
    /// one that has got its number since. To be asked after reading.
    std::function<bool(int32_t pid)> wasInSnapshot = [](int32_t) { return false; };

    /// Looks processes up in `facts`, which answer only for the processes in their table. Keeps a reference
    /// to them.
    [[nodiscard]] static ProcessLookup of(Platform::Facts& facts);

    /// The real ones, for a snapshot that was begun at that moment; absent where such moments cannot be
    /// compared.
    [[nodiscard]] static ProcessLookup since(std::optional<ProcStartTime> began);

    /// The exact arguments, when they are those of the process of the snapshot.
    [[nodiscard]] std::optional<std::vector<std::string>> argumentsInSnapshot(int32_t pid) const;
};

} // namespace VintrelCore
