// What reaches the application as a whole: its theme before the start, its palette and fonts after that.
#include "Vintrel/shell/Appearance.h"
#include "Vintrel/shell/Desktop.h"
#include "Vintrel/views/parts/AppPalette.h"
#include "tests/app/appearance/PreparedPortal.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <memory>
#include <optional>
#include <string>

#include <QApplication>
#include <QEvent>
#include <QFont>
#include <QFontInfo>
#include <QWidget>
#include <gtest/gtest.h>

using namespace VintrelTests;
using Vintrel::AppearanceSettings;
using Vintrel::AppPalette::makePalette;

namespace {

constexpr const char* themeVariable = "QT_QPA_PLATFORMTHEME";

/// Before the application is there: a test makes it when it wants it.
class ApplicationTest : public testing::Test {
public:
    void start() { m_application.emplace(m_argc, m_argv); }

private:
    TemporaryFolder m_folder;
    ScopedEnvironment m_home{"HOME", m_folder.path().string()};
    ScopedEnvironment m_config{"XDG_CONFIG_HOME", (m_folder.path() / "config").string()};
    ScopedEnvironment m_runtime{"XDG_RUNTIME_DIR", m_folder.path().string()};
    ScopedEnvironment m_platform{"QT_QPA_PLATFORM", "offscreen"};
    int m_argc = 1;
    char m_name[5] = "test";
    char* m_argv[2] = {m_name, nullptr};
    std::optional<QApplication> m_application;
};

/// The theme that is chosen for a desktop.
std::optional<std::string> chosenFor(const std::optional<std::string>& desktop,
                                     const std::optional<std::string>& byTheUser = std::nullopt) {
    const ScopedEnvironment current("XDG_CURRENT_DESKTOP", desktop);
    const ScopedEnvironment theme(themeVariable, byTheUser);
    Vintrel::Desktop::choosePlatformTheme();
    if (!qEnvironmentVariableIsSet(themeVariable)) {
        return std::nullopt;
    }
    return qEnvironmentVariable(themeVariable).toStdString();
}

/// A widget that counts how often it was told of a new palette or font.
class Witness : public QWidget {
public:
    int palettes = 0;
    int fonts = 0;

protected:
    void changeEvent(QEvent* event) override {
        palettes += event->type() == QEvent::PaletteChange ? 1 : 0;
        fonts += event->type() == QEvent::FontChange ? 1 : 0;
        QWidget::changeEvent(event);
    }
};

} // namespace

TEST_F(ApplicationTest, theLightThemeIsChosen) {
    EXPECT_EQ(chosenFor("GNOME"), "generic");
    EXPECT_EQ(chosenFor("ubuntu:GNOME"), "generic");
    EXPECT_EQ(chosenFor("XFCE"), "generic");
    EXPECT_EQ(chosenFor("sway"), "generic");
    EXPECT_EQ(chosenFor(""), "generic");
    EXPECT_EQ(chosenFor(std::nullopt), "generic");
    EXPECT_EQ(chosenFor("NOTKDE"), "generic");
}

TEST_F(ApplicationTest, desktopsWithALightThemeOfTheirOwnKeepIt) {
    EXPECT_EQ(chosenFor("KDE"), std::nullopt);
    EXPECT_EQ(chosenFor("LXQt"), std::nullopt);
    EXPECT_EQ(chosenFor("LXQt:wlroots"), std::nullopt);
    EXPECT_EQ(chosenFor("custom:KDE"), std::nullopt);
    EXPECT_EQ(chosenFor("kde"), std::nullopt);
}

TEST_F(ApplicationTest, theUsersChoiceStands) {
    EXPECT_EQ(chosenFor("GNOME", "gtk3"), "gtk3");
    EXPECT_EQ(chosenFor("KDE", "qt6ct"), "qt6ct");
    EXPECT_EQ(chosenFor("GNOME", ""), "");
}

TEST_F(ApplicationTest, programsThatItStartsDoNotInheritTheChoice) {
    const ScopedEnvironment current("XDG_CURRENT_DESKTOP", "GNOME");
    const ScopedEnvironment theme(themeVariable, std::nullopt);
    Vintrel::Desktop::choosePlatformTheme();
    ASSERT_EQ(qEnvironmentVariable(themeVariable), "generic");
    start();
    EXPECT_FALSE(qEnvironmentVariableIsSet(themeVariable));
}

TEST_F(ApplicationTest, programsThatItStartsInheritTheUsersChoice) {
    const ScopedEnvironment current("XDG_CURRENT_DESKTOP", "GNOME");
    const ScopedEnvironment theme(themeVariable, "qt6ct");
    Vintrel::Desktop::choosePlatformTheme();
    start();
    EXPECT_EQ(qEnvironmentVariable(themeVariable), "qt6ct");
}

TEST_F(ApplicationTest, getsThePalette) {
    start();
    for (const bool isDark : {true, false, true}) {
        const AppearanceSettings settings{.prefersDark = isDark, .accent = QColor("#9141ac")};
        Vintrel::AppPalette::apply(settings);
        EXPECT_EQ(QApplication::palette(), makePalette(settings));
        EXPECT_EQ(QWidget().palette().color(QPalette::Window), makePalette(settings).color(QPalette::Window));
    }
}

TEST_F(ApplicationTest, getsTheFonts) {
    start();
    const AppearanceSettings settings{.font = QFont("DejaVu Sans", 13),
                                      .fixedFont = QFont("DejaVu Sans Mono", 12)};
    EXPECT_NE(Vintrel::AppPalette::fixedFont(), settings.fixedFont);
    Vintrel::AppPalette::apply(settings);
    EXPECT_EQ(QApplication::font(), settings.font);
    EXPECT_EQ(QWidget().font().pointSizeF(), 13);
    EXPECT_EQ(Vintrel::AppPalette::fixedFont(), settings.fixedFont);
}

TEST_F(ApplicationTest, keepsItsFontsWhenTheDesktopHasNone) {
    start();
    const QFont before = QApplication::font();
    const QFont fixed = Vintrel::AppPalette::fixedFont();
    Vintrel::AppPalette::apply({.prefersDark = true});
    EXPECT_EQ(QApplication::font(), before);
    EXPECT_EQ(Vintrel::AppPalette::fixedFont(), fixed);
}

TEST_F(ApplicationTest, tellsItsWidgetsOfWhatIsNewOnly) {
    start();
    Witness widget;
    widget.show();
    const AppearanceSettings settings{.prefersDark = true, .font = QFont("DejaVu Sans", 13)};
    Vintrel::AppPalette::apply(settings);
    QApplication::processEvents();
    const int palettes = widget.palettes;
    const int fonts = widget.fonts;
    EXPECT_GT(palettes, 0);
    EXPECT_GT(fonts, 0);
    Vintrel::AppPalette::apply(settings);
    QApplication::processEvents();
    EXPECT_EQ(widget.palettes, palettes);
    EXPECT_EQ(widget.fonts, fonts);
}

TEST_F(ApplicationTest, followsThePortalOfItsSession) {
    SessionBus bus;
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", bus.address());
    const PreparedPortal portal(bus, {{appearance, {{"color-scheme", 1U}}}});
    start();
    const std::unique_ptr<Vintrel::Appearance> desktop = Vintrel::Desktop::makeAppearance();
    const Changes changes(*desktop);
    EXPECT_EQ(desktop->settings(), AppearanceSettings()) << "nobody waited for the portal";
    ASSERT_TRUE(spinUntil([&] { return changes.count == 1; }));
    EXPECT_EQ(desktop->settings().prefersDark, true);
}

TEST_F(ApplicationTest, startsWithTheDarknessThatQtHasFound) {
    const ScopedEnvironment address("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    start();
    QApplication::setPalette(makePalette({.prefersDark = true}));
    EXPECT_EQ(Vintrel::Desktop::makeAppearance()->settings().prefersDark, true);
    QApplication::setPalette(makePalette({.prefersDark = false}));
    EXPECT_EQ(Vintrel::Desktop::makeAppearance()->settings().prefersDark, std::nullopt);
}
