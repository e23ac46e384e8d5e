#include "Vintrel/shell/Appearance.h"

#include "Vintrel/shell/Desktop.h"

#include <memory>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QPalette>

namespace Vintrel::Desktop {

namespace {

/// What Qt reads from this system when the program starts.
class AppearanceAtStart : public Appearance {
public:
    AppearanceAtStart() {
        if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr) {
            const QPalette palette = QGuiApplication::palette();
            m_settings.prefersDark = palette.color(QPalette::Window).lightnessF() <
                                     palette.color(QPalette::WindowText).lightnessF();
            m_settings.accent = palette.color(QPalette::Highlight);
        }
    }

    [[nodiscard]] const AppearanceSettings& settings() const override { return m_settings; }

private:
    AppearanceSettings m_settings;
};

} // namespace

std::unique_ptr<Appearance> makeAppearance() {
    return std::make_unique<AppearanceAtStart>();
}

void choosePlatformTheme() {
    // There is one theme only.
}

} // namespace Vintrel::Desktop
