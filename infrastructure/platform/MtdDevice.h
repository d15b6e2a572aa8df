// Flash partitions: finding, erasing and writing them (Linux MTD character devices). One erase or
// copy at a time in the process, since they share the state of the progress display.
#pragma once

#include <fcntl.h>
#include <mtd/mtd-user.h>

#include <cstdint>
#include <string>
#include <string_view>

/// What erase and copy write to stdout and stderr: their messages, and the percentage done.
enum MtdOutput : unsigned {
    MtdOutput_None = 0,
    MtdOutput_Messages = 1,
    MtdOutput_Percentage = 2,
    MtdOutput_All = 3,
};

/// The name of the partition with the identity block.
constexpr const char* FPGA_MTD_IDENT = "ident";
/// An mtdErase size for the whole partition.
constexpr int64_t MTD_WHOLE_PARTITION = -1;

/// Sets what is written from now on, all of it to begin with, and returns what was.
unsigned mtdSetOutput(unsigned output);

/// Opens a flash device and, if `info` is not null, asks it for its sizes and prints them. The
/// descriptor, or -1.
int mtdOpen(const std::string& path, mtd_info_user* info, int openFlags = O_RDWR);

/// Erases `sizeBytes` from `offset`, which is moved down to the start of an erase block, rounded up
/// to whole blocks; a size of -1 or -2 erases the whole partition. 0; -2 if the device can't be
/// opened, -1 if it refuses a block, for instance one behind its end, where it stops.
int mtdErase(const std::string& path, int64_t offset, int64_t sizeBytes);

/// Copies from a file or device to a file or device, `sizeBytes` or, for 0, all of the source. A
/// device is erased first, and read back block by block. A file keeps what it holds behind the
/// copy. Nothing is copied onto itself, under whatever name. `output` is of MtdOutput, and holds
/// for this call. 0, or -1 if anything failed.
int mtdCopy(const std::string& source, const std::string& destination, int64_t sizeBytes,
            unsigned output = MtdOutput_All);

/// The device of a partition by the name that /proc/mtd gives it: "ident" => "mtd3"; the empty text
/// for none.
std::string mtdFindDevice(const std::string& partitionName);
/// The same in a text of the form of /proc/mtd. The first of two with one name counts; a line that
/// has not exactly 4 tokens, such as one whose name holds a blank, is reported and skipped.
std::string mtdFindDeviceIn(std::string_view procMtd, std::string_view partitionName);

/// Opens the partition FPGA_MTD_IDENT for reading; -1 where there is none.
int mtdOpenIdent();
