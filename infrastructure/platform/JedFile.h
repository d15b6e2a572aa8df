// Fuse files of the Lattice tool chain (JEDEC standard JESD3-C, as that tool chain writes it).
//
//   STX "*" | "NOTE ..." | "QF" fuse count | "L" address, rows of 128 fuses, "*" | "C" fuse
//   checksum | "E" feature row, feature bits | "U" user code | ETX file checksum
#pragma once

#include <cstdint>
#include <cstdio>

/// Reads a fuse file and returns the size of its fuse rows, in bytes. Unless `quiet`, what the file
/// says about itself goes to stdout. With `quiet` it only reads up to the first "L" and returns an
/// eighth of the fuse count. Lines end in LF or CR LF; of longer lines only the first 139
/// characters are read.
///
/// Otherwise returns, with a line on stderr where stated: -1 no STX at the start (line), -2 no "*"
/// after it, -3 a file checksum that is not a number, -4 a line that begins with another character
/// (line), -5 the file ends within a section, -6 a "C", "QF" or "L" without a number.
int64_t parseJedFile(std::FILE* stream, bool quiet);
