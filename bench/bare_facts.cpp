// The least that a look at the processes can cost: it reads the files of /proc that a scan needs, and the
// kernel's dump of sockets, and makes nothing of them. For the candidates it reads more, as a scan does.
//
//     bare_facts PID,PID...       the candidates
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::array<char, size_t{256} << 10> buffer;

void readFile(int folder, const std::string& path) {
    const int file = ::openat(folder, path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file >= 0) {
        [[maybe_unused]] const ssize_t count = ::read(file, buffer.data(), buffer.size());
        ::close(file);
    }
}

void readLink(int folder, const std::string& path) {
    [[maybe_unused]] const ssize_t count = ::readlinkat(folder, path.c_str(), buffer.data(), buffer.size());
}

template <typename Action>
void forEachEntry(int folder, const char* path, Action action) {
    const int opened = ::openat(folder, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const entries = opened >= 0 ? ::fdopendir(opened) : nullptr;
    while (const dirent* const entry = entries != nullptr ? ::readdir(entries) : nullptr) {
        action(std::string(entry->d_name));
    }
    if (entries != nullptr) {
        ::closedir(entries);
    }
}

void readTable(int proc) {
    forEachEntry(proc, ".", [proc](const std::string& name) {
        if (name.front() >= '0' && name.front() <= '9') {
            readFile(proc, name + "/stat");
            readFile(proc, name + "/cmdline");
        }
    });
}

void readListeners() {
    constexpr uint32_t listening = 10;
    const int netlink = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    for (const uint8_t family : {uint8_t{AF_INET}, uint8_t{AF_INET6}}) {
        struct {
            nlmsghdr header;
            inet_diag_req_v2 request;
        } message{};

        message.header.nlmsg_len = sizeof message;
        message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
        message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        message.request.sdiag_family = family;
        message.request.sdiag_protocol = IPPROTO_TCP;
        message.request.idiag_states = 1U << listening;
        bool isDone = ::send(netlink, &message, sizeof message, 0) < 0;
        while (!isDone) {
            const ssize_t count = ::recv(netlink, buffer.data(), buffer.size(), 0);
            nlmsghdr last{};
            if (count >= static_cast<ssize_t>(sizeof last)) {
                std::memcpy(&last, buffer.data(), sizeof last);
            }
            isDone = count <= 0 || last.nlmsg_type == NLMSG_DONE || last.nlmsg_type == NLMSG_ERROR;
        }
    }
    ::close(netlink);
}

void readCandidate(int proc, const std::string& pid) {
    readFile(proc, pid + "/stat");
    readFile(proc, pid + "/cmdline");
    readFile(proc, pid + "/status");
    readFile(proc, pid + "/cgroup");
    readLink(proc, pid + "/exe");
    readLink(proc, pid + "/cwd");
    const int process = ::openat(proc, pid.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    forEachEntry(process, "fd", [process](const std::string& name) { readLink(process, "fd/" + name); });
    ::close(process);
}

} // namespace

int main(int argc, char** argv) {
    const int proc = ::open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    readTable(proc);
    readListeners();
    std::string_view pids = argc > 1 ? argv[1] : "";
    while (!pids.empty()) {
        const size_t end = std::min(pids.find(','), pids.size());
        readCandidate(proc, std::string(pids.substr(0, end)));
        pids.remove_prefix(std::min(end + 1, pids.size()));
    }
    return EXIT_SUCCESS;
}
