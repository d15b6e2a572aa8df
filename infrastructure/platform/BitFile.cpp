#include "infrastructure/platform/BitFile.h"

#include "infrastructure/platform/BitHeader.h"
#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/PrintableText_p.h"

#include <string>

using Tessorn::Machine;
using Tessorn::printableText;

namespace {

void printText(const char* label, const std::string& text)
{
    Machine::current().print("%s: %s\n", label, printableText(text).c_str());
}

/// Prints the parts of the design text that are there. Returns 0 or the number of the check that
/// failed.
int printDesign(const std::string& text)
{
    BitDesign design;
    const int failure = design.read(text);
    if (failure != -6) {
        printText("design", design.name);
    }
    if (design.userId) {
        printText("version", design.getVersion());
    }
    if (failure == 0) {
        printText("vivado", design.toolVersion);
    }
    return failure;
}

/// A field that is printed unless a check before its end has failed, the last of which has this
/// number.
struct Line
{
    const char* label;
    std::string BitHeader::*text;
    int lastCheck;
};

constexpr int LAST_CHECK_OF_DESIGN = -5;
constexpr Line LINES[] = {
    {"device", &BitHeader::device, -11},
    {"date", &BitHeader::date, -14},
    {"time", &BitHeader::time, -17},
};

bool isBehind(int failure, int check)
{
    return failure == 0 || failure < check;
}

} // namespace

int64_t parseBitFile(std::FILE* stream, bool verbose)
{
    BitHeader header;
    const int failure = header.read(stream);
    if (verbose && isBehind(failure, LAST_CHECK_OF_DESIGN)) {
        if (const int designFailure = printDesign(header.design)) {
            return designFailure;
        }
        for (const Line& line : LINES) {
            if (isBehind(failure, line.lastCheck)) {
                printText(line.label, header.*line.text);
            }
        }
        if (failure == 0) {
            Machine::current().print("size: %zu\n", std::size_t(header.streamBytes));
        }
    }
    return failure != 0 ? failure : int64_t(header.streamBytes);
}
