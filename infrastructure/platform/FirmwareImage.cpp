#include "infrastructure/platform/FirmwareImage.h"

#include "infrastructure/platform/BitHeader.h"
#include "infrastructure/platform/JedSummary.h"
#include "infrastructure/platform/Machine_p.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

using Tessorn::Machine;
using Tessorn::MachineFile;

namespace {

/// Two texts of up to 64 KiB, and everything else.
constexpr uint64_t MOST_HEADER_BYTES = 2 * 0x10000 + 256;
constexpr std::size_t MOST_TEXT_CHARACTERS = 200;
constexpr char STX = 2;

std::string plainText(const std::string& text)
{
    std::string plain = text.substr(0, MOST_TEXT_CHARACTERS);
    std::replace_if(
        plain.begin(), plain.end(), [](char c) { return c < 0x20 || c > 0x7E; }, '?');
    return plain;
}

std::string readBit(std::FILE* stream, FirmwareImage& image)
{
    BitHeader header;
    if (const int failure = header.read(stream)) {
        return fmt::format("no image, error {}", failure);
    }
    if (image.sizeBytes != uint64_t(header.headerBytes) + header.streamBytes) {
        return fmt::format("{} bytes, but {} by its header", image.sizeBytes,
                           uint64_t(header.headerBytes) + header.streamBytes);
    }
    BitDesign design;
    design.read(header.design);
    image.device = plainText(header.device);
    image.design = plainText(design.name.empty() ? header.design : design.name);
    image.version = design.getVersion();
    image.date = plainText(header.date + ' ' + header.time);
    if (design.userId) {
        image.designId = *design.userId >> 16 & 0x7FFF;
    }
    return {};
}

std::string readJed(std::FILE* stream, FirmwareImage& image)
{
    JedSummary summary;
    if (const int failure = summary.read(stream)) {
        return fmt::format("no fuse file, error {}", failure);
    }
    if (!summary.fuseChecksum || !summary.fileChecksum || !summary.hasRightChecksums()) {
        return "a fuse file with wrong checksums";
    }
    image.device = plainText(summary.device);
    image.design = plainText(summary.design);
    if (const auto& code = summary.userCode) {
        image.version =
            fmt::format("{:02X}{:02X}{:02X}{:02X}", (*code)[0], (*code)[1], (*code)[2], (*code)[3]);
    }
    if (const auto& date = summary.date) {
        image.date = fmt::format("{:04}/{:02}/{:02} {:02}:{:02}:{:02}", date->year, date->month,
                                 date->day, date->hour, date->minute, date->second);
    }
    return {};
}

} // namespace

std::string FirmwareImage::read(const std::string& path)
{
    *this = FirmwareImage();
    Machine& machine = Machine::current();
    struct stat status
    {
    };
    MachineFile file(machine, machine.openRegular(path));
    if (!file.isOpen() || machine.status(path, status) != 0) {
        return std::strerror(errno);
    }
    sizeBytes = static_cast<uint64_t>(status.st_size);
    char first = 0;
    if (sizeBytes == 0 || !file.readExactly(&first, 1)) {
        return "an empty file";
    }
    const bool isJed = first == STX;
    if (isJed && sizeBytes > MOST_FUSE_FILE_BYTES) {
        return fmt::format("a fuse file of {} bytes", sizeBytes);
    }
    std::string head(
        static_cast<std::size_t>(isJed ? sizeBytes : std::min(sizeBytes, MOST_HEADER_BYTES)),
        first);
    if (!file.readExactly(head.data() + 1, head.size() - 1)) {
        return std::strerror(errno);
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(
        fmemopen(head.data(), head.size(), "rb"), &std::fclose);
    if (!stream) {
        return std::strerror(errno);
    }
    return isJed ? readJed(stream.get(), *this) : readBit(stream.get(), *this);
}
