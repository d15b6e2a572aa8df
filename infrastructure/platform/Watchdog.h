// The hardware watchdog (Linux watchdog driver API). One thread.
#pragma once

/// Opens the watchdog, which begins to count, and sets its time-out; where it is open already, sets
/// the time-out. A watchdog that can't be opened aborts the process; a time-out that is refused is
/// reported on stderr.
void watchdogOpen(int timeoutSeconds);
/// Begins the time-out anew. Aborts the process if the watchdog is not open.
void watchdogKick();
/// Closes the watchdog without the disarming letter, so that a driver which asks for it goes on
/// counting. Aborts the process if the watchdog is not open.
void watchdogClose();
