#include "infrastructure/platform/BitHeader.h"

#include "infrastructure/platform/TextScanner_p.h"

#include <fmt/format.h>

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

    uint32_t getCount() const { return count; }

    bool byte(int& value)
    {
        value = std::getc(stream);
        count += value != EOF ? 1 : 0;
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

    /// A text of that many bytes, cut at a NUL; unchanged if there are fewer.
    bool text(std::string& value, uint32_t sizeBytes)
    {
        std::string bytes(sizeBytes, '\0'); // from a 16-bit length
        const std::size_t got = std::fread(bytes.data(), 1, sizeBytes, stream);
        count += static_cast<uint32_t>(got);
        if (got != sizeBytes) {
            return false;
        }
        value = bytes.substr(0, bytes.find('\0'));
        return true;
    }

private:
    std::FILE* stream;
    uint32_t count = 0;
};

/// A text field after the design.
struct Field
{
    std::string BitHeader::*text;
    char tag;
    uint32_t lengthLimit; ///< the length must be below it
    int wrongTag;
    int tooLong;
    int cut;
};

constexpr uint32_t ANY_LENGTH = 0x10000;
constexpr Field FIELDS[] = {
    {&BitHeader::device, 'b', ANY_LENGTH, -10, -11, -11},
    {&BitHeader::date, 'c', 16, -12, -13, -14},
    {&BitHeader::time, 'd', 16, -15, -16, -17},
};

int readField(HeaderReader& reader, const Field& field, std::string& text)
{
    uint32_t length = 0;
    if (!reader.tag(field.tag)) {
        return field.wrongTag;
    }
    if (!reader.number(length, 2)) {
        return field.cut;
    }
    if (length >= field.lengthLimit) {
        return field.tooLong;
    }
    return reader.text(text, length) ? 0 : field.cut;
}

/// Reads the fixed start and the design text. Returns 0 or the number of the check that failed.
int readDesign(HeaderReader& reader, std::string& design)
{
    std::string skipped;
    uint32_t length = 0;
    if (!reader.length(9)) {
        return -1;
    }
    if (!reader.text(skipped, 9)) {
        return -2;
    }
    if (!reader.length(1)) {
        return -3;
    }
    if (!reader.tag('a')) {
        return -4;
    }
    return reader.number(length, 2) && reader.text(design, length) ? 0 : -5;
}

bool readUserId(TextScanner& design, std::optional<uint32_t>& userId)
{
    uint32_t number = 0;
    if (!design.skip("UserID=")) {
        return false;
    }
    if (!design.skip("0X")) {
        design.skip("0x");
    }
    if (!design.number(number, 16) || !(design.atEnd() || design.rest().front() == ';')) {
        return false;
    }
    userId = number;
    return true;
}

} // namespace

int BitDesign::read(std::string_view text)
{
    *this = BitDesign();
    TextScanner design(text.substr(0, text.find('\0')));
    const std::string_view first = design.until(";");
    if (!design.skip(";")) {
        return -6;
    }
    name = first;
    if (design.rest().substr(0, 6) != "UserID") {
        design.until(";");
        if (!design.skip(";")) {
            return -19;
        }
    }
    if (!readUserId(design, userId)) {
        return -7;
    }
    if (!design.skip(";")) {
        return -8;
    }
    if (!design.skip("Version=")) {
        return -9;
    }
    toolVersion = design.until(";");
    return 0;
}

std::string BitDesign::getVersion() const
{
    return !userId ? std::string()
                   : fmt::format("{}-{}.{}{}", *userId >> 16 & 0x7FFF, *userId >> 8 & 0xFF,
                                 *userId & 0xFF, *userId >> 31 != 0 ? "(dev)" : "");
}

int BitHeader::read(std::FILE* stream)
{
    *this = BitHeader();
    HeaderReader reader(stream);
    if (const int failure = readDesign(reader, design)) {
        return failure;
    }
    for (const Field& field : FIELDS) {
        if (const int failure = readField(reader, field, this->*field.text)) {
            return failure;
        }
    }
    if (!reader.tag('e') || !reader.number(streamBytes, 4)) {
        return -18;
    }
    headerBytes = reader.getCount();
    return 0;
}
