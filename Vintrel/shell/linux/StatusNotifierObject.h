#pragma once

#include "Vintrel/shell/StatusIcon.h"
#include "Vintrel/shell/linux/TrayTypes.h"

#include <QDBusObjectPath>
#include <QImage>
#include <QList>
#include <QObject>
#include <QString>

namespace Vintrel {

/// What trays see of the status item over the bus: org.kde.StatusNotifierItem, with what
/// libayatana-appindicator has added to it. It answers them; that they know of it is the business of
/// `StatusNotifierItem`. What is marked as scriptable is the interface. Source: the StatusNotifierItem
/// specification of freedesktop.org.
class StatusNotifierObject : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ name CONSTANT)
    Q_PROPERTY(QString Title READ name CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowID CONSTANT)
    Q_PROPERTY(QString IconThemePath READ nothing CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)
    Q_PROPERTY(bool ItemIsMenu READ isMenu CONSTANT)
    Q_PROPERTY(QString IconName READ nothing CONSTANT)
    Q_PROPERTY(Vintrel::Tray::Pictures IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ nothing CONSTANT)
    Q_PROPERTY(Vintrel::Tray::Pictures OverlayIconPixmap READ noPictures CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ nothing CONSTANT)
    Q_PROPERTY(Vintrel::Tray::Pictures AttentionIconPixmap READ noPictures CONSTANT)
    Q_PROPERTY(QString AttentionMovieName READ nothing CONSTANT)
    Q_PROPERTY(Vintrel::Tray::Tooltip ToolTip READ toolTip)
    Q_PROPERTY(QString IconAccessibleDesc READ name CONSTANT)
    Q_PROPERTY(QString XAyatanaLabel READ label)
    Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide CONSTANT)

public:
    /// `menu` is where its menu stands on the bus.
    explicit StatusNotifierObject(QDBusObjectPath menu, QObject* parent = nullptr);

    /// Tells of what has changed.
    void show(const QList<QImage>& pictures, const StatusIcon::Look& look);

    [[nodiscard]] static QString category() { return QStringLiteral("ApplicationStatus"); }

    [[nodiscard]] static QString name() { return QStringLiteral("Vintrel"); }

    [[nodiscard]] static QString status() { return QStringLiteral("Active"); }

    [[nodiscard]] static int windowID() { return 0; }

    [[nodiscard]] static QString nothing() { return QStringLiteral(""); }

    [[nodiscard]] static Tray::Pictures noPictures() { return {}; }

    [[nodiscard]] QDBusObjectPath menu() const { return m_menu; }

    [[nodiscard]] static bool isMenu() { return false; }

    [[nodiscard]] Tray::Pictures iconPixmap() const;
    [[nodiscard]] Tray::Tooltip toolTip() const;
    /// The number beside the icon, in full.
    [[nodiscard]] QString label() const;

    /// A text as wide as most labels.
    [[nodiscard]] static QString labelGuide() { return QStringLiteral(" 99"); }

    // What the user does. Places are on the screen; trays that know none say 0, 0.
    Q_SCRIPTABLE void Activate(int x, int y) { emit activated(x, y); }

    Q_SCRIPTABLE void SecondaryActivate(int x, int y) { emit activated(x, y); }

    Q_SCRIPTABLE void XAyatanaSecondaryActivate(uint timestamp);

    Q_SCRIPTABLE void ContextMenu(int x, int y) { emit menuRequested(x, y); }

    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);

    /// For the window that what comes next opens.
    Q_SCRIPTABLE void ProvideXdgActivationToken(const QString& token) { emit tokenProvided(token); }

signals:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewAttentionIcon();
    Q_SCRIPTABLE void NewOverlayIcon();
    Q_SCRIPTABLE void NewMenu();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);
    Q_SCRIPTABLE void XAyatanaNewLabel(const QString& label, const QString& guide);

    void activated(int x, int y);
    void menuRequested(int x, int y);
    void tokenProvided(const QString& token);

private:
    QDBusObjectPath m_menu;
    QList<QImage> m_pictures;
    StatusIcon::Look m_look;
};

} // namespace Vintrel
