// What the header of an FPGA image of the Xilinx tool chain (.bit file) says. Values.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

/// The parts of a header's design text: "n;COMPRESS=TRUE;UserID=0X81020304;Version=2019.1" gives
/// "n", 0x81020304 and "2019.1". The one part between name and user id is optional.
struct BitDesign
{
    std::string name;
    std::optional<uint32_t> userId;
    std::string toolVersion;

    /// Reads what it can. Returns 0 or the number of the first check that failed: -6 only one part,
    /// -19 an optional part with nothing after it, -7 no user id, -8 nothing after it, -9 no
    /// version.
    int read(std::string_view text);
    /// The user id as a version, "258-3.4(dev)": bits 16 to 30, 8 to 15, 0 to 7, and bit 31. Empty
    /// if there is none.
    std::string getVersion() const;

    friend bool operator==(const BitDesign& a, const BitDesign& b)
    {
        return a.name == b.name && a.userId == b.userId && a.toolVersion == b.toolVersion;
    }
    friend bool operator!=(const BitDesign& a, const BitDesign& b) { return !(a == b); }
};

/// The header's fields; texts are up to a NUL, as they stand in the file.
struct BitHeader
{
    std::string design;       ///< BitDesign takes it apart
    std::string device;       ///< "xcku040-ffva1156-2-e"
    std::string date;         ///< "2020/06/16"
    std::string time;         ///< "12:34:56"
    uint32_t streamBytes = 0; ///< what follows the header
    uint32_t headerBytes = 0;

    /// Reads a header from a stream, and leaves the stream at the first byte after it. Returns 0 or
    /// the number of the first check that failed, as parseBitFile lists them; the fields before
    /// that are set.
    int read(std::FILE* stream);

    friend bool operator==(const BitHeader& a, const BitHeader& b)
    {
        return a.design == b.design && a.device == b.device && a.date == b.date &&
               a.time == b.time && a.streamBytes == b.streamBytes && a.headerBytes == b.headerBytes;
    }
    friend bool operator!=(const BitHeader& a, const BitHeader& b) { return !(a == b); }
};
