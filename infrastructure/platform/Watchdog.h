// The hardware watchdog (Linux watchdog driver API). One thread.
#pragma once

/// Opens the watchdog, which starts counting, and sets its time-out; if it is already open, only
/// sets the time-out. Aborts the process if the watchdog can't be opened. A time-out that is
/// refused is reported on stderr.
void watchdogOpen(int timeoutSeconds);
/// Restarts the time-out. Aborts the process if the watchdog is not open.
void watchdogKick();
/// Closes the watchdog without the disarming letter, so that a driver that requires it goes on
/// counting. Aborts the process if the watchdog is not open.
void watchdogClose();
