#include "Vintrel/shell/linux/ApplicationAdaptor.h"

#include "Vintrel/shell/ApplicationInstance.h"
#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/linux/Refusal.h"
#include "Vintrel/shell/linux/SessionNames.h"

#include <algorithm>
#include <utility>

namespace Vintrel {

ApplicationAdaptor::ApplicationAdaptor(QObject* object, QDBusConnection bus, ApplicationRequests& requests,
                                       ApplicationInstance& instance)
    : QDBusAbstractAdaptor(object), m_bus(std::move(bus)), m_requests(requests), m_instance(instance) {}

void ApplicationAdaptor::Activate(const QVariantMap& platformData) {
    m_requests.activate(platformData.value(SessionNames::activationToken).toString());
}

void ApplicationAdaptor::Open(const QStringList& uris, const QVariantMap&) {
    std::vector<std::string> urls;
    std::ranges::transform(uris, std::back_inserter(urls), &QString::toStdString);
    m_requests.open(urls);
}

void ApplicationAdaptor::ActivateAction(const QString& name, const QVariantList&, const QVariantMap&,
                                        const QDBusMessage& message) {
    if (!m_instance.activateAction(name.toStdString())) {
        refuse(m_bus, message, QStringLiteral("there is no action of this name: %1").arg(name));
    }
}

} // namespace Vintrel
