// The switches: each shows what holds, and changes it at once.
#include "tests/app/views/settings/SettingsTest.h"

#include <set>

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QCheckBox>

namespace Vintrel {

using namespace std::chrono_literals;
using VintrelCore::ProcessKind;

class SettingsToggles : public SettingsTest {};

TEST_F(SettingsToggles, loginShowsWhatTheDesktopSays) {
    loginItem.isOn = true;
    EXPECT_TRUE(button("Launch at login")->isChecked());
    EXPECT_TRUE(loginItem.orders.empty()) << "showing changes nothing";
}

TEST_F(SettingsToggles, loginIsRegisteredAndUnregistered) {
    shown();
    button("Launch at login")->click();
    EXPECT_TRUE(loginItem.isOn);
    EXPECT_TRUE(button("Launch at login")->isChecked());
    button("Launch at login")->click();
    EXPECT_FALSE(loginItem.isOn);
    EXPECT_EQ(loginItem.orders, (std::vector<bool>{true, false}));
}

TEST_F(SettingsToggles, loginShowsWhatHoldsWhenItCannotBeChanged) {
    loginItem.refuses = true;
    shown();
    button("Launch at login")->click();
    EXPECT_EQ(loginItem.orders, std::vector<bool>{true});
    EXPECT_FALSE(button("Launch at login")->isChecked());
    button("Launch at login")->click();
    EXPECT_EQ(loginItem.orders, (std::vector<bool>{true, true})) << "the next click tries again";
}

TEST_F(SettingsToggles, loginIsAskedForAgainWheneverItIsShown) {
    shown();
    view().hide();
    loginItem.isOn = true;
    EXPECT_FALSE(button("Launch at login")->isChecked());
    view().show();
    EXPECT_TRUE(button("Launch at login")->isChecked());
    loginItem.isOn = false;
    QEvent comingBack(QEvent::WindowActivate);
    QApplication::sendEvent(&view(), &comingBack);
    EXPECT_FALSE(button("Launch at login")->isChecked()) << "also when the user comes back to the window";
    EXPECT_TRUE(loginItem.orders.empty());
}

TEST_F(SettingsToggles, alertsAskTheDesktop) {
    shown();
    button("Alert on new strays")->click();
    EXPECT_EQ(notifications.requests, 1);
    spinFor(30ms);
    EXPECT_TRUE(button("Alert on new strays")->isChecked());
    EXPECT_TRUE(stored().notificationsEnabled);
    button("Alert on new strays")->click();
    EXPECT_FALSE(engine().notificationsEnabled());
    EXPECT_FALSE(stored().notificationsEnabled);
}

TEST_F(SettingsToggles, alertsSpringBackWhenTheDesktopRefuses) {
    notifications.isToBeGranted = false;
    shown();
    button("Alert on new strays")->click();
    EXPECT_TRUE(button("Alert on new strays")->isChecked()) << "until the answer comes";
    EXPECT_TRUE(spinUntil([this] { return !button("Alert on new strays")->isChecked(); }));
    EXPECT_FALSE(stored().notificationsEnabled);
    EXPECT_EQ(notifications.requests, 1);
}

TEST_F(SettingsToggles, alertsShowWhatIsStoredAndFollowTheEngine) {
    store([](QSettings& values) { values.setValue("notificationsEnabled", true); });
    EXPECT_TRUE(button("Alert on new strays")->isChecked());
    engine().setNotificationsEnabled(false);
    EXPECT_FALSE(button("Alert on new strays")->isChecked());
    EXPECT_EQ(notifications.requests, 0);
}

TEST_F(SettingsToggles, thereIsOneForEveryKindInOrder) {
    Texts names;
    for (const QCheckBox* const box : view().findChildren<QCheckBox*>()) {
        names.push_back(box->accessibleName().toStdString());
    }
    Texts expected{"Launch at login", "Alert on new strays"};
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        expected.emplace_back(label(kind));
    }
    EXPECT_EQ(names, expected);
}

TEST_F(SettingsToggles, aKindIsOnUnlessItIsDisabled) {
    store([](QSettings& values) { values.setValue("disabledKinds", QStringList{"vite", "nonsense"}); });
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        EXPECT_EQ(button(std::string(label(kind)).c_str())->isChecked(), kind != ProcessKind::vite);
    }
}

TEST_F(SettingsToggles, turningAKindOffDisablesItAndOnEnablesIt) {
    engine().setDisabledKinds({ProcessKind::cargo});
    shown();
    button("Vite")->click();
    EXPECT_EQ(engine().disabledKinds(), (std::set{ProcessKind::vite, ProcessKind::cargo}));
    EXPECT_EQ(stored().disabledKinds, (std::set{ProcessKind::vite, ProcessKind::cargo}));
    button("Vite")->click();
    EXPECT_EQ(stored().disabledKinds, std::set{ProcessKind::cargo});
}

TEST_F(SettingsToggles, everyKindCanBeTurnedOffAndOnAgain) {
    shown();
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        button(std::string(label(kind)).c_str())->click();
    }
    EXPECT_EQ(stored().disabledKinds.size(), VintrelCore::ProcessKinds::allCases.size());
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        button(std::string(label(kind)).c_str())->click();
    }
    EXPECT_TRUE(stored().disabledKinds.empty());
}

TEST_F(SettingsToggles, kindsFollowTheEngine) {
    EXPECT_TRUE(button("Vite")->isChecked());
    engine().setDisabledKinds({ProcessKind::vite});
    EXPECT_FALSE(button("Vite")->isChecked());
    engine().setDisabledKinds({});
    EXPECT_TRUE(button("Vite")->isChecked());
}

TEST_F(SettingsToggles, aScreenReaderTogglesThem) {
    shown();
    QAccessibleInterface* const box = QAccessible::queryAccessibleInterface(button("Vite"));
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->role(), QAccessible::CheckBox);
    EXPECT_EQ(box->text(QAccessible::Name), "Vite");
    EXPECT_TRUE(box->state().checked);
    box->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_EQ(engine().disabledKinds(), std::set{ProcessKind::vite});
    EXPECT_FALSE(box->state().checked);
}

TEST_F(SettingsToggles, theSpaceBarAndAClickAnywhereInTheRowToggle) {
    shown();
    QAbstractButton* const vite = button("Vite");
    QTest::keyClick(vite, Qt::Key_Space);
    EXPECT_FALSE(vite->isChecked());
    QTest::mouseClick(vite, Qt::LeftButton, Qt::NoModifier, {3, vite->height() / 2});
    EXPECT_TRUE(vite->isChecked());
    QTest::mouseClick(vite, Qt::LeftButton, Qt::NoModifier, {vite->width() - 3, vite->height() / 2});
    EXPECT_FALSE(vite->isChecked());
}

TEST_F(SettingsToggles, noSettingStartsAScan) {
    shown();
    button("Alert on new strays")->click();
    button("Vite")->click();
    button("Scan less often")->click();
    button("Count processes as stale later")->click();
    editor("Ignored processes")->insertPlainText("node");
    editor("Custom rules")->insertPlainText("a = b");
    spinFor(50ms);
    EXPECT_TRUE(world->scans.empty());
    EXPECT_FALSE(engine().isScanning());
}

} // namespace Vintrel
