// Turning announcements on asks the desktop, and a refusal turns them off again.
#include "tests/app/support/EngineTest.h"

#include <gtest/gtest.h>

namespace Vintrel {

using namespace std::chrono_literals;

class EngineAuthorization : public EngineTest {};

TEST_F(EngineAuthorization, granted) {
    engine().setNotificationsEnabled(true);
    EXPECT_EQ(notifications.requests, 1);
    EXPECT_TRUE(stored().notificationsEnabled);
    spinFor(50ms);
    EXPECT_TRUE(engine().notificationsEnabled());
    EXPECT_TRUE(stored().notificationsEnabled);
    EXPECT_EQ(changes, Fields{Field::notificationsEnabled});
    EXPECT_TRUE(posted().empty());
}

TEST_F(EngineAuthorization, refusedSpringsBackAndStoresThat) {
    notifications.isToBeGranted = false;
    engine().setNotificationsEnabled(true);
    EXPECT_TRUE(engine().notificationsEnabled()) << "until the answer comes";
    EXPECT_TRUE(spinUntil([this] { return !engine().notificationsEnabled(); }));
    EXPECT_FALSE(stored().notificationsEnabled);
    EXPECT_EQ(changes, (Fields{Field::notificationsEnabled, Field::notificationsEnabled}));
    spinFor(30ms);
    EXPECT_EQ(notifications.requests, 1);
}

TEST_F(EngineAuthorization, isAskedForAgainWithEveryAttempt) {
    notifications.isToBeGranted = false;
    engine().setNotificationsEnabled(true);
    EXPECT_TRUE(spinUntil([this] { return !engine().notificationsEnabled(); }));
    notifications.isToBeGranted = true;
    engine().setNotificationsEnabled(true);
    EXPECT_EQ(notifications.requests, 2);
    spinFor(50ms);
    EXPECT_TRUE(engine().notificationsEnabled());
    EXPECT_TRUE(stored().notificationsEnabled);
}

TEST_F(EngineAuthorization, isNotAskedForWhenTheyAreOnAlready) {
    enableNotifications();
    engine().setNotificationsEnabled(true);
    spinFor(30ms);
    EXPECT_EQ(notifications.requests, 0);
    EXPECT_TRUE(changes.empty());
}

TEST_F(EngineAuthorization, isNotAskedForToTurnThemOff) {
    enableNotifications();
    engine().setNotificationsEnabled(false);
    spinFor(30ms);
    EXPECT_EQ(notifications.requests, 0);
    EXPECT_FALSE(stored().notificationsEnabled);
    EXPECT_EQ(changes, Fields{Field::notificationsEnabled});
}

TEST_F(EngineAuthorization, aGrantThatComesTooLateTurnsNothingOn) {
    engine().setNotificationsEnabled(true);
    engine().setNotificationsEnabled(false);
    spinFor(50ms);
    EXPECT_FALSE(engine().notificationsEnabled());
    EXPECT_FALSE(stored().notificationsEnabled);
    EXPECT_EQ(changes.size(), 2U);
}

TEST_F(EngineAuthorization, aRefusalThatComesTooLateChangesNothing) {
    notifications.isToBeGranted = false;
    engine().setNotificationsEnabled(true);
    engine().setNotificationsEnabled(false);
    spinFor(50ms);
    EXPECT_FALSE(engine().notificationsEnabled());
    EXPECT_EQ(changes.size(), 2U);
}

TEST_F(EngineAuthorization, anAnswerMayComeAfterTheEnginesEnd) {
    notifications.isToBeGranted = false;
    engine().setNotificationsEnabled(true);
    endEngine();
    spinFor(50ms);
    EXPECT_TRUE(stored().notificationsEnabled) << "what the user set is what is stored";
}

TEST_F(EngineAuthorization, refusedAnnouncesNothing) {
    notifications.isToBeGranted = false;
    scan();
    engine().setNotificationsEnabled(true);
    EXPECT_TRUE(spinUntil([this] { return !engine().notificationsEnabled(); }));
    scan({safeItem(1)});
    expectPosted({});
}

} // namespace Vintrel
