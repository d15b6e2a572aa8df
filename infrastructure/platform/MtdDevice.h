// Flash partitions: finding, erasing and writing them (Linux MTD character devices). Any thread;
// two calls must not write the same partition. FirmwareUpdate is what a power cut can't harm.
#pragma once

#include <fcntl.h>
#include <mtd/mtd-user.h>

#include <cstdint>
#include <string>
#include <string_view>

/// What erase and copy print on stdout and stderr: messages, and the percentage done.
enum MtdOutput : unsigned {
    MtdOutput_None = 0,
    MtdOutput_Messages = 1,
    MtdOutput_Percentage = 2,
    MtdOutput_All = 3,
};

/// The name of the partition with the identity block.
constexpr const char* FPGA_MTD_IDENT = "ident";
/// As the size for mtdErase: the whole partition.
constexpr int64_t MTD_WHOLE_PARTITION = -1;

/// Sets what calls without `output` print from now on, in the whole process, and returns the
/// previous setting. At first it is everything.
unsigned mtdSetOutput(unsigned output);

/// Opens a flash device and, if `info` is not null, queries its sizes and prints them. Returns the
/// descriptor, or -1.
int mtdOpen(const std::string& path, mtd_info_user* info, int openFlags = O_RDWR);

/// Erases `sizeBytes` from `offset`, which is rounded down to the start of an erase block, in whole
/// blocks, rounded up. A size of -1 or -2 erases the whole partition. Returns 0; -2 if the device
/// can't be opened; -1 for other negative numbers, or if the device refuses a block, for instance
/// one past its end, where erasing stops.
int mtdErase(const std::string& path, int64_t offset, int64_t sizeBytes);

/// Copies a file or device to a file or device: `sizeBytes` or, for 0, all of the source. A
/// destination device is erased first, and read back block by block; a destination file keeps what
/// it holds after the copy. Nothing is copied onto itself, under whatever name. `output` is of
/// MtdOutput and applies to this call only. Returns 0, or -1 if anything failed.
int mtdCopy(const std::string& source, const std::string& destination, int64_t sizeBytes,
            unsigned output = MtdOutput_All);

/// The device of a partition by its name in /proc/mtd: "ident" => "mtd3"; an empty text if there is
/// none.
std::string mtdFindDevice(const std::string& partitionName);
/// The same, from a text in the form of /proc/mtd. Of two with the same name the first counts. A
/// line that does not have exactly 4 tokens, such as one with a blank in its name, is reported and
/// skipped.
std::string mtdFindDeviceIn(std::string_view procMtd, std::string_view partitionName);

/// Opens the partition FPGA_MTD_IDENT for reading; -1 if there is none.
int mtdOpenIdent();
