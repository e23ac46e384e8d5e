// The three lists: every edit is stored at once, and the text under the cursor is the typist's.
#include "tests/app/views/settings/SettingsTest.h"

#include <QFocusEvent>
#include <QTextCursor>
#include <QTextDocument>

namespace Vintrel {

using VintrelCore::CustomRule;

class SettingsEditors : public SettingsTest {
protected:
    /// The editor of this name, on the screen, with the focus and the cursor at its end.
    QPlainTextEdit* focused(const char* name) {
        shown();
        QPlainTextEdit* const found = editor(name);
        found->setFocus();
        EXPECT_TRUE(found->hasFocus());
        found->moveCursor(QTextCursor::End);
        return found;
    }

    QPlainTextEdit* ignored() { return editor("Ignored processes"); }

    QPlainTextEdit* projects() { return editor("Protected projects"); }

    /// Takes the focus out of the editors.
    void leave() { button("Launch at login")->setFocus(); }
};

TEST_F(SettingsEditors, theyShowWhatIsStored) {
    engine().setIgnoredNames({"node", "vite @ ~/code"});
    engine().setProtectedProjects({"/a b", "~/c"});
    engine().setCustomRules({{.substring = "x", .label = "Mine"}, {.substring = "y", .label = "y"}});
    EXPECT_EQ(ignored()->toPlainText(), "node\nvite @ ~/code");
    EXPECT_EQ(projects()->toPlainText(), "/a b\n~/c");
    EXPECT_EQ(editor("Custom rules")->toPlainText(), "x = Mine\ny = y");
}

TEST_F(SettingsEditors, everyKeyIsStored) {
    QTest::keyClicks(focused("Ignored processes"), "vi");
    EXPECT_EQ(stored().ignoredNames, Texts{"vi"});
    QTest::keyClicks(ignored(), "te");
    EXPECT_EQ(stored().ignoredNames, Texts{"vite"});
    QTest::keyClicks(focused("Protected projects"), "/p");
    EXPECT_EQ(stored().protectedProjects, Texts{"/p"});
    QTest::keyClicks(focused("Custom rules"), "a=b");
    EXPECT_EQ(stored().customRules, (std::vector<CustomRule>{{.substring = "a", .label = "b"}}));
}

TEST_F(SettingsEditors, typingIsNeverRewritten) {
    QPlainTextEdit* const typed = focused("Ignored processes");
    QTest::keyClicks(typed, "  node ");
    QTest::keyClick(typed, Qt::Key_Return);
    QTest::keyClick(typed, Qt::Key_Return);
    EXPECT_EQ(typed->toPlainText(), "  node \n\n");
    EXPECT_EQ(stored().ignoredNames, Texts{"node"});
    QTest::keyClicks(typed, " vite @ ~/x ");
    EXPECT_EQ(typed->toPlainText(), "  node \n\n vite @ ~/x ");
    EXPECT_EQ(stored().ignoredNames, (Texts{"node", "vite @ ~/x"}));
    leave();
    EXPECT_EQ(typed->toPlainText(), "node\nvite @ ~/x");
    EXPECT_EQ(stored().ignoredNames, (Texts{"node", "vite @ ~/x"}));
}

TEST_F(SettingsEditors, linesThatAreNoRuleGoWhenTheFocusLeaves) {
    QPlainTextEdit* const rules = focused("Custom rules");
    QTest::keyClicks(rules, "= b");
    QTest::keyClick(rules, Qt::Key_Return);
    QTest::keyClicks(rules, "x");
    EXPECT_EQ(rules->toPlainText(), "= b\nx");
    EXPECT_EQ(stored().customRules, (std::vector<CustomRule>{{.substring = "x", .label = "x"}}));
    leave();
    EXPECT_EQ(rules->toPlainText(), "x = x");
}

TEST_F(SettingsEditors, deletingEverythingStoresNothing) {
    engine().setCustomRules({{.substring = "x", .label = "X"}});
    QPlainTextEdit* const rules = focused("Custom rules");
    rules->selectAll();
    QTest::keyClick(rules, Qt::Key_Delete);
    EXPECT_TRUE(engine().customRules().empty());
    EXPECT_TRUE(stored().customRules.empty());
    leave();
    EXPECT_EQ(rules->toPlainText(), "");
}

TEST_F(SettingsEditors, lookingElsewhereDoesNotRewrite) {
    QPlainTextEdit* const typed = focused("Protected projects");
    QTest::keyClicks(typed, "/a");
    QTest::keyClick(typed, Qt::Key_Return);
    for (const Qt::FocusReason reason : {Qt::ActiveWindowFocusReason, Qt::PopupFocusReason}) {
        QFocusEvent out(QEvent::FocusOut, reason);
        QApplication::sendEvent(typed, &out);
        EXPECT_EQ(typed->toPlainText(), "/a\n") << "the next path is to be pasted here";
    }
}

TEST_F(SettingsEditors, closingTheWindowTidiesUp) {
    QPlainTextEdit* const typed = focused("Protected projects");
    QTest::keyClicks(typed, "/a");
    QTest::keyClick(typed, Qt::Key_Return);
    view().hide();
    EXPECT_EQ(typed->toPlainText(), "/a");
}

TEST_F(SettingsEditors, theTabKeyMovesOn) {
    QPlainTextEdit* const typed = focused("Ignored processes");
    QTest::keyClick(typed, Qt::Key_Tab);
    EXPECT_TRUE(projects()->hasFocus());
    QTest::keyClick(projects(), Qt::Key_Backtab);
    EXPECT_TRUE(typed->hasFocus());
    EXPECT_EQ(typed->toPlainText(), "");
}

TEST_F(SettingsEditors, withoutTheFocusTheyFollowTheEngine) {
    shown();
    leave();
    engine().setProtectedProjects({"/by/the/lock"});
    EXPECT_EQ(projects()->toPlainText(), "/by/the/lock");
    engine().setProtectedProjects({"/by/the/lock", "/b"});
    EXPECT_EQ(projects()->toPlainText(), "/by/the/lock\n/b");
    engine().setProtectedProjects({});
    EXPECT_EQ(projects()->toPlainText(), "");
}

TEST_F(SettingsEditors, withTheFocusTheTextWaitsForItsLoss) {
    QPlainTextEdit* const typed = focused("Protected projects");
    QTest::keyClicks(typed, "/mine");
    engine().setProtectedProjects({"/mine", "/by/the/lock"});
    EXPECT_EQ(typed->toPlainText(), "/mine");
    leave();
    EXPECT_EQ(typed->toPlainText(), "/mine\n/by/the/lock");
}

TEST_F(SettingsEditors, typingOnKeepsWhatOthersDidMeanwhile) {
    engine().setProtectedProjects({"/old", "/kept"});
    QPlainTextEdit* const typed = focused("Protected projects");
    engine().setProtectedProjects({"/kept", "/by/the/lock"});
    QTest::keyClick(typed, Qt::Key_Return);
    QTest::keyClicks(typed, "/mi");
    QTest::keyClicks(typed, "ne");
    EXPECT_EQ(typed->toPlainText(), "/old\n/kept\n/mine");
    EXPECT_EQ(stored().protectedProjects, (Texts{"/kept", "/mine", "/by/the/lock"}));
    leave();
    EXPECT_EQ(typed->toPlainText(), "/kept\n/mine\n/by/the/lock");
}

TEST_F(SettingsEditors, anotherWindowThatChangesTheListIsFollowedAtOnce) {
    QPlainTextEdit* const typed = focused("Protected projects");
    QTest::keyClicks(typed, "/mine");
    QWidget popover;
    popover.show();
    popover.activateWindow();
    ASSERT_TRUE(spinUntil([typed] { return !typed->hasFocus(); }));
    engine().setProtectedProjects({"/mine", "/by/the/lock"});
    EXPECT_EQ(typed->toPlainText(), "/mine\n/by/the/lock");
}

TEST_F(SettingsEditors, undoGoesBackThroughTheUsersOwnEdits) {
    QPlainTextEdit* const typed = focused("Ignored processes");
    QTest::keyClicks(typed, "node");
    typed->insertPlainText(" two");
    EXPECT_EQ(stored().ignoredNames, Texts{"node two"});
    typed->undo(); // what was typed in one go goes in one
    EXPECT_EQ(stored().ignoredNames, Texts{});
    typed->redo();
    EXPECT_EQ(stored().ignoredNames, Texts{"node two"});
}

TEST_F(SettingsEditors, undoBringsBackWhatTidyingUpTook) {
    QPlainTextEdit* const rules = focused("Custom rules");
    rules->insertPlainText("= b");
    leave();
    EXPECT_EQ(rules->toPlainText(), "");
    rules->setFocus();
    rules->undo();
    EXPECT_EQ(rules->toPlainText(), "= b");
    EXPECT_TRUE(stored().customRules.empty());
}

TEST_F(SettingsEditors, undoNeverTakesBackWhatOthersDid) {
    QPlainTextEdit* const typed = focused("Protected projects");
    QTest::keyClicks(typed, "/mine");
    leave();
    engine().setProtectedProjects({"/mine", "/by/the/lock"});
    typed->setFocus();
    typed->undo();
    EXPECT_EQ(stored().protectedProjects, (Texts{"/mine", "/by/the/lock"}));
}

TEST_F(SettingsEditors, theCursorStaysWhereItWas) {
    engine().setIgnoredNames({"first", "second", "third"});
    shown();
    QTextCursor cursor = ignored()->textCursor();
    cursor.setPosition(8); // in "second"
    ignored()->setTextCursor(cursor);
    engine().setIgnoredNames({"first", "second", "third", "fourth"});
    EXPECT_EQ(ignored()->textCursor().position(), 8);
    engine().setIgnoredNames({"second", "third", "fourth"});
    EXPECT_EQ(ignored()->textCursor().position(), 2);
}

TEST_F(SettingsEditors, charactersOfAnyKindSurvive) {
    const Texts odd{"a\u00a0b", "größe 🔒", "\U0001F600\U0001F601", "<b>&amp;</b>"};
    engine().setIgnoredNames(odd);
    QTest::keyClicks(focused("Ignored processes"), "x");
    Texts expected = odd;
    expected.back() += "x";
    EXPECT_EQ(stored().ignoredNames, expected);
    leave();
    engine().setIgnoredNames(
        {"\U0001F602\U0001F601"}); // half of the first character is that of the one before
    EXPECT_EQ(ignored()->toPlainText().toStdString(), "\U0001F602\U0001F601");
}

TEST_F(SettingsEditors, everyWayToEndALineEndsAnEntry) {
    focused("Ignored processes");
    ignored()->insertPlainText("a\r\nb\nc");
    QTest::keyClick(ignored(), Qt::Key_Return, Qt::ShiftModifier);
    QTest::keyClicks(ignored(), "d");
    EXPECT_EQ(stored().ignoredNames, (Texts{"a", "b", "c", "d"}));
}

TEST_F(SettingsEditors, showingChangesNothing) {
    store([](QSettings& values) {
        values.setValue("ignoredNames", QStringList{"  spaced  ", "", "two\nlines"});
    });
    shown();
    ignored()->setFocus();
    leave();
    view().hide();
    EXPECT_EQ(engine().ignoredNames(), (Texts{"  spaced  ", "", "two\nlines"}));
}

TEST_F(SettingsEditors, aLongListCanBeEdited) {
    Texts many;
    for (int index = 0; index < 2'000; ++index) {
        many.push_back("/projects/number " + std::to_string(index));
    }
    engine().setProtectedProjects(many);
    QTest::keyClicks(focused("Protected projects"), "x");
    many.back() += "x";
    EXPECT_EQ(stored().protectedProjects, many);
}

} // namespace Vintrel
