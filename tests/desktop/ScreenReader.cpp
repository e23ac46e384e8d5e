#include "tests/desktop/ScreenReader.h"

#include <stdexcept>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VintrelTests {

namespace {

std::string textOf(const QJsonObject& object, const char* key) {
    return object[QLatin1String(key)].toString().toStdString();
}

Control controlOf(const QJsonObject& object) {
    const QJsonArray place = object[QLatin1String("place")].toArray();
    Control control{.window = textOf(object, "window"),
                    .row = textOf(object, "row"),
                    .role = textOf(object, "role"),
                    .name = textOf(object, "name"),
                    .description = textOf(object, "description"),
                    .text = textOf(object, "text"),
                    .x = place[0].toInt() + place[2].toInt() / 2,
                    .y = place[1].toInt() + place[3].toInt() / 2};
    for (const QJsonValue& state : object[QLatin1String("states")].toArray()) {
        control.states.insert(state.toString().toStdString());
    }
    return control;
}

} // namespace

Which named(const std::string& name) {
    return [name](const Control& control) { return control.name == name; };
}

Which ofRole(const std::string& role) {
    return [role](const Control& control) { return control.role == role; };
}

Which inRow(const std::string& beginning, const std::string& name) {
    return [beginning, name](const Control& control) {
        return control.row.starts_with(beginning) && control.name == name;
    };
}

Which row(const std::string& beginning) {
    return [beginning](const Control& control) {
        return control.role == "list item" && control.name.starts_with(beginning);
    };
}

Which both(const Which& one, const Which& other) {
    return [one, other](const Control& control) { return one(control) && other(control); };
}

ScreenReader::ScreenReader(SessionBus& bus, const std::string& application,
                           const std::map<std::string, std::string>& environment) {
    m_accessibilityBus.emplace(
        ProcessOptions{.argv = {"/usr/libexec/at-spi-bus-launcher", "--launch-immediately"},
                       .environment = environment,
                       .output = m_folder.path() / "bus.log"});
    if (!eventually([&] { return bus.isOffered(QStringLiteral("org.a11y.Bus")); })) {
        throw std::runtime_error("no accessibility bus");
    }
    const std::string commands = (m_folder.path() / "commands").string();
    if (::mkfifo(commands.c_str(), 0600) != 0) {
        throw std::runtime_error("no way to the screen reader");
    }
    // Open for both, so that it opens before the script reads.
    m_commands = VintrelCore::FileDescriptor(::open(commands.c_str(), O_RDWR | O_CLOEXEC));
    m_script.emplace(
        ProcessOptions{.argv = {"/bin/sh", "-c", "exec /usr/bin/python3 -B \"$0\" \"$1\" <\"$2\"",
                                VINTREL_ACCESSIBILITY, application, commands},
                       .environment = environment});
}

ScreenReader::~ScreenReader() {
    m_script.reset();
    m_accessibilityBus->signal(SIGTERM); // so that it ends what it has started
    m_accessibilityBus->wait();
}

std::string ScreenReader::ask(const std::string& command) {
    const std::string line = command + "\n";
    if (::write(m_commands.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
        throw std::runtime_error("the screen reader takes no command");
    }
    std::string answer = m_script->readLine();
    if (answer.empty()) {
        throw std::runtime_error("the screen reader has ended");
    }
    return answer;
}

Controls ScreenReader::controls() {
    Controls all;
    for (const QJsonValue& value : QJsonDocument::fromJson(QByteArray::fromStdString(ask("tree"))).array()) {
        all.push_back(controlOf(value.toObject()));
    }
    return all;
}

std::optional<Control> ScreenReader::focused() {
    const QJsonDocument answer = QJsonDocument::fromJson(QByteArray::fromStdString(ask("focused")));
    return answer.isObject() ? std::optional(controlOf(answer.object())) : std::nullopt;
}

} // namespace VintrelTests
