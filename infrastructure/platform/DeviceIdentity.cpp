#include "infrastructure/platform/DeviceIdentity.h"

#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/MtdDevice.h"
#include "infrastructure/platform/TextScanner_p.h"

#include <fmt/format.h>

#include <fcntl.h>

#include <string>
#include <string_view>

using Tessorn::Machine;
using Tessorn::MachineFile;
using Tessorn::TextScanner;

namespace {

constexpr int SERIAL_OFFSET = 12;
constexpr std::string_view SERIAL_KEY = "serial: ";
constexpr std::size_t SERIAL_DIGITS = 6;
constexpr const char* IDENTITY_FILE = "/var/volatile/tmps";

std::string identityText(uint32_t number)
{
    // Bit 1 of a MAC address's first byte marks it as locally administered (IEEE 802).
    const char mac[] = {0x02,
                        0x00,
                        0x00,
                        static_cast<char>(number >> 16),
                        static_cast<char>(number >> 8),
                        static_cast<char>(number)};
    return "mac: " + std::string(mac, sizeof mac) + fmt::format("\nserial: {:06}", number);
}

bool writeFile(Machine& machine, const char* path, const std::string& content)
{
    MachineFile file(machine, path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (!file.isOpen() || !file.writeAll(content.data(), content.size())) {
        machine.printSystemError(path);
        return false;
    }
    return true;
}

} // namespace

int readDeviceNumber(uint32_t* out)
{
    Machine& machine = Machine::current();
    const auto fail = [&machine](const char* text) {
        machine.printError("%s", text);
        return -1;
    };
    if (!out) {
        return fail("Nowhere to put serial num!\n");
    }
    MachineFile file(machine, mtdOpenIdent());
    if (!file.isOpen()) {
        return fail("Failed to open mtd\n");
    }
    if (machine.seek(file.getDescriptor(), SERIAL_OFFSET) != SERIAL_OFFSET) {
        return fail("Cannot seek\n");
    }
    char text[SERIAL_KEY.size() + SERIAL_DIGITS];
    if (!file.readExactly(text, sizeof text)) {
        return fail("Cannot read\n");
    }
    TextScanner scanner(std::string_view(text, sizeof text));
    if (!scanner.skip(SERIAL_KEY)) {
        return fail("Cannot find serial key\n");
    }
    uint32_t number = 0;
    if (!scanner.number(number) || !scanner.atEnd()) {
        return fail("Serial num is not a number\n");
    }
    *out = number;
    return 0;
}

int writeDeviceIdentity(uint32_t number)
{
    Machine& machine = Machine::current();
    if (number > MAX_DEVICE_NUMBER) {
        machine.printError("Serial num %u has more than 6 digits\n", number);
        return -1;
    }
    const std::string device = "/dev/" + mtdFindDevice(FPGA_MTD_IDENT);
    struct stat status
    {
    };
    // Copying to a path that does not exist would create a file there, and succeed.
    if (machine.status(device, status) != 0 || !S_ISCHR(status.st_mode)) {
        machine.printError("Failed to open mtd\n");
        return -1;
    }
    const bool done = writeFile(machine, IDENTITY_FILE, identityText(number)) &&
                      mtdCopy(IDENTITY_FILE, device, 0, MtdOutput_All) == 0 &&
                      machine.run({"/sbin/fw_setenv", "runlevel", "4"}) == 0;
    return done ? 0 : -1;
}
