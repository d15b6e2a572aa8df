#include "infrastructure/platform/Watchdog.h"

#include "infrastructure/platform/Machine_p.h"

#include <fcntl.h>
#include <linux/watchdog.h>

#include <utility>

using Tessorn::Machine;

namespace {

/// The machine if its watchdog is open; otherwise ends the process.
Machine& machineWithWatchdog()
{
    Machine& machine = Machine::current();
    if (machine.watchdogDescriptor < 0) {
        machine.printError("Watchdog device not open\n");
        machine.abortProcess();
    }
    return machine;
}

} // namespace

void watchdogOpen(int timeoutSeconds)
{
    Machine& machine = Machine::current();
    if (machine.watchdogDescriptor < 0) {
        machine.watchdogDescriptor = machine.open("/dev/watchdog", O_WRONLY);
    }
    if (machine.watchdogDescriptor < 0) {
        machine.printSystemError("Couldn't open the watchdog at /dev/watchdog: \n");
        machine.abortProcess();
    }
    if (machine.ioctl(machine.watchdogDescriptor, WDIOC_SETTIMEOUT, &timeoutSeconds) < 0) {
        machine.printSystemError("/dev/watchdog: time-out");
    }
}

void watchdogKick()
{
    Machine& machine = machineWithWatchdog();
    int unused = 0;
    if (machine.ioctl(machine.watchdogDescriptor, WDIOC_KEEPALIVE, &unused) < 0) {
        machine.printSystemError("/dev/watchdog: keep alive");
    }
}

void watchdogClose()
{
    Machine& machine = machineWithWatchdog();
    machine.close(std::exchange(machine.watchdogDescriptor, -1));
}
