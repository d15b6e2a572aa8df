#include "infrastructure/platform/BitFile.h"
#include "infrastructure/platform/MtdDevice.h"
#include "infrastructure/platform/SfpConfigParser.h"

#include <cstdio>

int main()
{
    // The flash partition of a name, in what /proc/mtd says.
    std::puts(mtdFindDeviceIn("dev:    size   erasesize  name\n"
                              "mtd0: 00100000 00010000 \"boot\"\n"
                              "mtd1: 00010000 00010000 \"ident\"\n",
                              FPGA_MTD_IDENT)
                  .c_str());

    // The header of an FPGA image; a file that is none gives the number of the check that failed.
    char notAnImage[] = "PK\3\4";
    std::FILE* file = fmemopen(notAnImage, sizeof notAnImage, "rb");
    std::printf("%lld\n", static_cast<long long>(parseBitFile(file, false)));
    std::fclose(file);

    // Supported SFP modules, for board 7 of product model 0.
    const SfpConfigParser parser(QStringLiteral("7"), 7, 0);
    std::vector<SupportedSfp> modules;
    const bool ok = parser.parse(R"({"configRevision": 4, "supportedSfps": [
        {"Vendor": "MAKER", "OUI": "00-00-00", "PartNumber": "TX-1", "Revision": "A",
         "SDI": true, "Rate": "SDI", "SDIConfig": {"MSA": false, "IO": "TX"},
         "Boards": {"7": {"VoltageSwingCode": [13, 13, 13, 13], "PreCursorCode": 10,
                          "PostCursorCode": 20, "ReclockerSettings": [0, 0, 0, 0]}}}]})",
                                 modules);
    std::printf("%s, %zu\n", ok ? "read" : "refused", modules.size());
    for (const SupportedSfp& module : modules) {
        std::printf("%s: %s, swing %u\n", qPrintable(module.key()),
                    qPrintable(sfpRateText(module.rate)), module.transceiver.voltageSwingCode[0]);
    }
}
