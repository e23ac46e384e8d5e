// A list that two change at once: what either did is in the outcome.
#include "Vintrel/views/parts/ListEditor.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

using Entries = ListEditor::Entries;

TEST(ListEditorTest, withoutOthersTheTypedListStands) {
    EXPECT_EQ(ListEditor::merged({"a", "b"}, {"a", "b"}, {"b", "c", "c"}), (Entries{"b", "c", "c"}));
    EXPECT_EQ(ListEditor::merged({"a"}, {"a"}, {}), Entries{});
}

TEST(ListEditorTest, whatOthersAddedIsAdded) {
    EXPECT_EQ(ListEditor::merged({"a"}, {"a", "x", "y"}, {"a", "b"}), (Entries{"a", "b", "x", "y"}));
    EXPECT_EQ(ListEditor::merged({}, {"x"}, {}), Entries{"x"});
}

TEST(ListEditorTest, whatOthersTookOutIsTakenOut) {
    EXPECT_EQ(ListEditor::merged({"a", "b", "c"}, {"a", "c"}, {"a", "b", "c", "d"}),
              (Entries{"a", "c", "d"}));
}

TEST(ListEditorTest, whatBothAddedStandsOnce) {
    EXPECT_EQ(ListEditor::merged({"a"}, {"a", "x"}, {"a", "x"}), (Entries{"a", "x"}));
}

TEST(ListEditorTest, whatBothTookOutIsGone) {
    EXPECT_EQ(ListEditor::merged({"a", "b"}, {"a"}, {"a"}), Entries{"a"});
}

TEST(ListEditorTest, whatWasTypedIsNotTakenOutByOthers) {
    EXPECT_EQ(ListEditor::merged({"a"}, {}, {"b"}), Entries{"b"});
}

} // namespace Vintrel
