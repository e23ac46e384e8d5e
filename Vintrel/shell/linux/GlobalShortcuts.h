#pragma once

#include <string>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

namespace Vintrel {

class ApplicationRequests;

/// The shortcuts as keys that work everywhere, by way of the desktop's portal. They come without keys: the
/// user chooses them in the desktop's own dialog or settings. Desktops may show that dialog when they are
/// asked, so they are asked only for a user who wished it once, which a file remembers. Where there is no
/// such portal, nothing happens. Source of the interface: the GlobalShortcuts portal of XDG Desktop Portal,
/// version 1.
class GlobalShortcuts : public QObject {
    Q_OBJECT

public:
    /// `mark`: the file that says that the user wishes them; "" for none. `requests` must outlive this.
    GlobalShortcuts(QDBusConnection bus, ApplicationRequests& requests, std::string mark);

    /// Asks the desktop if the user has wished it before.
    void restore();

    /// The user wishes it now. Says so if the desktop cannot.
    void bind();

    /// Whether the desktop has taken them over.
    [[nodiscard]] bool isBound() const { return m_step == Step::bound; }

private slots:
    void noteSession(uint response, const QVariantMap& results);
    void noteBinding(uint response, const QVariantMap& results);
    void noteActivated(const QDBusObjectPath& session, const QString& identifier);
    void noteClosed(const QDBusMessage& message);

private: // NOLINT(readability-redundant-access-specifiers): what follows is no slot
    enum class Step { idle, creating, binding, bound };

    void begin(bool isAskedByUser);
    void request(const QString& method, QVariantList arguments, QVariantMap options, const char* slot);
    void stopListening();
    void giveUp();
    void closeSession();
    void forgetSession();

    QDBusConnection m_bus;
    ApplicationRequests& m_requests;
    std::string m_mark;
    QDBusServiceWatcher m_portalWatcher;
    Step m_step = Step::idle;
    bool m_isAskedByUser = false;
    QString m_session;
    QString m_request;            // whose answer is awaited
    const char* m_slot = nullptr; // which hears it
    uint m_lastNumber = 0;
};

} // namespace Vintrel
