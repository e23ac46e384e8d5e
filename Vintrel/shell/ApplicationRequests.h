#pragma once

#include "Vintrel/shell/Intents.h"

#include <string>
#include <string_view>
#include <vector>

#include <QString>

namespace Vintrel {

/// What the running program does when somebody outside asks: a second start, a link, the desktop.
class ApplicationRequests {
public:
    ApplicationRequests() = default;
    ApplicationRequests(const ApplicationRequests&) = delete;
    ApplicationRequests& operator=(const ApplicationRequests&) = delete;
    virtual ~ApplicationRequests() = default;

    /// Opens the popover, or brings it to the front. `activationToken` came with what the user did; it may be
    /// empty.
    virtual void activate(const QString& activationToken) = 0;

    /// Carries links out, in order; those that ask for nothing known are ignored.
    virtual void open(const std::vector<std::string>& urls) = 0;

    /// Carries a shortcut out; whoever asked hears its answer.
    virtual void perform(const AppShortcut& shortcut, const OnDialog& onDialog) = 0;

    /// Tells the user something: for whoever asked in a way that has no place for an answer.
    virtual void tell(const std::string& title, const std::string& text) = 0;

    /// Carries a shortcut out, and tells the user its answer.
    void performAndTell(const AppShortcut& shortcut);
};

/// The actions that a launcher or a second start asks for by name: the shortcuts, and one more.
namespace ApplicationActions {

/// Asks the desktop for global shortcuts, which the user then binds.
inline constexpr std::string_view bindGlobalShortcuts = "bind-global-shortcuts";

[[nodiscard]] bool isKnown(std::string_view action);

} // namespace ApplicationActions

} // namespace Vintrel
