// Trays of both kinds that come and go, and which of them gets the icon.
#include "Vintrel/shell/linux/StatusArea.h"

#include "Vintrel/shell/linux/PanelSchemes.h"
#include "tests/app/shell/PreparedTray.h"
#include "tests/app/shell/Recording.h"
#include "tests/app/support/ViewTest.h"

#include <QPointer>
#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace VintrelTests;

const StatusIcon::Look two = StatusIcon::look({.safe = 2});

class StatusAreaTest : public ViewTest {
public:
    SessionBus bus;
    PreparedAppearance appearance;
    PreparedTray tray{bus, PreparedTray::Presence::later};
    QPointer<RecordingStatusItem> fallback; ///< null while there is none
    int fallbacksMade = 0;
    StatusNotifierItem* notifierItem = nullptr;
    std::unique_ptr<StatusArea> area;

    void makeArea() {
        auto item =
            std::make_unique<StatusNotifierItem>(appearance, StatusMenu::Content::quit, bus.connect());
        notifierItem = item.get();
        area = std::make_unique<StatusArea>(std::move(item), [this] {
            ++fallbacksMade;
            auto made = std::make_unique<RecordingStatusItem>();
            fallback = made.get();
            return made;
        });
        area->setLook(two);
    }

    [[nodiscard]] bool isShown() const { return area->presence() == StatusItem::Presence::shown; }

    [[nodiscard]] bool hasFallback(bool isWanted) {
        return spinUntil([&] { return fallback.isNull() != isWanted; });
    }
};

} // namespace

TEST_F(StatusAreaTest, isOnTheBusWhileSomebodyListensThere) {
    tray.arrive();
    makeArea();
    EXPECT_TRUE(tray.hasRegistered(1));
    EXPECT_TRUE(spinUntil([this] { return isShown(); }));
    EXPECT_EQ(fallbacksMade, 0);
}

TEST_F(StatusAreaTest, fallsBackWhereNobodyListens) {
    makeArea();
    ASSERT_TRUE(hasFallback(true));
    EXPECT_EQ(fallback->looks, std::vector{two});
    EXPECT_TRUE(isShown());
    fallback->place = QRect(1, 2, 3, 4);
    EXPECT_EQ(area->geometry(), QRect(1, 2, 3, 4));
    area->setLook(StatusIcon::look({}));
    EXPECT_EQ(fallback->looks.back(), StatusIcon::look({}));
}

TEST_F(StatusAreaTest, fallsBackWhereSomebodyListensButNobodyShows) {
    tray.hasHost = false;
    tray.arrive();
    makeArea();
    ASSERT_TRUE(hasFallback(true));
    EXPECT_TRUE(isShown());
    tray.setHost(true);
    EXPECT_TRUE(hasFallback(false)) << "the icon must not be there twice";
    tray.setHost(false);
    EXPECT_TRUE(hasFallback(true));
}

TEST_F(StatusAreaTest, doesNotFallBackWhileAWatcherIsBeingAsked) {
    makeArea();
    ASSERT_TRUE(spinUntil([this] { return notifierItem->presence() == StatusItem::Presence::absent; }));
    tray.refusals = 4; // for most of a second
    tray.arrive();
    EXPECT_TRUE(tray.hasRegistered(1));
    EXPECT_TRUE(spinUntil([this] { return isShown(); }));
    EXPECT_EQ(fallbacksMade, 0);
}

TEST_F(StatusAreaTest, movesToTheBusAndBackAsTraysComeAndGo) {
    makeArea();
    ASSERT_TRUE(hasFallback(true));
    for (size_t round = 1; round <= 3; ++round) {
        tray.arrive();
        EXPECT_TRUE(tray.hasRegistered(round));
        EXPECT_TRUE(hasFallback(false)) << "the icon must not be there twice";
        EXPECT_EQ(tray.read("XAyatanaLabel").toString(), " 2");
        tray.leave();
        EXPECT_TRUE(hasFallback(true));
        EXPECT_EQ(fallback->looks, std::vector{two});
    }
}

TEST_F(StatusAreaTest, withoutAFallbackWaitsForATray) {
    area = std::make_unique<StatusArea>(
        std::make_unique<StatusNotifierItem>(appearance, StatusMenu::Content::quit, bus.connect()),
        StatusArea::MakeFallback());
    area->setLook(two);
    EXPECT_FALSE(isShown());
    tray.arrive();
    EXPECT_TRUE(tray.hasRegistered(1));
    EXPECT_EQ(tray.read("XAyatanaLabel").toString(), " 2");
}

TEST_F(StatusAreaTest, tellsOfWhatHappensOnEitherWay) {
    makeArea();
    ASSERT_TRUE(hasFallback(true));
    int clicks = 0;
    int quits = 0;
    QObject::connect(area.get(), &StatusItem::clicked, area.get(), [&] { ++clicks; });
    QObject::connect(area.get(), &StatusItem::quitRequested, area.get(), [&] { ++quits; });
    emit fallback->clicked({});
    emit fallback->quitRequested();
    EXPECT_EQ(clicks, 1);
    EXPECT_EQ(quits, 1);
    tray.arrive();
    ASSERT_TRUE(tray.hasRegistered(1));
    (void)tray.call("Activate", {3, 4});
    EXPECT_EQ(clicks, 2);
}

TEST_F(StatusAreaTest, pulsesOnlyWhatIsSeen) {
    makeArea();
    area->pulse();
    EXPECT_FALSE(notifierItem->isPulsing()) << "nobody sees it yet";
    ASSERT_TRUE(hasFallback(true));
    area->pulse();
    EXPECT_EQ(fallback->pulses, 1);
    EXPECT_FALSE(notifierItem->isPulsing());
    tray.arrive();
    ASSERT_TRUE(spinUntil([this] { return fallback.isNull() && isShown(); }));
    area->pulse();
    EXPECT_TRUE(notifierItem->isPulsing());
}

TEST(PanelSchemes, followWhatIsKnownOfTheDesktop) {
    EXPECT_EQ(panelSchemeOf("GNOME", std::nullopt), PanelScheme::dark);
    EXPECT_EQ(panelSchemeOf("ubuntu:GNOME", false), PanelScheme::dark) << "its bar is black all the same";
    EXPECT_EQ(panelSchemeOf("KDE", false), PanelScheme::light);
    EXPECT_EQ(panelSchemeOf("KDE", true), PanelScheme::dark);
    EXPECT_EQ(panelSchemeOf("XFCE", true), PanelScheme::dark);
    EXPECT_EQ(panelSchemeOf("XFCE", false), PanelScheme::unknown) << "its panel goes its own way";
    EXPECT_EQ(panelSchemeOf("Budgie:GNOME", false), PanelScheme::unknown) << "made from its parts";
    EXPECT_EQ(panelSchemeOf("", std::nullopt), PanelScheme::unknown);
    EXPECT_EQ(panelSchemeOf("NOGNOME", std::nullopt), PanelScheme::unknown);
}

TEST(PanelSchemes, tellWhereAClickShowsTheMenu) {
    EXPECT_TRUE(clicksOpenMenus("GNOME"));
    EXPECT_TRUE(clicksOpenMenus("ubuntu:GNOME"));
    EXPECT_TRUE(clicksOpenMenus("gnome"));
    EXPECT_FALSE(clicksOpenMenus("GNOME-Flashback:GNOME"));
    EXPECT_FALSE(clicksOpenMenus("KDE"));
    EXPECT_FALSE(clicksOpenMenus("XFCE"));
    EXPECT_FALSE(clicksOpenMenus(""));
}

} // namespace Vintrel
