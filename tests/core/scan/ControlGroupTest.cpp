#include "VintrelCore/scan/ControlGroup.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

using namespace VintrelCore;

TEST(UnitOf, isTheFirstBelowTheUserManagerOrElseTheFirst) {
    const auto name = [](const char* path) { return std::string(ControlGroup::unitOf(path).name); };
    EXPECT_EQ(name("/user.slice/user-1000.slice/user@1000.service/app.slice/a.scope/b.service"), "a.scope");
    EXPECT_EQ(name("/user.slice/user-1000.slice/user@1000.service"), "user@1000.service");
    EXPECT_EQ(name("/system.slice/a.service/b.scope"), "a.service");
    EXPECT_EQ(name("/a.slice/b"), "");
    EXPECT_EQ(name("/"), "");
    EXPECT_EQ(name(""), "");
    EXPECT_EQ(name("/.service/.scope"), "");
    EXPECT_TRUE(ControlGroup::unitOf("/user@5.service/x.service").belongsToUserManager);
    EXPECT_FALSE(ControlGroup::unitOf("/user@5.service").belongsToUserManager);
}

TEST(NumberInScope, isTheLastPartOfItsName) {
    EXPECT_EQ(ControlGroup::numberInScope("app-gnome-code-4242.scope"), 4242);
    EXPECT_EQ(ControlGroup::numberInScope("session-7.scope"), 7);
    for (const char* unit : {"app-gnome-code-4242.service", "app-x.scope", "4242.scope", "app-+42.scope",
                             "app-0f3c.scope", "app-.scope", "app-99999999999.scope", ".scope", ""}) {
        EXPECT_EQ(ControlGroup::numberInScope(unit), std::nullopt) << unit;
    }
}
