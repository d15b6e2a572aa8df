#include "infrastructure/platform/VelPlatformAbstraction.h"
#include "infrastructure/platform/VersionInfo.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include <QRegularExpression>

namespace {

QString value(const VersionInfo& info, const char* key)
{
    return info.value(QLatin1String(key));
}

VersionInfo infoOfThisMachine()
{
    Tessorn::VelPlatformAbstraction platform;
    return VersionInfo(platform);
}

/// What the machine tells of its boards and its FPGA.
std::string shown()
{
    QStringList values;
    const VersionInfo info = infoOfThisMachine();
    for (const char* key : {"Main", "Mezzanine", "Frontpanel", "FPGA ID", "FPGA"}) {
        values.append(value(info, key));
    }
    return values.join(QLatin1Char(' ')).toStdString();
}

} // namespace

TEST_CASE("The version table has its keys in order and Unknown without a board", "[platform]")
{
    const MadeMachine machine;
    const VersionInfo info = infoOfThisMachine();
    QStringList keys;
    for (const VersionInfo::Entry& entry : info.getEntries()) {
        keys.append(entry.first);
        CHECK_FALSE(entry.second.isEmpty());
    }
    CHECK(keys == QString("Software,SHA1,Branch,Build ID,Toolchain,Image,Main,"
                          "Mezzanine,Frontpanel,FPGA ID,FPGA"_s)
                      .split(QLatin1Char(',')));
    CHECK(shown() == "Unknown Unknown Unknown Unknown Unknown");
    const QRegularExpression hash("^([0-9a-f]{40}|Unknown)$"_s);
    CHECK(hash.match(value(info, "SHA1")).hasMatch());
    CHECK(QRegularExpression("^\\d+\\.\\d+\\.\\d+$"_s).match(value(info, "Software")).hasMatch());
    CHECK(info.boardModel() == 0);
    CHECK(value(info, "main").isNull());
    CHECK(&VersionInfo::getInstance() == &VersionInfo::getInstance());
}

TEST_CASE("The version table shows what pins and FPGA driver tell", "[platform]")
{
    MadeMachine machine;
    machine.board.hardwareIds[0] = 1;
    machine.board.hardwareIds[1] = 0;
    machine.board.hardwareIds[2] = 77;
    machine.writeFile("/proc/tess_pcie", "fpga_version: 4.12.0+4294967294\nfpga_design_id: 17\n");
    CHECK(infoOfThisMachine().boardModel() == 1);
    CHECK(shown() == "1 0 77 17 4.12.0+4294967294");

    // An FPGA that is not there reads as ones; one field of ones is a number.
    for (const auto& [content, fpga] : Table<QByteArray, const char*>{
             {"fpga_version: 1.4294967295.2.3\nfpga_design_id: 4294967295\n", "Unknown"},
             {"fpga_version: 1.4294967295.2+3\n", "1.4294967295.2+3"},
             {"fpga_version: 4294967295.4294967295.4294967295+4294967295\n", "Unknown"}}) {
        machine.writeFile("/proc/tess_pcie", content);
        CHECK(shown() == std::string("1 0 77 Unknown ") + fpga);
    }
}

TEST_CASE("A line of the FPGA driver's that does not match changes nothing", "[platform]")
{
    const auto [text, expected] = GENERATE(table<QByteArray, std::vector<uint32_t>>({
        {"fpga_version: 1.2.3+4\nfpga_design_id: 5\n", {1, 2, 3, 4, 5}},
        {"fpga_version:1.2.3+4 beta\nfpga_design_id:\t5", {1, 2, 3, 4, 5}},
        {"", {9, 9, 9, 9, 9}},
        {"fpga_version: 1.2.3\nfpga_design_id: 5\n", {9, 9, 9, 9, 5}},
        {"fpga_design_id: 5\nfpga_version: 1.2.3+4\n", {9, 9, 9, 9, 9}},
        {"fpga_version: 1.2.3+4294967296\nfpga_design_id: x\n", {9, 9, 9, 9, 9}},
        {"fpga_version: 1.2.3+" + QByteArray(1000, '4') + "\nfpga_design_id: 5\n", {9, 9, 9, 9, 5}},
        {QByteArray(1000, '4'), {9, 9, 9, 9, 9}},
    }));
    MadeMachine machine;
    machine.writeFile("/proc/tess_pcie", text);
    Tessorn::VelPlatformAbstraction platform;
    for (int call = 0; call < 2; ++call) {
        std::vector<uint32_t> read(5, 9);
        CHECK(platform.readFpgaInfo(read[0], read[1], read[2], read[3], read[4]));
        CHECK(read == expected);
    }
    machine.board.hardwareIds[3] = 5;
    CHECK(platform.getHardwareId(3) == -1); // the fourth board is not asked for here
    CHECK_FALSE(platform.isHardwareIdValid(0));
}
