// The files by which desktops find the program say what the program does.
#include "Vintrel/shell/ApplicationRequests.h"
#include "Vintrel/shell/StartRequest.h"
#include "Vintrel/shell/linux/Autostart.h"
#include "Vintrel/shell/linux/DesktopEntry.h"
#include "Vintrel/shell/linux/SessionNames.h"
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/Text.h"
#include "VintrelCore/command/URLScheme.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

namespace {

using Group = std::map<std::string, std::string>;

/// The keys of each group.
std::map<std::string, Group> read(const std::string& path) {
    constexpr size_t most = size_t{1} << 16;
    const std::string text = VintrelCore::File::read(path, most).value_or("");
    EXPECT_FALSE(text.empty()) << path;
    std::map<std::string, Group> groups;
    std::string group;
    for (const std::string_view line : VintrelCore::Text::split(text, '\n')) {
        const auto sign = line.find('=');
        if (line.starts_with('[')) {
            group = line.substr(1, line.find(']') - 1);
        } else if (sign != std::string_view::npos && !line.starts_with('#')) {
            groups[group][std::string(line.substr(0, sign))] = line.substr(sign + 1);
        }
    }
    return groups;
}

std::map<std::string, Group> dataFile(const std::string& name) {
    return read(std::string(VINTREL_DATA_FILES) + "/" + name);
}

/// What a command asks the program for; the program itself is left out.
CommandLine::Parsed askedBy(const std::string& command) {
    auto words = VintrelCore::Text::split(command, ' ');
    EXPECT_TRUE(words.front().ends_with("vintrel-app")) << command;
    words.erase(words.begin());
    return CommandLine::parse(std::vector<std::string_view>(words.begin(), words.end()));
}

} // namespace

TEST(DataFiles, theLauncherOffersEveryAction) {
    auto launcher = dataFile("dev.vintrel.Vintrel.desktop");
    std::string expected;
    for (const AppShortcut& shortcut : VintrelShortcuts::appShortcuts()) {
        const std::string name(shortcut.identifier);
        Group& action = launcher["Desktop Action " + name];
        EXPECT_EQ(action["Name"], shortcut.shortTitle);
        EXPECT_EQ(action["Icon"], shortcut.icon);
        EXPECT_EQ(askedBy(action["Exec"]).request, StartRequest{.action = name});
        expected += name + ";";
    }
    const std::string last(ApplicationActions::bindGlobalShortcuts);
    EXPECT_EQ(askedBy(launcher["Desktop Action " + last]["Exec"]).request, StartRequest{.action = last});
    EXPECT_EQ(launcher["Desktop Entry"]["Actions"], expected + last + ";");
}

TEST(DataFiles, theLauncherOpensLinks) {
    Group launcher = dataFile("dev.vintrel.Vintrel.desktop")["Desktop Entry"];
    EXPECT_EQ(launcher["MimeType"], "x-scheme-handler/" + std::string(VintrelCore::URLScheme::scheme) + ";");
    EXPECT_EQ(launcher["Exec"], "vintrel-app %u");
    EXPECT_EQ(launcher["DBusActivatable"], "true");
}

TEST(DataFiles, theLauncherIsCalledAsTheStartAtLoginIs) {
    Group launcher = dataFile(std::string(Autostart::fileName))["Desktop Entry"];
    const DesktopEntry atLogin(Autostart::enabling("", "/usr/bin/vintrel-app").value_or(""));
    for (const char* const key : {"Name", "Comment", "Icon", "Type"}) {
        EXPECT_EQ(launcher[key], atLogin.value(key)) << key;
    }
}

TEST(DataFiles, theBusStartsTheProgramWithoutAWishOfItsOwn) {
    Group service = read(VINTREL_SERVICE_FILE)["D-BUS Service"];
    EXPECT_EQ(service["Name"], SessionNames::service.toStdString());
    EXPECT_TRUE(service["Exec"].starts_with('/')) << service["Exec"];
    EXPECT_EQ(askedBy(service["Exec"]).request, StartRequest{.isService = true});
}

TEST(DataFiles, theShellsSearchFindsItsProvider) {
    Group provider = dataFile("dev.vintrel.Vintrel.search-provider.ini")["Shell Search Provider"];
    EXPECT_EQ(provider["BusName"], SessionNames::service.toStdString());
    EXPECT_EQ(provider["ObjectPath"], SessionNames::searchProvider.toStdString());
    EXPECT_EQ(provider["DesktopId"], "dev.vintrel.Vintrel.desktop");
    EXPECT_EQ(provider["Version"], "2");
    EXPECT_EQ(provider["AutoStart"], "false");
}

TEST(DataFiles, kRunnerFindsItsRunner) {
    Group runner = dataFile("dev.vintrel.Vintrel.krunner.desktop")["Desktop Entry"];
    EXPECT_EQ(runner["X-Plasma-DBusRunner-Service"], SessionNames::service.toStdString() + "*");
    EXPECT_EQ(runner["X-Plasma-DBusRunner-Path"], SessionNames::runner.toStdString());
    EXPECT_EQ(runner["X-Plasma-API"], "DBus");
}

} // namespace Vintrel
