#include "infrastructure/platform/JedReader_p.h"

#include "infrastructure/platform/TextScanner_p.h"

#include <algorithm>
#include <iterator>

namespace Tessorn {

namespace {

constexpr char STX = 2;
constexpr char ETX = 3;
constexpr std::size_t MOST_LINE_CHARACTERS = 139;
constexpr std::string_view MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr int DATE_FIELDS = 6;

int monthOf(std::string_view word)
{
    const auto* found = std::find(std::begin(MONTHS), std::end(MONTHS), word);
    return found == std::end(MONTHS) ? 0 : static_cast<int>(found - std::begin(MONTHS)) + 1;
}

bool numberWithin(TextScanner& text, int least, int most, int& value)
{
    text.skipBlanks();
    return text.number(value) && value >= least && value <= most;
}

/// The number of fields that could be read; DATE_FIELDS for a whole date. The weekday is optional.
int parseDate(std::string_view from, JedDate& date)
{
    TextScanner text(from);
    date.month = monthOf(text.until(" \t"));
    if (date.month == 0) {
        text.skipBlanks();
        date.month = monthOf(text.until(" \t"));
    }
    if (date.month == 0) {
        return 0;
    }
    if (!numberWithin(text, 1, 31, date.day)) {
        return 1;
    }
    if (!numberWithin(text, 0, 23, date.hour) || !text.skip(":")) {
        return 2;
    }
    if (!numberWithin(text, 0, 59, date.minute) || !text.skip(":")) {
        return 3;
    }
    if (!numberWithin(text, 0, 60, date.second)) {
        return 4;
    }
    return numberWithin(text, 0, 9999, date.year) ? DATE_FIELDS : 5;
}

enum BitOrder {
    BitOrder_MostSignificantFirst,
    BitOrder_LeastSignificantFirst,
};

bool isBit(char character)
{
    return character == '0' || character == '1';
}

/// Packs the characters "0" and "1" at the start of a text; missing ones count as 0.
template <std::size_t SIZE>
std::array<uint8_t, SIZE> packBits(std::string_view text, BitOrder order)
{
    std::array<uint8_t, SIZE> bytes{};
    for (std::size_t i = 0; i < std::min(SIZE * 8, text.size()) && isBit(text[i]); ++i) {
        const std::size_t shift = order == BitOrder_MostSignificantFirst ? 7 - i % 8 : i % 8;
        bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | (text[i] - '0') << shift);
    }
    return bytes;
}

std::string withoutBlanks(TextScanner text)
{
    text.skipBlanks();
    return std::string(text.rest().substr(0, text.rest().find_last_not_of(" \t") + 1));
}

class JedReader
{
public:
    JedReader(std::FILE* jedStream, bool onlyUntilFuses, JedSummary& result,
              const JedListener& itemListener)
        : stream(jedStream)
        , untilFuses(onlyUntilFuses)
        , summary(result)
        , listener(itemListener)
    {
    }

    int read()
    {
        if (nextByte() != STX) {
            tell(JedItem_NoStart);
            return -1;
        }
        if (!nextLine()) {
            return -5;
        }
        if (first() != '*') {
            return -2;
        }
        while (nextLine()) {
            const int failure = readLine();
            if (failure != 0 || isEnough) {
                return failure;
            }
        }
        return 0;
    }

private:
    int nextByte()
    {
        const int next = std::getc(stream);
        if (next != EOF && !isPastEnd) {
            summary.computedFileChecksum =
                static_cast<uint16_t>(summary.computedFileChecksum + next);
            isPastEnd = next == ETX;
        }
        return next;
    }

    /// Reads the next line without its end; false at the end of the file.
    bool nextLine()
    {
        line.clear();
        int next = nextByte();
        if (next == EOF) {
            return false;
        }
        for (; next != EOF && next != '\n'; next = nextByte()) {
            if (line.size() < MOST_LINE_CHARACTERS) {
                line.push_back(static_cast<char>(next));
            }
        }
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return true;
    }

    /// The first character of the line; a line feed if it is empty.
    char first() const { return line.empty() ? '\n' : line.front(); }
    std::string_view behindFirst() const { return std::string_view(line).substr(1); }

    void tell(JedItem item, std::string_view text = {}, int fields = 0) const
    {
        listener(item, summary, text, fields);
    }

    int readLine()
    {
        if (first() == ETX) {
            return readChecksum(summary.fileChecksum) ? 0 : -3;
        }
        if (line.compare(0, 4, "NOTE") == 0) {
            readNote();
            return 0;
        }
        switch (first()) {
        case '0':
        case '1':
        case 'F':
        case 'G':
            return 0;
        case 'C':
            return readChecksum(summary.fuseChecksum) ? 0 : -6;
        case 'Q':
            return readFuseCount();
        case 'L':
            return readFuses();
        case 'E':
            return readFeatures();
        case 'U':
            readUserCode();
            return 0;
        default:
            const char unknown = first();
            tell(JedItem_Unknown, {&unknown, 1});
            return -4;
        }
    }

    bool readChecksum(std::optional<uint16_t>& checksum)
    {
        TextScanner text(behindFirst());
        uint16_t value = 0;
        text.skipBlanks();
        if (!text.number(value, 16, 4)) {
            return false;
        }
        checksum = value;
        return true;
    }

    int readFuseCount()
    {
        TextScanner text(behindFirst());
        if (!text.skip("F")) {
            return 0; // the pin count, for instance
        }
        text.skipBlanks();
        return text.number(summary.fuseCount) ? 0 : -6;
    }

    int readFuses()
    {
        TextScanner text(behindFirst());
        uint32_t fuse = 0;
        text.skipBlanks();
        if (!text.number(fuse)) {
            return -6;
        }
        if (untilFuses) {
            tell(JedItem_FusesAhead);
            isEnough = true;
            return 0;
        }
        for (;;) {
            if (!nextLine()) {
                return -5;
            }
            if (first() == '*') {
                break;
            }
            ++summary.fuseRows;
            for (std::size_t i = 0; i < line.size() && isBit(line[i]); ++i, ++fuse) {
                summary.computedFuseChecksum = static_cast<uint16_t>(summary.computedFuseChecksum +
                                                                     ((line[i] - '0') << fuse % 8));
            }
        }
        if (!configDataEnded) {
            tell(JedItem_Fuses);
        }
        return 0;
    }

    int readFeatures()
    {
        summary.featureRow = packBits<8>(behindFirst(), BitOrder_LeastSignificantFirst);
        tell(JedItem_FeatureRow);
        if (!nextLine()) {
            return -5;
        }
        summary.featureBits = packBits<2>(line, BitOrder_LeastSignificantFirst);
        tell(JedItem_FeatureBits);
        return 0;
    }

    /// The user code is in binary or, after an "H", in hexadecimal.
    void readUserCode()
    {
        TextScanner text(behindFirst());
        uint32_t code = 0;
        if (text.skip("H") && text.number(code, 16, 8)) {
            summary.userCode = {static_cast<uint8_t>(code >> 24), static_cast<uint8_t>(code >> 16),
                                static_cast<uint8_t>(code >> 8), static_cast<uint8_t>(code)};
        } else {
            summary.userCode = packBits<4>(behindFirst(), BitOrder_MostSignificantFirst);
        }
        tell(JedItem_UserCode);
    }

    void readNote()
    {
        std::string_view note =
            std::string_view(line).substr(std::min<std::size_t>(5, line.size()));
        note = note.substr(0, note.find_last_not_of(" \t*") + 1);
        TextScanner text(note);
        const bool isDate = text.skip("DATE CREATED:");
        text.skipBlanks();
        if (isDate) {
            readDate(text.rest());
        } else if (text.skip("DESIGN NAME:")) {
            summary.design = withoutBlanks(text);
            tell(JedItem_Design);
        } else if (text.skip("DEVICE NAME:")) {
            summary.device = withoutBlanks(text);
            tell(JedItem_Device);
        } else if (text.skip("Diamond")) {
            summary.toolVersion = withoutBlanks(TextScanner(text.until("J")));
            tell(JedItem_ToolVersion);
        } else if (text.skip("END CONFIG DATA")) {
            configDataEnded = true;
        }
    }

    void readDate(std::string_view text)
    {
        JedDate date;
        if (text.empty()) {
            return;
        }
        if (const int fields = parseDate(text, date); fields != DATE_FIELDS) {
            tell(JedItem_BadDate, text, fields);
            return;
        }
        summary.date = date;
        tell(JedItem_Date);
    }

    std::FILE* stream;
    bool untilFuses;
    JedSummary& summary;
    const JedListener& listener;
    std::string line;
    bool isPastEnd = false;       ///< of what the file checksum counts
    bool configDataEnded = false; ///< by a note
    bool isEnough = false;        ///< what was asked for has been read
};

} // namespace

int readJedFile(std::FILE* stream, bool untilFuses, JedSummary& summary,
                const JedListener& listener)
{
    summary = JedSummary();
    return JedReader(stream, untilFuses, summary, listener).read();
}

} // namespace Tessorn

int JedSummary::read(std::FILE* stream)
{
    return Tessorn::readJedFile(stream, false, *this,
                                [](Tessorn::JedItem, const JedSummary&, std::string_view, int) {});
}
