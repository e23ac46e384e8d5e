#include "VintrelCore/context/Lsof.h"

#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <utility>

#include <unistd.h>

namespace VintrelCore::Lsof {

namespace {

constexpr std::chrono::seconds deadline{10};

}

std::string path() {
    const auto places = Platform::lsofCandidates();
    const auto isThere = [](std::string_view place) {
        return ::access(std::string(place).c_str(), X_OK) == 0;
    };
    const auto found = std::ranges::find_if(places, isThere);
    return std::string(found != places.end() ? *found : places.front());
}

Query::Query(std::vector<std::string> arguments, const std::string& lsof)
    : m_command{.executable = lsof, .arguments = std::move(arguments), .deadline = deadline},
      m_run(m_command) {}

Answer Query::finish(int interrupt) {
    const std::array<Shell::Run*, 1> runs{&m_run};
    Shell::await(runs, nullptr, interrupt);
    Shell::Outcome outcome = m_run.take();
    const bool hung = outcome.deadlineMissed && !outcome.interrupted;
    if (hung) {
        Shell::Command careful = m_command;
        careful.arguments.insert(careful.arguments.begin(), {"-b", "-w"});
        outcome = Shell::runToOutcome(careful, interrupt);
    }
    const Shell::Fault fault = outcome.fault();
    return {.output = std::move(outcome.output),
            .fault = fault,
            .metDeadMount = hung,
            .interrupted = outcome.interrupted};
}

std::string list(std::span<const int32_t> pids) {
    std::string list;
    for (const int32_t pid : pids) {
        list += (list.empty() ? "" : ",") + std::to_string(pid);
    }
    return list;
}

std::string unescaped(std::string_view name) {
    constexpr std::string_view letters = "\\bfnrt";
    constexpr std::string_view meanings = "\\\b\f\n\r\t";
    std::string plain;
    for (size_t index = 0; index < name.size(); ++index) {
        const std::string_view rest = name.substr(index + 1);
        if (name[index] != '\\' || rest.empty()) {
            plain += name[index];
            continue;
        }
        unsigned value = 0;
        const char* const digits = rest.data() + 1;
        const bool isHex = rest.size() >= 3 && rest.front() == 'x' &&
                           std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2;
        const auto letter = letters.find(rest.front());
        if (isHex) {
            plain += static_cast<char>(value);
            index += 3;
        } else if (letter != std::string_view::npos) {
            plain += meanings[letter];
            ++index;
        } else {
            plain += name[index];
        }
    }
    return plain;
}

Answer ask(std::vector<std::string> arguments) {
    return Query(std::move(arguments)).finish();
}

} // namespace VintrelCore::Lsof
