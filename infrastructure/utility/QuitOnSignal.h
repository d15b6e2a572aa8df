// Ends the event loop on Ctrl-C and on termination signals, so that destructors run.
#pragma once

/// From now on SIGINT and SIGTERM end the application's event loop with this value. Call it once,
/// from the main thread, after the application object has been made.
void quitOnSignal(int exitValue = 0);
