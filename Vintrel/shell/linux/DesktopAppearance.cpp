#include "Vintrel/shell/linux/DesktopAppearance.h"

#include "Vintrel/shell/Desktop.h"
#include "Vintrel/shell/linux/Portal.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include <QCoreApplication>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QMap>
#include <QPalette>
#include <QStringList>
#include <QVariantMap>

namespace Vintrel {

namespace {

const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

/// The values of each group by their keys.
using Groups = QMap<QString, QVariantMap>;

constexpr const char* themeVariable = "QT_QPA_PLATFORMTHEME";

/// Whether the variable holds our choice, which concerns no program that is started from here.
bool isThemeOurs = false;

/// Qt calls it once it has chosen.
void takeThemeBack() {
    if (std::exchange(isThemeOurs, false)) {
        qunsetenv(themeVariable);
    }
}

/// What Qt has found out about the desktop, where it has a theme plugin for it.
AppearanceSettings fromQt() {
    AppearanceSettings settings;
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr) {
        const QPalette palette = QGuiApplication::palette();
        const bool isDark =
            palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
        // Light is also what it takes for granted.
        settings.prefersDark = isDark ? std::optional(true) : std::nullopt;
    }
    return settings;
}

} // namespace

DesktopAppearance::DesktopAppearance(QDBusConnection bus, AppearanceSurroundings surroundings,
                                     QObject* parent)
    : Appearance(parent),
      m_bus(std::move(bus)),
      m_surroundings(std::move(surroundings)),
      m_settings(m_surroundings.fallback),
      m_portal(Portal::on(m_bus)) {
    qDBusRegisterMetaType<Groups>();
    qRegisterMetaType<QDBusVariant>(); // by its name, which the slot below is found by
    connect(m_portal.get(), &Portal::arrived, this, &DesktopAppearance::ask);
    m_bus.connect(Portal::service, Portal::path, settingsInterface, QStringLiteral("SettingChanged"), this,
                  SLOT(noteChange(QString, QString, QDBusVariant)));
    ask();
}

void DesktopAppearance::ask() {
    // A call without a bus would never be answered.
    if (!m_bus.isConnected()) {
        return;
    }
    const QStringList wanted{QStringLiteral("org.freedesktop.appearance"),
                             QStringLiteral("org.gnome.desktop.interface")};
    // Nobody waits, so a portal that takes its time at login may take it.
    constexpr int forEver = std::numeric_limits<int>::max();
    auto* const watcher = new QDBusPendingCallWatcher(
        m_portal->call(Portal::path, settingsInterface, QStringLiteral("ReadAll"), {wanted}, forEver), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* finished) {
        finished->deleteLater();
        const QDBusPendingReply<Groups> reply = *finished;
        if (reply.isError()) {
            return;
        }
        PortalSettings known;
        const Groups groups = reply.value();
        for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
            for (auto entry = group->cbegin(); entry != group->cend(); ++entry) {
                known.take(group.key(), entry.key(), entry.value());
            }
        }
        use(known);
    });
}

void DesktopAppearance::noteChange(const QString& group, const QString& key, const QDBusVariant& value) {
    PortalSettings known = m_known;
    known.take(group, key, value.variant());
    use(known);
}

void DesktopAppearance::use(const PortalSettings& known) {
    m_known = known;
    AppearanceSettings settings = m_known.settings(m_surroundings.fallback, m_surroundings.scalesText);
    if (settings != m_settings) {
        m_settings = std::move(settings);
        emit changed();
    }
}

namespace Desktop {

std::unique_ptr<Appearance> makeAppearance() {
    // Under X11 the resolution that Qt reads from the server has the factor in it.
    const bool isWayland = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return std::make_unique<DesktopAppearance>(
        QDBusConnection::sessionBus(), AppearanceSurroundings{.fallback = fromQt(), .scalesText = isWayland});
}

void choosePlatformTheme() {
    qputenv("QT_RELY_ON_NET_WORKAREA_ATOM", "1"); // so that panels are known with several screens, too
    if (qEnvironmentVariableIsSet(themeVariable)) {
        return;
    }
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'));
    const bool hasLightTheme = std::ranges::any_of(desktops, [](const QString& desktop) {
        return desktop.compare(QLatin1String("KDE"), Qt::CaseInsensitive) == 0 ||
               desktop.compare(QLatin1String("LXQt"), Qt::CaseInsensitive) == 0;
    });
    if (hasLightTheme) {
        return;
    }
    qputenv(themeVariable, "generic");
    isThemeOurs = true;
    qAddPreRoutine(takeThemeBack);
}

} // namespace Desktop

} // namespace Vintrel
