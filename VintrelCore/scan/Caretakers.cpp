#include "VintrelCore/scan/Caretakers.h"

#include "VintrelCore/base/Path.h"
#include "VintrelCore/base/Text.h"

#include <algorithm>
#include <array>

namespace VintrelCore::Caretakers {

namespace {

std::string_view firstWord(std::string_view command) {
    return Text::takeWord(command);
}

bool hasWord(std::string_view command, std::string_view wanted) {
    for (std::string_view word = Text::takeWord(command); !word.empty(); word = Text::takeWord(command)) {
        if (word == wanted) {
            return true;
        }
    }
    return false;
}

} // namespace

bool isAdopter(int32_t pid, std::string_view command) {
    const std::string_view word = firstWord(command);
    const std::string_view program = Path::lastComponent(word);
    const bool isWindowsRelay = word.starts_with("Relay(") && word.ends_with(')'); // as is /init: of WSL
    return pid == 1 || (program == "systemd" && hasWord(command, "--user")) || word == "/init" ||
           isWindowsRelay || program == "lxqt-session" || program == "dinit";
}

std::string_view programOf(std::string_view command) {
    std::string_view program = Path::lastComponent(firstWord(command));
    if (program.ends_with(':')) {
        program.remove_suffix(1);
    }
    return program;
}

std::string_view hostProgram(std::string_view command) {
    // screen calls itself SCREEN once it has become the server.
    constexpr auto hosts = std::to_array<std::string_view>(
        {"tmux", "screen", "SCREEN", "zellij", "abduco", "dtach", "conmon", "dockerd", "rootlesskit"});
    const std::string_view program = programOf(command);
    if (std::ranges::find(hosts, program) != hosts.end() || program.starts_with("containerd")) {
        return program;
    }
    for (const std::string_view server : {".vscode-server", ".cursor-server"}) {
        if (command.contains(server)) {
            return server.substr(1);
        }
    }
    return {};
}

bool isSystemsFirst(std::string_view command) {
    constexpr auto names =
        std::to_array<std::string_view>({"systemd", "init", "runit", "openrc-init", "s6-svscan", "launchd"});
    const std::string_view program = programOf(command);
    return std::ranges::find(names, program) != names.end() ||
           (program == "busybox" && hasWord(command, "init")) || isAdopter(0, command);
}

} // namespace VintrelCore::Caretakers
