#include "Vintrel/shell/DelegateRequests.h"

#include "Vintrel/engine/UserNotifications.h"
#include "Vintrel/shell/AppDelegate.h"

namespace Vintrel {

void DelegateRequests::serve(AppDelegate& delegate) {
    m_delegate = &delegate;
}

void DelegateRequests::carryOut(const StartRequest& request, ApplicationInstance& instance) {
    if (request.isToShow) {
        activate({});
    }
    open(request.urls);
    if (!request.action.empty()) {
        instance.activateAction(request.action);
    }
}

void DelegateRequests::activate(const QString& activationToken) {
    if (AppDelegate* const delegate = m_delegate.data()) {
        delegate->showPopover(activationToken);
    }
}

void DelegateRequests::open(const std::vector<std::string>& urls) {
    if (AppDelegate* const delegate = m_delegate.data()) {
        delegate->open(urls);
    }
}

void DelegateRequests::perform(const AppShortcut& shortcut, const OnDialog& onDialog) {
    if (AppDelegate* const delegate = m_delegate.data()) {
        shortcut.perform(delegate->engine(), onDialog);
    }
}

void DelegateRequests::tell(const std::string& title, const std::string& text) {
    m_notifications.add({.title = title, .body = text});
}

} // namespace Vintrel
