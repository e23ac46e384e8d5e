// Palettes: whether everything can be read in them, whatever the accent.
#include "Vintrel/views/parts/AppPalette.h"

#include "Vintrel/views/parts/Theme.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <QColor>
#include <QPalette>
#include <gtest/gtest.h>

using Vintrel::AppearanceSettings;
using Vintrel::Theme;
using Vintrel::AppPalette::makePalette;

namespace {

/// One wish after another.
struct Wish {
    bool isDark = false;
    bool isHighContrast = false;
    std::optional<QColor> accent;
};

std::vector<Wish> allWishes() {
    const std::vector<std::optional<QColor>> accents{
        std::nullopt,      QColor("#ffff00"), QColor("#000000"), QColor("#ffffff"), QColor("#808080"),
        QColor("#3584e4"), QColor("#2190a4"), QColor("#3a944a"), QColor("#c88800"), QColor("#ed5b00"),
        QColor("#e62d42"), QColor("#d56199"), QColor("#9141ac"), QColor("#6f8396"), QColor("#0000ff"),
        QColor("#00ff00"), QColor("#ff0000"), QColor("#202226"), QColor("#fbfbfc"), QColor("#767676"),
    };
    std::vector<Wish> wishes;
    for (const bool isDark : {false, true}) {
        for (const bool isHighContrast : {false, true}) {
            for (const auto& accent : accents) {
                wishes.push_back({.isDark = isDark, .isHighContrast = isHighContrast, .accent = accent});
            }
        }
    }
    return wishes;
}

/// A palette and what is asked of it.
struct Made {
    Wish wish;
    QPalette palette;
    double readable = 0;   ///< the least contrast of text
    double noticeable = 0; ///< the least contrast of what is no text

    [[nodiscard]] double contrast(QPalette::ColorRole one, QPalette::ColorRole other,
                                  QPalette::ColorGroup group = QPalette::Active) const {
        return Theme::contrast(palette.color(group, one), palette.color(group, other));
    }
};

QPalette paletteFor(const Wish& wish) {
    return makePalette(
        {.prefersDark = wish.isDark, .accent = wish.accent, .prefersHighContrast = wish.isHighContrast});
}

/// Looks at the palette for every wish; a failure names the wish.
void forEveryWish(const std::function<void(const Made&)>& look) {
    for (const Wish& wish : allWishes()) {
        SCOPED_TRACE(std::string(wish.isDark ? "dark" : "light") +
                     (wish.isHighContrast ? ", high contrast, " : ", ") +
                     (wish.accent ? wish.accent->name().toStdString() : "no accent"));
        look({.wish = wish,
              .palette = paletteFor(wish),
              .readable = wish.isHighContrast ? 7 : 4.5,
              .noticeable = wish.isHighContrast ? 4.5 : 3});
    }
}

} // namespace

TEST(AppPaletteTest, textCanBeRead) {
    forEveryWish([](const Made& made) {
        for (const auto group : {QPalette::Active, QPalette::Inactive}) {
            EXPECT_GE(made.contrast(QPalette::WindowText, QPalette::Window, group), made.readable);
            for (const auto ground : {QPalette::Base, QPalette::AlternateBase, QPalette::Window}) {
                EXPECT_GE(made.contrast(QPalette::Text, ground, group), made.readable);
            }
            EXPECT_GE(made.contrast(QPalette::ButtonText, QPalette::Button, group), made.readable);
            EXPECT_GE(made.contrast(QPalette::ToolTipText, QPalette::ToolTipBase, group), made.readable);
            EXPECT_GE(made.contrast(QPalette::PlaceholderText, QPalette::Base, group), made.readable);
            EXPECT_GE(made.contrast(QPalette::HighlightedText, QPalette::Highlight, group), made.readable);
        }
    });
}

TEST(AppPaletteTest, linksCanBeReadAndToldApart) {
    forEveryWish([](const Made& made) {
        for (const auto ground : {QPalette::Window, QPalette::Base, QPalette::AlternateBase}) {
            EXPECT_GE(made.contrast(QPalette::Link, ground), made.readable);
            EXPECT_GE(made.contrast(QPalette::LinkVisited, ground), made.readable);
        }
        EXPECT_NE(made.palette.color(QPalette::Link), made.palette.color(QPalette::LinkVisited));
    });
}

TEST(AppPaletteTest, theHighlightIsSeenOnTheWindow) {
    forEveryWish([](const Made& made) {
        EXPECT_GE(made.contrast(QPalette::Highlight, QPalette::Window), made.noticeable);
    });
}

TEST(AppPaletteTest, whatIsDisabledIsFainterButThere) {
    forEveryWish([](const Made& made) {
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
            const QPalette::ColorRole ground =
                role == QPalette::ButtonText ? QPalette::Button : QPalette::Window;
            EXPECT_LT(made.contrast(role, ground, QPalette::Disabled), made.contrast(role, ground));
            EXPECT_GE(made.contrast(role, ground, QPalette::Disabled), made.wish.isHighContrast ? 4.5 : 2.5);
        }
        EXPECT_GE(made.contrast(QPalette::HighlightedText, QPalette::Highlight, QPalette::Disabled), 4.5);
        EXPECT_NE(made.palette.color(QPalette::Disabled, QPalette::Highlight),
                  made.palette.color(QPalette::Highlight));
    });
}

TEST(AppPaletteTest, placeholdersAreFainterThanText) {
    forEveryWish([](const Made& made) {
        EXPECT_LT(made.contrast(QPalette::PlaceholderText, QPalette::Base),
                  made.contrast(QPalette::Text, QPalette::Base));
    });
}

TEST(AppPaletteTest, everyRoleIsSetAndOpaque) {
    forEveryWish([](const Made& made) {
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            for (int role = 0; role < QPalette::NColorRoles; ++role) {
                if (role == QPalette::NoRole) {
                    continue;
                }
                const auto set = static_cast<QPalette::ColorRole>(role);
                EXPECT_TRUE(made.palette.isBrushSet(group, set)) << role;
                EXPECT_EQ(made.palette.color(group, set).alpha(), 255) << role;
            }
        }
    });
}

TEST(AppPaletteTest, darkIsDark) {
    forEveryWish([](const Made& made) {
        const double lightness = made.palette.color(QPalette::Window).lightnessF();
        EXPECT_EQ(lightness < 0.25, made.wish.isDark);
        EXPECT_EQ(lightness > 0.9, !made.wish.isDark);
        EXPECT_EQ(Theme::from(made.palette).isDark, made.wish.isDark);
    });
}

TEST(AppPaletteTest, theSameWishesMakeTheSamePalette) {
    forEveryWish([](const Made& made) { EXPECT_EQ(made.palette, paletteFor(made.wish)); });
}

TEST(AppPaletteContrastTest, isThatOfTheGuidelines) {
    EXPECT_NEAR(Theme::contrast(Qt::black, Qt::white), 21, 0.001);
    EXPECT_NEAR(Theme::contrast(QColor("#777777"), Qt::white), 4.48, 0.005);
    EXPECT_NEAR(Theme::contrast(Qt::white, QColor("#0000ff")), 8.59, 0.005);
}

TEST(AppPaletteAccentTest, staysAsItIsWhereItCan) {
    const QColor purple("#9141ac");
    EXPECT_EQ(makePalette({.accent = purple}).color(QPalette::Highlight), purple);
    const QColor sky("#6ea0ff");
    EXPECT_EQ(makePalette({.prefersDark = true, .accent = sky}).color(QPalette::Highlight), sky);
}

TEST(AppPaletteAccentTest, keepsItsHueWhereItCannot) {
    for (const bool isDark : {false, true}) {
        for (const char* name : {"#3584e4", "#ffff00", "#ed5b00", "#00ff00", "#000080"}) {
            const QColor accent(name);
            const QColor highlight =
                makePalette({.prefersDark = isDark, .accent = accent}).color(QPalette::Highlight);
            EXPECT_NEAR(highlight.hslHue(), accent.hslHue(), 3) << name;
        }
    }
}

TEST(AppPaletteAccentTest, theUsualBlueBarelyMoves) {
    const QColor accent("#3584e4");
    const QColor highlight = makePalette({.accent = accent}).color(QPalette::Highlight);
    EXPECT_NEAR(highlight.lightnessF(), accent.lightnessF(), 0.08);
    EXPECT_EQ(makePalette({.accent = accent}).color(QPalette::HighlightedText), QColor(Qt::white));
}

TEST(AppPaletteAccentTest, makesADifference) {
    EXPECT_NE(makePalette({.accent = QColor("#9141ac")}), makePalette({}));
    EXPECT_NE(makePalette({.accent = QColor("#9141ac")}), makePalette({.accent = QColor("#e62d42")}));
}

TEST(AppPaletteDefaultsTest, areLight) {
    EXPECT_EQ(makePalette({}), makePalette({.prefersDark = false}));
    EXPECT_NE(makePalette({}), makePalette({.prefersDark = true}));
    EXPECT_NE(makePalette({}), makePalette({.prefersHighContrast = true}));
}
