#include "VintrelCore/scan/ControlGroup.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>

namespace VintrelCore::ControlGroup {

namespace {

bool isUnitOfKind(std::string_view component, std::string_view ending) {
    return component.size() > ending.size() && component.ends_with(ending);
}

bool isUnit(std::string_view component) {
    return isService(component) || isUnitOfKind(component, ".scope");
}

bool isUserManager(std::string_view component) {
    return component.starts_with("user@") && isService(component);
}

constexpr std::string_view hexadecimals = "0123456789abcdef";

/// Inside a development container, what the program shares with everything around it says nothing.
std::string_view beyondOwn(std::string_view controlGroup, std::string_view ownControlGroup) {
    if (ownControlGroup.size() > 1 && Path::isAtOrBelow(controlGroup, ownControlGroup)) {
        controlGroup.remove_prefix(ownControlGroup.size());
    }
    return controlGroup;
}

} // namespace

bool isService(std::string_view component) {
    return isUnitOfKind(component, ".service");
}

bool isDesktopService(std::string_view service) {
    constexpr auto names =
        std::to_array<std::string_view>({"gnome-terminal-server.service", "sway.service", "niri.service",
                                         "foot-server.service", "code-tunnel.service"});
    constexpr auto prefixes = std::to_array<std::string_view>(
        {"app-", "vte-spawn-", "org.gnome.", "gnome-shell", "gnome-session", "xdg-desktop-portal", "plasma-",
         "wayland-wm@", "hyprland", "i3", "wezterm-mux", "kitty"});
    const bool isActivatedByBus =
        service.starts_with("dbus-") && service.find('@', 5) != std::string_view::npos;
    return isActivatedByBus || std::ranges::find(names, service) != names.end() ||
           std::ranges::any_of(prefixes, [service](auto prefix) { return service.starts_with(prefix); });
}

std::optional<int32_t> numberInScope(std::string_view scope) {
    constexpr std::string_view ending = ".scope";
    if (!scope.ends_with(ending)) {
        return std::nullopt;
    }
    scope.remove_suffix(ending.size());
    const auto dash = scope.rfind('-');
    const std::string_view number = dash == std::string_view::npos ? "" : scope.substr(dash + 1);
    return number.starts_with('+') ? std::nullopt : Text::parseInteger<int32_t>(number);
}

bool isInContainer(std::string_view controlGroup, std::string_view ownControlGroup) {
    controlGroup = beyondOwn(controlGroup, ownControlGroup);
    constexpr std::array<std::string_view, 6> names{"/docker/", "libpod-",       "kubepods",
                                                    "/lxc",     "machine.slice", "buildkit"};
    if (std::ranges::any_of(names, [controlGroup](auto name) { return controlGroup.contains(name); })) {
        return true;
    }
    constexpr std::string_view engine = "docker-";
    constexpr size_t shortestID = 12; // what the engine prints; "docker-desktop" is an application
    for (auto at = controlGroup.find(engine); at != std::string_view::npos;
         at = controlGroup.find(engine, at + 1)) {
        const std::string_view name = controlGroup.substr(at + engine.size());
        if (std::min(name.find_first_not_of(hexadecimals), name.size()) >= shortestID) {
            return true;
        }
    }
    return false;
}

std::optional<std::string_view> containerID(std::string_view controlGroup, std::string_view ownControlGroup) {
    constexpr size_t idLength = 64;
    std::string_view rest = beyondOwn(controlGroup, ownControlGroup);
    std::optional<std::string_view> innermost;
    while (!rest.empty()) {
        rest.remove_prefix(std::min(rest.find_first_of(hexadecimals), rest.size()));
        const std::string_view digits = rest.substr(0, rest.find_first_not_of(hexadecimals));
        if (digits.size() == idLength) {
            innermost = digits;
        }
        rest.remove_prefix(digits.size());
    }
    return innermost;
}

Unit unitOf(std::string_view controlGroup) {
    Unit first;
    bool isBelowUserManager = false;
    for (const std::string_view component : Text::split(controlGroup, '/')) {
        if (isUnit(component) && isBelowUserManager) {
            return {.name = component, .belongsToUserManager = true};
        }
        if (isUnit(component) && first.name.empty()) {
            first.name = component;
        }
        isBelowUserManager = isBelowUserManager || isUserManager(component);
    }
    return first;
}

} // namespace VintrelCore::ControlGroup
