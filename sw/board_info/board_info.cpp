// What the board tells about itself: versions, sensors with their limits, supported SFP modules;
// and the header of an FPGA image. On a machine without the board it prints "Unknown".
//   board_info                 the board
//   board_info --bit FILE      the header of a bit file
//   board_info --jed FILE      what a fuse file says about itself
#include "infrastructure/platform/BitFile.h"
#include "infrastructure/platform/JedFile.h"
#include "infrastructure/platform/Sensors.h"
#include "infrastructure/platform/SfpConfigFileHandler.h"
#include "infrastructure/platform/VersionInfo.h"
#include "infrastructure/utility/CommandLine.h"

#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>

namespace {

void printVersions(const VersionInfo& versions)
{
    std::puts("Versions");
    for (const VersionInfo::Entry& entry : versions.getEntries()) {
        std::printf("  %-12s %s\n", qPrintable(entry.first), qPrintable(entry.second));
    }
}

const char* mark(const SensorReading& reading)
{
    if (reading.value < reading.lowLimit || reading.value > reading.highLimit) {
        return "  OUT OF LIMITS";
    }
    return reading.value < reading.lowWarning || reading.value > reading.highWarning ? "  warning"
                                                                                     : "";
}

void printSensors(int boardId)
{
    std::puts("Sensors");
    try {
        const Sensors sensors(std::string(), boardId);
        for (const SensorReading& reading : sensors.readings()) {
            std::printf("  %-28s %10.3f  warning %g to %g  limit %g to %g%s\n",
                        qPrintable(reading.displayName), reading.value, reading.lowWarning,
                        reading.highWarning, reading.lowLimit, reading.highLimit, mark(reading));
        }
        for (const auto& [key, entry] : sensors.getEntries()) {
            if (entry.required && !entry.currentValue) {
                std::printf("  %-28s    Unknown\n", qPrintable(entry.displayName));
            }
        }
    } catch (const std::exception& error) {
        std::printf("  Unknown: %s\n", error.what());
    }
}

/// Prints the program's own list: loading the user's file might also write it.
void printSfps(const VersionInfo& versions)
{
    std::puts("Supported SFP modules");
    SfpConfigFileHandler handler(QString(), QString(), QString(), versions);
    handler.parseConfig(handler.defaultConfig());
    for (const SupportedSfp& sfp : handler.supportedSfps()) {
        std::printf("  %-16s  %-16s  %-5s %-5s %s\n", qPrintable(sfp.vendor),
                    qPrintable(sfp.partNumber), qPrintable(sfp.revision),
                    qPrintable(sfpRateText(sfp.rate)), qPrintable(sfp.sdiConfig.io));
    }
}

int printImage(const char* option, const char* path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "rb"),
                                                               &std::fclose);
    if (!file) {
        std::perror(path);
        return 1;
    }
    const bool isBit = std::strcmp(option, "--bit") == 0;
    const int64_t size = isBit ? parseBitFile(file.get(), true) : parseJedFile(file.get(), false);
    if (size < 0) {
        std::fprintf(stderr, "%s: no image, error %lld\n", path, static_cast<long long>(size));
        return 1;
    }
    std::printf("%lld bytes\n", static_cast<long long>(size));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const char* usage = "usage: board_info [--bit FILE | --jed FILE | --help | --version]\n";
    if (const std::optional<int> exitValue = answerHelpOrVersion(argc, argv, usage)) {
        return *exitValue;
    }
    if (argc == 3 && (std::strcmp(argv[1], "--bit") == 0 || std::strcmp(argv[1], "--jed") == 0)) {
        return printImage(argv[1], argv[2]);
    }
    if (argc != 1) {
        std::fprintf(stderr, "Wrong arguments, the first is \"%s\"\n%s", argv[1], usage);
        return 2;
    }
    const VersionInfo& versions = VersionInfo::getInstance();
    printVersions(versions);
    printSensors(versions.boardModel());
    printSfps(versions);
}
