// A configuration file of SFP modules, for a board with its own settings and one without.
#include "infrastructure/platform/SfpConfigParser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    std::vector<SupportedSfp> sfps;
    SfpConfigParser(QStringLiteral("3"), 3, 0).parse(bytes, sfps);
    SfpConfigParser(QStringLiteral("16"), 16, 1).parse(bytes, sfps);
    return 0;
}
