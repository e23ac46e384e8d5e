// The two periods: whole minutes, one step at a time.
#include "tests/app/views/settings/SettingsTest.h"

namespace Vintrel {

class SettingsSteppers : public SettingsTest {
protected:
    void storeInterval(double seconds) const {
        store([seconds](QSettings& values) { values.setValue("scanInterval", seconds); });
    }

    QAbstractButton* less() { return button("Scan more often"); }

    QAbstractButton* more() { return button("Scan less often"); }
};

TEST_F(SettingsSteppers, theUsualPeriods) {
    EXPECT_TRUE(says("Every 2 min"));
    EXPECT_TRUE(says("Stale after 30 min"));
}

TEST_F(SettingsSteppers, theIntervalGoesByAMinute) {
    shown();
    more()->click();
    EXPECT_TRUE(says("Every 3 min"));
    EXPECT_EQ(stored().scanInterval, 180);
    less()->click();
    less()->click();
    EXPECT_TRUE(says("Every 1 min"));
    EXPECT_EQ(stored().scanInterval, 60);
}

TEST_F(SettingsSteppers, theThresholdGoesByFiveMinutes) {
    shown();
    button("Count processes as stale later")->click();
    EXPECT_TRUE(says("Stale after 35 min"));
    EXPECT_EQ(stored().elapsedThreshold, 2'100);
    button("Count processes as stale sooner")->click();
    button("Count processes as stale sooner")->click();
    EXPECT_TRUE(says("Stale after 25 min"));
    EXPECT_EQ(stored().elapsedThreshold, 1'500);
}

TEST_F(SettingsSteppers, bothStopAtTheirEnds) {
    engine().setScanInterval(3'540);
    engine().setElapsedThreshold(6'900);
    shown();
    more()->click();
    EXPECT_TRUE(says("Every 60 min"));
    EXPECT_FALSE(more()->isEnabled());
    button("Count processes as stale later")->click();
    EXPECT_TRUE(says("Stale after 120 min"));
    EXPECT_FALSE(button("Count processes as stale later")->isEnabled());
    engine().setScanInterval(60);
    engine().setElapsedThreshold(300);
    EXPECT_FALSE(less()->isEnabled());
    EXPECT_TRUE(more()->isEnabled());
    EXPECT_TRUE(says("Stale after 5 min"));
    EXPECT_FALSE(button("Count processes as stale sooner")->isEnabled());
}

TEST_F(SettingsSteppers, fortyFiveSecondsAreNoMinute) {
    storeInterval(45);
    shown();
    EXPECT_TRUE(says("Every 0 min"));
    EXPECT_EQ(engine().scanInterval(), 45) << "showing it changes nothing";
    EXPECT_FALSE(less()->isEnabled());
    more()->click();
    EXPECT_TRUE(says("Every 1 min"));
    EXPECT_EQ(stored().scanInterval, 60);
}

TEST_F(SettingsSteppers, aValueBetweenMinutesIsRoundedDownAndLeftAlone) {
    storeInterval(179.5);
    EXPECT_TRUE(says("Every 2 min"));
    EXPECT_EQ(engine().scanInterval(), 179.5);
    more()->click();
    EXPECT_EQ(engine().scanInterval(), 180);
}

TEST_F(SettingsSteppers, aValueAboveTheRangeComesBackIntoIt) {
    storeInterval(86'400);
    EXPECT_TRUE(says("Every 1440 min"));
    EXPECT_FALSE(more()->isEnabled());
    less()->click();
    EXPECT_TRUE(says("Every 60 min"));
}

TEST_F(SettingsSteppers, theyFollowTheEngine) {
    view();
    engine().setScanInterval(600);
    engine().setElapsedThreshold(600);
    EXPECT_TRUE(says("Every 10 min"));
    EXPECT_TRUE(says("Stale after 10 min"));
}

TEST_F(SettingsSteppers, upAndDownStepFromEitherButton) {
    shown();
    for (QAbstractButton* const focused : {less(), more()}) {
        engine().setScanInterval(120);
        focused->setFocus();
        QTest::keyClick(focused, Qt::Key_Up);
        EXPECT_EQ(engine().scanInterval(), 180);
        QTest::keyClick(focused, Qt::Key_Down);
        QTest::keyClick(focused, Qt::Key_Down);
        EXPECT_EQ(engine().scanInterval(), 60);
        EXPECT_TRUE(less()->hasFocus() || more()->hasFocus());
    }
}

TEST_F(SettingsSteppers, theFocusStaysInTheRowAtAnEnd) {
    engine().setScanInterval(120);
    shown();
    less()->setFocus();
    QTest::keyClick(less(), Qt::Key_Space);
    EXPECT_FALSE(less()->isEnabled());
    EXPECT_TRUE(more()->hasFocus());
    engine().setScanInterval(3'540);
    QTest::keyClick(more(), Qt::Key_Space);
    EXPECT_FALSE(more()->isEnabled());
    EXPECT_TRUE(less()->hasFocus());
    QTest::keyClick(less(), Qt::Key_Up);
    EXPECT_EQ(engine().scanInterval(), 3'600) << "there is no more";
    engine().setScanInterval(30);
    EXPECT_TRUE(more()->hasFocus()) << "also when somebody else took it from one end to the other";
}

TEST_F(SettingsSteppers, theButtonsTellTheValue) {
    shown();
    EXPECT_EQ(more()->accessibleDescription(), "Every 2 min");
    more()->click();
    EXPECT_EQ(more()->accessibleDescription(), "Every 3 min");
    EXPECT_EQ(less()->accessibleDescription(), "Every 3 min");
    EXPECT_EQ(less()->toolTip(), "Scan more often");
}

} // namespace Vintrel
