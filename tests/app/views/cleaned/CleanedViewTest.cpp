// What the cleaned tab shows, and when it looks again.
#include "Vintrel/views/CleanedView.h"

#include "Vintrel/engine/CleanLogStore.h"
#include "Vintrel/views/parts/Chip.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/ViewTest.h"
#include "tests/core/log/Events.h"
#include "tests/support/TemporaryFolder.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <QAccessible>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;
using VintrelCore::CleanEvent;
using VintrelTests::spinFor;
using VintrelTests::spinUntil;
using Texts = std::vector<std::string>;

constexpr int64_t mebibyte = 1'024; // in KiB

class CleanedViewTest : public VintrelTests::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        store = std::make_unique<CleanLogStore>((m_folder.path() / "log/clean-log.json").string(), 500);
        view = std::make_unique<CleanedView>(*store, nullptr);
        view->resize(400, 480);
    }

    void TearDown() override {
        view.reset();
        store.reset();
        ViewTest::TearDown();
    }

    void show() const {
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
        spinFor(1ms);
    }

    void record(std::chrono::seconds age, const std::string& kind, const std::string& project,
                int64_t rssKB = 2'048) const {
        const auto now =
            std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
        store->record(
            CleanEvent{.kind = kind, .projectLabel = project, .rssKB = rssKB, .timestamp = now - age});
        spinFor(1ms);
    }

    /// The texts that can be read, from top to bottom, and along a line as they stand.
    [[nodiscard]] Texts texts() const {
        std::vector<TextLabel*> labels;
        for (TextLabel* const label : view->findChildren<TextLabel*>()) {
            if (label->isVisibleTo(view.get())) {
                labels.push_back(label);
            }
        }
        const auto placeOf = [this](const TextLabel* label) {
            const QPoint place = label->mapTo(view.get(), QPoint());
            return std::pair(place.y(), place.x());
        };
        std::ranges::stable_sort(labels, {}, placeOf);
        Texts texts;
        for (const TextLabel* const label : labels) {
            texts.push_back(label->text().toStdString());
        }
        return texts;
    }

    [[nodiscard]] Texts chips() const {
        Texts texts;
        for (const Chip* const chip : view->findChildren<Chip*>()) {
            if (chip->isVisibleTo(view.get())) {
                texts.push_back(chip->text().toStdString());
            }
        }
        return texts;
    }

    [[nodiscard]] TextLabel* label(const QString& text) const {
        for (TextLabel* const each : view->findChildren<TextLabel*>()) {
            if (each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }

    [[nodiscard]] QTimer* timer() const { return view->findChild<QTimer*>({}, Qt::FindDirectChildrenOnly); }

    [[nodiscard]] QScrollArea* scrollArea() const { return view->findChild<QScrollArea*>(); }

    std::unique_ptr<CleanLogStore> store;
    std::unique_ptr<CleanedView> view;

private:
    VintrelTests::TemporaryFolder m_folder;
};

TEST_F(CleanedViewTest, anEmptyLogHasOneLine) {
    show();
    EXPECT_EQ(texts(), Texts{"No cleaned processes yet."});
    EXPECT_TRUE(chips().empty());
    EXPECT_FALSE(scrollArea()->isVisible());
}

TEST_F(CleanedViewTest, showsTheWeekAndTheRecentOnes) {
    record(25h, "Jest", "ledgra", 241 * mebibyte);
    record(2h + 5s, "Vite", "shop", 96 * mebibyte);
    record(5min + 5s, "Vite", "shop/apps/web", 812);
    show();
    EXPECT_EQ(texts(),
              (Texts{"This week", "3 cleaned", "·", "~337 MB reclaimed", "Recently cleaned", //
                     "Vite", "812 KB", "shop/apps/web", "5 min. ago",                        //
                     "Vite", "96 MB", "shop", "2 hr. ago", "Jest", "241 MB", "ledgra", "yesterday"}));
    EXPECT_EQ(chips(), (Texts{"Vite ×2", "Jest ×1"}));
}

TEST_F(CleanedViewTest, anEmptyWeekHasNoChips) {
    record(8 * 24h, "Vite", "shop");
    show();
    EXPECT_EQ(texts(), (Texts{"This week", "0 cleaned", "·", "~0 KB reclaimed", "Recently cleaned", "Vite",
                              "2 MB", "shop", "last wk."}));
    EXPECT_TRUE(chips().empty());
}

TEST_F(CleanedViewTest, followsTheLog) {
    show();
    record(5s, "Vite", "shop");
    EXPECT_EQ(texts()[1], "1 cleaned");
    EXPECT_EQ(chips(), Texts{"Vite ×1"});
    record(4s, "Jest", "shop");
    spinFor(1ms);
    EXPECT_EQ(texts()[1], "2 cleaned");
    EXPECT_EQ(chips(), (Texts{"Jest ×1", "Vite ×1"}));
    EXPECT_EQ(texts().size(), 13U);
}

TEST_F(CleanedViewTest, aRowKeepsItsWidgets) {
    record(3min, "Vite", "shop");
    show();
    const TextLabel* const first = label("shop");
    ASSERT_NE(first, nullptr);
    record(2min, "Vite", "blog");
    EXPECT_EQ(first->text(), "blog") << "by its position";
    ASSERT_NE(label("shop"), nullptr);
    EXPECT_NE(label("shop"), first);
}

TEST_F(CleanedViewTest, chipsStayWhileTheirTextsDo) {
    record(3min, "Vite", "shop");
    show();
    const Chip* const chip = view->findChild<Chip*>();
    view->hide();
    show();
    EXPECT_EQ(view->findChild<Chip*>(), chip);
}

TEST_F(CleanedViewTest, looksAgainWhenItIsShown) {
    show();
    view->hide();
    record(1min, "Vite", "shop");
    show();
    EXPECT_EQ(texts()[1], "1 cleaned");
}

TEST_F(CleanedViewTest, looksAgainEveryMinuteOnlyWhileItIsSeen) {
    EXPECT_FALSE(timer()->isActive());
    show();
    EXPECT_TRUE(timer()->isActive());
    EXPECT_EQ(timer()->intervalAsDuration(), 1min);
    view->hide();
    EXPECT_FALSE(timer()->isActive());
}

TEST_F(CleanedViewTest, agesGrowWithTheTimer) {
    record(1s, "Vite", "shop");
    show();
    const std::string before = texts().back();
    spinFor(1'100ms);
    EXPECT_EQ(texts().back(), before);
    QMetaObject::invokeMethod(timer(), "timeout");
    EXPECT_NE(texts().back(), before);
}

TEST_F(CleanedViewTest, showsFiftyOfSixty) {
    std::vector<CleanEvent> events;
    events.reserve(60);
    const auto now =
        std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
    for (int number = 0; number < 60; ++number) {
        events.push_back({.kind = "Vite",
                          .projectLabel = "p" + std::to_string(number),
                          .rssKB = 1,
                          .timestamp = now - std::chrono::seconds(100 - number)});
    }
    store->record(events);
    show();
    EXPECT_NE(label("p59"), nullptr);
    EXPECT_NE(label("p10"), nullptr);
    EXPECT_EQ(label("p9"), nullptr);
    EXPECT_EQ(texts().size(), 5U + 4 * 50);
    EXPECT_GT(scrollArea()->verticalScrollBar()->maximum(), 500);
    EXPECT_EQ(scrollArea()->horizontalScrollBar()->isVisible(), false);
}

TEST_F(CleanedViewTest, scrollsByTheKeyboardIfThereIsAnythingToScroll) {
    record(1min, "Vite", "shop");
    show();
    EXPECT_EQ(scrollArea()->focusPolicy(), Qt::NoFocus);
    for (int number = 0; number < 20; ++number) {
        record(1min, "Vite", "shop");
    }
    ASSERT_TRUE(spinUntil([this] { return scrollArea()->focusPolicy() == Qt::StrongFocus; }));
    scrollArea()->setFocus();
    QTest::keyClick(scrollArea(), Qt::Key_PageDown);
    EXPECT_GT(scrollArea()->verticalScrollBar()->value(), 0);
    EXPECT_EQ(scrollArea()->accessibleName(), "Cleaned processes");
}

TEST_F(CleanedViewTest, aRowReadsAsASentence) {
    record(5min + 5s, "Vite", "shop/web", 153 * mebibyte);
    show();
    const QWidget* const row = label("shop/web")->parentWidget();
    EXPECT_EQ(row->accessibleName(), "Vite in shop/web, 153 MB, cleaned 5 min. ago");
}

TEST_F(CleanedViewTest, theRowsAreAList) {
    record(5min + 5s, "Vite", "shop/web");
    show();
    QWidget* const row = label("shop/web")->parentWidget();
    const QAccessibleInterface* const list = QAccessible::queryAccessibleInterface(row)->parent();
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->role(), QAccessible::List);
    EXPECT_EQ(list->text(QAccessible::Name), "Recently cleaned");
}

TEST_F(CleanedViewTest, memoryAndAgeStandAtTheTrailingEdge) {
    record(5min + 5s, "Vite", "shop/web", 153 * mebibyte);
    show();
    EXPECT_GT(label("153 MB")->geometry().left(), 200);
    EXPECT_EQ(label("153 MB")->geometry().right(), label("5 min. ago")->geometry().right());
    view->setLayoutDirection(Qt::RightToLeft);
    spinFor(1ms);
    EXPECT_LT(label("153 MB")->geometry().right(), 200);
}

TEST_F(CleanedViewTest, aLongLabelLeavesRoomForMemoryAndAge) {
    record(5min + 5s, std::string(300, 'k'), std::string(300, 'p'));
    show();
    EXPECT_EQ(view->width(), 400);
    for (const char* const text : {"2 MB", "5 min. ago"}) {
        const TextLabel* const whole = label(text);
        EXPECT_GE(whole->width(), whole->sizeHint().width()) << text;
        EXPECT_LE(whole->mapTo(view.get(), QPoint(whole->width(), 0)).x(), 400) << text;
    }
    for (const Chip* const chip : view->findChildren<Chip*>()) {
        EXPECT_LE(chip->mapTo(view.get(), QPoint(chip->width(), 0)).x(), 400);
    }
}

TEST_F(CleanedViewTest, isAsTallAsItsContent) {
    show();
    const int empty = view->sizeHint().height();
    record(1min, "Vite", "shop");
    const int one = view->sizeHint().height();
    record(1min, "Vite", "shop");
    const int two = view->sizeHint().height();
    EXPECT_GT(one, empty);
    EXPECT_GT(two, one + 20);
}

} // namespace Vintrel
