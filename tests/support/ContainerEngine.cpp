#include "tests/support/ContainerEngine.h"

#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/platform/Platform.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VintrelTests {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr size_t longestCommandLine = size_t{1} << 20;

/// The engine lives in a mount namespace of its own, so that its mounts vanish with it, and its fixed folders
/// are nobody else's.
constexpr std::string_view startEngine = R"(
mount -t tmpfs tmpfs /run || exit
if [ -d /etc/docker ]; then mount -t tmpfs tmpfs /etc/docker || exit; fi
exec dockerd "$@"
)";

std::string clientPath() {
    for (const std::string_view candidate : VintrelCore::Platform::dockerCandidates()) {
        if (::access(std::string(candidate).c_str(), X_OK) == 0) {
            return std::string(candidate);
        }
    }
    throw std::runtime_error("there is no client of a container engine");
}

std::string trimmed(const std::string& text) {
    const size_t end = text.find_last_not_of(" \t\n");
    return end == std::string::npos ? "" : text.substr(0, end + 1);
}

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> found;
    for (size_t end = 0, start = 0; start < text.size(); start = end + 1) {
        end = std::min(text.find('\n', start), text.size());
        if (end > start) {
            found.push_back(text.substr(start, end - start));
        }
    }
    return found;
}

bool hasEnded(int32_t child) {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == child;
}

} // namespace

ContainerEngine::ContainerEngine() {
    const std::string folder = m_folder.path().string();
    // Settings and folders of this machine's own engine, if it has one, are none of its business.
    m_folder.write("engine.json", "{}");
    m_engine.emplace(ProcessOptions{
        .argv = {"unshare", "--mount", "setpriv", "--pdeathsig", "TERM", "sh", "-c", std::string(startEngine),
                 "sh", "--config-file=" + folder + "/engine.json", "--data-root=" + folder + "/data",
                 "--exec-root=" + folder + "/exec", "--pidfile=" + folder + "/engine.pid", "--host=" + host(),
                 "--storage-driver=vfs", "--bridge=none", "--iptables=false", "--ip6tables=false"},
        .newSession = true,
        .output = m_folder.path() / "engine.log"});
    if (!eventually([this] { return answers() || hasEnded(m_engine->pid()); }, 30s) || !answers()) {
        const auto log = VintrelCore::File::read(folder + "/engine.log", size_t{1} << 20);
        endEngine();
        throw std::runtime_error("the container engine did not start: " + log.value_or(""));
    }
    try {
        importImage();
    } catch (...) {
        endEngine();
        throw;
    }
}

ContainerEngine::~ContainerEngine() {
    std::vector<std::string> arguments = words(docker({"ps", "--all", "--quiet"}));
    if (!arguments.empty()) {
        arguments.insert(arguments.begin(), {"rm", "--force"});
        docker(arguments);
    }
    endEngine();
}

/// Asks the engine to end, and forces what is still there after that.
void ContainerEngine::endEngine() {
    m_engine->signal(SIGTERM);
    eventually([this] { return hasEnded(m_engine->pid()); }, 20s);
    m_engine.reset();
    m_firstProcesses.clear();
    const auto left = [this] { return engineProcessesNaming(folder()); };
    if (!eventually([&left] { return left().empty(); }, 5s)) {
        for (const int32_t pid : left()) {
            ::kill(pid, SIGKILL);
        }
        eventually([&left] { return left().empty(); }, 5s);
    }
}

std::string ContainerEngine::host() const {
    return "unix://" + (folder() / "engine.sock").string();
}

bool ContainerEngine::answers() const {
    const VintrelCore::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder() / "engine.sock").string().copy(address.sun_path, sizeof address.sun_path - 1);
    return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

void ContainerEngine::importImage() {
    const fs::path tree = m_folder.makeFolder("tree/bin").parent_path();
    fs::copy_file("/bin/busybox", tree / "bin/busybox");
    for (const char* const tool : {"sh", "sleep", "true", "cat", "httpd"}) {
        fs::create_symlink("busybox", tree / "bin" / tool);
    }
    const std::string archive = (folder() / "tree.tar").string();
    if (Process({.argv = {"tar", "-C", tree.string(), "-cf", archive, "."}}).wait() != 0 ||
        !docker({"import", archive, std::string(image)}).starts_with("sha256:")) {
        throw std::runtime_error("no image for containers");
    }
    fs::remove_all(tree);
    fs::remove(archive);
}

std::string ContainerEngine::docker(const std::vector<std::string>& args) {
    std::vector<std::string> argv{clientPath(), "--host", host()};
    argv.insert(argv.end(), args.begin(), args.end());
    Process client({.argv = argv, .environment = {{"DOCKER_CONFIG", (folder() / "client").string()}}});
    client.closeInput();
    std::string output = client.readAll();
    client.wait();
    return output;
}

int32_t ContainerEngine::start(const std::string& name, const std::vector<std::string>& command,
                               const std::vector<std::string>& extraRunArguments) {
    std::vector<std::string> arguments{"run",    "--detach", "--network=none", "--stop-timeout=1",
                                       "--name", name};
    arguments.insert(arguments.end(), extraRunArguments.begin(), extraRunArguments.end());
    arguments.emplace_back(image);
    arguments.insert(arguments.end(), command.begin(), command.end());
    docker(arguments);

    const std::string answer = trimmed(docker({"inspect", "--format", "{{.State.Pid}}", name}));
    int32_t pid = 0;
    std::from_chars(answer.data(), answer.data() + answer.size(), pid);
    if (pid <= 0) {
        throw std::runtime_error("the container " + name + " does not run: " + docker({"logs", name}));
    }
    m_firstProcesses.emplace_back(pid);
    return pid;
}

std::vector<int32_t> engineProcessesNaming(const fs::path& folder) {
    std::vector<int32_t> pids;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        int32_t pid = 0;
        if (std::from_chars(name.data(), name.data() + name.size(), pid).ptr != name.data() + name.size()) {
            continue;
        }
        const auto line = VintrelCore::File::readKernelFile(entry.path() / "cmdline", longestCommandLine);
        const std::string program = line ? fs::path(line->c_str()).filename().string() : "";
        if ((program.starts_with("containerd") || program == "dockerd") &&
            line->find(folder.string()) != std::string::npos) {
            pids.push_back(pid);
        }
    }
    return pids;
}

} // namespace VintrelTests
