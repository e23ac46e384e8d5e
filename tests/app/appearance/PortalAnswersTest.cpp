// What becomes of the settings portal's first answer.
#include "Vintrel/shell/linux/DesktopAppearance.h"
#include "tests/app/appearance/PreparedPortal.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <cmath>
#include <limits>
#include <optional>

#include <QColor>
#include <QDBusConnection>
#include <QDBusVariant>
#include <gtest/gtest.h>

using namespace VintrelTests;
using Vintrel::AppearanceSettings;
using Vintrel::DesktopAppearance;

namespace {

class PortalAnswersTest : public AppTest {
public:
    SessionBus bus;

    /// What is known after a portal has answered with these arguments.
    AppearanceSettings afterAnswer(const QVariantList& answer,
                                   const Vintrel::AppearanceSurroundings& around) {
        PreparedPortal portal(bus);
        portal.answer = answer;
        const QDBusConnection program = bus.connect();
        const DesktopAppearance desktop(program, around);
        EXPECT_TRUE(spinUntil([&] { return !portal.asked.empty(); }));
        EXPECT_TRUE(portal.isHeardOn(program));
        return desktop.settings();
    }

    AppearanceSettings afterValues(const Groups& values, const Vintrel::AppearanceSurroundings& around = {}) {
        return afterAnswer({QVariant::fromValue(values)}, around);
    }

    /// The same for one value.
    AppearanceSettings after(const QString& group, const QString& key, const QVariant& value) {
        return afterValues({{group, {{key, value}}}});
    }

    std::optional<QColor> accentFor(double red, double green, double blue) {
        return after(appearance, "accent-color", QVariant::fromValue(Shares{red, green, blue})).accent;
    }
};

} // namespace

TEST_F(PortalAnswersTest, everyWishIsRead) {
    const AppearanceSettings settings =
        afterValues({{appearance,
                      {{"color-scheme", 1U},
                       {"contrast", 1U},
                       {"accent-color", QVariant::fromValue(Shares{0.2, 0.4, 0.6})}}},
                     {interface,
                      {{"font-name", "Cantarell 11"},
                       {"monospace-font-name", "Source Code Pro 10"},
                       {"enable-animations", false}}}});
    EXPECT_EQ(settings.prefersDark, true);
    EXPECT_TRUE(settings.prefersHighContrast);
    EXPECT_TRUE(settings.prefersReducedMotion);
    EXPECT_EQ(settings.accent.value().rgb(), qRgb(51, 102, 153));
    EXPECT_EQ(settings.font.value().families(), QStringList("Cantarell"));
    EXPECT_EQ(settings.font.value().pointSizeF(), 11);
    EXPECT_EQ(settings.fixedFont.value().families(), QStringList("Source Code Pro"));
    EXPECT_EQ(settings.fixedFont.value().pointSizeF(), 10);
}

TEST_F(PortalAnswersTest, onlyTheTwoGroupsAreAskedFor) {
    const PreparedPortal portal(bus);
    const QDBusConnection program = bus.connect();
    const DesktopAppearance desktop(program);
    ASSERT_TRUE(spinUntil([&] { return !portal.asked.empty(); }));
    EXPECT_TRUE(portal.isHeardOn(program));
    ASSERT_EQ(portal.asked.size(), 1U);
    EXPECT_EQ(portal.calls, (QStringList{"Register", "ReadAll"})) << "newer portals know nobody else";
    EXPECT_EQ(portal.asked.front().member(), "ReadAll");
    EXPECT_EQ(portal.asked.front().signature(), "as");
    EXPECT_EQ(portal.asked.front().arguments().value(0).toStringList(), QStringList({appearance, interface}));
}

TEST_F(PortalAnswersTest, theColorSchemeMayBeLightOrNoMatter) {
    EXPECT_EQ(after(appearance, "color-scheme", 0U).prefersDark, std::nullopt);
    EXPECT_EQ(after(appearance, "color-scheme", 1U).prefersDark, true);
    EXPECT_EQ(after(appearance, "color-scheme", 2U).prefersDark, false);
    EXPECT_EQ(after(appearance, "color-scheme", 3U).prefersDark, std::nullopt) << "one of later versions";
    EXPECT_EQ(after(appearance, "color-scheme", 0xffffffffU).prefersDark, std::nullopt);
}

TEST_F(PortalAnswersTest, theOlderKeyOfTheColorSchemeStandsIn) {
    EXPECT_EQ(after(interface, "color-scheme", "prefer-dark").prefersDark, true);
    EXPECT_EQ(after(interface, "color-scheme", "prefer-light").prefersDark, false);
    EXPECT_EQ(after(interface, "color-scheme", "default").prefersDark, std::nullopt);
    EXPECT_EQ(after(interface, "color-scheme", "").prefersDark, std::nullopt);
    const auto both = [this](uint scheme, const char* older) {
        return afterValues(
            {{appearance, {{"color-scheme", scheme}}}, {interface, {{"color-scheme", older}}}});
    };
    EXPECT_EQ(both(2, "prefer-dark").prefersDark, false);
    EXPECT_EQ(both(1, "prefer-light").prefersDark, true);
    EXPECT_EQ(both(0, "prefer-dark").prefersDark, std::nullopt) << "the newer one has no preference";
}

TEST_F(PortalAnswersTest, anAccentOutOfRangeIsNone) {
    EXPECT_EQ(accentFor(0, 0, 0), QColor(Qt::black));
    EXPECT_EQ(accentFor(1, 1, 1), QColor(Qt::white));
    EXPECT_EQ(accentFor(-1, -1, -1), std::nullopt);
    EXPECT_EQ(accentFor(0.5, 0.5, 1.001), std::nullopt);
    EXPECT_EQ(accentFor(0.5, -0.001, 0.5), std::nullopt);
    EXPECT_EQ(accentFor(std::nan(""), 0.5, 0.5), std::nullopt);
    EXPECT_EQ(accentFor(0.5, 0.5, std::numeric_limits<double>::infinity()), std::nullopt);
}

TEST_F(PortalAnswersTest, higherContrastIsOneValueOnly) {
    EXPECT_FALSE(after(appearance, "contrast", 0U).prefersHighContrast);
    EXPECT_TRUE(after(appearance, "contrast", 1U).prefersHighContrast);
    EXPECT_FALSE(after(appearance, "contrast", 2U).prefersHighContrast);
}

TEST_F(PortalAnswersTest, eitherKeyAsksForLessMotion) {
    EXPECT_FALSE(after(interface, "enable-animations", true).prefersReducedMotion);
    EXPECT_TRUE(after(interface, "enable-animations", false).prefersReducedMotion);
    EXPECT_TRUE(after(appearance, "reduced-motion", 1U).prefersReducedMotion);
    EXPECT_FALSE(after(appearance, "reduced-motion", 0U).prefersReducedMotion);
    EXPECT_TRUE(
        afterValues({{appearance, {{"reduced-motion", 0U}}}, {interface, {{"enable-animations", false}}}})
            .prefersReducedMotion);
}

TEST_F(PortalAnswersTest, valuesInMoreThanOneWrapperAreRead) {
    const QVariant dark = QVariant::fromValue(QDBusVariant(1U));
    EXPECT_EQ(after(appearance, "color-scheme", dark).prefersDark, true);
    EXPECT_EQ(after(appearance, "color-scheme", QVariant::fromValue(QDBusVariant(dark))).prefersDark, true);
}

TEST_F(PortalAnswersTest, theFactorForTextCountsWhereQtDoesNotKnowIt) {
    const Groups values{{interface,
                         {{"font-name", "Cantarell 10"},
                          {"monospace-font-name", "Mono 20px"},
                          {"text-scaling-factor", 1.5}}}};
    EXPECT_EQ(afterValues(values).font.value().pointSizeF(), 10);
    const AppearanceSettings scaled = afterValues(values, {.scalesText = true});
    EXPECT_EQ(scaled.font.value().pointSizeF(), 15);
    EXPECT_EQ(scaled.fixedFont.value().pixelSize(), 30);
    for (const double factor : {0.0, -1.0, 0.4, 3.1, 1e9, std::nan("")}) {
        const Groups odd{{interface, {{"font-name", "Cantarell 10"}, {"text-scaling-factor", factor}}}};
        EXPECT_EQ(afterValues(odd, {.scalesText = true}).font.value().pointSizeF(), 10) << factor;
    }
}

TEST_F(PortalAnswersTest, whatThePortalDoesNotSayStays) {
    AppearanceSettings fallback;
    fallback.prefersDark = true;
    fallback.accent = QColor(Qt::red);
    const Groups contrast{{appearance, {{"contrast", 1U}}}};
    AppearanceSettings expected = fallback;
    expected.prefersHighContrast = true;
    EXPECT_EQ(afterValues(contrast, {.fallback = fallback}), expected);
    const Groups light{{appearance, {{"color-scheme", 2U}}}};
    EXPECT_EQ(afterValues(light, {.fallback = fallback}).prefersDark, false);
}

TEST_F(PortalAnswersTest, valuesOfOtherTypesAreDisregarded) {
    const AppearanceSettings nothing;
    const QVariantList all{"1", 1, -1, qulonglong(1), 1.0, true, QStringList{"1"}, QVariantMap{{"1", 1}}};
    for (const QVariant& value : all) {
        for (const char* key : {"color-scheme", "contrast", "accent-color", "reduced-motion"}) {
            EXPECT_EQ(after(appearance, key, value), nothing) << key << ": " << value.typeName();
        }
    }
    const QVariantList others{0, 0U, QStringList{"prefer-dark"}, QVariant::fromValue(Shares{0, 0, 0})};
    for (const QVariant& value : others) {
        for (const char* key : {"color-scheme", "font-name", "monospace-font-name", "enable-animations"}) {
            EXPECT_EQ(after(interface, key, value), nothing) << key << ": " << value.typeName();
        }
    }
}

TEST_F(PortalAnswersTest, whatIsMalformedDoesNotSpoilTheRest) {
    const AppearanceSettings settings =
        afterValues({{appearance, {{"color-scheme", "dark"}, {"contrast", 1U}, {"accent-color", "#ff0000"}}},
                     {interface, {{"font-name", 11}, {"enable-animations", false}}}});
    AppearanceSettings expected;
    expected.prefersHighContrast = true;
    expected.prefersReducedMotion = true;
    EXPECT_EQ(settings, expected);
}

TEST_F(PortalAnswersTest, otherGroupsAndKeysAreDisregarded) {
    EXPECT_EQ(afterValues({{"org.kde.kdeglobals.General", {{"color-scheme", 1U}}},
                           {appearance, {{"color-Scheme", 1U}, {"", 1U}, {"colour", 1U}}},
                           {interface, {{"contrast", 1U}, {"gtk-theme", "Adwaita-dark"}}}}),
              AppearanceSettings());
}

TEST_F(PortalAnswersTest, answersOfAnotherShapeAreDisregarded) {
    const QVariantMap flat{{"color-scheme", 1U}};
    for (const QVariantList& answer :
         {QVariantList{}, QVariantList{1U}, QVariantList{"org.freedesktop.appearance"}, QVariantList{flat},
          QVariantList{QVariantList{1U, "dark"}}, QVariantList{QStringList{appearance, "color-scheme"}}}) {
        EXPECT_EQ(afterAnswer(answer, {}), AppearanceSettings());
    }
}

TEST_F(PortalAnswersTest, anErrorIsDisregarded) {
    PreparedPortal portal(bus, {{appearance, {{"color-scheme", 1U}}}});
    portal.error = "org.freedesktop.DBus.Error.Failed";
    const QDBusConnection program = bus.connect();
    const DesktopAppearance desktop(program);
    const Changes changes(desktop);
    ASSERT_TRUE(spinUntil([&] { return !portal.asked.empty(); }));
    EXPECT_TRUE(portal.isHeardOn(program));
    EXPECT_EQ(desktop.settings(), AppearanceSettings());
    EXPECT_EQ(changes.count, 0);
}

TEST_F(PortalAnswersTest, theFirstAnswerIsAChangeWhenItSaysSomething) {
    const PreparedPortal portal(bus, {{appearance, {{"color-scheme", 1U}}}});
    const QDBusConnection program = bus.connect();
    const DesktopAppearance desktop(program);
    const Changes changes(desktop);
    EXPECT_EQ(desktop.settings(), AppearanceSettings()) << "nobody waited for the portal";
    ASSERT_TRUE(spinUntil([&] { return changes.count > 0; }));
    EXPECT_TRUE(portal.isHeardOn(program));
    EXPECT_EQ(changes.count, 1);
    EXPECT_EQ(desktop.settings().prefersDark, true);
}

TEST_F(PortalAnswersTest, anAnswerThatSaysNothingNewIsNoChange) {
    AppearanceSettings known;
    known.prefersDark = true;
    const PreparedPortal portal(bus, {{appearance, {{"color-scheme", 1U}, {"contrast", 0U}}},
                                      {interface, {{"enable-animations", true}}}});
    const QDBusConnection program = bus.connect();
    const DesktopAppearance desktop(program, {.fallback = known});
    const Changes changes(desktop);
    ASSERT_TRUE(spinUntil([&] { return !portal.asked.empty(); }));
    EXPECT_TRUE(portal.isHeardOn(program));
    EXPECT_EQ(changes.count, 0);
    EXPECT_EQ(desktop.settings(), known);
}
