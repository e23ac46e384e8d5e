// The status item over the bus, against a tray that a test moves.
#include "Vintrel/shell/linux/StatusNotifierItem.h"

#include "Vintrel/shell/StatusIconPainting.h"
#include "tests/app/shell/PreparedTray.h"
#include "tests/app/shell/Recording.h"
#include "tests/app/support/ViewTest.h"

#include <algorithm>
#include <chrono>
#include <map>

#include <QApplication>
#include <QDBusObjectPath>
#include <QMenu>
#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace std::chrono_literals;
using namespace VintrelTests;
using Clicks = std::vector<std::pair<std::optional<QPoint>, std::string>>;

const StatusIcon::Look two = StatusIcon::look({.safe = 2, .review = 5, .version = "1.2.3"});

class StatusNotifierItemTest : public ViewTest {
public:
    ScopedEnvironment desktop{"XDG_CURRENT_DESKTOP", std::nullopt};
    SessionBus bus;
    PreparedAppearance appearance;
    std::unique_ptr<PreparedTray> tray = std::make_unique<PreparedTray>(bus);
    std::unique_ptr<StatusNotifierItem> item;
    Clicks clicks;
    int shownChanges = 0;

    void makeItem() {
        item = std::make_unique<StatusNotifierItem>(appearance, StatusMenu::Content::quit, bus.connect());
        item->setLook(two);
        QObject::connect(item.get(), &StatusItem::clicked, item.get(),
                         [this](const StatusItem::Click& click) {
                             clicks.emplace_back(click.place, click.activationToken.toStdString());
                         });
        QObject::connect(item.get(), &StatusItem::shownChanged, item.get(), [this] { ++shownChanges; });
    }

    void makeRegisteredItem() {
        makeItem();
        ASSERT_TRUE(tray->hasRegistered(1));
    }

    [[nodiscard]] bool becomesShown(bool isShown) const {
        return spinUntil([&] { return item->isShown() == isShown; });
    }

    /// Its pictures as a tray reads them, by their sizes.
    [[nodiscard]] std::map<int, QByteArray> pictures() const {
        std::map<int, QByteArray> all;
        for (const Tray::Picture& picture : qdbus_cast<Tray::Pictures>(tray->read("IconPixmap"))) {
            EXPECT_EQ(picture.width, picture.height);
            all[picture.width] = picture.pixels;
        }
        return all;
    }
};

int opacity(const QByteArray& pixels) {
    int most = 0;
    for (qsizetype place = 0; place < pixels.size(); place += 4) { // the alpha of each comes first
        most = std::max(most, static_cast<int>(static_cast<unsigned char>(pixels[place])));
    }
    return most;
}

} // namespace

TEST_F(StatusNotifierItemTest, registersWithTheWatcherThatIsThere) {
    makeItem();
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_EQ(item->watcher(), StatusNotifierItem::Watcher::present);
    EXPECT_TRUE(bus.isOffered(QString::fromStdString(tray->registered.back())));
}

TEST_F(StatusNotifierItemTest, registersWhenTheWatcherComesLater) {
    tray->leave();
    makeItem();
    ASSERT_TRUE(spinUntil([this] { return item->watcher() == StatusNotifierItem::Watcher::absent; }));
    EXPECT_FALSE(item->isShown());
    tray->arrive();
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_TRUE(becomesShown(true));
}

TEST_F(StatusNotifierItemTest, registersAgainWithEveryWatcherThatFollows) {
    makeRegisteredItem();
    ASSERT_TRUE(becomesShown(true));
    for (size_t round = 2; round <= 4; ++round) {
        tray->leave();
        EXPECT_TRUE(becomesShown(false));
        tray->arrive();
        EXPECT_TRUE(tray->hasRegistered(round));
        EXPECT_TRUE(becomesShown(true));
    }
    EXPECT_EQ(std::ranges::count(tray->registered, tray->registered.front()), 4) << "under the same name";
}

TEST_F(StatusNotifierItemTest, registersAgainAfterACrash) {
    makeRegisteredItem();
    ASSERT_TRUE(becomesShown(true));
    tray->crash();
    EXPECT_TRUE(becomesShown(false));
    tray = std::make_unique<PreparedTray>(bus);
    EXPECT_TRUE(tray->hasRegistered(1));
    EXPECT_TRUE(becomesShown(true));
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
    EXPECT_TRUE(becomesShown(true));
}

TEST_F(StatusNotifierItemTest, canBeReadWhenItIsRegistered) {
    makeRegisteredItem();
    ASSERT_TRUE(spinUntil([this] { return !tray->propertiesAtOnce.empty(); }));
    EXPECT_GE(tray->propertiesAtOnce.front(), 15);
}

TEST_F(StatusNotifierItemTest, isShownOnlyByATray) {
    tray->hasHost = false;
    makeRegisteredItem();
    EXPECT_FALSE(item->isShown());
    tray->setHost(true);
    EXPECT_TRUE(becomesShown(true));
    EXPECT_EQ(shownChanges, 1);
    tray->setHost(false);
    EXPECT_TRUE(becomesShown(false));
    EXPECT_EQ(shownChanges, 2);
}

TEST_F(StatusNotifierItemTest, withoutABusThereIsNoTray) {
    item = std::make_unique<StatusNotifierItem>(appearance, StatusMenu::Content::quit,
                                                QDBusConnection("no bus of this name"));
    item->setLook(two);
    EXPECT_EQ(item->watcher(), StatusNotifierItem::Watcher::absent);
    EXPECT_FALSE(item->isShown());
}

TEST_F(StatusNotifierItemTest, goesWithItsObject) {
    makeRegisteredItem();
    const QString service = QString::fromStdString(tray->registered.back());
    ASSERT_TRUE(bus.isOffered(service));
    item.reset();
    EXPECT_TRUE(spinUntil([&] { return !bus.isOffered(service); }));
}

TEST_F(StatusNotifierItemTest, saysWhatItIs) {
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

TEST_F(StatusNotifierItemTest, itsTooltipHasTheCounts) {
    makeRegisteredItem();
    const auto tooltip = qdbus_cast<Tray::Tooltip>(tray->read("ToolTip"));
    EXPECT_EQ(tooltip.iconName, "");
    EXPECT_EQ(tooltip.title, "Vintrel 1.2.3");
    EXPECT_EQ(tooltip.text, "2 safe to clean, 5 need review");
}

TEST_F(StatusNotifierItemTest, itsLabelIsTheNumber) {
    makeRegisteredItem();
    EXPECT_EQ(tray->read("XAyatanaLabel").toString(), "2");
    item->setLook(StatusIcon::look({.safe = 1'234}));
    EXPECT_EQ(tray->read("XAyatanaLabel").toString(), "1234");
    item->setLook(StatusIcon::look({}));
    EXPECT_EQ(tray->read("XAyatanaLabel").toString(), "");
}

TEST_F(StatusNotifierItemTest, hasItsPictureInEverySize) {
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

TEST_F(StatusNotifierItemTest, tellsOfWhatIsOther) {
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

TEST_F(StatusNotifierItemTest, doesNotTellOfWhatIsTheSame) {
    makeRegisteredItem();
    tray->listenFor("NewIcon");
    (void)tray->hasToldByNow("NewIcon");
    item->setLook(two);
    EXPECT_FALSE(tray->hasToldByNow("NewIcon"));
}

TEST_F(StatusNotifierItemTest, followsTheDesktopsScheme) {
    makeRegisteredItem();
    const auto before = pictures();
    tray->listenFor("NewIcon");
    appearance.change({.prefersDark = true});
    EXPECT_TRUE(tray->hasTold("NewIcon"));
    EXPECT_NE(pictures(), before);
}

TEST_F(StatusNotifierItemTest, aClickHasItsPlaceAndItsToken) {
    makeRegisteredItem();
    (void)tray->call("ProvideXdgActivationToken", {"token-1"});
    (void)tray->call("Activate", {1'200, 14});
    (void)tray->call("Activate", {5, 790});
    EXPECT_EQ(clicks, (Clicks{{QPoint(1'200, 14), "token-1"}, {QPoint(5, 790), ""}}))
        << "a token is used once";
}

TEST_F(StatusNotifierItemTest, aTrayThatDoesNotKnowThePlaceSaysZero) {
    makeRegisteredItem();
    (void)tray->call("Activate", {0, 0});
    EXPECT_EQ(clicks, (Clicks{{std::nullopt, ""}}));
}

TEST_F(StatusNotifierItemTest, theMiddleButtonClicksToo) {
    makeRegisteredItem();
    (void)tray->call("SecondaryActivate", {7, 8});
    (void)tray->call("XAyatanaSecondaryActivate", {17U});
    EXPECT_EQ(clicks, (Clicks{{QPoint(7, 8), ""}, {std::nullopt, ""}}));
}

TEST_F(StatusNotifierItemTest, theWheelDoesNothing) {
    makeRegisteredItem();
    EXPECT_EQ(tray->call("Scroll", {1, "vertical"}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(clicks, Clicks{});
}

TEST_F(StatusNotifierItemTest, showsItsMenuForATrayThatLeavesItToThat) {
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

TEST_F(StatusNotifierItemTest, aPulseFadesOutAndInAndIsOver) {
    makeRegisteredItem();
    const auto before = pictures();
    ASSERT_EQ(opacity(before.at(64)), 255);
    item->pulse();
    EXPECT_TRUE(item->isPulsing());
    EXPECT_TRUE(spinUntil([this] { return opacity(pictures().at(64)) < 150; }, 5s)) << "it gets faint";
    EXPECT_TRUE(spinUntil([this] { return !item->isPulsing(); }, 5s)) << "no timer goes on";
    EXPECT_EQ(pictures(), before);
}

TEST_F(StatusNotifierItemTest, aLookThatComesDuringAPulseStays) {
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
