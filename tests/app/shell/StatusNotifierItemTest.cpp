// How the status item gets into a tray, whenever there is one.
#include "tests/app/shell/StatusNotifierItemTest.h"

#include <algorithm>

namespace Vintrel {

using Presence = StatusItem::Presence;
using Presences = std::vector<Presence>;

TEST_F(StatusNotifierItemTest, registersWithTheWatcherThatIsThere) {
    makeItem();
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_TRUE(bus.isOffered(QString::fromStdString(tray->registered.back())));
}

TEST_F(StatusNotifierItemTest, registersWhenTheWatcherComesLater) {
    tray->leave();
    makeItem();
    ASSERT_TRUE(becomes(Presence::absent));
    tray->arrive();
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_TRUE(becomes(Presence::shown));
}

TEST_F(StatusNotifierItemTest, registersAgainWithEveryWatcherThatFollows) {
    makeRegisteredItem();
    ASSERT_TRUE(becomes(Presence::shown));
    for (size_t round = 2; round <= 4; ++round) {
        tray->leave();
        EXPECT_TRUE(becomes(Presence::absent));
        tray->arrive();
        EXPECT_TRUE(tray->hasRegistered(round));
        EXPECT_TRUE(becomes(Presence::shown));
    }
    EXPECT_EQ(std::ranges::count(tray->registered, tray->registered.front()), 4) << "under the same name";
}

TEST_F(StatusNotifierItemTest, registersAgainAfterACrash) {
    makeRegisteredItem();
    ASSERT_TRUE(becomes(Presence::shown));
    tray->crash();
    EXPECT_TRUE(becomes(Presence::absent));
    tray = std::make_unique<PreparedTray>(bus);
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_TRUE(becomes(Presence::shown));
    EXPECT_EQ(tray->read("Title").toString(), "Vintrel");
}

TEST_F(StatusNotifierItemTest, registersWithAWatcherThatTookAnothersPlace) {
    makeRegisteredItem();
    PreparedTray next(bus, PreparedTray::Presence::later);
    tray->leave();
    next.arrive(); // before the program can have seen that there was none
    EXPECT_TRUE(next.hasRegistered(1));
}

TEST_F(StatusNotifierItemTest, triesAgainWhileTheWatcherIsNotReady) {
    tray->refusals = 3;
    makeItem();
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_EQ(tray->refusals, 0);
    EXPECT_TRUE(becomes(Presence::shown));
}

TEST_F(StatusNotifierItemTest, canBeReadWhenItIsRegistered) {
    makeRegisteredItem();
    ASSERT_TRUE(spinUntil([this] { return !tray->propertiesAtOnce.empty(); }));
    EXPECT_GE(tray->propertiesAtOnce.front(), 15);
}

TEST_F(StatusNotifierItemTest, triesAtOnceWhenAWatcherThatRefusedTellsOfATray) {
    tray->refusals = 1'000;
    makeItem();
    EXPECT_TRUE(becomes(Presence::absent));
    tray->refusals = 0;
    tray->setHost(true);
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_TRUE(becomes(Presence::shown));
    EXPECT_EQ(presences, (Presences{Presence::absent, Presence::unknown, Presence::shown}));
}

TEST_F(StatusNotifierItemTest, isShownOnlyByATray) {
    tray->hasHost = false;
    makeRegisteredItem();
    EXPECT_TRUE(becomes(Presence::absent));
    tray->setHost(true);
    EXPECT_TRUE(becomes(Presence::shown));
    tray->setHost(false);
    EXPECT_TRUE(becomes(Presence::absent));
    EXPECT_EQ(presences, (Presences{Presence::absent, Presence::shown, Presence::absent}));
}

TEST_F(StatusNotifierItemTest, withoutABusThereIsNoTray) {
    item = std::make_unique<StatusNotifierItem>(appearance, StatusMenu::Content::quit,
                                                QDBusConnection("no bus of this name"));
    item->setLook(two);
    EXPECT_EQ(item->presence(), Presence::absent);
}

TEST_F(StatusNotifierItemTest, goesWithItsObject) {
    makeRegisteredItem();
    const QString service = QString::fromStdString(tray->registered.back());
    ASSERT_TRUE(bus.isOffered(service));
    item.reset();
    EXPECT_TRUE(spinUntil([&] { return !bus.isOffered(service); }));
}

} // namespace Vintrel
