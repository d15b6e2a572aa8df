// What an update has to know of an image: a bit file or a fuse file. A value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// A firmware image. Its texts are from its header, of printable ASCII and at most 200 characters.
struct FirmwareImage
{
    static constexpr uint64_t MOST_FUSE_FILE_BYTES = 32 << 20;

    std::string device;               ///< that it is for
    std::string design;               ///< a name
    std::optional<uint32_t> designId; ///< bits 16 to 30 of a bit file's user id
    std::string version;              ///< "258-3.4(dev)", of a fuse file its user code, "0A0B0C0D"
    std::string date;                 ///< "2020/06/16 12:34:56"
    uint64_t sizeBytes = 0;           ///< of the whole file, header included

    /// Reads the header of a file. An empty text if it is a whole image; otherwise says why not: no
    /// regular file, a header with an error, a bit stream of another length than stated, a fuse
    /// file whose checksums are wrong.
    std::string read(const std::string& path);
};
