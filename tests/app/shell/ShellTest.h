#pragma once

#include "Vintrel/shell/AppDelegate.h"
#include "Vintrel/shell/PopoverWindow.h"
#include "tests/app/shell/Recording.h"
#include "tests/app/support/PreparedSources.h"
#include "tests/app/support/ViewTest.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <QApplication>

namespace Vintrel {

using VintrelTests::spinFor;
using VintrelTests::spinUntil;

/// The application in a prepared world, with a tray and windows that nobody sees.
class ShellTest : public VintrelTests::ViewTest {
protected:
    /// As the program starts.
    void launch() {
        delegate = std::make_unique<AppDelegate>(services(), world.sources(), noContainers());
        delegate->applicationDidFinishLaunching();
    }

    /// The status item made with them is `item`.
    [[nodiscard]] AppDelegate::Services services() {
        return {.notifications = notifications,
                .fileBrowser = fileBrowser,
                .loginItem = loginItem,
                .appearance = appearance,
                .makeStatusItem = [this] {
                    auto made = std::make_unique<RecordingStatusItem>();
                    item = made.get();
                    return made;
                }};
    }

    /// Scans a world with so many of both kinds, and waits for the results.
    void scan(int safe, int review) {
        std::vector<VintrelCore::ProcessItem> items;
        for (int32_t pid = 100; pid < 100 + safe; ++pid) {
            items.push_back(VintrelTests::safeItem(pid));
        }
        for (int32_t pid = 500; pid < 500 + review; ++pid) {
            items.push_back(VintrelTests::reviewItem(pid));
        }
        world->found.items = items;
        delegate->engine().scan();
        waitForScan();
    }

    void waitForScan() const {
        ASSERT_TRUE(spinUntil([this] { return !delegate->engine().isScanning(); }));
    }

    static constexpr QPoint iconPlace{700, 790};

    void click(std::optional<QPoint> place = iconPlace) const {
        emit item->clicked({.place = place, .activationToken = {}});
    }

    [[nodiscard]] PopoverWindow& popover() const { return delegate->popover(); }

    [[nodiscard]] bool isOpen() const { return popover().isVisible(); }

    /// Opens the popover by a click, and waits until it has the keyboard and has scanned.
    void open() {
        click();
        ASSERT_TRUE(isOpen());
        ASSERT_TRUE(spinUntil([this] { return popover().isActiveWindow(); }));
        spinFor(std::chrono::milliseconds(20)); // until it knows
        waitForScan();
    }

    [[nodiscard]] static std::vector<QWidget*> windows(const QString& title) {
        std::vector<QWidget*> found;
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (window->windowTitle() == title) {
                found.push_back(window);
            }
        }
        return found;
    }

    static ContainerSources noContainers() {
        ContainerSources sources;
        sources.cliPath = [] { return std::nullopt; };
        sources.list = [](QObject*, const DockerService::OnContainers&) {};
        sources.stats = [](QObject*, const auto&) {};
        return sources;
    }

    VintrelTests::PreparedSources world;
    VintrelTests::RecordingNotifications notifications;
    NoFileBrowser fileBrowser;
    NoLoginItem loginItem;
    PreparedAppearance appearance;
    RecordingStatusItem* item = nullptr;
    std::unique_ptr<AppDelegate> delegate;
};

} // namespace Vintrel
