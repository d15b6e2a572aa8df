// Many big-endian numbers at once.
#pragma once

#include <QtGlobal>

#include <cstddef>

/// Copies `count` numbers of `bytesEach` bytes (1, 2, 4 or 8; of any other size nothing) from
/// big-endian to this machine's byte order, or back, which is the same. Neither side need be
/// aligned; the two must not overlap.
void copyBigEndianRun(const void* from, void* to, std::size_t count, std::size_t bytesEach);
