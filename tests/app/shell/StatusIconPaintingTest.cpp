// The status icon's pixels, at every size that a panel shows.
#include "Vintrel/shell/StatusIconPainting.h"

#include "tests/app/support/ViewTest.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <QColor>
#include <gtest/gtest.h>

namespace Vintrel::StatusIconPainting {

namespace {

using StatusIcon::look;
using StatusIcon::Look;

class StatusIconPainting : public VintrelTests::ViewTest, public testing::WithParamInterface<int> {
protected:
    [[nodiscard]] static int size() { return GetParam(); }

    [[nodiscard]] static QImage painted(const Look& look, PanelScheme scheme = PanelScheme::dark) {
        return paint(look, scheme, size());
    }
};

/// How many pixels are of that colour, whatever lies between it and its neighbours.
int countOf(const QImage& image, const QColor& color) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            const auto isNear = [](int one, int other) { return std::abs(one - other) <= 2; };
            count += pixel.alpha() > 250 && isNear(pixel.red(), color.red()) &&
                     isNear(pixel.green(), color.green()) && isNear(pixel.blue(), color.blue());
        }
    }
    return count;
}

QRect inked(const QImage& image, const std::function<bool(const QColor&)>& isWanted) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (isWanted(image.pixelColor(x, y))) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

const PanelColors colors = PanelColors::on(PanelScheme::dark);

bool isReddish(const QColor& pixel) {
    return pixel.alpha() > 128 && pixel.red() > pixel.green() + 60;
}

} // namespace

TEST_P(StatusIconPainting, isOfTheSizeThatWasAskedFor) {
    EXPECT_EQ(painted(look({})).size(), QSize(size(), size()));
    EXPECT_EQ(painted(look({.safe = 3})).size(), QSize(size(), size()));
}

TEST_P(StatusIconPainting, withoutANumberHasNoBadge) {
    for (const Look& plain : {look({}), look({.isScanning = true, .safe = 3})}) {
        const QImage image = painted(plain);
        EXPECT_GT(countOf(image, colors.glyph), 0);
        EXPECT_EQ(countOf(image, colors.safe), 0);
        EXPECT_EQ(countOf(image, colors.review), 0);
    }
}

TEST_P(StatusIconPainting, theBadgeHasTheColourOfWhatItCounts) {
    const int badge = size() * size() / 10; // pixels; it covers about a third
    const QImage red = painted(look({.safe = 1, .review = 5}));
    EXPECT_GT(countOf(red, colors.safe), badge);
    EXPECT_EQ(countOf(red, colors.review), 0);
    const QImage yellow = painted(look({.review = 1}));
    EXPECT_GT(countOf(yellow, colors.review), badge);
    EXPECT_EQ(countOf(yellow, colors.safe), 0);
}

TEST_P(StatusIconPainting, theBadgeStandsInTheLowerRightCorner) {
    const QImage image = painted(look({.safe = 1}));
    const QRect badge = inked(image, isReddish);
    EXPECT_EQ(badge.right(), size() - 1);
    EXPECT_EQ(badge.bottom(), size() - 1);
    EXPECT_GT(badge.left(), size() / 4);
    EXPECT_GT(badge.top(), size() / 4);
    EXPECT_GE(badge.height(), size() / 2) << "a figure on less cannot be read";
}

TEST_P(StatusIconPainting, aRingAroundTheBadgeIsTransparent) {
    const QImage image = painted(look({.safe = 1}));
    const QRect badge = inked(image, isReddish);
    const int beside = badge.center().y();
    const int above = badge.center().x();
    constexpr int nothing = 64; // of 255: the smallest ring is one pixel, and edges are smooth
    EXPECT_LT(qAlpha(image.pixel(badge.left() - 1, beside)), nothing);
    EXPECT_LT(qAlpha(image.pixel(above, badge.top() - 1)), nothing);
    EXPECT_GT(countOf(image, colors.glyph), 0) << "and the symbol is still there";
}

TEST_P(StatusIconPainting, everyNumberLooksDifferent) {
    std::vector<QImage> images;
    for (int number = 1; number <= 10; ++number) {
        images.push_back(painted(look({.safe = number})));
    }
    for (size_t one = 0; one < images.size(); ++one) {
        for (size_t other = one + 1; other < images.size(); ++other) {
            EXPECT_NE(images[one], images[other]) << one + 1 << " and " << other + 1;
        }
    }
}

TEST_P(StatusIconPainting, moreThanNineIsNineAndMore) {
    const QImage ten = painted(look({.safe = 10}));
    EXPECT_EQ(ten, painted(look({.safe = 4'711})));
    const QRect badge = inked(ten, isReddish);
    EXPECT_GT(badge.width(), badge.height()) << "there are two characters on it";
    EXPECT_LE(badge.width(), size());
    const QRect nine = inked(painted(look({.safe = 9})), isReddish);
    EXPECT_EQ(badge.height(), nine.height());
}

TEST_P(StatusIconPainting, theFigureStaysInsideTheBadge) {
    for (const int number : {1, 8, 9, 10}) {
        // On a light panel, where nothing but the figure is light.
        const QImage image = painted(look({.safe = number}), PanelScheme::light);
        const QRect badge = inked(image, isReddish);
        const QRect figure = inked(image.copy(badge), [](const QColor& pixel) {
            return pixel.alpha() > 250 && pixel.green() > 128;
        });
        ASSERT_FALSE(figure.isEmpty()) << number;
        EXPECT_GE(figure.left(), 1) << number;
        EXPECT_GE(figure.top(), 1) << number;
        EXPECT_LT(figure.right(), badge.width() - 1) << number;
        EXPECT_LT(figure.bottom(), badge.height() - 1) << number;
        EXPECT_GE(figure.height(), badge.height() / 2) << number;
    }
}

TEST_P(StatusIconPainting, theChipsStraightEdgesStandOnWholePixels) {
    const QImage image = painted(look({}));
    int partial = 0;
    for (int y = 0; y < size(); ++y) {
        for (int x = 0; x < size(); ++x) {
            const int alpha = qAlpha(image.pixel(x, y));
            partial += alpha > 2 && alpha < 253;
        }
    }
    const int roundCorner = size() / 8; // pixels on the edge of one
    EXPECT_LE(partial, 4 * roundCorner);
    const QRect ink = inked(image, [](const QColor& pixel) { return pixel.alpha() > 0; });
    EXPECT_EQ(ink.left(), size() - 1 - ink.right());
    EXPECT_EQ(ink.top(), size() - 1 - ink.bottom());
}

TEST_P(StatusIconPainting, theFigureIsInTheMiddleOfTheBadgeAndFillsWholeLines) {
    for (int number = 1; number <= 9; ++number) {
        const QImage image = painted(look({.safe = number}), PanelScheme::light);
        const QRect badge = inked(image, isReddish);
        const QRect figure = inked(image.copy(badge), [](const QColor& pixel) {
            return pixel.alpha() > 250 && pixel.green() > 110; // more than a quarter of it
        });
        const int above = figure.top();
        const int below = badge.height() - 1 - figure.bottom();
        EXPECT_EQ(above, below) << number;
        const int before = figure.left();
        const int after = badge.width() - 1 - figure.right();
        EXPECT_LE(std::abs(before - after), 2) << number;
    }
}

TEST_P(StatusIconPainting, theSymbolStandsOutFromItsPanel) {
    const QColor darkPanel(0x30, 0x30, 0x30);
    const QColor lightPanel(0xe8, 0xe8, 0xe8);
    const auto glyphOn = [](PanelScheme scheme) { return PanelColors::on(scheme).glyph; };
    for (const PanelScheme scheme : {PanelScheme::unknown, PanelScheme::light, PanelScheme::dark}) {
        EXPECT_GT(countOf(painted(look({}), scheme), glyphOn(scheme)), 0);
    }
    EXPECT_GE(Theme::contrast(glyphOn(PanelScheme::dark), darkPanel), 7);
    EXPECT_GE(Theme::contrast(glyphOn(PanelScheme::light), lightPanel), 7);
    EXPECT_GE(Theme::contrast(glyphOn(PanelScheme::unknown), Qt::black), 4.5);
    EXPECT_GE(Theme::contrast(glyphOn(PanelScheme::unknown), Qt::white), 4.5);
}

TEST_P(StatusIconPainting, fadesAsAWhole) {
    const QImage image = painted(look({.safe = 3}));
    const QImage faint = faded(image, 0.25);
    ASSERT_EQ(faint.size(), image.size());
    for (int y = 0; y < size(); ++y) {
        for (int x = 0; x < size(); ++x) {
            EXPECT_NEAR(qAlpha(faint.pixel(x, y)), qAlpha(image.pixel(x, y)) * 0.25, 2);
        }
    }
    EXPECT_EQ(faded(image, 1), image);
}

INSTANTIATE_TEST_SUITE_P(AtEverySize, StatusIconPainting, testing::ValuesIn(sizes),
                         testing::PrintToStringParamName());

class StatusIconPaintingAll : public VintrelTests::ViewTest {};

TEST_F(StatusIconPaintingAll, paintsEachSizeByItself) {
    const QList<QImage> images = paintAll(look({.safe = 3}), PanelScheme::light);
    ASSERT_EQ(images.size(), static_cast<qsizetype>(sizes.size()));
    for (size_t index = 0; index < sizes.size(); ++index) {
        EXPECT_EQ(images[static_cast<qsizetype>(index)],
                  paint(look({.safe = 3}), PanelScheme::light, sizes[index]));
    }
}

TEST_F(StatusIconPaintingAll, theBadgesFigureCanBeRead) {
    for (const PanelScheme scheme : {PanelScheme::unknown, PanelScheme::light, PanelScheme::dark}) {
        const PanelColors panel = PanelColors::on(scheme);
        EXPECT_GE(Theme::contrast(panel.onSafe, panel.safe), 4.5);
        EXPECT_GE(Theme::contrast(panel.onReview, panel.review), 4.5);
    }
}

} // namespace Vintrel::StatusIconPainting
