#include "infrastructure/platform/DeviceIdentity.h"
#include "infrastructure/platform/VelPlatformAbstraction.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

TEST_CASE("An identity that is written is read back", "[platform]")
{
    const uint32_t number = GENERATE(0u, 7u, 123456u, 999999u);
    MadeMachine machine;
    machine.addProcMtd();
    machine.addFlash("/dev/mtd3", 0x10000);
    machine.writeFile("/var/volatile/tmps", "what was there before, which is longer than it");
    REQUIRE(writeDeviceIdentity(number) == 0);
    CHECK(machine.programs == std::vector<std::string>{"/sbin/fw_setenv runlevel 4"});

    const QByteArray block = machine.readFile("/dev/mtd3");
    CHECK(block.left(5) == "mac: ");
    const QByteArray mac = block.mid(5, 6);
    CHECK((mac[0] & 3) == 2); // locally administered, for one station
    CHECK(mac.mid(3) == QByteArray::fromHex(QByteArray::number(number, 16).rightJustified(6, '0')));
    CHECK(block.mid(11, 15) == "\nserial: " + QByteArray::number(number).rightJustified(6, '0'));
    CHECK(block.mid(26) == QByteArray(0x10000 - 26, '\xFF'));

    uint32_t read = 1;
    CHECK(readDeviceNumber(&read) == 0);
    CHECK(read == number);
    CHECK(Tessorn::VelPlatformAbstraction().readDeviceNumber() == static_cast<int>(number));
}

TEST_CASE("An identity that can't be read says why", "[platform]")
{
    MadeMachine machine;
    uint32_t number = 5;
    const auto complaint = [&] {
        machine.takeErr();
        CHECK(readDeviceNumber(&number) == -1);
        CHECK(number == 5);
        return machine.takeErr();
    };
    CHECK(complaint() == "Failed to get mtp parts\nFailed to open mtd\n");
    machine.addProcMtd();
    const std::string skipped = "Could not find enough tokens (found: 5 wanted: 4)\n";
    CHECK(complaint() == skipped + "Failed to open mtd\n");
    const std::pair<const char*, const char*> rows[] = {
        {"", "Cannot read\n"},
        {"mac: 123456\nserial: 12345", "Cannot read\n"},
        {"mac: 123456\nSerial: 123456", "Cannot find serial key\n"},
        {"mac: 123456\nserial: 12345x", "Serial num is not a number\n"},
        {"mac: 123456\nserial: -12345", "Serial num is not a number\n"},
    };
    for (const auto& [content, text] : rows) {
        machine.writeFile("/dev/mtd3", content);
        CHECK(complaint() == skipped + text);
    }
    CHECK(Tessorn::VelPlatformAbstraction().readDeviceNumber() == -1);
    CHECK(readDeviceNumber(nullptr) == -1);
    CHECK_THAT(machine.takeErr(), Catch::EndsWith("Nowhere to put serial num!\n"));
}

TEST_CASE("An identity that could not be written whole is reported", "[platform]")
{
    MadeMachine machine;
    CHECK(writeDeviceIdentity(1) == -1); // no partition
    machine.addProcMtd();
    machine.writeFile("/var/volatile/tmps", "");
    CHECK(writeDeviceIdentity(1) == -1);
    CHECK(machine.readFile("/dev/mtd3").isNull()); // which would be a copy to a new file
    machine.writeFile("/dev/mtd3", "no device");
    CHECK(writeDeviceIdentity(1) == -1);
    CHECK_THAT(machine.takeErr(), Catch::EndsWith("Failed to open mtd\n"));

    MadeMachine::Flash& flash = machine.addFlash("/dev/mtd3", 0x10000);
    CHECK(writeDeviceIdentity(1000000) == -1); // would not fit its six digits
    CHECK(machine.readFile("/var/volatile/tmps").isEmpty());
    machine.failingOpens["/var/volatile/tmps"] = EROFS;
    CHECK(writeDeviceIdentity(1) == -1);
    machine.failingOpens.clear();
    CHECK(flash.erased.empty());
    flash.failWritesFrom = 20;
    CHECK(writeDeviceIdentity(1) == -1);
    CHECK(machine.programs.empty());
    flash.failWritesFrom = -1;
    machine.programResult = 1;
    CHECK(writeDeviceIdentity(1) == -1);
    machine.programResult = 0;
    CHECK(writeDeviceIdentity(1) == 0);
}
