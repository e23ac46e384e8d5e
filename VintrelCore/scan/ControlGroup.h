#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// What the path of a process's control group says about it. No state.
namespace VintrelCore::ControlGroup {

/// Whether the control group belongs to a container that this program is not itself inside of.
[[nodiscard]] bool isInContainer(std::string_view controlGroup, std::string_view ownControlGroup);

/// The id of the innermost container that the control group belongs to and this program is not inside of, as
/// far as container engines put it into the path; absent when there is none in it.
[[nodiscard]] std::optional<std::string_view> containerID(std::string_view controlGroup,
                                                          std::string_view ownControlGroup);

/// The service or scope that a control group belongs to.
struct Unit {
    std::string_view name;             ///< "" for none; a view into the control group's path
    bool belongsToUserManager = false; ///< it was started by the user's own service manager

    bool operator==(const Unit&) const = default;
};

/// The first service or scope below the user's service manager, or else the first at all.
[[nodiscard]] Unit unitOf(std::string_view controlGroup);

[[nodiscard]] bool isService(std::string_view unit);

/// Whether services of this name are what a desktop starts, or host a desktop, its bar or terminals, so that
/// they do not look after what they leave behind.
[[nodiscard]] bool isDesktopService(std::string_view service);

/// The number at the end of a scope's name. Launchers put that of the process there which they start into the
/// scope, as in "app-gnome-firefox-4242.scope"; others may mean something else by it.
[[nodiscard]] std::optional<int32_t> numberInScope(std::string_view scope);

} // namespace VintrelCore::ControlGroup
