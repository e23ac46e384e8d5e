#pragma once

#include "tests/app/support/SessionBus.h"

#include <vector>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace VintrelTests {

/// A portal for global shortcuts that does what the test says, within the test's event loop.
class PreparedShortcutsPortal : public QDBusVirtualObject {
public:
    enum class Presence { now, later };

    explicit PreparedShortcutsPortal(SessionBus& bus, Presence presence = Presence::now);
    ~PreparedShortcutsPortal() override;

    void arrive();
    void leave();

    /// The user presses a key that is bound to this shortcut, in this session or the last one.
    void press(const QString& identifier, const QString& session = {});

    /// Ends the last session, as a portal may.
    void endSession();

    /// What the user answers: 0 for yes, 1 for no.
    uint answerToSession = 0;
    uint answerToBinding = 0;
    bool isWithoutShortcuts = false; ///< an older one, which has no such interface

    QStringList calls;                  ///< the methods, in order
    QString session;                    ///< the last one
    QMap<QString, QVariantMap> offered; ///< what it was last asked for
    QString signature;                  ///< the types of the arguments of that

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void respond(const QDBusMessage& message, const QVariantMap& options, uint response,
                 const QVariantMap& results);
    void createSession(const QDBusMessage& message);
    void bindShortcuts(const QDBusMessage& message);

    QDBusConnection m_bus;
    QString m_program;
};

} // namespace VintrelTests
