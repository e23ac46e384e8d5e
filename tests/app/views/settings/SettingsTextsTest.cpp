// What the settings say, word for word, and what they report.
#include "tests/app/views/settings/SettingsTest.h"

#include <filesystem>

#include <QCoreApplication>
#include <QLabel>

namespace Vintrel {

class SettingsTexts : public SettingsTest {
protected:
    void TearDown() override { QCoreApplication::setApplicationVersion({}); }
};

TEST_F(SettingsTexts, everySectionHasItsTitle) {
    for (const char* const title : {"Startup", "Notifications", "Auto-scan", "Scanned kinds",
                                    "Ignored processes", "Protected projects", "Custom rules"}) {
        EXPECT_TRUE(says(title)) << title;
    }
}

TEST_F(SettingsTexts, everyHintStandsAsItIs) {
    for (const char* const hint :
         {"Shows a system notification when a background scan detects processes not seen in the previous "
          "scan.",
          "Unchecked kinds are skipped during scans — like Ignored processes, but by category.",
          "One command substring per line — matching processes are hidden. Append ` @ <path>` to scope a "
          "rule "
          "to one project tree (e.g. `node @ ~/code/ledgra`).",
          "One project path per line — processes whose working directory is under that tree are kept out of "
          "“Clean all” (still listed and individually killable). Add or remove with the 🔒 button on a Safe "
          "row.",
          "One rule per line as `substring = label` — matching processes surface under the label in Needs "
          "Review "
          "(never auto-killable)."}) {
        EXPECT_TRUE(says(QString::fromUtf8(hint))) << hint;
    }
    EXPECT_TRUE(view().findChildren<QLabel*>().isEmpty()) << "a label would guess at rich text";
}

TEST_F(SettingsTexts, controlsTellTheirHintsToo) {
    EXPECT_TRUE(button("Alert on new strays")->accessibleDescription().startsWith("Shows a system"));
    EXPECT_TRUE(editor("Ignored processes")->accessibleDescription().startsWith("One command substring"));
    EXPECT_TRUE(editor("Protected projects")->accessibleDescription().startsWith("One project path"));
    EXPECT_TRUE(editor("Custom rules")->accessibleDescription().startsWith("One rule per line"));
}

TEST_F(SettingsTexts, theVersionStandsAtTheEnd) {
    QCoreApplication::setApplicationVersion("1.2.3");
    EXPECT_TRUE(says("Vintrel 1.2.3"));
}

TEST_F(SettingsTexts, withoutAVersionThereIsNoLineForIt) {
    for (const QWidget* const widget : view().findChildren<QWidget*>()) {
        EXPECT_FALSE(widget->accessibleName().startsWith("Vintrel"));
    }
}

TEST_F(SettingsTexts, settingsThatCannotBeReadAreReported) {
    settings().write("[General\n\"");
    ASSERT_FALSE(engine().problems().empty());
    const QString problem = QString::fromStdString(engine().problems().front().text);
    EXPECT_TRUE(says(problem)) << problem.toStdString();
}

TEST_F(SettingsTexts, aProblemComesAndGoesWhileTheyAreOpen) {
    shown();
    const auto isReported = [this] { return says("the settings could not be written"); };
    EXPECT_FALSE(isReported());
    std::filesystem::create_directories(settings().file()); // nothing can be written in its place
    engine().setScanInterval(600);
    EXPECT_TRUE(isReported());
    std::filesystem::remove(settings().file());
    engine().setScanInterval(660);
    EXPECT_FALSE(isReported());
}

} // namespace Vintrel
