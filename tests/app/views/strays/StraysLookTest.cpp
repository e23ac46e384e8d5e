// Odd texts, odd sizes and the other writing direction.
#include "Vintrel/views/ReasoningBlock.h"
#include "tests/app/views/strays/StraysViewTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

class StraysLookTest : public StraysViewTest {
protected:
    /// Everything in the list stands inside its parent, and something of it is to be seen.
    void expectNothingSticksOut() const {
        for (const QWidget* const widget : listView()->findChildren<QWidget*>()) {
            if (!widget->isVisible()) {
                continue;
            }
            EXPECT_GT(widget->height(), 0) << widget->metaObject()->className();
            EXPECT_GT(widget->width(), 0) << widget->metaObject()->className();
            EXPECT_TRUE(widget->parentWidget()->rect().contains(widget->geometry()))
                << widget->metaObject()->className() << " " << widget->accessibleName().toStdString();
        }
        EXPECT_EQ(listView()->width(), scrollArea()->viewport()->width());
        EXPECT_EQ(scrollArea()->horizontalScrollBar()->maximum(), 0);
    }

    /// Rows stand below one another and do not overlap.
    void expectRowsBelowOneAnother() const {
        const auto all = shown<StrayRow>();
        for (size_t index = 1; index < all.size(); ++index) {
            EXPECT_LE(place(all[index - 1]).y() + all[index - 1]->height(), place(all[index]).y());
        }
    }

    void expandAll() const {
        for (const int32_t pid : shownPIDs()) {
            click(infoButton(pid));
            settle();
        }
    }
};

TEST_F(StraysLookTest, longCommandsFit) {
    ProcessItem item = safeItem(1);
    item.command = std::string(300, 'x') + " --flag";
    ProcessItem custom = kindItem(2, ProcessKind::custom);
    custom.customLabel = std::string(300, 'w');
    world->found.cwds = {{3, cwdOf("~/" + std::string(250, 'm'))}};
    world->owners.owners = {{1, std::string(300, 'c')}};
    world->openFiles = {.files = {{.name = "~/" + std::string(300, 'f')}, {.name = "~/a b c"}}};
    open({item, custom, safeItem(3)});
    expectNothingSticksOut();
    const int usual = row(1)->height();
    EXPECT_EQ(row(2)->height(), usual) << "two lines, however long they are";
    EXPECT_EQ(row(3)->height(), usual);
    expandAll();
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().size() == 3; }));
    settle();
    expectNothingSticksOut();
    expectRowsBelowOneAnother();
}

TEST_F(StraysLookTest, aLongTextIsTold) {
    ProcessItem item = safeItem(1);
    item.command = std::string(300, 'x') + " --flag";
    open({item});
    EXPECT_TRUE(row(1)->accessibleName().contains(QString(300, 'x')));
}

TEST_F(StraysLookTest, aNoteThatDoesNotFitTakesMoreLines) {
    world->found.managers = {{1, std::string(200, 'u') + ".service"}};
    world->found.processTable = {{1, {.ppid = 0, .label = std::string(200, 'p')}}};
    open({safeItem(1)});
    expandAll();
    expectNothingSticksOut();
}

TEST_F(StraysLookTest, withoutProjectOrStartTimeARowIsWhole) {
    ProcessItem item = safeItem(1);
    item.startTime.reset();
    item.command = "";
    item.elapsed = -5;
    item.rssKB = -1;
    open({item, safeItem(2)});
    EXPECT_EQ(row(1)->height(), row(2)->height());
    EXPECT_FALSE(row(1)->accessibleName().isEmpty());
    expandAll();
    expectNothingSticksOut();
    letRowsRest();
    click(killButton(1));
    EXPECT_TRUE(spinUntil([this] { return killings() == 1; }, 5s));
}

TEST_F(StraysLookTest, namesFromRightToLeftStandInTheirRow) {
    world->found.cwds = {{1, cwdOf("~/עבודה/חנות")}, {2, cwdOf("~/عمل")}};
    open({safeItem(1), safeItem(2), safeItem(3)});
    EXPECT_TRUE(row(1)->accessibleName().contains(QString::fromUtf8("חנות")));
    EXPECT_EQ(row(1)->height(), row(3)->height());
    expandAll();
    expectNothingSticksOut();
    expectRowsBelowOneAnother();
}

TEST_F(StraysLookTest, theOtherWritingDirectionIsAMirror) {
    open({safeItem(1), reviewItem(2)});
    const int width = window->width();
    std::map<QWidget*, QRect> before;
    for (const int32_t pid : {1, 2}) {
        for (IconButton* const each : row(pid)->findChildren<IconButton*>()) {
            before[each] = QRect(place(each), each->size());
        }
    }
    before[row(1)] = QRect(place(row(1)), row(1)->size());
    before[button(view, "Quit Vintrel")] =
        QRect(place(button(view, "Quit Vintrel")), button(view, "Quit Vintrel")->size());
    window->setLayoutDirection(Qt::RightToLeft);
    settle();
    for (const auto& [widget, rect] : before) {
        if (widget->isVisible()) {
            EXPECT_EQ(place(widget).x(), width - rect.x() - rect.width())
                << widget->accessibleName().toStdString();
            EXPECT_EQ(place(widget).y(), rect.y()) << widget->accessibleName().toStdString();
        }
    }
}

TEST_F(StraysLookTest, inTheOtherDirectionArrowsGoAsTheyPoint) {
    open({safeItem(1), safeItem(2)});
    window->setLayoutDirection(Qt::RightToLeft);
    settle();
    infoButton(1)->setFocus();
    press(Qt::Key_Left);
    EXPECT_EQ(QApplication::focusWidget(), hideButton(1));
    press(Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), infoButton(1));
}

TEST_F(StraysLookTest, theExpandedTextIsMirroredToo) {
    world->found.processTable = {{1, {.ppid = 0, .label = "systemd"}}};
    open({safeItem(1)});
    expandAll();
    const ReasoningBlock* const block = shown<ReasoningBlock>().at(0);
    const int left = place(block).x();
    const int width = block->width();
    window->setLayoutDirection(Qt::RightToLeft);
    settle();
    EXPECT_EQ(place(block).x(), window->width() - left - width);
    expectNothingSticksOut();
}

TEST_F(StraysLookTest, aLargerFontMakesTallerRows) {
    open({safeItem(1), safeItem(2)});
    const int before = row(1)->height();
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 2);
    QApplication::setFont(font);
    settle();
    rescan({safeItem(1), safeItem(2)});
    EXPECT_GT(row(1)->height(), before);
    expectRowsBelowOneAnother();
    expectNothingSticksOut();
}

TEST_F(StraysLookTest, aTinyViewScrollsAndKeepsItsButtonsInSight) {
    scan(safeItems(5));
    MenuBarView tiny(engine(), fileBrowser, [] {}, noContainers());
    tiny.resize(240, 200);
    tiny.show();
    settle();
    EXPECT_GT(tiny.findChild<QScrollArea*>()->verticalScrollBar()->maximum(), 0);
    const auto buttons = tiny.findChildren<IconButton*>();
    EXPECT_FALSE(buttons.isEmpty());
    for (const IconButton* const each : buttons) {
        EXPECT_LE(each->mapTo(&tiny, QPoint()).x() + each->width(), 240);
    }
}

TEST_F(StraysLookTest, bothSchemesAreDrawn) {
    open({safeItem(1), reviewItem(2)});
    const QImage light = view->grab().toImage();
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(30, 30, 32));
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::Highlight, QColor(53, 132, 228));
    QApplication::setPalette(dark);
    settle();
    const QImage changed = view->grab().toImage();
    ASSERT_EQ(changed.size(), light.size());
    EXPECT_GT(light.pixelColor(3, 3).lightness(), 128);
    EXPECT_LT(changed.pixelColor(3, 3).lightness(), 128);
}

} // namespace Vintrel
