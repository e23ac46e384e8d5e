#include "Vintrel/shell/ApplicationInstance.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/StartRequest.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFileOpenEvent>
#include <QObject>

namespace Vintrel::Desktop {

namespace {

/// The system itself starts one instance only, and hands it links as events.
class BundleInstance : public QObject, public ApplicationInstance {
public:
    explicit BundleInstance(ApplicationRequests& requests) : m_requests(requests) {}

    Claim claim() override {
        QCoreApplication::instance()->installEventFilter(this);
        return Claim::granted;
    }

    bool activateAction(const std::string& name) override {
        const AppShortcut* const shortcut = VintrelShortcuts::find(name);
        if (shortcut != nullptr) {
            m_requests.performAndTell(*shortcut);
        }
        return shortcut != nullptr;
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::FileOpen) {
            const QUrl url = static_cast<const QFileOpenEvent*>(event)->url();
            m_requests.open({url.toString(QUrl::FullyEncoded).toStdString()});
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    ApplicationRequests& m_requests;
};

} // namespace

Handover handOver(const StartRequest&) {
    return Handover::nobody;
}

std::unique_ptr<ApplicationInstance> makeApplicationInstance(ApplicationRequests& requests) {
    return std::make_unique<BundleInstance>(requests);
}

} // namespace Vintrel::Desktop
