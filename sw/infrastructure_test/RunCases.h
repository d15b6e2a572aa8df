// The runner used by the host and by CTest.
#pragma once

/// Holds back SIGINT and SIGTERM from here on, so that the cases can end in order: the first signal
/// makes runCases stop, a second one ends the process at once. Call it first in main, before there
/// is another thread.
void stopCasesOnSignal();

/// Runs the cases that Catch's command line selects, and returns the runner's result. After a
/// signal the current section is finished, nothing else is started, and the report is written in
/// full.
int runCases(int argc, char** argv);

/// 128 plus the number of the signal that arrived; otherwise `exitValue`.
int exitValueAfterSignal(int exitValue);
