#include "tests/support/Stray.h"

#include "VintrelCore/context/PortRegistry.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace VintrelTests {

namespace {

ProcessOptions starterOf(const StrayOptions& options) {
    const std::filesystem::path program = options.program.empty() ? VINTREL_TEST_STRAY : options.program;
    if (!std::filesystem::exists(program)) {
        std::filesystem::copy_file(VINTREL_TEST_STRAY, program);
    }
    std::vector<std::string> argv{program.string(), "--cwd", options.cwd.string()};
    const auto add = [&argv](bool wanted, std::initializer_list<std::string> words) {
        if (wanted) {
            argv.insert(argv.end(), words);
        }
    };
    add(options.port != 0, {"--port", std::to_string(options.port)});
    add(options.adopter, {"--adopter"});
    add(options.leader, {"--leader"});
    add(options.zombie, {"--zombie"});
    add(options.ignoresTerm, {"--ignores-term"});
    add(options.hostsTerminal, {"--hosts-terminal"});
    add(options.secretive, {"--secretive"});
    add(!options.terminal.empty(), {"--terminal", options.terminal});
    argv.emplace_back("--");
    argv.insert(argv.end(), options.argv.begin(), options.argv.end());
    return {.argv = argv};
}

/// The number of the port when it (or, for 0, any) could be taken for a moment.
std::optional<int> boundPort(int port) {
    const VintrelCore::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(socket.get(), generic, length) != 0 || ::getsockname(socket.get(), generic, &length) != 0) {
        return std::nullopt;
    }
    return ntohs(address.sin_port);
}

std::string onlyChildOf(const std::string& pid) {
    std::string child;
    std::ifstream("/proc/" + pid + "/task/" + pid + "/children") >> child;
    return child;
}

} // namespace

Stray::Stray(const StrayOptions& options) : m_starter(starterOf(options)) {
    const std::string pid = m_starter.readLine();
    if (pid.empty()) {
        throw std::runtime_error("the stray did not start: " + m_starter.readAll());
    }
    for (std::string next = pid; !next.empty(); next = onlyChildOf(next)) {
        m_tree.emplace_back(std::stoi(next));
    }
    // A scan lists nobody who may have started after it did, and the kernel counts starts in ticks.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

std::vector<int32_t> Stray::pids() const {
    std::vector<int32_t> pids;
    std::ranges::transform(m_tree, std::back_inserter(pids), &Ended::pid);
    return pids;
}

int freePort() {
    return boundPort(0).value();
}

int freeRegisteredPort() {
    for (const int port : VintrelCore::PortRegistry::registeredPorts) {
        if (boundPort(port)) {
            return port;
        }
    }
    throw std::runtime_error("no development port is free");
}

void letStraysAge() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1'100));
}

} // namespace VintrelTests
