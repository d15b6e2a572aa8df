// Opens files whose path comes from outside.
#pragma once

/// Opens a regular file for reading and never waits: opening a pipe would wait for a writer, and a
/// device may act on being opened. The path is the system's, as for open(2). Returns a descriptor,
/// which the caller closes, or -1 with errno: EINVAL if it is not a regular file.
int openRegularFile(const char* path);
