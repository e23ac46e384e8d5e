#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

namespace Vintrel {

class ApplicationRequests;
class Portal;

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
    enum class Step {
        idle,
        closing, ///< a session; what is wished meanwhile begins when it is gone
        creating,
        binding,
        bound,
    };

    void begin();
    void createSession();
    void request(const QString& method, QVariantList arguments, QVariantMap options, const char* slot);
    void call(const QString& object, const QString& interface, const QString& method,
              const QVariantList& arguments, std::function<void(const QDBusError&)> onReply);
    void stopListening();
    void noteRefusal(uint response);
    void noteError(const QDBusError& error);
    void giveUp(const char* sentence);
    void say(const char* sentence);
    void closeSession();
    void forgetSession();

    QDBusConnection m_bus;
    ApplicationRequests& m_requests;
    std::string m_mark;
    std::shared_ptr<Portal> m_portal;                // once it is of interest
    std::unique_ptr<QDBusPendingCallWatcher> m_call; // whose reply matters
    Step m_step = Step::idle;
    bool m_isAskedByUser = false;
    QString m_session;
    QString m_request;            // whose answer is awaited
    const char* m_slot = nullptr; // which hears it
    uint m_lastNumber = 0;
};

} // namespace Vintrel
