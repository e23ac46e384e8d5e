#include "Vintrel/shell/linux/SearchProviderAdaptor.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/linux/BusText.h"

#include <QDBusMetaType>

namespace Vintrel {

SearchProviderAdaptor::SearchProviderAdaptor(QObject* object, ApplicationRequests& requests)
    : QDBusAbstractAdaptor(object), m_requests(requests) {
    qDBusRegisterMetaType<QList<QVariantMap>>();
}

QStringList SearchProviderAdaptor::GetInitialResultSet(const QStringList& terms) const {
    const std::string typed = terms.join(QLatin1Char(' ')).toStdString();
    QStringList identifiers;
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        if (VintrelShortcuts::match(shortcut, typed) != VintrelShortcuts::Match::none) {
            identifiers.append(busText(shortcut.identifier));
        }
    }
    return identifiers;
}

QStringList SearchProviderAdaptor::GetSubsearchResultSet(const QStringList&, const QStringList& terms) const {
    return GetInitialResultSet(terms); // as quick as looking through the previous results
}

QList<QVariantMap> SearchProviderAdaptor::GetResultMetas(const QStringList& identifiers) const {
    QList<QVariantMap> metas;
    for (const QString& identifier : identifiers) {
        if (const AppShortcut* const shortcut = VintrelShortcuts::find(identifier.toStdString())) {
            metas.append({{QStringLiteral("id"), identifier},
                          {QStringLiteral("name"), busText(shortcut->title)},
                          {QStringLiteral("description"), busText(shortcut->spokenPhrases().front())},
                          {QStringLiteral("gicon"), busText(shortcut->icon)}});
        }
    }
    return metas;
}

void SearchProviderAdaptor::ActivateResult(const QString& identifier, const QStringList&, uint) {
    if (const AppShortcut* const shortcut = VintrelShortcuts::find(identifier.toStdString())) {
        m_requests.performAndTell(*shortcut);
    }
}

void SearchProviderAdaptor::LaunchSearch(const QStringList&, uint) {
    m_requests.activate({});
}

} // namespace Vintrel
