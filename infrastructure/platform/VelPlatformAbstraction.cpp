#include "infrastructure/platform/VelPlatformAbstraction.h"

#include "infrastructure/platform/DeviceIdentity.h"
#include "infrastructure/platform/Fans.h"
#include "infrastructure/platform/Gpio.h"
#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/TextScanner_p.h"
#include "infrastructure/platform/Watchdog.h"

#include <array>
#include <limits>
#include <string_view>

namespace Tessorn {

namespace {

constexpr int HARDWARE_IDS = 3;

/// The next line. Empty if there is none, or if it is longer than any that is of interest.
std::string_view nextLine(std::istream& stream, std::array<char, 256>& buffer)
{
    stream.getline(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    if (stream) {
        return std::string_view(buffer.data());
    }
    if (!stream.eof() && stream.gcount() > 0) { // the rest of a long line
        stream.clear();
        stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return std::string_view();
}

/// "fpga_version: 1.2.3+4"; a line of another form changes nothing.
void readVersion(std::string_view line, uint32_t& major, uint32_t& minor, uint32_t& patch,
                 uint32_t& build)
{
    TextScanner text(line);
    uint32_t read[4];
    if (!text.skip("fpga_version:")) {
        return;
    }
    text.skipBlanks();
    if (text.number(read[0]) && text.skip(".") && text.number(read[1]) && text.skip(".") &&
        text.number(read[2]) && text.skip("+") && text.number(read[3])) {
        major = read[0];
        minor = read[1];
        patch = read[2];
        build = read[3];
    }
}

/// "fpga_design_id: 17"
void readDesignId(std::string_view line, uint32_t& designId)
{
    TextScanner text(line);
    if (text.skip("fpga_design_id:")) {
        text.skipBlanks();
        text.number(designId);
    }
}

} // namespace

VelPlatformAbstraction::VelPlatformAbstraction()
    : fpgaStatus(Machine::current().hostPath("/proc/tess_pcie"))
{
}

void VelPlatformAbstraction::setFanSpeeds(uint32_t packedDutyCycles, bool enable)
{
    setFans({static_cast<uint8_t>(packedDutyCycles), static_cast<uint8_t>(packedDutyCycles >> 8),
             static_cast<uint8_t>(packedDutyCycles >> 16)},
            enable);
}

bool VelPlatformAbstraction::isHardwareIdValid(int index)
{
    return getHardwareId(index) >= 0;
}

int VelPlatformAbstraction::getHardwareId(int index)
{
    return index >= 0 && index < HARDWARE_IDS ? getBoardId(index) : -1;
}

bool VelPlatformAbstraction::readFpgaInfo(uint32_t& major, uint32_t& minor, uint32_t& patch,
                                          uint32_t& build, uint32_t& designId)
{
    fpgaStatus.clear();
    fpgaStatus.seekg(0);
    std::array<char, 256> buffer{};
    readVersion(nextLine(fpgaStatus, buffer), major, minor, patch, build);
    readDesignId(nextLine(fpgaStatus, buffer), designId);
    return true;
}

void VelPlatformAbstraction::watchdogStart(int timeoutSeconds)
{
    watchdogOpen(timeoutSeconds);
}

void VelPlatformAbstraction::watchdogKick()
{
    ::watchdogKick();
}

void VelPlatformAbstraction::watchdogStop()
{
    watchdogClose();
}

int VelPlatformAbstraction::readDeviceNumber()
{
    uint32_t number = 0;
    return ::readDeviceNumber(&number) == 0 ? static_cast<int>(number) : -1;
}

} // namespace Tessorn
