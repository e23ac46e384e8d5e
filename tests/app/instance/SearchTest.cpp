// The shortcuts as results of the desktop's search, asked for as GNOME Shell and KRunner ask.
#include "Vintrel/shell/linux/ApplicationService.h"
#include "Vintrel/shell/linux/RunnerAdaptor.h"
#include "tests/app/instance/Caller.h"
#include "tests/app/instance/Requests.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/SessionBus.h"

#include <gtest/gtest.h>

using namespace VintrelTests;
using Vintrel::ApplicationService;
using Vintrel::RunnerAction;
using Vintrel::RunnerMatch;
using Asked = std::vector<std::string>;
using Told = std::vector<std::pair<std::string, std::string>>;

namespace {

class SearchTest : public AppTest {
public:
    SearchTest() { EXPECT_EQ(service.claim(), Vintrel::ApplicationInstance::Claim::granted); }

    SessionBus bus;
    RecordingRequests requests;
    ApplicationService service{bus.connect(), requests, {}};
};

class ShellSearch : public SearchTest {
public:
    [[nodiscard]] QStringList initial(const QStringList& terms) const {
        return shell.call("GetInitialResultSet", {terms}).arguments().value(0).toStringList();
    }

    Caller shell{bus, QStringLiteral("/dev/vintrel/Vintrel/SearchProvider"),
                 QStringLiteral("org.gnome.Shell.SearchProvider2")};
};

class RunnerSearch : public SearchTest {
public:
    [[nodiscard]] QList<RunnerMatch> matches(const QString& query) const {
        const QDBusMessage reply = runner.call("Match", {query});
        EXPECT_EQ(reply.signature(), "a(sssida{sv})");
        return qdbus_cast<QList<RunnerMatch>>(reply.arguments().value(0));
    }

    Caller runner{bus, QStringLiteral("/dev/vintrel/Vintrel/Runner"), QStringLiteral("org.kde.krunner1")};
};

} // namespace

TEST_F(ShellSearch, findsAShortcutByItsPhrase) {
    EXPECT_EQ(initial({"Rescan", "with", "Vintrel"}), QStringList{"scan-now"});
    EXPECT_EQ(initial({"clean", "safe"}), QStringList{"clean-safe-strays"});
    EXPECT_EQ(initial({"CLEAN", "STRAYS"}), QStringList{"clean-safe-strays"});
}

TEST_F(ShellSearch, findsNothingByOtherWords) {
    EXPECT_EQ(initial({}), QStringList());
    EXPECT_EQ(initial({"clean"}), QStringList());
    EXPECT_EQ(initial({"document", "scanner"}), QStringList());
}

TEST_F(ShellSearch, goesByWhatIsTypedNow) {
    const auto narrowed = [this](const QStringList& before, const QStringList& terms) {
        return shell.call("GetSubsearchResultSet", {before, terms}).arguments().value(0).toStringList();
    };
    EXPECT_EQ(narrowed({"scan-now"}, {"rescan", "wi"}), QStringList{"scan-now"});
    EXPECT_EQ(narrowed({"scan-now"}, {"rescan", "wo"}), QStringList());
    EXPECT_EQ(narrowed({}, {"rescan"}), QStringList{"scan-now"}) << "it remembers nothing";
}

TEST_F(ShellSearch, describesItsResults) {
    const QDBusMessage reply =
        shell.call("GetResultMetas", {QStringList{"scan-now", "unknown", "clean-safe-strays"}});
    EXPECT_EQ(reply.signature(), "aa{sv}");
    const auto metas = qdbus_cast<QList<QVariantMap>>(reply.arguments().value(0));
    const QVariantMap scan{{"id", "scan-now"},
                           {"name", "Scan Now"},
                           {"description", "Scan now with Vintrel"},
                           {"gicon", "view-refresh-symbolic"}};
    const QVariantMap clean{{"id", "clean-safe-strays"},
                            {"name", "Clean Safe Strays"},
                            {"description", "Clean safe strays with Vintrel"},
                            {"gicon", "user-trash-symbolic"}};
    EXPECT_EQ(metas, (QList<QVariantMap>{scan, clean}));
}

TEST_F(ShellSearch, carriesOutTheResultThatIsChosen) {
    const QDBusMessage reply =
        shell.call("ActivateResult", {"scan-now", QStringList{"rescan"}, QVariant::fromValue(42U)});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(requests.asked, Asked{"scan-now"});
    EXPECT_EQ(requests.told, (Told{{"Scan Now", "done"}}));
}

TEST_F(ShellSearch, opensTheProgramWhenThatIsChosen) {
    const QDBusMessage reply = shell.call("LaunchSearch", {QStringList{"rescan"}, QVariant::fromValue(42U)});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(requests.asked, Asked{"activate"});
}

TEST_F(RunnerSearch, findsAShortcutByItsPhrase) {
    const auto found = matches("Rescan with Vintrel");
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].identifier, "scan-now");
    EXPECT_EQ(found[0].text, "Scan Now");
    EXPECT_EQ(found[0].icon, "view-refresh-symbolic");
    EXPECT_EQ(found[0].kind, 100);
    EXPECT_EQ(found[0].relevance, 1);
    EXPECT_EQ(found[0].properties,
              (QVariantMap{{"subtext", "Rescan with Vintrel"}, {"category", "Vintrel"}}));
}

TEST_F(RunnerSearch, isLessSureOfABeginning) {
    const auto found = matches("clean str");
    ASSERT_EQ(found.size(), 1);
    EXPECT_EQ(found[0].identifier, "clean-safe-strays");
    EXPECT_LT(found[0].kind, 100);
    EXPECT_LT(found[0].relevance, 1);
    EXPECT_EQ(found[0].properties.value("subtext"), "Clean strays with Vintrel");
}

TEST_F(RunnerSearch, findsNothingByOtherWords) {
    EXPECT_TRUE(matches("").empty());
    EXPECT_TRUE(matches("scan").empty());
    EXPECT_TRUE(matches("vintrel").empty());
}

TEST_F(RunnerSearch, hasNoOtherActions) {
    const QDBusMessage reply = runner.call("Actions");
    EXPECT_EQ(reply.signature(), "a(sss)");
    EXPECT_TRUE(qdbus_cast<QList<RunnerAction>>(reply.arguments().value(0)).empty());
}

TEST_F(RunnerSearch, carriesOutTheResultThatIsChosen) {
    const QDBusMessage reply = runner.call("Run", {"clean-safe-strays", ""});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(requests.asked, Asked{"clean-safe-strays"});
    EXPECT_EQ(requests.told, (Told{{"Clean Safe Strays", "done"}}));
}

TEST_F(RunnerSearch, disregardsWhatItNeverFound) {
    const QDBusMessage reply = runner.call("Run", {"unknown", ""});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(requests.asked, Asked());
}
