// The runner behind the host and behind CTest.
#pragma once

/// Holds SIGINT and SIGTERM back from the process from here on, so that the cases can end in order:
/// the first of them has runCases stop, a second one ends the process at once. Call it first in
/// main, before there is a thread.
void stopCasesOnSignal();

/// Runs the cases that Catch's command line asks for, and returns the runner's result. After a
/// signal the section at work is finished, nothing else begins, and the report is written whole.
int runCases(int argc, char** argv);

/// 128 and the number of the signal that came, or else `exitValue`.
int exitValueAfterSignal(int exitValue);
