#include "Vintrel/shell/linux/RunnerAdaptor.h"

#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/linux/BusText.h"

#include <QDBusMetaType>

namespace Vintrel {

QDBusArgument& operator<<(QDBusArgument& argument, const RunnerMatch& match) {
    argument.beginStructure();
    argument << match.identifier << match.text << match.icon << match.kind << match.relevance
             << match.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerMatch& match) {
    argument.beginStructure();
    argument >> match.identifier >> match.text >> match.icon >> match.kind >> match.relevance >>
        match.properties;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): Qt's form
}

QDBusArgument& operator<<(QDBusArgument& argument, const RunnerAction& action) {
    argument.beginStructure();
    argument << action.identifier << action.text << action.icon;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, RunnerAction& action) {
    argument.beginStructure();
    argument >> action.identifier >> action.text >> action.icon;
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): Qt's form
}

RunnerAdaptor::RunnerAdaptor(QObject* object, ApplicationRequests& requests)
    : QDBusAbstractAdaptor(object), m_requests(requests) {
    qDBusRegisterMetaType<RunnerMatch>();
    qDBusRegisterMetaType<QList<RunnerMatch>>();
    qDBusRegisterMetaType<RunnerAction>();
    qDBusRegisterMetaType<QList<RunnerAction>>();
}

QList<RunnerMatch> RunnerAdaptor::Match(const QString& query) const {
    constexpr int exact = 100;
    constexpr int possible = 30;
    constexpr double likely = 0.8;
    const std::string typed = query.toStdString();
    QList<RunnerMatch> matches;
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        const auto phrase = VintrelShortcuts::matchingPhrase(shortcut, typed);
        if (!phrase) {
            continue;
        }
        const bool isWhole = VintrelShortcuts::match(shortcut, typed) == VintrelShortcuts::Match::whole;
        matches.append(
            {.identifier = busText(shortcut.identifier),
             .text = busText(shortcut.title),
             .icon = busText(shortcut.icon),
             .kind = isWhole ? exact : possible,
             .relevance = isWhole ? 1 : likely,
             .properties = {{QStringLiteral("subtext"), busText(*phrase)},
                            {QStringLiteral("category"), busText(VintrelShortcuts::applicationName)}}});
    }
    return matches;
}

QList<RunnerAction> RunnerAdaptor::Actions() const {
    return {};
}

void RunnerAdaptor::Run(const QString& matchID, const QString&) {
    if (const AppShortcut* const shortcut = VintrelShortcuts::find(matchID.toStdString())) {
        m_requests.performAndTell(*shortcut);
    }
}

} // namespace Vintrel
