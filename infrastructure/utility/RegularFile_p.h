// Opening files whose path comes from outside.
#pragma once

/// Opens a regular file for reading and never waits: a pipe would have its opener wait for a
/// writer, and a device may act on being opened. The path is the system's, as for open(2). The
/// descriptor, which the caller closes, or -1 with errno: EINVAL for what is no regular file.
int openRegularFile(const char* path);
