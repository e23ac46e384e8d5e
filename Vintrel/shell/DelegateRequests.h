#pragma once

#include "Vintrel/shell/ApplicationInstance.h"
#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/StartRequest.h"

#include <QPointer>

namespace Vintrel {

class AppDelegate;
class UserNotifications;

/// Requests that the application's delegate carries out. Before there is one and after it has gone they are
/// without effect.
class DelegateRequests : public ApplicationRequests {
public:
    /// The notifications must outlive this.
    explicit DelegateRequests(UserNotifications& notifications) : m_notifications(notifications) {}

    void serve(AppDelegate& delegate);

    /// What this start of the program asks for itself. `instance` carries out actions.
    void carryOut(const StartRequest& request, ApplicationInstance& instance);

    void activate(const QString& activationToken) override;
    void open(const std::vector<std::string>& urls) override;
    void perform(const AppShortcut& shortcut, const OnDialog& onDialog) override;
    void tell(const std::string& title, const std::string& text) override;

private:
    UserNotifications& m_notifications;
    QPointer<AppDelegate> m_delegate;
};

} // namespace Vintrel
