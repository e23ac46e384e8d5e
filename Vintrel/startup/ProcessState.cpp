#include "Vintrel/startup/ProcessState.h"

#include "VintrelCore/platform/Platform.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

void prepareProcess() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) < 0) { // closed; open() takes the lowest one that is free
            // Read-only for standard output: output that was meant for a closed one must fail, not vanish.
            static_cast<void>(::open("/dev/null", descriptor == STDOUT_FILENO ? O_RDONLY : O_RDWR));
        }
    }
    ::signal(SIGCHLD, SIG_DFL); // ignored, it would lose the exit status of every tool
    ::signal(SIGXFSZ,
             SIG_IGN); // a file that may not grow is a failure to write it, not the end of the program
    VintrelCore::Platform::limitDescriptors();
}
