#pragma once

#include "Vintrel/shell/PopoverWindow.h"
#include "Vintrel/views/GroupHeader.h"
#include "Vintrel/views/MenuBarView.h"
#include "Vintrel/views/SectionHeader.h"
#include "Vintrel/views/StrayListView.h"
#include "Vintrel/views/StrayRow.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/PushButton.h"
#include "Vintrel/views/parts/SearchField.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "tests/app/views/strays/Strays.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace Vintrel {

/// The popover, in a window that nobody sees, over an engine in a prepared world.
class StraysViewTest : public EngineTest {
protected:
    StraysViewTest() : EngineTest(Face::widgets) {}

    /// Opens the popover while these are the candidates, and waits for them.
    void open(const std::vector<ProcessItem>& candidates) {
        world->found.items = candidates;
        view = new MenuBarView(engine(), fileBrowser, [this] { ++settingsOpened; }, noContainers());
        window = std::make_unique<PopoverWindow>([this] { return view.data(); });
        window->present();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        ASSERT_TRUE(spinUntil([this] { return window->isActiveWindow() && scansBegun() > 0; }));
        waitForScan();
        settle();
    }

    /// Scans once more, with these candidates, and lets the view follow.
    void rescan(const std::vector<ProcessItem>& candidates) {
        scan(candidates);
        settle();
    }

    void close() { window.reset(); }

    /// Lets layouts and what is put off to the event loop happen.
    static void settle() { spinFor(30ms); }

    /// As long as a click counts as meant for what stood there before.
    static void letRowsRest() {
        spinFor(std::chrono::milliseconds(QApplication::doubleClickInterval()) + 100ms);
    }

    [[nodiscard]] StrayListView* listView() const { return view->findChild<StrayListView*>(); }

    [[nodiscard]] SearchField* search() const { return view->findChild<SearchField*>(); }

    [[nodiscard]] QScrollArea* scrollArea() const {
        QWidget* widget = listView();
        while (widget != nullptr && qobject_cast<QScrollArea*>(widget) == nullptr) {
            widget = widget->parentWidget();
        }
        return qobject_cast<QScrollArea*>(widget);
    }

    /// Where a widget stands in the list.
    [[nodiscard]] QPoint place(const QWidget* widget) const { return widget->mapTo(window.get(), QPoint()); }

    /// Visible widgets of one class, from top to bottom, and along a line from left to right.
    template <typename Widget>
    [[nodiscard]] std::vector<Widget*> shown() const {
        std::vector<Widget*> found;
        for (Widget* const widget : view->findChildren<Widget*>()) {
            if (widget->isVisibleTo(view)) {
                found.push_back(widget);
            }
        }
        std::ranges::stable_sort(found, {}, [this](const Widget* widget) {
            return std::pair(place(widget).y(), place(widget).x());
        });
        return found;
    }

    [[nodiscard]] PIDs shownPIDs() const {
        PIDs pids;
        for (const StrayRow* const row : shown<StrayRow>()) {
            pids.push_back(row->row().item.pid);
        }
        return pids;
    }

    [[nodiscard]] bool hasRow(int32_t pid) const {
        const PIDs pids = shownPIDs();
        return std::ranges::find(pids, pid) != pids.end();
    }

    [[nodiscard]] StrayRow* row(int32_t pid) const {
        for (StrayRow* const row : shown<StrayRow>()) {
            if (row->row().item.pid == pid) {
                return row;
            }
        }
        throw std::runtime_error("no row " + std::to_string(pid));
    }

    /// The one visible button below `parent` that a screen reader calls so.
    [[nodiscard]] static QAbstractButton* button(const QWidget* parent, const QString& name) {
        QAbstractButton* found = nullptr;
        for (QAbstractButton* const button : parent->findChildren<QAbstractButton*>()) {
            if (button->accessibleName() == name && button->isVisibleTo(parent)) {
                EXPECT_EQ(found, nullptr) << "two are called " << name.toStdString();
                found = button;
            }
        }
        if (found == nullptr) {
            throw std::runtime_error("no button " + name.toStdString());
        }
        return found;
    }

    [[nodiscard]] QAbstractButton* killButton(int32_t pid) const {
        return button(row(pid), QStringLiteral("Kill PID %1").arg(pid));
    }

    [[nodiscard]] QAbstractButton* infoButton(int32_t pid) const {
        return button(row(pid), QStringLiteral("Why is this here?"));
    }

    [[nodiscard]] QAbstractButton* hideButton(int32_t pid) const {
        return button(row(pid), QStringLiteral("Ignore for session"));
    }

    [[nodiscard]] PushButton* cleanButton() const {
        for (const SectionHeader* const header : shown<SectionHeader>()) {
            if (header->cleanButton() != nullptr) {
                return header->cleanButton();
            }
        }
        throw std::runtime_error("no button that cleans");
    }

    [[nodiscard]] GroupHeader* groupHeader(const QString& label) const {
        for (GroupHeader* const header : shown<GroupHeader>()) {
            if (header->accessibleName().contains(label)) {
                return header;
            }
        }
        throw std::runtime_error("no group " + label.toStdString());
    }

    static void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }

    /// To whoever has the focus.
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) const {
        QWidget* const focus = QApplication::focusWidget();
        QTest::keyClick(focus != nullptr ? focus : static_cast<QWidget*>(window.get()), key, modifiers);
    }

    /// The texts of labels that can be read, from top to bottom.
    [[nodiscard]] Texts texts() const {
        Texts all;
        for (const TextLabel* const label : shown<TextLabel>()) {
            all.push_back(label->text().toStdString());
        }
        return all;
    }

    [[nodiscard]] bool says(const std::string& text) const {
        const Texts all = texts();
        return std::ranges::find(all, text) != all.end();
    }

    void filter(const QString& text) const {
        search()->setText(text);
        settle();
    }

    [[nodiscard]] size_t killings() const { return world->killings.size(); }

    RecordingFileBrowser fileBrowser;
    int settingsOpened = 0;
    std::unique_ptr<PopoverWindow> window;
    QPointer<MenuBarView> view;
};

} // namespace Vintrel
