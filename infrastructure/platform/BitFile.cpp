#include "infrastructure/platform/BitFile.h"

#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/PrintableText_p.h"
#include "infrastructure/platform/TextScanner_p.h"

#include <string>
#include <string_view>

using Tessorn::Machine;
using Tessorn::printableText;
using Tessorn::TextScanner;

namespace {

/// Reads bytes and big-endian numbers; each step tells whether all of it was there.
class HeaderReader
{
public:
    explicit HeaderReader(std::FILE* headerStream)
        : stream(headerStream)
    {
    }

    bool byte(int& value)
    {
        value = std::getc(stream);
        return value != EOF;
    }

    bool number(uint32_t& value, int sizeBytes)
    {
        value = 0;
        for (int i = 0; i < sizeBytes; ++i) {
            int next = 0;
            if (!byte(next)) {
                return false;
            }
            value = value << 8 | static_cast<uint32_t>(next);
        }
        return true;
    }

    bool length(uint32_t wanted)
    {
        uint32_t value = 0;
        return number(value, 2) && value == wanted;
    }

    bool tag(char wanted)
    {
        int value = 0;
        return byte(value) && value == wanted;
    }

    bool text(std::string& value, uint32_t sizeBytes)
    {
        value.resize(sizeBytes); // from a 16-bit length
        return std::fread(value.data(), 1, sizeBytes, stream) == sizeBytes;
    }

private:
    std::FILE* stream;
};

void printVersion(Machine& machine, uint32_t userId)
{
    machine.print("version: %d-%d.%d%s\n", static_cast<int>(userId >> 16 & 0x7FFF),
                  static_cast<int>(userId >> 8 & 0xFF), static_cast<int>(userId & 0xFF),
                  userId >> 31 != 0 ? "(dev)" : "");
}

bool readUserId(TextScanner& design, uint32_t& userId)
{
    if (!design.skip("UserID=")) {
        return false;
    }
    if (!design.skip("0X")) {
        design.skip("0x");
    }
    return design.number(userId, 16) && (design.atEnd() || design.rest().front() == ';');
}

/// Prints the parts of the design text. Returns 0 or the number of the check that failed.
int printDesign(std::string_view text)
{
    Machine& machine = Machine::current();
    TextScanner design(text.substr(0, text.find('\0')));
    const std::string_view name = design.until(";");
    if (!design.skip(";")) {
        return -6;
    }
    machine.print("design: %s\n", printableText(name).c_str());
    if (design.rest().substr(0, 6) != "UserID") {
        design.until(";");
        if (!design.skip(";")) {
            return -19;
        }
    }
    uint32_t userId = 0;
    if (!readUserId(design, userId)) {
        return -7;
    }
    printVersion(machine, userId);
    if (!design.skip(";")) {
        return -8;
    }
    if (!design.skip("Version=")) {
        return -9;
    }
    machine.print("vivado: %s\n", printableText(design.until(";")).c_str());
    return 0;
}

/// A text field, as listed in the table below.
struct Field
{
    char tag;
    const char* label;
    uint32_t lengthLimit; ///< the length must be below it
    int wrongTag;
    int tooLong;
    int cut;
};

constexpr uint32_t ANY_LENGTH = 0x10000;
constexpr Field FIELDS[] = {
    {'b', "device", ANY_LENGTH, -10, -11, -11},
    {'c', "date", 16, -12, -13, -14},
    {'d', "time", 16, -15, -16, -17},
};

int readField(HeaderReader& header, const Field& field, bool verbose)
{
    uint32_t length = 0;
    std::string text;
    if (!header.tag(field.tag)) {
        return field.wrongTag;
    }
    if (!header.number(length, 2)) {
        return field.cut;
    }
    if (length >= field.lengthLimit) {
        return field.tooLong;
    }
    if (!header.text(text, length)) {
        return field.cut;
    }
    if (verbose) {
        Machine::current().print("%s: %s\n", field.label, printableText(text).c_str());
    }
    return 0;
}

/// Reads the fixed start and the design text. Returns 0 or the number of the check that failed.
int readDesign(HeaderReader& header, bool verbose)
{
    std::string text;
    if (!header.length(9)) {
        return -1;
    }
    if (!header.text(text, 9)) {
        return -2;
    }
    if (!header.length(1)) {
        return -3;
    }
    if (!header.tag('a')) {
        return -4;
    }
    uint32_t length = 0;
    if (!header.number(length, 2) || !header.text(text, length)) {
        return -5;
    }
    return verbose ? printDesign(text) : 0;
}

} // namespace

int64_t parseBitFile(std::FILE* stream, bool verbose)
{
    HeaderReader header(stream);
    if (const int failure = readDesign(header, verbose)) {
        return failure;
    }
    for (const Field& field : FIELDS) {
        if (const int failure = readField(header, field, verbose)) {
            return failure;
        }
    }
    uint32_t size = 0;
    if (!header.tag('e') || !header.number(size, 4)) {
        return -18;
    }
    if (verbose) {
        Machine::current().print("size: %zu\n", std::size_t(size));
    }
    return size;
}
