#include "cli/Scanning.h"

#include "Vintrel/startup/Interrupt.h"
#include "cli/Output.h"

bool isUsable(const VintrelCore::CLIScan::Result& scan) {
    const auto complaint = complaintAboutTable(scan.faults);
    if (complaint) {
        Output::complain(*complaint);
    } else if (const auto lesser = complaintAboutDetails(scan.faults)) {
        Output::complain(*lesser);
    }
    return !complaint;
}

void interruptibly(const std::function<void(int interrupt)>& action) {
    {
        const Interrupt interrupt;
        action(interrupt.descriptor());
    }
    Interrupt::endProgramIfOneCame(); // only now that no more can be swallowed
}
