#include "infrastructure/platform/Watchdog.h"

#include "infrastructure/platform/BoardState_p.h"
#include "infrastructure/platform/Machine_p.h"

#include <fcntl.h>
#include <linux/watchdog.h>

#include <utility>

using Tessorn::BoardState;
using Tessorn::Machine;

namespace {

/// The descriptor of the open watchdog; if there is none, ends the process.
int& openWatchdog()
{
    int& descriptor = BoardState::current().watchdogDescriptor;
    if (descriptor < 0) {
        Machine::current().printError("Watchdog device not open\n");
        Machine::current().abortProcess();
    }
    return descriptor;
}

} // namespace

void watchdogOpen(int timeoutSeconds)
{
    Machine& machine = Machine::current();
    int& descriptor = BoardState::current().watchdogDescriptor;
    if (descriptor < 0) {
        descriptor = machine.open("/dev/watchdog", O_WRONLY);
    }
    if (descriptor < 0) {
        machine.printSystemError("Couldn't open the watchdog at /dev/watchdog: \n");
        machine.abortProcess();
    }
    if (machine.ioctl(descriptor, WDIOC_SETTIMEOUT, &timeoutSeconds) < 0) {
        machine.printSystemError("/dev/watchdog: time-out");
    }
}

void watchdogKick()
{
    int unused = 0;
    if (Machine::current().ioctl(openWatchdog(), WDIOC_KEEPALIVE, &unused) < 0) {
        Machine::current().printSystemError("/dev/watchdog: keep alive");
    }
}

void watchdogClose()
{
    Machine::current().close(std::exchange(openWatchdog(), -1));
}
