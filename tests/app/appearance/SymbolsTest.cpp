// The drawings themselves: well-formed, of one weight, inside their box, and each unlike the others.
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QSvgRenderer>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

using namespace VintrelTests;
namespace fs = std::filesystem;

namespace {

const fs::path resources = VINTREL_RESOURCES;

std::vector<fs::path> symbols() {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(resources / "symbols")) {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    return files;
}

/// The drawing at this size, with a margin around it in which nothing of it should stand.
QImage drawn(const fs::path& file, int size, int margin) {
    QImage image(size + 2 * margin, size + 2 * margin, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(QString::fromStdString(file.string()));
    EXPECT_TRUE(renderer.isValid()) << file;
    QPainter painter(&image);
    renderer.render(&painter, QRectF(margin, margin, size, size));
    return image;
}

/// The smallest rectangle around what is not transparent, in pixels; empty when all is.
QRect inked(const QImage& image) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 0) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

/// How much of the image is covered, from 0 to 1.
double coverage(const QImage& image) {
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += qAlpha(image.pixel(x, y)) / 255.0;
        }
    }
    return sum / (image.width() * image.height());
}

/// Whether the drawing keeps to its box of 20 units.
bool staysInside(const fs::path& file) {
    constexpr int size = 400;
    constexpr int margin = 100;
    return QRect(margin, margin, size, size).contains(inked(drawn(file, size, margin)));
}

using Attributes = std::map<std::string, std::string>;

/// Every element with its attributes, in order.
std::vector<std::pair<std::string, Attributes>> elementsOf(const fs::path& file) {
    std::vector<std::pair<std::string, Attributes>> elements;
    QFile content(QString::fromStdString(file.string()));
    EXPECT_TRUE(content.open(QIODevice::ReadOnly));
    QXmlStreamReader reader(&content);
    while (!reader.atEnd()) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            Attributes attributes;
            for (const QXmlStreamAttribute& attribute : reader.attributes()) {
                attributes[attribute.name().toString().toStdString()] =
                    attribute.value().toString().toStdString();
            }
            elements.emplace_back(reader.name().toString().toStdString(), attributes);
        }
    }
    EXPECT_FALSE(reader.hasError()) << file << ": " << reader.errorString().toStdString();
    return elements;
}

/// Looks at every symbol; a failure names it.
void forEverySymbol(const std::function<void(const fs::path&)>& look) {
    const std::vector<fs::path> files = symbols();
    EXPECT_FALSE(files.empty());
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.stem().string());
        look(file);
    }
}

} // namespace

TEST(SymbolTest, isALineDrawingOfTheOneWeight) {
    forEverySymbol([](const fs::path& file) {
        const auto elements = elementsOf(file);
        ASSERT_GE(elements.size(), 2U);
        EXPECT_EQ(elements.front().first, "svg");
        const Attributes& root = elements.front().second;
        const Attributes expected{{"width", "20"},
                                  {"height", "20"},
                                  {"viewBox", "0 0 20 20"},
                                  {"fill", "none"},
                                  {"stroke", "#000"},
                                  {"stroke-width", "1.6"},
                                  {"stroke-linecap", "round"},
                                  {"stroke-linejoin", "round"}};
        EXPECT_EQ(root, expected);
        for (size_t number = 1; number < elements.size(); ++number) {
            const auto& [element, attributes] = elements[number];
            EXPECT_TRUE(element == "path" || element == "circle") << element;
            // Either a line, which has everything from the root, or a shape that is filled and has no line.
            if (attributes.contains("fill")) {
                EXPECT_EQ(attributes.at("fill"), "#000");
                EXPECT_TRUE(attributes.contains("stroke") && attributes.at("stroke") == "none");
            } else {
                EXPECT_FALSE(attributes.contains("stroke") || attributes.contains("stroke-width"));
            }
        }
    });
}

TEST(SymbolTest, isSeenAtEverySize) {
    forEverySymbol([](const fs::path& file) {
        for (const int size : {16, 20, 32, 40}) {
            const double share = coverage(drawn(file, size, 0));
            EXPECT_GT(share, 0.03) << size;
            EXPECT_LT(share, 0.6) << size;
        }
    });
}

TEST(SymbolTest, isNotClipped) {
    forEverySymbol([](const fs::path& file) { EXPECT_TRUE(staysInside(file)); });
}

TEST(SymbolTest, fillsItsBoxAsTheOthersDo) {
    forEverySymbol([](const fs::path& file) {
        constexpr int scale = 20;
        const QRect ink = inked(drawn(file, 20 * scale, 0));
        const double larger = std::max(ink.width(), ink.height()) / double(scale);
        EXPECT_GE(larger, 11);
        EXPECT_LE(larger, 18.2);
        const double centreX = (ink.left() + ink.right() + 1) / 2.0 / scale;
        const double centreY = (ink.top() + ink.bottom() + 1) / 2.0 / scale;
        EXPECT_NEAR(centreX, 10, 0.6);
        EXPECT_NEAR(centreY, 10, 0.6);
    });
}

TEST(SymbolTest, isUnlikeTheOthersWhenItIsSmall) {
    forEverySymbol([](const fs::path& file) {
        const QImage image = drawn(file, 16, 0);
        for (const fs::path& other : symbols()) {
            if (other == file) {
                continue;
            }
            const QImage compared = drawn(other, 16, 0);
            double difference = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    difference += std::abs(qAlpha(image.pixel(x, y)) - qAlpha(compared.pixel(x, y))) / 255.0;
                }
            }
            EXPECT_GT(difference, 6) << "in pixels, to " << other.filename();
        }
    });
}

TEST(SymbolBoxTest, aDrawingThatLeavesItsBoxIsNoticed) {
    const TemporaryFolder folder;
    const std::string begin = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 20 20" fill="none")"
                              R"( stroke="#000" stroke-width="1.6">)";
    EXPECT_FALSE(staysInside(folder.write("wide.svg", begin + R"(<circle cx="10" cy="10" r="9.6"/></svg>)")));
    EXPECT_TRUE(staysInside(folder.write("fits.svg", begin + R"(<circle cx="10" cy="10" r="9.1"/></svg>)")));
}

TEST(ApplicationIconTest, isDrawnWithinItsBoxAndHasColours) {
    const fs::path file = resources / "dev.vintrel.Vintrel.svg";
    for (const auto& [element, attributes] : elementsOf(file)) {
        EXPECT_FALSE(attributes.contains("style") || attributes.contains("class")) << element;
    }
    const QImage image = drawn(file, 128, 32);
    EXPECT_TRUE(QRect(32, 32, 128, 128).contains(inked(image)));
    EXPECT_EQ(qAlpha(image.pixel(33, 33)), 0) << "its corners are round";
    EXPECT_EQ(qAlpha(image.pixel(96, 96)), 255);
    std::set<QRgb> colours;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            colours.insert(image.pixel(x, y));
        }
    }
    EXPECT_GT(colours.size(), 50U);
}

TEST(ApplicationIconTest, isSeenAtEverySize) {
    for (const int size : {16, 22, 24, 32, 48, 64, 256}) {
        EXPECT_GT(coverage(drawn(resources / "dev.vintrel.Vintrel.svg", size, 0)), 0.5) << size;
    }
}
