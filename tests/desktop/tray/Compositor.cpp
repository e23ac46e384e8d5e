#include "tests/desktop/tray/Compositor.h"

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

namespace VintrelTests {

namespace fs = std::filesystem;

namespace {

constexpr const char* settings = "xwayland disable\n"
                                 "output * resolution 960x900\n";

/// The node of a tree of windows that belongs to the application, and whether it floats.
std::optional<Compositor::Window> find(const QJsonObject& node, const QString& application) {
    if (node.value(QStringLiteral("app_id")).toString() == application) {
        const QJsonObject place = node.value(QStringLiteral("rect")).toObject();
        const auto number = [&place](const QString& key) { return place.value(key).toInt(); };
        return Compositor::Window{
            .place = {number(QStringLiteral("x")), number(QStringLiteral("y")),
                      number(QStringLiteral("width")), number(QStringLiteral("height"))},
            .isFloating = node.value(QStringLiteral("type")).toString() == QStringLiteral("floating_con")};
    }
    for (const QString& key : {QStringLiteral("nodes"), QStringLiteral("floating_nodes")}) {
        const QJsonArray children = node.value(key).toArray();
        for (const QJsonValue& child : children) {
            if (auto found = find(child.toObject(), application)) {
                return found;
            }
        }
    }
    return std::nullopt;
}

} // namespace

Compositor::Compositor(const Screen& screen) {
    const fs::path runtime = m_folder.makeFolder("run");
    fs::permissions(runtime, fs::perms::owner_all);
    const std::string home = m_folder.makeFolder("home").string();
    std::vector<std::string> argv{"sway", "--config", m_folder.write("settings", settings).string()};
    if (::geteuid() == 0) { // sway refuses to run as root
        constexpr uid_t nobody = 65534;
        fs::permissions(m_folder.path(), fs::perms::owner_all | fs::perms::others_exec);
        if (::chown(runtime.c_str(), nobody, nobody) != 0) {
            throw std::runtime_error("no folder for the compositor");
        }
        const std::string user = std::to_string(nobody);
        argv.insert(argv.begin(), {"setpriv", "--reuid=" + user, "--regid=" + user, "--clear-groups"});
    }
    m_process.emplace(ProcessOptions{.argv = argv,
                                     .environment = {{"DISPLAY", screen.display()},
                                                     {"HOME", home},
                                                     {"LIBGL_ALWAYS_SOFTWARE", "1"},
                                                     {"WLR_BACKENDS", "x11"},
                                                     {"WLR_LIBINPUT_NO_DEVICES", "1"},
                                                     {"WLR_RENDERER", "pixman"},
                                                     {"WLR_X11_OUTPUTS", "1"},
                                                     {"XDG_CONFIG_HOME", home},
                                                     {"XDG_CURRENT_DESKTOP", "sway"},
                                                     {"XDG_RUNTIME_DIR", runtime.string()}},
                                     .output = m_folder.path() / "log"});
    const auto isReady = [this] { return !display().empty() && !socket("sway-ipc").empty(); };
    if (!eventually(isReady, std::chrono::seconds(30))) {
        throw std::runtime_error("no compositor");
    }
}

std::string Compositor::socket(const std::string& prefix) const {
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder.path() / "run")) {
        if (entry.is_socket() && entry.path().filename().string().starts_with(prefix)) {
            return entry.path().string();
        }
    }
    return {};
}

std::string Compositor::display() const {
    return socket("wayland-");
}

std::optional<Compositor::Window> Compositor::window(const std::string& application) const {
    Process question({.argv = {"swaymsg", "--socket", socket("sway-ipc"), "--raw", "--type", "get_tree"}});
    const QByteArray tree = QByteArray::fromStdString(question.readAll());
    if (question.wait() != 0) {
        throw std::runtime_error("the compositor does not answer");
    }
    return find(QJsonDocument::fromJson(tree).object(), QString::fromStdString(application));
}

} // namespace VintrelTests
