// Prints the header of an FPGA image of the Xilinx tool chain (.bit file); BitHeader holds it.
//
//   length 9, 9 bytes | length 1 | 'a' length design\0 | 'b' length device\0 |
//   'c' length date\0 | 'd' length time\0 | 'e' 32-bit length | bit stream
//   lengths have 16 bits unless stated; integers are big-endian
#pragma once

#include <cstdint>
#include <cstdio>

/// Reads a header and returns the size of the bit stream after it, in bytes. With `verbose` its
/// texts go to stdout, and the design text is split up:
///
///     n;COMPRESS=TRUE;UserID=0X81020304;Version=2019.1
///         => design: n / version: 258-3.4(dev) / vivado: 2019.1
///
/// Otherwise returns the number of the first check that failed: -1 no length 9, -2 its bytes cut
/// short, -3 no length 1, -4 no tag a, -5 design cut short, -10 no tag b, -11 device cut short, -12
/// no tag c, -13 date of 16 bytes or more, -14 date cut short, -15 no tag d, -16 time of 16 bytes
/// or more, -17 time cut short, -18 no tag e or its length cut short. With `verbose` also, for the
/// design text: -6 only one part, -19 an optional part with nothing after it, -7 no user id, -8
/// nothing after it, -9 no version.
int64_t parseBitFile(std::FILE* stream, bool verbose);
