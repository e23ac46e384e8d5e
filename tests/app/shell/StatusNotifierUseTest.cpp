// What a tray sees of the status item, and what it tells it.
#include "Vintrel/shell/StatusIconPainting.h"
#include "tests/app/shell/StatusNotifierItemTest.h"

#include <algorithm>
#include <chrono>

#include <QApplication>
#include <QDBusObjectPath>
#include <QMenu>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;

using StatusNotifierUse = StatusNotifierItemTest;

int opacity(const QByteArray& pixels) {
    int most = 0;
    for (qsizetype place = 0; place < pixels.size(); place += 4) { // the alpha of each comes first
        most = std::max(most, static_cast<int>(static_cast<unsigned char>(pixels[place])));
    }
    return most;
}

} // namespace

TEST_F(StatusNotifierUse, saysWhatItIs) {
    makeRegisteredItem();
    EXPECT_EQ(tray->read("Category").toString(), "ApplicationStatus");
    EXPECT_EQ(tray->read("Id").toString(), "Vintrel");
    EXPECT_EQ(tray->read("Title").toString(), "Vintrel");
    EXPECT_EQ(tray->read("IconAccessibleDesc").toString(), "Vintrel");
    EXPECT_EQ(tray->read("Status").toString(), "Active");
    EXPECT_EQ(tray->read("IconName").toString(), "") << "a theme's icon would be shown instead";
    EXPECT_FALSE(tray->read("ItemIsMenu").toBool());
    EXPECT_EQ(tray->read("Menu").value<QDBusObjectPath>().path(), "/MenuBar");
}

TEST_F(StatusNotifierUse, itsTooltipHasTheCounts) {
    makeRegisteredItem();
    const auto tooltip = qdbus_cast<Tray::Tooltip>(tray->read("ToolTip"));
    EXPECT_EQ(tooltip.iconName, "");
    EXPECT_EQ(tooltip.title, "Vintrel 1.2.3");
    EXPECT_EQ(tooltip.text, "2 safe to clean, 5 need review");
}

TEST_F(StatusNotifierUse, itsLabelIsABlankAndTheNumber) {
    makeRegisteredItem();
    EXPECT_EQ(tray->read("XAyatanaLabel").toString(), " 2");
    item->setLook(StatusIcon::look({.safe = 1'234}));
    EXPECT_EQ(tray->read("XAyatanaLabel").toString(), " 1234");
    item->setLook(StatusIcon::look({}));
    EXPECT_EQ(tray->read("XAyatanaLabel").toString(), "");
}

TEST_F(StatusNotifierUse, hasItsPictureInEverySize) {
    makeRegisteredItem();
    const auto all = pictures();
    ASSERT_EQ(all.size(), StatusIconPainting::sizes.size());
    for (const int size : StatusIconPainting::sizes) {
        const QImage painted =
            StatusIconPainting::paint(two, PanelScheme::unknown, size).convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(all.at(size).size(), 4 * size * size) << size;
        const int middle = size / 2 + size / 4;
        const QRgb pixel = painted.pixel(middle, middle);
        const char* const sent = all.at(size).constData() + 4 * (middle * size + middle);
        const auto byte = [sent](int place) {
            return static_cast<int>(static_cast<unsigned char>(sent[place]));
        };
        EXPECT_EQ(byte(0), qAlpha(pixel));
        EXPECT_EQ(byte(1), qRed(pixel));
        EXPECT_EQ(byte(2), qGreen(pixel));
        EXPECT_EQ(byte(3), qBlue(pixel));
    }
}

TEST_F(StatusNotifierUse, tellsOfWhatIsOther) {
    makeRegisteredItem();
    for (const char* const signal : {"NewIcon", "NewToolTip", "XAyatanaNewLabel"}) {
        tray->listenFor(signal);
    }
    const auto before = pictures();
    item->setLook(StatusIcon::look({.safe = 3, .review = 5, .version = "1.2.3"}));
    EXPECT_TRUE(tray->hasTold("NewIcon"));
    EXPECT_TRUE(tray->hasTold("NewToolTip"));
    EXPECT_TRUE(tray->hasTold("XAyatanaNewLabel"));
    EXPECT_NE(pictures(), before);

    item->setLook(StatusIcon::look({.safe = 3, .review = 6, .version = "1.2.3"}));
    EXPECT_TRUE(tray->hasTold("NewToolTip"));
    EXPECT_FALSE(tray->hasToldByNow("XAyatanaNewLabel")) << "it still says 3";
}

TEST_F(StatusNotifierUse, doesNotTellOfWhatIsTheSame) {
    makeRegisteredItem();
    tray->listenFor("NewIcon");
    (void)tray->hasToldByNow("NewIcon");
    item->setLook(two);
    EXPECT_FALSE(tray->hasToldByNow("NewIcon"));
}

TEST_F(StatusNotifierUse, followsTheDesktopsScheme) {
    makeRegisteredItem();
    const auto before = pictures();
    tray->listenFor("NewIcon");
    appearance.change({.prefersDark = true});
    EXPECT_TRUE(tray->hasTold("NewIcon"));
    EXPECT_NE(pictures(), before);
}

TEST_F(StatusNotifierUse, aClickHasItsPlaceAndItsToken) {
    makeRegisteredItem();
    (void)tray->call("ProvideXdgActivationToken", {"token-1"});
    (void)tray->call("Activate", {1'200, 14});
    (void)tray->call("Activate", {5, 790});
    EXPECT_EQ(clicks, (Clicks{{QPoint(1'200, 14), "token-1"}, {QPoint(5, 790), ""}}))
        << "a token is used once";
}

TEST_F(StatusNotifierUse, aTrayThatDoesNotKnowThePlaceSaysZero) {
    makeRegisteredItem();
    (void)tray->call("Activate", {0, 0});
    EXPECT_EQ(clicks, (Clicks{{std::nullopt, ""}}));
}

TEST_F(StatusNotifierUse, theMiddleButtonClicksToo) {
    makeRegisteredItem();
    (void)tray->call("SecondaryActivate", {7, 8});
    (void)tray->call("XAyatanaSecondaryActivate", {17U});
    EXPECT_EQ(clicks, (Clicks{{QPoint(7, 8), ""}, {std::nullopt, ""}}));
}

TEST_F(StatusNotifierUse, theWheelDoesNothing) {
    makeRegisteredItem();
    EXPECT_EQ(tray->call("Scroll", {1, "vertical"}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(clicks, Clicks{});
}

TEST_F(StatusNotifierUse, showsItsMenuForATrayThatLeavesItToThat) {
    makeRegisteredItem();
    int quits = 0;
    QObject::connect(item.get(), &StatusItem::quitRequested, item.get(), [&quits] { ++quits; });
    (void)tray->call("ContextMenu", {100, 50});
    ASSERT_TRUE(spinUntil([] { return QApplication::activePopupWidget() != nullptr; }));
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->pos(), QPoint(100, 50));
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().front()->text(), "Quit Vintrel");
    EXPECT_EQ(menu->actions().front()->shortcut(), QKeySequence("Ctrl+Q"));
    menu->actions().front()->trigger();
    EXPECT_EQ(quits, 1);
    EXPECT_EQ(clicks, Clicks{});
    menu->close();
}

TEST_F(StatusNotifierUse, aPulseFadesOutAndInAndIsOver) {
    makeRegisteredItem();
    const auto before = pictures();
    ASSERT_EQ(opacity(before.at(64)), 255);
    item->pulse();
    EXPECT_TRUE(item->isPulsing());
    EXPECT_TRUE(spinUntil([this] { return opacity(pictures().at(64)) < 150; }, 5s)) << "it gets faint";
    EXPECT_TRUE(spinUntil([this] { return !item->isPulsing(); }, 5s)) << "no timer goes on";
    EXPECT_EQ(pictures(), before);
}

TEST_F(StatusNotifierUse, aLookThatComesDuringAPulseStays) {
    makeRegisteredItem();
    item->pulse();
    item->setLook(StatusIcon::look({}));
    EXPECT_TRUE(spinUntil([this] { return !item->isPulsing(); }, 5s));
    const QByteArray sent = pictures().at(16);
    const auto expected =
        Tray::Picture::from(StatusIconPainting::paint(StatusIcon::look({}), PanelScheme::unknown, 16));
    EXPECT_EQ(sent, expected.pixels);
}

} // namespace Vintrel
