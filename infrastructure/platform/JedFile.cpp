#include "infrastructure/platform/JedFile.h"

#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/platform/PrintableText_p.h"
#include "infrastructure/platform/TextScanner_p.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

using Tessorn::Machine;
using Tessorn::printableText;
using Tessorn::TextScanner;

namespace {

constexpr char STX = 2;
constexpr char ETX = 3;
constexpr std::size_t MOST_LINE_CHARACTERS = 139;
constexpr std::string_view MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

/// The date as the tool chain writes it: "Tue Jun 16 12:00:00 2020", the weekday optional.
struct Date
{
    int day = 0;
    int month = 0;
    int year = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

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

/// The number of fields that could be read; DATE_FIELDS for a whole date.
int parseDate(std::string_view from, Date& date)
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

/// Packs the characters "0" and "1" at the start of a text; missing ones count as 0.
std::vector<uint8_t> packBits(std::string_view text, std::size_t bits, BitOrder order)
{
    std::vector<uint8_t> bytes(bits / 8, 0);
    for (std::size_t i = 0; i < std::min(bits, text.size()); ++i) {
        if (text[i] != '0' && text[i] != '1') {
            break;
        }
        const std::size_t shift = order == BitOrder_MostSignificantFirst ? 7 - i % 8 : i % 8;
        bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | (text[i] - '0') << shift);
    }
    return bytes;
}

class JedReader
{
public:
    JedReader(std::FILE* jedStream, bool beQuiet)
        : stream(jedStream)
        , quiet(beQuiet)
    {
    }

    int64_t read()
    {
        if (std::getc(stream) != STX) {
            machine.printError("No STX at start\n");
            return -1;
        }
        if (!nextLine()) {
            return -5;
        }
        if (first() != '*') {
            return -2;
        }
        while (nextLine()) {
            if (const Outcome outcome = readLine(); outcome.ends) {
                return outcome.result;
            }
        }
        return fuseRows * 16;
    }

private:
    /// Whether a line ends the reading, and with what result.
    struct Outcome
    {
        bool ends = false;
        int64_t result = 0;
    };

    static Outcome goOn() { return {}; }
    static Outcome end(int64_t result) { return {true, result}; }

    /// Reads the next line without its end; false at the end of the file.
    bool nextLine()
    {
        line.clear();
        int next = std::getc(stream);
        if (next == EOF) {
            return false;
        }
        for (; next != EOF && next != '\n'; next = std::getc(stream)) {
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

    Outcome readLine()
    {
        if (first() == ETX) {
            return readChecksum(-3);
        }
        if (line.compare(0, 4, "NOTE") == 0) {
            readNote();
            return goOn();
        }
        switch (first()) {
        case '0':
        case '1':
        case 'F':
        case 'G':
            return goOn();
        case 'C':
            return readChecksum(-6);
        case 'Q':
            return readFuseCount();
        case 'L':
            return readFuses();
        case 'E':
            return readFeatures();
        case 'U':
            readUserCode();
            return goOn();
        default:
            machine.printError("unexpected line: %c\n", first());
            return end(-4);
        }
    }

    /// The checksums must be present, but are not compared with anything.
    Outcome readChecksum(int failure)
    {
        TextScanner text(behindFirst());
        unsigned checksum = 0;
        text.skipBlanks();
        return text.number(checksum, 16, 4) ? goOn() : end(failure);
    }

    Outcome readFuseCount()
    {
        TextScanner text(behindFirst());
        if (!text.skip("F")) {
            return goOn(); // the pin count, for instance
        }
        uint32_t count = 0;
        text.skipBlanks();
        if (!text.number(count)) {
            return end(-6);
        }
        fuseCount = count;
        return goOn();
    }

    Outcome readFuses()
    {
        TextScanner text(behindFirst());
        uint32_t startAddress = 0;
        text.skipBlanks();
        if (!text.number(startAddress)) {
            return end(-6);
        }
        if (quiet) {
            return end(fuseCount / 8);
        }
        for (;;) {
            if (!nextLine()) {
                return end(-5);
            }
            if (first() == '*') {
                break;
            }
            ++fuseRows;
        }
        if (!configDataEnded) {
            machine.print("size: %lld\n", static_cast<long long>(fuseRows * 16));
        }
        return goOn();
    }

    Outcome readFeatures()
    {
        printBytes("featurerow:", packBits(behindFirst(), 64, BitOrder_LeastSignificantFirst));
        if (!nextLine()) {
            return end(-5);
        }
        printBytes("featurebits:", packBits(line, 16, BitOrder_LeastSignificantFirst));
        return goOn();
    }

    /// The user code is in binary or, after an "H", in hexadecimal.
    void readUserCode()
    {
        TextScanner text(behindFirst());
        uint32_t code = 0;
        if (text.skip("H") && text.number(code, 16, 8)) {
            std::vector<uint8_t> bytes;
            for (int shift = 24; shift >= 0; shift -= 8) {
                bytes.push_back(static_cast<uint8_t>(code >> shift));
            }
            printBytes("usercode:", bytes);
            return;
        }
        printBytes("usercode:", packBits(behindFirst(), 32, BitOrder_MostSignificantFirst));
    }

    void readNote()
    {
        std::string_view note =
            std::string_view(line).substr(std::min<std::size_t>(5, line.size()));
        note = note.substr(0, note.find_last_not_of(" \t*") + 1);
        TextScanner text(note);
        const bool known = text.skip("DATE CREATED:");
        text.skipBlanks();
        if (known) {
            readDate(text.rest());
        } else if (text.skip("DESIGN NAME:")) {
            printText("design", text);
        } else if (text.skip("DEVICE NAME:")) {
            printText("device", text);
        } else if (text.skip("Diamond")) {
            printText("diamond", TextScanner(text.until("J")));
        } else if (text.skip("END CONFIG DATA")) {
            configDataEnded = true;
        }
    }

    void readDate(std::string_view text)
    {
        Date date;
        if (text.empty()) {
            return;
        }
        if (const int fields = parseDate(text, date); fields != DATE_FIELDS) {
            machine.printError("date parse failed %d : \"%s\"\n", fields,
                               printableText(text).c_str());
            return;
        }
        if (!quiet) {
            machine.print("date: %d/%d/%d\n", date.day, date.month, date.year);
            machine.print("time: %2d:%02d:%02d\n", date.hour, date.minute, date.second);
        }
    }

    /// Prints a label and the text without the blanks around it.
    void printText(const char* label, TextScanner text)
    {
        if (quiet) {
            return;
        }
        text.skipBlanks();
        const std::string_view shown =
            text.rest().substr(0, text.rest().find_last_not_of(" \t") + 1);
        machine.print("%s: %s\n", label, printableText(shown).c_str());
    }

    void printBytes(const char* label, const std::vector<uint8_t>& bytes)
    {
        if (quiet) {
            return;
        }
        machine.print("%s", label);
        for (const uint8_t byte : bytes) {
            machine.print(" %02X", unsigned(byte));
        }
        machine.print("\n");
    }

    Machine& machine = Machine::current();
    std::FILE* stream;
    bool quiet;
    std::string line;
    int64_t fuseRows = 0;
    int64_t fuseCount = 0;
    bool configDataEnded = false;
};

} // namespace

int64_t parseJedFile(std::FILE* stream, bool quiet)
{
    return JedReader(stream, quiet).read();
}
