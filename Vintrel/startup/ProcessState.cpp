#include "Vintrel/startup/ProcessState.h"

#include "VintrelCore/platform/Platform.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

void prepareProcess() {
    int opened = 0;
    while (opened >= 0 && opened <= STDERR_FILENO) { // fills closed standard descriptors, lowest first
        opened = ::open("/dev/null", O_RDWR);
    }
    if (opened > STDERR_FILENO) {
        ::close(opened);
    }
    ::signal(SIGCHLD, SIG_DFL); // ignored, it would lose the exit status of every tool
    ::signal(SIGXFSZ,
             SIG_IGN); // a file that may not grow is a failure to write it, not the end of the program
    VintrelCore::Platform::limitDescriptors();
}
