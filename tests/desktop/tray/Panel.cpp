#include "tests/desktop/tray/Panel.h"

#include <chrono>
#include <stdexcept>
#include <utility>

#include <signal.h>

namespace VintrelTests {

namespace {

constexpr const char* xfceSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
 <property name="configver" type="int" value="2"/>
 <property name="panels" type="array"><value type="int" value="1"/>
  <property name="panel-1" type="empty">
   <property name="position" type="string" value="p=6;x=0;y=0"/>
   <property name="length" type="uint" value="100"/>
   <property name="position-locked" type="bool" value="true"/>
   <property name="size" type="uint" value="28"/>
   <property name="plugin-ids" type="array"><value type="int" value="1"/><value type="int" value="2"/></property>
  </property></property>
 <property name="plugins" type="empty">
  <property name="plugin-1" type="string" value="separator">
   <property name="expand" type="bool" value="true"/>
  </property>
  <property name="plugin-2" type="string" value="systray"/>
 </property>
</channel>
)";

constexpr const char* lxqtSettings = R"(panels=panel1
[panel1]
plugins=spacer, statusnotifier
position=Bottom
desktop=0
[spacer]
type=spacer
alignment=Left
expandable=true
[statusnotifier]
type=statusnotifier
alignment=Right
)";

constexpr const char* waybarSettings =
    R"({"position": "top", "height": 30, "modules-right": ["tray"], "tray": {"icon-size": 22}})";

constexpr const char* waybarStyle = "* { margin: 0 4px; }";

} // namespace

Panel::Panel(PanelKind kind, SessionBus& bus, std::map<std::string, std::string> environment)
    : m_kind(kind), m_bus(bus), m_environment(std::move(environment)) {
    const std::string settings = m_folder.makeFolder("config").string();
    m_environment["XDG_CONFIG_HOME"] = settings;
    if (kind == PanelKind::xfce) {
        m_folder.write("config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml", xfceSettings);
        std::string command = "/usr/bin/env";
        for (const auto& [name, value] : m_environment) {
            command += " " + name + "=" + value;
        }
        bus.startOnDemand("org.xfce.Xfconf", command + " /usr/lib/x86_64-linux-gnu/xfce4/xfconf/xfconfd");
    } else if (kind == PanelKind::lxqt) {
        m_folder.write("config/lxqt/panel.conf", lxqtSettings);
    } else if (kind == PanelKind::waybar) {
        m_folder.write("config/waybar/config", waybarSettings);
        m_folder.write("config/waybar/style.css", waybarStyle);
        m_environment["GDK_BACKEND"] = "wayland";
    }
}

std::vector<std::string> Panel::command() const {
    switch (m_kind) {
    case PanelKind::xfce:
        return {"xfce4-panel", "--disable-wm-check"};
    case PanelKind::lxqt:
        return {"lxqt-panel"};
    case PanelKind::waybar:
        return {"waybar"};
    case PanelKind::trayer:
        break;
    }
    return {"trayer", "--edge", "bottom", "--align", "right", "--widthtype", "request", "--height", "24"};
}

bool Panel::isReady() const {
    return m_kind == PanelKind::trayer || m_bus.isOffered("org.kde.StatusNotifierWatcher");
}

void Panel::start() {
    m_process.emplace(ProcessOptions{
        .argv = command(), .environment = m_environment, .output = m_folder.path() / "panel.log"});
    if (!eventually([this] { return isReady(); }, std::chrono::seconds(30))) {
        throw std::runtime_error("no tray");
    }
}

void Panel::crash() {
    m_process->signal(SIGKILL);
    m_process->wait();
    m_process.reset();
}

} // namespace VintrelTests
