#include "infrastructure/platform/JedFile.h"

#include "infrastructure/platform/JedReader_p.h"
#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/PrintableText_p.h"

using namespace Tessorn;

namespace {

int64_t sizeBytes(const JedSummary& summary)
{
    return int64_t(summary.fuseRows) * 16;
}

/// Prints what a fuse file says, line by line; when quiet, only what is wrong with it.
class JedPrinter
{
public:
    explicit JedPrinter(bool beQuiet)
        : quiet(beQuiet)
    {
    }

    void print(JedItem item, const JedSummary& summary, std::string_view text, int fields) const
    {
        switch (item) {
        case JedItem_NoStart:
            machine.printError("No STX at start\n");
            break;
        case JedItem_Unknown:
            machine.printError("unexpected line: %c\n", text.front());
            break;
        case JedItem_BadDate:
            machine.printError("date parse failed %d : \"%s\"\n", fields,
                               printableText(text).c_str());
            break;
        default:
            if (!quiet) {
                printContent(item, summary);
            }
        }
    }

private:
    void printContent(JedItem item, const JedSummary& summary) const
    {
        switch (item) {
        case JedItem_Date:
            machine.print("date: %d/%d/%d\n", summary.date->day, summary.date->month,
                          summary.date->year);
            machine.print("time: %2d:%02d:%02d\n", summary.date->hour, summary.date->minute,
                          summary.date->second);
            break;
        case JedItem_Design:
            printText("design", summary.design);
            break;
        case JedItem_Device:
            printText("device", summary.device);
            break;
        case JedItem_ToolVersion:
            printText("diamond", summary.toolVersion);
            break;
        case JedItem_Fuses:
            machine.print("size: %lld\n", static_cast<long long>(sizeBytes(summary)));
            break;
        case JedItem_FeatureRow:
            printBytes("featurerow:", *summary.featureRow);
            break;
        case JedItem_FeatureBits:
            printBytes("featurebits:", *summary.featureBits);
            break;
        default:
            printBytes("usercode:", *summary.userCode);
        }
    }

    void printText(const char* label, const std::string& text) const
    {
        machine.print("%s: %s\n", label, printableText(text).c_str());
    }

    template <typename Bytes>
    void printBytes(const char* label, const Bytes& bytes) const
    {
        machine.print("%s", label);
        for (const uint8_t byte : bytes) {
            machine.print(" %02X", unsigned(byte));
        }
        machine.print("\n");
    }

    Machine& machine = Machine::current();
    bool quiet;
};

} // namespace

int64_t parseJedFile(std::FILE* stream, bool quiet)
{
    JedSummary summary;
    bool fusesAhead = false;
    const JedPrinter printer(quiet);
    const int failure =
        readJedFile(stream, quiet, summary,
                    [&](JedItem item, const JedSummary& read, std::string_view text, int fields) {
                        fusesAhead = fusesAhead || item == JedItem_FusesAhead;
                        printer.print(item, read, text, fields);
                    });
    if (failure != 0) {
        return failure;
    }
    return fusesAhead ? int64_t(summary.fuseCount / 8) : sizeBytes(summary);
}
