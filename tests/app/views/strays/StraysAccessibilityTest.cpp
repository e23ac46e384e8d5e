// What a screen reader finds.
#include "tests/app/views/strays/StraysViewTest.h"

#include <functional>

#include <QAccessible>
#include <gtest/gtest.h>

namespace Vintrel {

class StraysAccessibilityTest : public StraysViewTest {
protected:
    using Visit = std::function<void(QAccessibleInterface& each)>;

    /// Everything that can be seen in the window.
    void walk(const Visit& visit) const { walk(*QAccessible::queryAccessibleInterface(window.get()), visit); }

    [[nodiscard]] static QString nameOf(const QAccessibleInterface& each) {
        return each.text(QAccessible::Name);
    }

    [[nodiscard]] static bool isControl(const QAccessibleInterface& each) {
        switch (each.role()) {
        case QAccessible::Button:
        case QAccessible::CheckBox:
        case QAccessible::EditableText:
        case QAccessible::PageTab:
        case QAccessible::ListItem:
            return true;
        default:
            return each.state().focusable;
        }
    }

    /// Expects a name of every control; how many there are.
    int namedControls() const {
        int controls = 0;
        walk([&controls](QAccessibleInterface& each) {
            if (isControl(each) && each.isValid()) {
                ++controls;
                EXPECT_FALSE(nameOf(each).trimmed().isEmpty())
                    << each.object()->metaObject()->className() << ", role " << each.role();
            }
        });
        return controls;
    }

    [[nodiscard]] std::vector<QString> rowNames() const {
        std::vector<QString> names;
        walk([&names](QAccessibleInterface& each) {
            if (each.role() == QAccessible::ListItem) {
                names.push_back(nameOf(each));
            }
        });
        return names;
    }

private:
    void walk(QAccessibleInterface& parent, const Visit& visit) const {
        visit(parent);
        for (int index = 0; index < parent.childCount(); ++index) {
            QAccessibleInterface* const child = parent.child(index);
            if (child != nullptr && !child->state().invisible) {
                walk(*child, visit);
            }
        }
    }
};

TEST_F(StraysAccessibilityTest, everyControlHasAName) {
    open({safeItem(1), reviewItem(2), riskyItem(3), kindItem(4, ProcessKind::npm)});
    filter("p");
    click(infoButton(1));
    settle();
    // header 3, tabs 3, field and its clear button, clean, groups 4, rows 3 with their buttons
    EXPECT_GE(namedControls(), 3 + 3 + 2 + 1 + 4 + 3 + 4 + 4 + 3);
}

TEST_F(StraysAccessibilityTest, everyControlOfTheOtherTabsHasAName) {
    open({safeItem(1)});
    for (const auto tab : {MenuBarView::Tab::containers, MenuBarView::Tab::cleaned}) {
        view->selectTab(tab);
        settle();
        EXPECT_GE(namedControls(), 6);
    }
}

TEST_F(StraysAccessibilityTest, rowsAreItemsOfAListAndReadAsSentences) {
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    open({safeItem(1), reviewItem(2)});
    const std::vector<QString> names = rowNames();
    ASSERT_EQ(names.size(), 2U);
    for (const QString part : {"Vite", "shop", "2h", "0.2%"}) {
        EXPECT_TRUE(names[0].contains(part)) << names[0].toStdString();
    }
    EXPECT_EQ(names[0].toStdString(), row(1)->row().sentence());
    EXPECT_EQ(names[1].toStdString(), row(2)->row().sentence());
}

TEST_F(StraysAccessibilityTest, theSentenceFollowsTheRow) {
    open({safeItem(1)});
    ProcessItem busier = safeItem(1);
    busier.cpuPercent = 77.7;
    rescan({busier});
    ASSERT_EQ(rowNames().size(), 1U);
    EXPECT_TRUE(rowNames()[0].contains("77.7%"));
}

TEST_F(StraysAccessibilityTest, anExpandedRowTellsItsReasons) {
    world->openFiles = {.files = {{.name = "~/work/dev.log"}}};
    world->found.listeningPorts = {{1, {5'183}}};
    open({safeItem(1)});
    click(infoButton(1));
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(1); }));
    settle();
    QString all;
    walk([&all](QAccessibleInterface& each) {
        all += nameOf(each) + "\n" + each.text(QAccessible::Description) + "\n";
    });
    for (const QString part : {"orphan", "no tty", "5183 listening", "1 open file", "~/work/dev.log"}) {
        EXPECT_TRUE(all.contains(part)) << part.toStdString();
    }
}

TEST_F(StraysAccessibilityTest, foreignTextIsMadeFitToShow) {
    world->found.cwds = {{1, {.label = "a\xe2\x80\xaez\x1b[0m", .fullPath = "~/x"}}};
    world->found.processTable = {{1, {.ppid = 0, .label = "b\xe2\x80\xaez\n"}}};
    world->owners.owners = {{1, "c\x1b[31mz"}};
    world->found.managers = {{1, "d\rz.service"}};
    world->openFiles = {.files = {{.name = "~/e\tz\xe2\x80\xae"}}};
    open({safeItem(1)});
    click(infoButton(1));
    ASSERT_TRUE(spinUntil([this] { return engine().openFiles().contains(1); }));
    settle();
    QString all;
    walk([&all](QAccessibleInterface& each) {
        all += nameOf(each) + each.text(QAccessible::Description) + each.text(QAccessible::Help);
    });
    for (const QString part : {"a?z?[0m", "b?z", "c?[31mz", "d z.service", "~/e z?"}) {
        EXPECT_TRUE(all.contains(part)) << part.toStdString();
    }
    for (const char16_t harmful : {u'\u202e', u'\u001b', u'\r', u'\t'}) {
        EXPECT_FALSE(all.contains(QChar(harmful))) << static_cast<int>(harmful);
    }
}

TEST_F(StraysAccessibilityTest, buttonsCanBePressed) {
    open({safeItem(1), safeItem(2)});
    QAccessibleInterface* const info = QAccessible::queryAccessibleInterface(infoButton(1));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->role(), QAccessible::Button);
    ASSERT_NE(info->actionInterface(), nullptr);
    info->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(spinUntil([this] { return row(1)->row().reasoning.has_value(); }));
}

TEST_F(StraysAccessibilityTest, theWholeFlowWorksWithoutAPointer) {
    world->found.cwds = {{1, cwdOf("~/work/shop")}};
    open({safeItem(1), safeItem(2)});
    letRowsRest();
    press(Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), "shop");
    settle();
    ASSERT_EQ(shownPIDs(), PIDs{1});
    for (int step = 0; step < 20 && !row(1)->isAncestorOf(QApplication::focusWidget()); ++step) {
        press(Qt::Key_Tab);
    }
    EXPECT_EQ(QApplication::focusWidget(), infoButton(1));
    press(Qt::Key_Space);
    settle();
    EXPECT_TRUE(row(1)->row().reasoning);
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    press(Qt::Key_Space);
    settle();
    EXPECT_EQ(engine().protectedProjects(), Texts{"~/work/shop"});
    EXPECT_FALSE(cleanButton()->isEnabled());
    press(Qt::Key_Right);
    letRowsRest();
    press(Qt::Key_Space);
    ASSERT_TRUE(spinUntil([this] { return killings() == 1; }));
    EXPECT_EQ(world->killings[0].items, Items{safeItem(1)});
}

} // namespace Vintrel
