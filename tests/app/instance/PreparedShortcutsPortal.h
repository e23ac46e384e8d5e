#pragma once

#include "tests/app/support/SessionBus.h"

#include <vector>

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace VintrelTests {

/// A portal for global shortcuts that does what the test says, within the test's event loop. Like real ones
/// it has each session only once, and takes shortcuts for it only once.
class PreparedShortcutsPortal : public QDBusVirtualObject {
public:
    enum class Presence { now, later };

    explicit PreparedShortcutsPortal(SessionBus& bus, Presence presence = Presence::now);
    ~PreparedShortcutsPortal() override;

    void arrive();
    void leave();

    /// Takes the place of the one that is there.
    void replace();

    /// The user presses a key that is bound to this shortcut, in this session or the last one.
    void press(const QString& identifier, const QString& session = {});

    /// Ends the last session, as a portal may.
    void endSession();

    /// From now on answers to requests are kept, until they are given all at once.
    void hesitate() { m_hesitates = true; }

    void answerAll();

    /// What the user answers: 0 for yes, 1 for no; 2 is a failure.
    uint answerToSession = 0;
    uint answerToBinding = 0;
    bool isWithoutShortcuts = false; ///< an older one, which has no such interface
    bool isForKnownPrograms = false; ///< a newer one, which wants to be told before anything else who asks
    QMap<QString, QString> errors;   ///< with which it replies to these methods
    bool doesWhatItDenies = false;   ///< and carries them out all the same

    QStringList calls;                  ///< the methods, in order
    QStringList known;                  ///< the application ids that it was told
    QString session;                    ///< the last one
    QStringList sessions;               ///< that are open
    QMap<QString, QVariantMap> offered; ///< what it was last asked for
    QString signature;                  ///< the types of the arguments of that

    [[nodiscard]] QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    void respond(const QDBusMessage& message, const QVariantMap& options, uint response,
                 const QVariantMap& results);
    void createSession(const QDBusMessage& message);
    void bindShortcuts(const QDBusMessage& message);
    void refuse(const QDBusMessage& message, QDBusError::ErrorType type);
    void registerProgram(const QDBusMessage& message);
    void closeSession(const QDBusMessage& message);
    void answerCall(const QDBusMessage& message);

    QDBusConnection m_bus;
    QString m_program;
    QStringList m_callers; // of anything so far
    QStringList m_registered;
    QStringList m_bound; // the sessions that have their shortcuts
    bool m_hesitates = false;
    std::vector<QDBusMessage> m_answers;
};

} // namespace VintrelTests
