#pragma once

#include "Vintrel/shell/linux/StatusNotifierItem.h"
#include "tests/app/shell/PreparedTray.h"
#include "tests/app/shell/Recording.h"
#include "tests/app/support/ViewTest.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using VintrelTests::PreparedTray;
using VintrelTests::spinFor;
using VintrelTests::spinUntil;
using Clicks = std::vector<std::pair<std::optional<QPoint>, std::string>>;

inline const StatusIcon::Look two = StatusIcon::look({.safe = 2, .review = 5, .version = "1.2.3"});

/// A status item on a bus of its own, against a tray that the test moves.
class StatusNotifierItemTest : public VintrelTests::ViewTest {
public:
    VintrelTests::ScopedEnvironment desktop{"XDG_CURRENT_DESKTOP", std::nullopt};
    VintrelTests::SessionBus bus;
    PreparedAppearance appearance;
    std::unique_ptr<PreparedTray> tray = std::make_unique<PreparedTray>(bus);
    std::unique_ptr<StatusNotifierItem> item;
    Clicks clicks;
    std::vector<StatusItem::Presence> presences; ///< as they followed each other

    void makeItem() {
        item = std::make_unique<StatusNotifierItem>(appearance, StatusMenu::Content::quit, bus.connect());
        item->setLook(two);
        QObject::connect(item.get(), &StatusItem::clicked, item.get(),
                         [this](const StatusItem::Click& click) {
                             clicks.emplace_back(click.place, click.activationToken.toStdString());
                         });
        QObject::connect(item.get(), &StatusItem::presenceChanged, item.get(),
                         [this] { presences.push_back(item->presence()); });
    }

    void makeRegisteredItem() {
        makeItem();
        ASSERT_TRUE(tray->hasRegistered(1));
    }

    [[nodiscard]] bool becomes(StatusItem::Presence presence) const {
        return spinUntil([&] { return item->presence() == presence; });
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

} // namespace Vintrel
