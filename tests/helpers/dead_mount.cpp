// Runs a program beside a mount that never answers, both in a mount namespace of their own. Needs root.
//
//   dead_mount FOLDER PROGRAM [ARGUMENT...]
//
// Source of the interface: the kernel's documentation of FUSE. Nobody ever reads the requests.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 3 || ::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        std::perror("namespace");
        return 125;
    }
    const int requests = ::open("/dev/fuse", O_RDWR); // stays open as long as the program runs
    const std::string options =
        "fd=" + std::to_string(requests) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
    if (requests < 0 || ::mount("dead", argv[1], "fuse", 0, options.c_str()) != 0) {
        std::perror("mount");
        return 125;
    }
    ::execv(argv[2], argv + 2);
    std::perror("exec");
    return 125;
}
