// Ends the event loop on Ctrl-C and on termination, so that destructors run.
#pragma once

/// Has SIGINT and SIGTERM quit the application that runs. Call it once, from the main thread, when
/// the application exists.
void quitOnSignal();
