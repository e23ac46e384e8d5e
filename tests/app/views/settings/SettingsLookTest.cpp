// How the settings are laid out and found: every size, both directions, by keyboard and by screen reader.
#include "Vintrel/views/parts/SettingsSection.h"
#include "Vintrel/views/parts/Theme.h"
#include "tests/app/views/settings/SettingsTest.h"

#include <set>
#include <utility>

#include <QAccessible>
#include <QImage>
#include <QPalette>
#include <QScrollArea>
#include <QScrollBar>

namespace Vintrel {

using VintrelTests::spinFor;

class SettingsLook : public SettingsTest {
protected:
    QScrollArea* area() { return view().findChild<QScrollArea*>(); }

    /// What can have the focus, from top to bottom.
    std::vector<QWidget*> controls() {
        std::vector<QWidget*> found;
        for (QWidget* const widget : area()->widget()->findChildren<QWidget*>()) {
            if (widget->focusPolicy() != Qt::NoFocus && widget->focusProxy() == nullptr &&
                widget->isEnabled() && widget->isVisible()) {
                found.push_back(widget);
            }
        }
        return found;
    }

    QPoint place(const QWidget* widget) { return widget->mapTo(area()->widget(), QPoint(0, 0)); }

    QColor colorAt(const QPoint& point) { return view().grab().toImage().pixelColor(point); }
};

TEST_F(SettingsLook, theUsualSizeIsThatOfTheWindow) {
    EXPECT_EQ(view().sizeHint(), QSize(360, 620));
}

TEST_F(SettingsLook, nothingIsCutOffAtTheSideInAnySize) {
    engine().setProtectedProjects({std::string(300, 'x')});
    shown();
    for (const QSize size : {QSize(220, 160), QSize(300, 400), QSize(360, 620), QSize(900, 1'400)}) {
        view().resize(size);
        spinFor(std::chrono::milliseconds(20));
        const QWidget* const content = area()->widget();
        EXPECT_EQ(content->width(), area()->viewport()->width()) << size.width();
        for (const QWidget* const widget : content->findChildren<QWidget*>()) {
            if (widget->isVisible() && widget->parentWidget()->parentWidget() == content) {
                const int left = place(widget).x();
                EXPECT_GE(left, 0) << widget->accessibleName().toStdString();
                EXPECT_LE(left + widget->width(), content->width()) << widget->accessibleName().toStdString();
                EXPECT_GT(widget->height(), 0);
            }
        }
    }
}

TEST_F(SettingsLook, whatDoesNotFitIsScrolledTo) {
    shown();
    EXPECT_GT(area()->verticalScrollBar()->maximum(), 0);
    editor("Custom rules")->setFocus(Qt::TabFocusReason);
    area()->verticalScrollBar()->setValue(0);
    for (size_t steps = 0; steps < controls().size() && !button("Launch at login")->hasFocus(); ++steps) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
        const QWidget* const focus = QApplication::focusWidget();
        const QRect seen(area()->viewport()->mapFromGlobal(focus->mapToGlobal(QPoint(0, 0))), focus->size());
        EXPECT_TRUE(area()->viewport()->rect().intersects(seen)) << focus->accessibleName().toStdString();
    }
    EXPECT_TRUE(button("Launch at login")->hasFocus());
}

TEST_F(SettingsLook, aNarrowWindowWrapsTheHints) {
    shown();
    const int usual = area()->widget()->height();
    view().resize(220, 620);
    spinFor(std::chrono::milliseconds(20));
    EXPECT_GT(area()->widget()->height(), usual);
}

TEST_F(SettingsLook, theTabKeyGoesThroughAllFromTopToBottom) {
    shown();
    const std::vector<QWidget*> all = controls();
    button("Launch at login")->setFocus();
    std::vector<QWidget*> visited{QApplication::focusWidget()};
    while (visited.size() < all.size()) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        visited.push_back(QApplication::focusWidget());
    }
    EXPECT_EQ(visited.size(), 2U + 4U + 20U + 3U);
    EXPECT_EQ(std::set<QWidget*>(visited.begin(), visited.end()).size(), all.size());
    for (size_t index = 1; index < visited.size(); ++index) {
        EXPECT_LE(place(visited[index - 1]).y(), place(visited[index]).y());
    }
}

TEST_F(SettingsLook, everyControlHasANameAndARole) {
    shown();
    for (QWidget* const control : controls()) {
        QAccessibleInterface* const found = QAccessible::queryAccessibleInterface(control);
        ASSERT_NE(found, nullptr);
        EXPECT_FALSE(found->text(QAccessible::Name).isEmpty());
        EXPECT_TRUE(found->role() == QAccessible::CheckBox || found->role() == QAccessible::Button ||
                    found->role() == QAccessible::EditableText)
            << found->text(QAccessible::Name).toStdString();
        EXPECT_TRUE(found->state().focusable);
    }
}

TEST_F(SettingsLook, switchesStandAtTheEndOfTheRowInBothDirections) {
    shown();
    const auto isSwitchAt = [this](bool isRight) {
        const QImage row = button("Vite")->grab().toImage();
        const QColor accent = Theme::current().accent;
        const int y = row.height() / 2;
        const int inSwitch = static_cast<int>(20 * row.devicePixelRatio());
        return row.pixelColor(isRight ? row.width() - inSwitch - 12 : inSwitch + 12, y) == accent;
    };
    EXPECT_TRUE(isSwitchAt(true));
    EXPECT_FALSE(isSwitchAt(false));
    view().setLayoutDirection(Qt::RightToLeft);
    spinFor(std::chrono::milliseconds(20));
    EXPECT_TRUE(isSwitchAt(false));
    EXPECT_FALSE(isSwitchAt(true));
    EXPECT_LT(place(button("Scan less often")).x(), place(button("Scan more often")).x());
}

TEST_F(SettingsLook, anOffSwitchDiffersByMoreThanItsColour) {
    shown();
    const auto colourAtTheEnd = [this] {
        const QImage row = button("Vite")->grab().toImage();
        return row.pixelColor(row.width() - 12 - 10, row.height() / 2);
    };
    EXPECT_EQ(colourAtTheEnd(), Theme::current().onAccent) << "the knob";
    button("Vite")->click();
    EXPECT_EQ(colourAtTheEnd(), Theme::current().sunken) << "the knob is at the other end";
}

TEST_F(SettingsLook, lightAndDarkFollowThePalette) {
    shown();
    const QPalette before = QApplication::palette();
    for (const auto& [ground, text] : {std::pair(QColor(250, 250, 250), QColor(20, 20, 20)),
                                       std::pair(QColor(32, 33, 36), QColor(230, 230, 230))}) {
        QPalette palette = before;
        palette.setColor(QPalette::Window, ground);
        palette.setColor(QPalette::WindowText, text);
        QApplication::setPalette(palette);
        spinFor(std::chrono::milliseconds(20));
        EXPECT_EQ(colorAt({3, 3}), Theme::current().background);
        for (const char* const name : {"Ignored processes", "Protected projects", "Custom rules"}) {
            EXPECT_EQ(editor(name)->palette().color(QPalette::Text), Theme::current().primary);
        }
        const QWidget* const card = button("Launch at login")->parentWidget();
        EXPECT_EQ(colorAt(card->mapTo(&view(), QPoint(card->width() / 2, 5))), Theme::current().field);
    }
    QApplication::setPalette(before);
}

TEST_F(SettingsLook, editorsAreAsHighAsTheyShouldBeAndMonospaced) {
    shown();
    for (const char* const name : {"Ignored processes", "Protected projects", "Custom rules"}) {
        EXPECT_EQ(editor(name)->height(), 80);
        const QFontMetrics metrics(editor(name)->font());
        EXPECT_EQ(metrics.horizontalAdvance("iiii"), metrics.horizontalAdvance("MMMM"));
    }
}

} // namespace Vintrel
