// Engines that do not answer, and that are not there: nothing hangs, and nothing is left running.
#include "VintrelCore/base/File.h"
#include "VintrelCore/base/FileDescriptor.h"
#include "VintrelCore/docker/DockerService.h"
#include "tests/support/Process.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace VintrelCore::DockerService {

using namespace std::chrono_literals;
using VintrelTests::eventually;
using VintrelTests::ScopedEnvironment;
using VintrelTests::TemporaryFolder;

namespace fs = std::filesystem;

namespace {

using Clock = std::chrono::steady_clock;

/// A unix socket that somebody listens on.
FileDescriptor listenOn(const fs::path& path) {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof address.sun_path - 1);
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(socket.get(), 16) != 0) {
        throw std::runtime_error("no socket at " + path.string());
    }
    return socket;
}

/// Accepts whoever comes, says its piece and then nothing more.
class SilentEngine {
public:
    SilentEngine(const fs::path& path, std::string piece)
        : m_socket(listenOn(path)), m_piece(std::move(piece)) {
        m_thread = std::jthread([this](const std::stop_token& stop) {
            while (!stop.stop_requested()) {
                pollfd waiting{.fd = m_socket.get(), .events = POLLIN, .revents = 0};
                if (::poll(&waiting, 1, 20) == 1) {
                    const int client = ::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC);
                    m_clients.emplace_back(client);
                    ++m_accepted;
                    static_cast<void>(::send(client, m_piece.data(), m_piece.size(), MSG_NOSIGNAL));
                }
            }
        });
    }

    [[nodiscard]] int accepted() const { return m_accepted; }

private:
    FileDescriptor m_socket;
    std::string m_piece;
    std::vector<FileDescriptor> m_clients; // the thread's
    std::atomic<int> m_accepted = 0;
    std::jthread m_thread;
};

/// Processes that were started with `text` in their environment, this one aside.
std::vector<std::string> processesWithInEnvironment(const std::string& text) {
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
        const auto environment = File::readKernelFile(entry.path() / "environ", size_t{1} << 22);
        if (environment && environment->find(text) != std::string::npos &&
            entry.path().filename() != std::to_string(::getpid())) {
            found.push_back(entry.path().filename());
        }
    }
    return found;
}

class UnreachableEngineTest : public testing::Test {
protected:
    [[nodiscard]] fs::path socket() const { return m_folder.path() / "engine.sock"; }

    void expectNoClients() const {
        EXPECT_EQ(processesWithInEnvironment(socket()), std::vector<std::string>{});
    }

    /// Asks everything at the same time; how long it took.
    static Clock::duration askEverything() {
        const auto start = Clock::now();
        auto containers = std::async(std::launch::async, listContainers, -1);
        auto owners = std::async(std::launch::async, [] { return containerOwners(); });
        auto stats = std::async(std::launch::async, containerStats, -1);
        EXPECT_TRUE(containers.get().empty());
        EXPECT_TRUE(owners.get().empty());
        EXPECT_TRUE(stats.get().empty());
        return Clock::now() - start;
    }

    void SetUp() override { ASSERT_TRUE(isInstalled()); }

private:
    TemporaryFolder m_folder;
    ScopedEnvironment m_host{"DOCKER_HOST", "unix://" + socket().string()};
    ScopedEnvironment m_noContext{"DOCKER_CONTEXT", std::nullopt};
};

} // namespace

TEST_F(UnreachableEngineTest, oneThatAcceptsAndNeverAnswersCostsTheDeadline) {
    const SilentEngine engine(socket(), "");
    auto watch = std::async(std::launch::async, [this, &engine] {
        return eventually(
            [&] { return engine.accepted() > 0 && !processesWithInEnvironment(socket()).empty(); });
    });
    const auto took = askEverything();
    EXPECT_TRUE(watch.get()) << "clients were there";
    EXPECT_GE(engine.accepted(), 3);
    EXPECT_GE(took, 9s);
    EXPECT_LT(took, 15s);
    expectNoClients();
}

TEST_F(UnreachableEngineTest, oneThatStopsInTheMiddleOfItsAnswerCostsTheDeadline) {
    const SilentEngine engine(
        socket(), "HTTP/1.1 200 OK\r\nApi-Version: 1.41\r\nContent-Length: 4000\r\n\r\n[{\"Id\": \"4");
    const auto took = askEverything();
    EXPECT_GE(engine.accepted(), 3);
    EXPECT_LT(took, 15s);
    expectNoClients();
}

TEST_F(UnreachableEngineTest, anInterruptCutsTheWaitShort) {
    const SilentEngine engine(socket(), "");
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const FileDescriptor interrupt(ends[0]);
    const FileDescriptor whoeverInterrupts(ends[1]);
    auto owners = std::async(std::launch::async, [&] { return containerOwners(interrupt.get()); });
    auto result = std::async(std::launch::async, [&] { return run({"ps", "-q"}, interrupt.get()); });
    ASSERT_TRUE(eventually([&engine] { return engine.accepted() >= 2; }));

    const auto start = Clock::now();
    ASSERT_EQ(::write(whoeverInterrupts.get(), "!", 1), 1);
    EXPECT_TRUE(owners.get().empty());
    EXPECT_FALSE(result.get().ok);
    EXPECT_LT(Clock::now() - start, 3s);
    expectNoClients();
}

TEST_F(UnreachableEngineTest, oneThatIsNotThereCostsNothing) {
    ASSERT_FALSE(fs::exists(socket()));
    EXPECT_LT(askEverything(), 5s);
    EXPECT_FALSE(run({"ps", "-q"}).ok);
    EXPECT_TRUE(removeContainer("web-1").empty());
    expectNoClients();
}

TEST_F(UnreachableEngineTest, oneThatLeftItsSocketBehindCostsNothing) {
    listenOn(socket()).close();
    ASSERT_TRUE(fs::exists(socket()));
    EXPECT_LT(askEverything(), 5s);
    expectNoClients();
}

TEST_F(UnreachableEngineTest, oneThatAnswersNonsenseCostsNothing) {
    const SilentEngine engine(socket(), "SSH-2.0-OpenSSH_9.2\r\n\r\n");
    EXPECT_LT(askEverything(), 5s);
    EXPECT_GE(engine.accepted(), 3);
    expectNoClients();
}

} // namespace VintrelCore::DockerService
