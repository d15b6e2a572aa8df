// What a fuse file of the Lattice tool chain (JEDEC standard JESD3-C) says about itself. Values.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <tuple>

/// The date as the tool chain writes it, "Tue Jun 16 12:00:00 2020".
struct JedDate
{
    int day = 0;   ///< from 1
    int month = 0; ///< from 1
    int year = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend bool operator==(const JedDate& a, const JedDate& b)
    {
        return std::tie(a.day, a.month, a.year, a.hour, a.minute, a.second) ==
               std::tie(b.day, b.month, b.year, b.hour, b.minute, b.second);
    }
    friend bool operator!=(const JedDate& a, const JedDate& b) { return !(a == b); }
};

/// The notes, codes and counts of a fuse file; of lines that come twice, the later. Texts are
/// without the blanks around them.
struct JedSummary
{
    std::string toolVersion; ///< "(64-bit) 3.10.3.144.3"
    std::string design;      ///< "machxo_top.ncd"
    std::string device;      ///< "MACHXO2-1200HC-4TQFP100"
    std::optional<JedDate> date;
    uint32_t fuseCount = 0; ///< as stated
    uint32_t fuseRows = 0;  ///< lines of fuses
    std::optional<uint16_t> fuseChecksum;
    std::optional<uint16_t> fileChecksum;
    /// The sum of the fuses that are there, which the fuse checksum states: eight to a byte, the
    /// first in the lowest bit.
    uint16_t computedFuseChecksum = 0;
    /// The sum of the bytes from STX to ETX, which the file checksum states unless that is 0.
    uint16_t computedFileChecksum = 0;
    std::optional<std::array<uint8_t, 4>> userCode; ///< most significant byte first
    std::optional<std::array<uint8_t, 8>> featureRow;
    std::optional<std::array<uint8_t, 2>> featureBits;

    /// Reads a file to its end. Returns 0 or the number of the first check that failed, as
    /// parseJedFile lists them; what was read before that is set.
    int read(std::FILE* stream);

    /// True unless a checksum is stated and another is computed.
    bool hasRightChecksums() const
    {
        return fuseChecksum.value_or(computedFuseChecksum) == computedFuseChecksum &&
               (fileChecksum.value_or(0) == 0 || fileChecksum == computedFileChecksum);
    }

private:
    auto tied() const
    {
        return std::tie(toolVersion, design, device, date, fuseCount, fuseRows, fuseChecksum,
                        fileChecksum, computedFuseChecksum, computedFileChecksum, userCode,
                        featureRow, featureBits);
    }

public:
    friend bool operator==(const JedSummary& a, const JedSummary& b)
    {
        return a.tied() == b.tied();
    }
    friend bool operator!=(const JedSummary& a, const JedSummary& b) { return !(a == b); }
};
