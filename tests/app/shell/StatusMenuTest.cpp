// The status item's menu, read and used over the bus as trays do it.
#include "Vintrel/shell/linux/StatusMenu.h"

#include "Vintrel/shell/linux/StatusNotifierItem.h"
#include "tests/app/shell/PreparedTray.h"
#include "tests/app/shell/Recording.h"
#include "tests/app/support/Introspection.h"
#include "tests/app/support/ViewTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using namespace VintrelTests;
using Numbers = QList<int>;

class StatusMenuTest : public ViewTest {
public:
    SessionBus bus;
    PreparedAppearance appearance;
    PreparedTray tray{bus};
    std::unique_ptr<StatusNotifierItem> item;
    int quits = 0;
    std::vector<std::string> openings; ///< their tokens

    void make(StatusMenu::Content content) {
        item = std::make_unique<StatusNotifierItem>(appearance, content, bus.connect());
        QObject::connect(item.get(), &StatusItem::quitRequested, item.get(), [this] { ++quits; });
        QObject::connect(item.get(), &StatusItem::openRequested, item.get(),
                         [this](const QString& token) { openings.push_back(token.toStdString()); });
        ASSERT_TRUE(tray.hasRegistered(1));
    }

    QDBusMessage call(const QString& method, const QVariantList& arguments) {
        return tray.call(menuPath, menuInterface, method, arguments);
    }

    /// What the menu says of the item and of what is below it.
    Tray::MenuItem layout(int parent = 0, int depth = -1, const QStringList& names = {}) {
        const QDBusMessage answer = call("GetLayout", {parent, depth, names});
        EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
        EXPECT_EQ(answer.signature(), "u(ia{sv}av)");
        return qdbus_cast<Tray::MenuItem>(answer.arguments().value(1));
    }

    std::vector<std::string> labels() {
        std::vector<std::string> all;
        for (const Tray::MenuItem& child : layout().children) {
            all.push_back(child.properties["label"].toString().toStdString());
        }
        return all;
    }

    QDBusMessage click(int number) {
        return call("Event", {number, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
    }
};

} // namespace

TEST_F(StatusMenuTest, tellsWhatItsMethodsTakeAndAnswer) {
    make(StatusMenu::Content::quit);
    const auto introspect = [this](const QString& path) {
        const QDBusMessage answer = tray.call(path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                              QStringLiteral("Introspect"));
        return answer.arguments().value(0).toString();
    };
    const Introspection menu(introspect(menuPath), menuInterface);
    EXPECT_EQ(menu.methods, methodsOf(StatusMenu::staticMetaObject));
    EXPECT_TRUE(std::ranges::none_of(menu.argumentNames, isNameless));
    const Introspection itself(introspect(itemPath), itemInterface);
    EXPECT_EQ(itself.methods, methodsOf(StatusNotifierObject::staticMetaObject));
    EXPECT_TRUE(std::ranges::none_of(itself.argumentNames, isNameless));
}

TEST_F(StatusMenuTest, holdsQuitAlone) {
    make(StatusMenu::Content::quit);
    EXPECT_EQ(labels(), (std::vector<std::string>{"Quit Vintrel"}));
    EXPECT_EQ(layout().properties["children-display"].toString(), "submenu");
}

TEST_F(StatusMenuTest, whereAClickShowsItOpenStandsAboveQuit) {
    make(StatusMenu::Content::openAndQuit);
    EXPECT_EQ(labels(), (std::vector<std::string>{"Open Vintrel", "Quit Vintrel"}));
}

TEST_F(StatusMenuTest, quitHasItsKeys) {
    make(StatusMenu::Content::quit);
    const QVariant keys = layout().children.front().properties["shortcut"];
    EXPECT_EQ(qdbus_cast<Tray::Shortcuts>(keys), (Tray::Shortcuts{{"Control", "q"}}));
}

TEST_F(StatusMenuTest, aClickOnQuitQuits) {
    make(StatusMenu::Content::openAndQuit);
    EXPECT_EQ(click(layout().children.back().number).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(quits, 1);
    EXPECT_TRUE(openings.empty());
}

TEST_F(StatusMenuTest, aClickOnOpenOpensWithTheTokenThatCameBefore) {
    make(StatusMenu::Content::openAndQuit);
    (void)tray.call("ProvideXdgActivationToken", {"token-1"});
    (void)click(layout().children.front().number);
    (void)click(layout().children.front().number);
    EXPECT_EQ(openings, (std::vector<std::string>{"token-1", ""}));
    EXPECT_EQ(quits, 0);
}

TEST_F(StatusMenuTest, otherEventsDoNothing) {
    make(StatusMenu::Content::openAndQuit);
    for (const char* const what : {"opened", "closed", "hovered", "Clicked"}) {
        for (const int number : {0, 1, 2}) {
            EXPECT_EQ(call("Event", {number, what, QVariant::fromValue(QDBusVariant(0)), 0U}).type(),
                      QDBusMessage::ReplyMessage);
        }
    }
    EXPECT_EQ(quits, 0);
    EXPECT_TRUE(openings.empty());
}

TEST_F(StatusMenuTest, severalEventsComeTogether) {
    make(StatusMenu::Content::quit);
    const int quit = layout().children.front().number;
    const Tray::MenuEvents events{{.number = quit, .what = "hovered", .data = QDBusVariant(0)},
                                  {.number = 77, .what = "clicked", .data = QDBusVariant(0)},
                                  {.number = quit, .what = "clicked", .data = QDBusVariant(0)}};
    const QDBusMessage answer = call("EventGroup", {QVariant::fromValue(events)});
    EXPECT_EQ(qdbus_cast<Numbers>(answer.arguments().value(0)), Numbers{77});
    EXPECT_EQ(quits, 1);
}

TEST_F(StatusMenuTest, whatThereIsNotIsAnError) {
    make(StatusMenu::Content::quit);
    EXPECT_EQ(click(77).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call("GetLayout", {77, -1, QStringList()}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call("GetProperty", {0, "label"}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(call("AboutToShow", {77}).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(quits, 0);
}

TEST_F(StatusMenuTest, aLayoutGoesAsDeepAsAsked) {
    make(StatusMenu::Content::openAndQuit);
    EXPECT_EQ(layout(0, 0).children.size(), 0);
    EXPECT_EQ(layout(0, 1).children.size(), 2);
    EXPECT_EQ(layout(2, -1).properties["label"].toString(), "Quit Vintrel");
}

TEST_F(StatusMenuTest, propertiesCanBeAskedForByName) {
    make(StatusMenu::Content::quit);
    const QVariantMap named = layout(0, -1, {"label", "no-such-thing"}).children.front().properties;
    EXPECT_EQ(named.keys(), QStringList{"label"});
    const QDBusMessage one = call("GetProperty", {2, "label"});
    EXPECT_EQ(one.arguments().value(0).value<QDBusVariant>().variant().toString(), "Quit Vintrel");
}

TEST_F(StatusMenuTest, propertiesComeForSeveralItems) {
    make(StatusMenu::Content::openAndQuit);
    const auto ask = [this](const Numbers& numbers) {
        const QDBusMessage answer =
            call("GetGroupProperties", {QVariant::fromValue(numbers), QStringList{"label"}});
        std::vector<std::string> all;
        for (const auto& each : qdbus_cast<Tray::MenuItemsProperties>(answer.arguments().value(0))) {
            all.push_back(std::to_string(each.number) + each.properties["label"].toString().toStdString());
        }
        return all;
    };
    EXPECT_EQ(ask({2, 77}), (std::vector<std::string>{"2Quit Vintrel"}));
    EXPECT_EQ(ask({}), (std::vector<std::string>{"0", "1Open Vintrel", "2Quit Vintrel"}));
}

TEST_F(StatusMenuTest, nothingHasToBeReadAgainBeforeItIsShown) {
    make(StatusMenu::Content::quit);
    EXPECT_EQ(call("AboutToShow", {0}).arguments(), (QVariantList{false}));
    const QDBusMessage answer = call("AboutToShowGroup", {QVariant::fromValue(Numbers{0, 2, 77})});
    EXPECT_EQ(qdbus_cast<Numbers>(answer.arguments().value(0)), Numbers{});
    EXPECT_EQ(qdbus_cast<Numbers>(answer.arguments().value(1)), Numbers{77});
}

TEST_F(StatusMenuTest, saysWhichVersionItIs) {
    make(StatusMenu::Content::quit);
    EXPECT_EQ(tray.read("Version", menuPath, menuInterface).toUInt(), 3U);
    EXPECT_EQ(tray.read("Status", menuPath, menuInterface).toString(), "normal");
    EXPECT_EQ(tray.read("TextDirection", menuPath, menuInterface).toString(), "ltr");
}

} // namespace Vintrel
