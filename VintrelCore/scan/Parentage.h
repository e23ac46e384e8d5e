#pragma once

#include "VintrelCore/platform/Platform.h"
#include "VintrelCore/scan/SnapshotRecord.h"

#include <span>
#include <string_view>

/// Who looks after a process: the rules behind the corrected parent column.
namespace VintrelCore::Parentage {

/// Whether a process takes in orphans by its office: process 1, a user's service manager, and the few like
/// them.
[[nodiscard]] bool isAdopter(int32_t pid, std::string_view command);

/// Whether the control group belongs to a container that this program is not itself inside of.
[[nodiscard]] bool isInContainer(std::string_view controlGroup, std::string_view ownControlGroup);

/// The service or scope that a control group belongs to.
struct Unit {
    std::string_view name;             ///< "" for none; a view into the control group's path
    bool belongsToUserManager = false; ///< it was started by the user's own service manager

    bool operator==(const Unit&) const = default;
};

/// The first service or scope below the user's service manager, or else the first at all.
[[nodiscard]] Unit unitOf(std::string_view controlGroup);

/// Corrects the parent column of every adopter's child, and notes who looks after those who are no orphans.
void correct(std::span<SnapshotRecord> records, const Platform::KernelView& kernel);

} // namespace VintrelCore::Parentage
