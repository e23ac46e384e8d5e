// Fonts as desktops write them down.
#include "Vintrel/shell/linux/PortalSettings.h"

#include <string>

#include <QFont>
#include <QStringList>
#include <gtest/gtest.h>

using Vintrel::fontFromDescription;

TEST(FontDescriptionTest, familyAndSize) {
    const QFont font = fontFromDescription("Cantarell 11").value();
    EXPECT_EQ(font.families(), QStringList("Cantarell"));
    EXPECT_EQ(font.pointSizeF(), 11);
    EXPECT_EQ(font.weight(), QFont::Normal);
    EXPECT_FALSE(font.italic());
}

TEST(FontDescriptionTest, familiesHaveBlanks) {
    EXPECT_EQ(fontFromDescription("DejaVu Sans Mono 10").value().families(), QStringList("DejaVu Sans Mono"));
    EXPECT_EQ(fontFromDescription("  Noto   Sans  10 ").value().families(), QStringList("Noto Sans"));
}

TEST(FontDescriptionTest, familiesMayBeSeveral) {
    const QFont font = fontFromDescription("Inter, Noto Sans,Sans Bold 10").value();
    EXPECT_EQ(font.families(), QStringList({"Inter", "Noto Sans", "Sans"}));
    EXPECT_EQ(font.weight(), QFont::Bold);
}

TEST(FontDescriptionTest, aFamilyBeforeACommaMayBeCalledLikeAStyle) {
    const QFont font = fontFromDescription("Helvetica Black, 10").value();
    EXPECT_EQ(font.families(), QStringList("Helvetica Black"));
    EXPECT_EQ(font.weight(), QFont::Normal);
}

TEST(FontDescriptionTest, wordsOfStyle) {
    EXPECT_EQ(fontFromDescription("Ubuntu Medium 11").value().weight(), QFont::Medium);
    EXPECT_EQ(fontFromDescription("Ubuntu semi-bold 11").value().weight(), QFont::DemiBold);
    EXPECT_EQ(fontFromDescription("Ubuntu Extra-Light 11").value().weight(), QFont::ExtraLight);
    EXPECT_EQ(fontFromDescription("Ubuntu Italic 11").value().style(), QFont::StyleItalic);
    EXPECT_EQ(fontFromDescription("Ubuntu Semi-Condensed 11").value().stretch(), QFont::SemiCondensed);
    const QFont all = fontFromDescription("Ubuntu Bold Oblique Condensed 11").value();
    EXPECT_EQ(all.families(), QStringList("Ubuntu"));
    EXPECT_EQ(all.weight(), QFont::Bold);
    EXPECT_EQ(all.style(), QFont::StyleOblique);
    EXPECT_EQ(all.stretch(), QFont::Condensed);
    EXPECT_EQ(fontFromDescription("Bold Face 11").value().families(), QStringList("Bold Face"));
}

TEST(FontDescriptionTest, sizesMayBeBrokenOrInPixels) {
    EXPECT_EQ(fontFromDescription("Cantarell 10.5").value().pointSizeF(), 10.5);
    EXPECT_EQ(fontFromDescription("Cantarell 15px").value().pixelSize(), 15);
    EXPECT_EQ(fontFromDescription("Cantarell 14.6px").value().pixelSize(), 15);
}

TEST(FontDescriptionTest, settingsOfVariableFontsAreLeftOut) {
    const QFont font = fontFromDescription("Cantarell Bold 11 @wght=200,wdth=5 #tnum=1").value();
    EXPECT_EQ(font.families(), QStringList("Cantarell"));
    EXPECT_EQ(font.pointSizeF(), 11);
}

TEST(FontDescriptionTest, whatHasNoFamilyOrSizeIsNoFont) {
    for (const char* description : {"",
                                    " ",
                                    "11",
                                    "Cantarell",
                                    "Bold 11",
                                    "Bold Italic 11",
                                    ", 11",
                                    ",,, 11",
                                    "Cantarell 0",
                                    "Cantarell -11",
                                    "Cantarell 0.2",
                                    "Cantarell 100000",
                                    "Cantarell nan",
                                    "Cantarell inf",
                                    "Cantarell 1e400",
                                    "Cantarell px",
                                    "Cantarell 11pt",
                                    "@wght=200",
                                    "#",
                                    "Cantarell 11,"}) {
        EXPECT_FALSE(fontFromDescription(description).has_value()) << description;
    }
    EXPECT_FALSE(fontFromDescription(QString(10'000'000, 'x') + " 11").has_value());
}
