#include "infrastructure/platform/MtdDevice.h"

#include "infrastructure/platform/FlashPartition_p.h"
#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/TextScanner_p.h"

#include <sys/ioctl.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

using Tessorn::eraseFlashBlock;
using Tessorn::Machine;
using Tessorn::MachineFile;
using Tessorn::TextScanner;

namespace {

constexpr std::size_t BLOCK_BYTES = 4096;
constexpr int MOST_PROC_MTD_BYTES = 64 * 1024;
constexpr int WANTED_TOKENS = 4;

/// What one call prints, and its progress.
class Report
{
public:
    explicit Report(unsigned output)
        : messages((output & MtdOutput_Messages) != 0)
        , percentage((output & MtdOutput_Percentage) != 0)
    {
    }

    [[gnu::format(printf, 2, 3)]] void say(const char* format, ...) const
    {
        va_list arguments;
        va_start(arguments, format);
        if (messages) {
            Machine::current().printList(format, arguments);
        }
        va_end(arguments);
    }

    [[gnu::format(printf, 2, 3)]] void complain(const char* format, ...) const
    {
        va_list arguments;
        va_start(arguments, format);
        if (messages) {
            Machine::current().printErrorList(format, arguments);
        }
        va_end(arguments);
    }

    void complainOfSystem(const char* text) const
    {
        if (messages) {
            Machine::current().printSystemError(text);
        }
    }

    /// "Could not open PATH" and why; always false.
    bool refuse(const std::string& path, const char* reason) const
    {
        complain("Could not open %s\n", path.c_str());
        complain("Reason: %s\n", reason);
        return false;
    }

    /// Starts counting. The line so far ends in three characters, which the percentage replaces.
    void beginProgress(uint64_t wanted)
    {
        count = 0;
        total = wanted;
        percent = 0;
    }

    void addProgress(uint64_t amount)
    {
        count += amount;
        const auto now = static_cast<unsigned long>((count * 100 + total / 2) / total);
        if (now != percent) {
            percent = now;
            if (percentage) {
                Machine::current().print("\b\b\b%03lu", percent);
            }
        }
    }

    void endProgress() const
    {
        if (percentage) {
            Machine::current().print("\n");
        }
    }

private:
    bool messages;
    bool percentage;
    uint64_t count = 0;
    uint64_t total = 0;
    unsigned long percent = 0;
};

/// For calls that are not told what to print.
std::atomic<unsigned> defaultOutput{MtdOutput_All};

int openDevice(const Report& report, const std::string& path, mtd_info_user* info, int openFlags)
{
    Machine& machine = Machine::current();
    MachineFile device(machine, path, openFlags | O_NONBLOCK); // a path may lead to a pipe
    if (!device.isOpen() || !info) {
        return device.release();
    }
    mtd_info_user answer{};
    if (machine.ioctl(device.getDescriptor(), MEMGETINFO, &answer) != 0) {
        return -1;
    }
    if (answer.erasesize == 0) {
        errno = ENODEV; // not a flash device after all
        return -1;
    }
    report.say("MTD type: %u\n", unsigned(answer.type));
    report.say("MTD total size : %u bytes\n", answer.size);
    report.say("MTD write size : %u bytes\n", answer.writesize);
    report.say("MTD erase size : %u bytes\n", answer.erasesize);
    report.say("MTD overhead / block : %u bytes\n", answer.oobsize);
    report.say("MTD Flags : 0x%08X\n", answer.flags);
    *info = answer;
    return device.release();
}

/// Erases block by block; false, with a line on stderr, if the device refuses one.
bool eraseBlocks(Report& report, int descriptor, uint64_t start, uint64_t count,
                 uint32_t blockBytes)
{
    Machine& machine = Machine::current();
    report.beginProgress(count);
    for (uint64_t i = 0; i < count; ++i) {
        if (!eraseFlashBlock(machine, descriptor, start + i * blockBytes, blockBytes)) {
            report.complainOfSystem("ERASE IOCTL failed\n");
            return false;
        }
        report.addProgress(1);
    }
    report.endProgress();
    return true;
}

int eraseWhole(Report& report, int descriptor, const mtd_info_user& info)
{
    report.say("No size given, erasing entire partition\n");
    report.say("Erase in progress: ...");
    const uint64_t blocks = (uint64_t(info.size) + info.erasesize - 1) / info.erasesize;
    if (!eraseBlocks(report, descriptor, 0, blocks, info.erasesize)) {
        report.complain("Failure to erase whole partition of flash\n");
        return -1;
    }
    return 0;
}

int eraseRange(Report& report, int descriptor, const mtd_info_user& info, uint64_t offset,
               uint64_t sizeBytes)
{
    if (sizeBytes > info.size) {
        report.complain("attempt to erase more than partition size \n");
    }
    uint64_t sectors = sizeBytes / info.erasesize;
    if (sizeBytes % info.erasesize != 0) {
        report.complain("Size not a multiple of erase size\n");
        ++sectors;
    }
    if (offset % info.erasesize != 0) {
        offset -= offset % info.erasesize;
        report.complain("Moving device start offset to erase boundary, new start offset: %lld\n",
                        static_cast<long long>(offset));
    }
    report.say("Erase in progress (%d sectors from offset 0x%08llX): ...\n",
               static_cast<int>(sectors), static_cast<unsigned long long>(offset));
    return eraseBlocks(report, descriptor, offset, sectors, info.erasesize) ? 0 : -1;
}

int erase(Report& report, const std::string& path, int64_t offset, int64_t sizeBytes)
{
    mtd_info_user info{};
    MachineFile device(Machine::current(), openDevice(report, path, &info, O_RDWR));
    if (!device.isOpen()) {
        report.complain("Could not open mtd device at %s for erasure\n", path.c_str());
        return -2;
    }
    int result = -1;
    if (sizeBytes == -1 || sizeBytes == -2) {
        result = eraseWhole(report, device.getDescriptor(), info);
    } else if (offset < 0 || sizeBytes < 0) {
        report.complain("Invalid offset %lld or size %lld\n", static_cast<long long>(offset),
                        static_cast<long long>(sizeBytes));
    } else {
        result = eraseRange(report, device.getDescriptor(), info, static_cast<uint64_t>(offset),
                            static_cast<uint64_t>(sizeBytes));
    }
    if (result == 0) {
        report.say("Flash erased successfully\n");
    }
    return result;
}

/// One end of a copy.
struct CopyEnd
{
    std::string path;
    bool isDevice = false;
    struct stat status
    {
    };
    mtd_info_user info{};
    uint64_t fileBytes = 0;
    int descriptor = -1;

    uint64_t sizeBytes() const { return isDevice ? info.size : fileBytes; }
};

bool openSource(const Report& report, CopyEnd& end)
{
    Machine& machine = Machine::current();
    if (machine.status(end.path, end.status) != 0) {
        return report.refuse(end.path, std::strerror(errno));
    }
    end.isDevice = S_ISCHR(end.status.st_mode);
    if (!end.isDevice && !S_ISREG(end.status.st_mode)) {
        return report.refuse(end.path, "Invalid source");
    }
    end.fileBytes = static_cast<uint64_t>(end.status.st_size);
    end.descriptor = end.isDevice ? openDevice(report, end.path, &end.info, O_RDONLY)
                                  : machine.openRegular(end.path);
    return end.descriptor >= 0 || report.refuse(end.path, std::strerror(errno));
}

/// True if two names are for the same file or device. A flash device has two numbers, the odd one
/// read-only.
bool areSame(const CopyEnd& a, const CopyEnd& b)
{
    if (a.isDevice != b.isDevice) {
        return false;
    }
    if (a.isDevice) {
        return major(a.status.st_rdev) == major(b.status.st_rdev) &&
               minor(a.status.st_rdev) / 2 == minor(b.status.st_rdev) / 2;
    }
    return a.status.st_dev == b.status.st_dev && a.status.st_ino == b.status.st_ino;
}

bool openDestination(const Report& report, const CopyEnd& from, CopyEnd& end)
{
    Machine& machine = Machine::current();
    const bool isNew = machine.status(end.path, end.status) != 0 && errno == ENOENT;
    end.isDevice = !isNew && S_ISCHR(end.status.st_mode);
    if (!isNew && !end.isDevice && !S_ISREG(end.status.st_mode)) {
        return report.refuse(end.path, "Invalid destination");
    }
    if (!isNew && areSame(from, end)) {
        return report.refuse(end.path, "It is the source");
    }
    end.descriptor = end.isDevice
                         ? openDevice(report, end.path, &end.info, O_RDWR)
                         : machine.open(end.path, O_RDWR | O_CREAT | O_SYNC | O_NONBLOCK, 0644);
    return end.descriptor >= 0 || report.refuse(end.path, std::strerror(errno));
}

bool fitsDevice(const Report& report, const CopyEnd& end, uint64_t sizeBytes)
{
    if (end.isDevice && sizeBytes > end.info.size) {
        report.complain("Size requested is %lld bytes but mtd is only %u bytes\n",
                        static_cast<long long>(sizeBytes), end.info.size);
        return false;
    }
    return true;
}

/// Checked first, so that a destination is not erased for a source that is too short.
bool isThere(const Report& report, const CopyEnd& from, uint64_t sizeBytes)
{
    if (!from.isDevice && sizeBytes > from.fileBytes) {
        report.complain("Could not read from %s\n", from.path.c_str());
        return false;
    }
    return true;
}

/// True if the device holds these bytes at this offset; leaves its position after them.
bool holds(MachineFile& device, uint64_t offset, const char* bytes, char* scratch, std::size_t size)
{
    return Machine::current().seek(device.getDescriptor(), static_cast<int64_t>(offset)) ==
               static_cast<int64_t>(offset) &&
           device.readExactly(scratch, size) && std::memcmp(bytes, scratch, size) == 0;
}

bool transfer(Report& report, const CopyEnd& from, MachineFile& source, const CopyEnd& to,
              MachineFile& destination, uint64_t sizeBytes)
{
    const std::unique_ptr<char, void (*)(void*)> buffer(
        static_cast<char*>(std::calloc(2, BLOCK_BYTES)), &std::free);
    if (!buffer) {
        report.complain("Could not get buffer\n");
        return false;
    }
    report.say("Transfer in progress: ...");
    report.beginProgress(sizeBytes);
    for (uint64_t done = 0; done < sizeBytes;) {
        const auto size =
            static_cast<std::size_t>(std::min<uint64_t>(BLOCK_BYTES, sizeBytes - done));
        if (!source.readExactly(buffer.get(), size)) {
            report.complain("Could not read from %s\n", from.path.c_str());
            return false;
        }
        if (!destination.writeAll(buffer.get(), size) ||
            (to.isDevice &&
             !holds(destination, done, buffer.get(), buffer.get() + BLOCK_BYTES, size))) {
            report.complain("Could not write to %s\n", to.path.c_str());
            return false;
        }
        done += size;
        report.addProgress(size);
    }
    report.endProgress();
    report.say("Success! Copied %d bytes from %s to %s\n", static_cast<int>(sizeBytes),
               from.path.c_str(), to.path.c_str());
    return true;
}

bool copy(Report& report, const std::string& sourcePath, const std::string& destinationPath,
          int64_t sizeBytes)
{
    Machine& machine = Machine::current();
    CopyEnd from;
    from.path = sourcePath;
    const bool sourceIsOpen = openSource(report, from);
    MachineFile source(machine, from.descriptor);
    if (!sourceIsOpen) {
        return false;
    }
    if (sizeBytes < 0) {
        report.complain("Invalid size %lld\n", static_cast<long long>(sizeBytes));
        return false;
    }
    const uint64_t total = sizeBytes > 0 ? static_cast<uint64_t>(sizeBytes) : from.sizeBytes();
    if (!fitsDevice(report, from, total)) {
        return false;
    }
    CopyEnd to;
    to.path = destinationPath;
    const bool destinationIsOpen = openDestination(report, from, to);
    MachineFile destination(machine, to.descriptor);
    if (!destinationIsOpen || !fitsDevice(report, to, total) || !isThere(report, from, total)) {
        return false;
    }
    report.say("%lld bytes to transfer\n", static_cast<long long>(total));
    if (to.isDevice && erase(report, to.path, 0, static_cast<int64_t>(total)) != 0) {
        report.complain("Write failed, could not erase device %s first\n", to.path.c_str());
        return false;
    }
    return transfer(report, from, source, to, destination, total);
}

std::string_view withoutQuotes(std::string_view name)
{
    if (!name.empty() && name.front() == '"') {
        name.remove_prefix(1);
    }
    if (!name.empty() && name.back() == '"') {
        name.remove_suffix(1);
    }
    return name;
}

/// The device of one line, if it belongs to the partition; complains of a line of another form.
std::string_view deviceInLine(std::string_view line, std::string_view partitionName)
{
    std::string_view tokens[WANTED_TOKENS];
    int found = 0;
    TextScanner scanner(line);
    for (scanner.skipBlanks(); !scanner.atEnd(); scanner.skipBlanks()) {
        const std::string_view token = scanner.until(" \t");
        if (found < WANTED_TOKENS) {
            tokens[found] = token;
        }
        ++found;
    }
    if (found != WANTED_TOKENS) {
        Report(defaultOutput)
            .complain("Could not find enough tokens (found: %d wanted: %d)\n", found,
                      WANTED_TOKENS);
        return {};
    }
    if (withoutQuotes(tokens[3]) != partitionName) {
        return {};
    }
    return tokens[0].substr(0, tokens[0].find(':'));
}

} // namespace

unsigned mtdSetOutput(unsigned output)
{
    return defaultOutput.exchange(output & MtdOutput_All);
}

int mtdOpen(const std::string& path, mtd_info_user* info, int openFlags)
{
    return openDevice(Report(defaultOutput), path, info, openFlags);
}

int mtdErase(const std::string& path, int64_t offset, int64_t sizeBytes)
{
    Report report(defaultOutput);
    return erase(report, path, offset, sizeBytes);
}

int mtdCopy(const std::string& source, const std::string& destination, int64_t sizeBytes,
            unsigned output)
{
    Report report(output);
    return copy(report, source, destination, sizeBytes) ? 0 : -1;
}

std::string mtdFindDevice(const std::string& partitionName)
{
    MachineFile file(Machine::current(), "/proc/mtd", O_RDONLY);
    QByteArray text;
    if (!file.isOpen() || !file.readAll(text, MOST_PROC_MTD_BYTES)) {
        Report(defaultOutput).complain("Failed to get mtp parts\n");
        return {};
    }
    return mtdFindDeviceIn({text.constData(), static_cast<std::size_t>(text.size())},
                           partitionName);
}

std::string mtdFindDeviceIn(std::string_view procMtd, std::string_view partitionName)
{
    TextScanner lines(procMtd);
    lines.until("\n"); // the header
    std::string_view device;
    while (lines.skip("\n") && !lines.atEnd()) {
        const std::string_view found = deviceInLine(lines.until("\n"), partitionName);
        device = device.empty() ? found : device;
    }
    return std::string(device);
}

int mtdOpenIdent()
{
    const std::string device = mtdFindDevice(FPGA_MTD_IDENT);
    return device.empty() ? -1 : mtdOpen("/dev/" + device, nullptr, O_RDONLY);
}
