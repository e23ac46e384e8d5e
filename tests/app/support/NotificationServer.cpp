#include "tests/app/support/NotificationServer.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVariantMap>

namespace VintrelTests {

namespace fs = std::filesystem;

namespace {

constexpr const char* path = "/org/freedesktop/Notifications";

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The environment of the script, as it wrote it.
std::map<std::string, std::string> variablesIn(const std::string& text) {
    std::map<std::string, std::string> variables;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\0', begin), text.size());
        const std::string entry = text.substr(begin, end - begin);
        const size_t equals = std::min(entry.find('='), entry.size());
        variables[entry.substr(0, equals)] = entry.substr(std::min(equals + 1, entry.size()));
        begin = end + 1;
    }
    return variables;
}

std::string configuration(NotificationServer::Markup markup, const fs::path& script) {
    return std::string("[global]\n"
                       "font = Sans 10\n"
                       "markup = ") +
           (markup == NotificationServer::Markup::full ? "full" : "no") +
           "\n"
           "idle_threshold = 0\n"
           "notification_limit = 0\n"
           "stack_duplicates = false\n"
           "[urgency_low]\ntimeout = 0\n"
           "[urgency_normal]\ntimeout = 0\n"
           "[urgency_critical]\ntimeout = 0\n"
           "[noted]\n"
           "summary = \"*\"\n"
           "script = " +
           script.string() + "\n";
}

} // namespace

NotificationServer::NotificationServer(SessionBus& bus, Markup markup, Start start) : m_bus(bus.connect()) {
    // The screen is ready when it says its number.
    m_screen.emplace(ProcessOptions{
        .argv = {"Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "800x600x24"}});
    const std::string display = ":" + m_screen->readLine();
    if (display == ":") {
        throw std::runtime_error("no screen");
    }
    m_folder.makeFolder("shown");
    const std::string note = (m_folder.path() / "shown").string() + "/$DUNST_ID";
    const fs::path script = m_folder.write("note", "#!/bin/sh\nenv -0 >\"" + note + ".new\" && mv \"" + note +
                                                       ".new\" \"" + note + "\"\n");
    fs::permissions(script, static_cast<fs::perms>(0755));
    const std::string configured = m_folder.write("dunstrc", configuration(markup, script)).string();
    if (start == Start::onDemand) {
        bus.startOnDemand(service, "/usr/bin/env DISPLAY=" + display + " dunst -conf " + configured);
        return;
    }
    m_server.emplace(ProcessOptions{
        .argv = {"dunst", "-conf", configured},
        .environment = {{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"DISPLAY", display}},
        .output = m_folder.path() / "log",
    });
    if (!eventually([&] { return bus.isOffered(service); })) {
        throw std::runtime_error("no notification server: " + contentOf(m_folder.path() / "log"));
    }
}

NotificationServer::~NotificationServer() = default;

std::vector<ShownNotification> NotificationServer::shown() const {
    std::vector<ShownNotification> all;
    for (const fs::directory_entry& file : fs::directory_iterator(m_folder.path() / "shown")) {
        if (file.path().extension() == ".new") {
            continue;
        }
        auto variables = variablesIn(contentOf(file.path()));
        all.push_back({.number = static_cast<unsigned>(std::stoul(file.path().filename())),
                       .appName = variables["DUNST_APP_NAME"],
                       .summary = variables["DUNST_SUMMARY"],
                       .body = variables["DUNST_BODY"],
                       .urgency = variables["DUNST_URGENCY"],
                       .desktopEntry = variables["DUNST_DESKTOP_ENTRY"]});
    }
    std::ranges::sort(all, {}, &ShownNotification::number);
    return all;
}

bool NotificationServer::hasShown(size_t count) const {
    return eventually([&] { return shown().size() >= count; }) && shown().size() == count;
}

int NotificationServer::displayed() {
    auto question = QDBusMessage::createMethodCall(service, path, "org.freedesktop.DBus.Properties", "Get");
    question << QString(control) << QStringLiteral("displayedLength");
    const QDBusMessage answer = m_bus.call(question);
    return answer.arguments().value(0).value<QDBusVariant>().variant().toInt();
}

std::vector<NotificationServer::Kept> NotificationServer::history() {
    const QDBusMessage answer =
        m_bus.call(QDBusMessage::createMethodCall(service, path, control, "NotificationListHistory"));
    std::vector<Kept> all;
    if (answer.type() != QDBusMessage::ReplyMessage) {
        return all;
    }
    const auto entries = answer.arguments().value(0).value<QDBusArgument>();
    entries.beginArray();
    while (!entries.atEnd()) {
        const auto entry = qdbus_cast<QVariantMap>(entries);
        all.push_back({.appName = entry["appname"].toString().toStdString(),
                       .summary = entry["summary"].toString().toStdString(),
                       .body = entry["body"].toString().toStdString()});
    }
    entries.endArray();
    return all;
}

void NotificationServer::order(const char* interface, const char* what, std::optional<unsigned> argument) {
    auto call = QDBusMessage::createMethodCall(service, path, interface, what);
    if (argument) {
        call << *argument;
    }
    m_bus.call(call);
}

} // namespace VintrelTests
