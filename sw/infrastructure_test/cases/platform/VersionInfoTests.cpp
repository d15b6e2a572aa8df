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
    CHECK(keys == QString(QStringLiteral("Software,SHA1,Branch,Build ID,Toolchain,Image,Main,"
                                         "Mezzanine,Frontpanel,FPGA ID,FPGA"))
                      .split(QLatin1Char(',')));
    for (const char* key : {"Main", "Mezzanine", "Frontpanel", "FPGA ID", "FPGA"}) {
        CHECK(value(info, key) == QStringLiteral("Unknown"));
    }
    const QRegularExpression hash(QStringLiteral("^([0-9a-f]{40}|Unknown)$"));
    CHECK(hash.match(value(info, "SHA1")).hasMatch());
    CHECK(QRegularExpression(QStringLiteral("^\\d+\\.\\d+\\.\\d+$"))
              .match(value(info, "Software"))
              .hasMatch());
    CHECK(info.boardModel() == 0);
    CHECK(value(info, "main").isNull());
    CHECK(&VersionInfo::getInstance() == &VersionInfo::getInstance());
}

TEST_CASE("The version table shows what pins and FPGA driver tell", "[platform]")
{
    MadeMachine machine;
    machine.hardwareIds[0] = 1;
    machine.hardwareIds[1] = 0;
    machine.hardwareIds[2] = 77;
    machine.writeFile("/proc/tess_pcie", "fpga_version: 4.12.0+4294967294\nfpga_design_id: 17\n");
    const VersionInfo info = infoOfThisMachine();
    CHECK(value(info, "Main") == QStringLiteral("1"));
    CHECK(value(info, "Mezzanine") == QStringLiteral("0"));
    CHECK(value(info, "Frontpanel") == QStringLiteral("77"));
    CHECK(value(info, "FPGA ID") == QStringLiteral("17"));
    CHECK(value(info, "FPGA") == QStringLiteral("4.12.0+4294967294"));
    CHECK(info.boardModel() == 1);

    // An FPGA that is not there reads as ones; one field of ones is a number.
    machine.writeFile("/proc/tess_pcie", "fpga_version: 1.4294967295.2.3\n"
                                         "fpga_design_id: 4294967295\n");
    CHECK(value(infoOfThisMachine(), "FPGA") == QStringLiteral("Unknown"));
    machine.writeFile("/proc/tess_pcie", "fpga_version: 1.4294967295.2+3\n"
                                         "fpga_design_id: 4294967295\n");
    CHECK(value(infoOfThisMachine(), "FPGA") == QStringLiteral("1.4294967295.2+3"));
    CHECK(value(infoOfThisMachine(), "FPGA ID") == QStringLiteral("Unknown"));
    machine.writeFile("/proc/tess_pcie",
                      "fpga_version: 4294967295.4294967295.4294967295+4294967295\n");
    CHECK(value(infoOfThisMachine(), "FPGA") == QStringLiteral("Unknown"));
}

TEST_CASE("A line of the FPGA driver's that does not match changes nothing", "[platform]")
{
    struct Row
    {
        QByteArray text;
        std::vector<uint32_t> read;
    };
    const auto row = GENERATE(values<Row>({
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
    machine.writeFile("/proc/tess_pcie", row.text);
    Tessorn::VelPlatformAbstraction platform;
    for (int call = 0; call < 2; ++call) {
        std::vector<uint32_t> read(5, 9);
        CHECK(platform.readFpgaInfo(read[0], read[1], read[2], read[3], read[4]));
        CHECK(read == row.read);
    }
    CHECK(platform.getHardwareId(3) == -1); // the fourth board is not asked for here
    CHECK_FALSE(platform.isHardwareIdValid(0));
}
