// Ends the event loop on Ctrl-C and on termination, so that destructors run.
#pragma once

/// Has SIGINT and SIGTERM end the application's event loop with this value. Call it once, from the
/// main thread, when the application exists.
void quitOnSignal(int exitValue = 0);
