#include "cli/Scanning.h"

#include "cli/Interrupt.h"
#include "cli/Output.h"

bool isUsable(const VintrelCore::CLIScan::Result& scan) {
    if (scan.psFailed) {
        Output::complain("ps could not be run: no processes are known");
        return false;
    }
    if (scan.lsofFailed) {
        Output::complain("lsof could not be run: projects and ports are unknown");
    }
    return true;
}

void interruptibly(const std::function<void(int interrupt)>& action) {
    {
        const Interrupt interrupt;
        action(interrupt.descriptor());
    }
    Interrupt::endProgramIfOneCame(); // only now that no more can be swallowed
}
