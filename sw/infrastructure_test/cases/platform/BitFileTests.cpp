#include "infrastructure/platform/BitFile.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include <cstring>

namespace {

QByteArray number16(int value)
{
    return QByteArray(1, static_cast<char>(value >> 8)) + static_cast<char>(value);
}

QByteArray field(char tag, const QByteArray& text)
{
    return tag + number16(text.size()) + text;
}

/// A text with the NUL that its length counts.
QByteArray closed(const char* text)
{
    return QByteArray(text, static_cast<int>(std::strlen(text)) + 1);
}

struct Parts
{
    QByteArray start = QByteArray::fromHex("0009"
                                           "0ff00ff00ff00ff000"
                                           "0001");
    QByteArray design = field('a', closed("n;UserID=0X81020304;Version=2019.1"));
    QByteArray device = field('b', closed("xcku040-ffva1156-2-e"));
    QByteArray date = field('c', closed("2020/06/16"));
    QByteArray time = field('d', closed("12:34:56"));
    QByteArray size = QByteArray::fromHex("65"
                                          "80000001");

    QByteArray all() const { return start + design + device + date + time + size; }
};

int64_t parse(const QByteArray& bytes, bool verbose)
{
    // An empty buffer can't be opened as a stream.
    std::FILE* stream = bytes.isEmpty() ? std::tmpfile()
                                        : ::fmemopen(const_cast<char*>(bytes.constData()),
                                                     static_cast<size_t>(bytes.size()), "r");
    REQUIRE(stream);
    const int64_t result = parseBitFile(stream, verbose);
    std::fclose(stream);
    return result;
}

} // namespace

TEST_CASE("A bit file's header gives the size of its stream and, if wanted, its texts",
          "[platform]")
{
    MadeMachine machine;
    CHECK(parse(Parts().all(), false) == 0x80000001);
    CHECK(machine.takeOut().empty());
    CHECK(parse(Parts().all(), true) == 0x80000001);
    CHECK(machine.takeOut() == "design: n\n"
                               "version: 258-3.4(dev)\n"
                               "vivado: 2019.1\n"
                               "device: xcku040-ffva1156-2-e\n"
                               "date: 2020/06/16\n"
                               "time: 12:34:56\n"
                               "size: 2147483649\n");
}

TEST_CASE("The design text of a bit file is taken apart", "[platform]")
{
    struct Row
    {
        const char* text;
        int64_t result;
        const char* out;
    };
    const Row rows[] = {
        {"n;COMPRESS=TRUE;UserID=0X00010203;Version=2019.1", 1,
         "design: n\nversion: 1-2.3\nvivado: 2019.1\n"},
        {"n;UserID=0Xff;Version=2019.1;PR=1", 1, "design: n\nversion: 0-0.255\nvivado: 2019.1\n"},
        {"n;UserID=FFFFFFFF;Version=", 1, "design: n\nversion: 32767-255.255(dev)\nvivado: \n"},
        {"n.ncd;UserID=0xFFFFFFFF", -8, "design: n.ncd\nversion: 32767-255.255(dev)\n"},
        {"n;UserID=0X01020304;COMPRESS=TRUE", -9, "design: n\nversion: 258-3.4\n"},
        {"n;UserID=0X01020304;", -9, "design: n\nversion: 258-3.4\n"},
        {"n.ncd", -6, ""},
        {"", -6, ""},
        {"n;", -19, "design: n\n"},
        {"n;COMPRESS=TRUE", -19, "design: n\n"},
        {"n;A=1;B=2;UserID=1;Version=1", -7, "design: n\n"},
        {"n;UserIDs=1;Version=1", -7, "design: n\n"},
        {"n;UserID=;Version=1", -7, "design: n\n"},
        {"n;UserID=0X100000000;Version=1", -7, "design: n\n"},
        {"n;UserID=0Xquux;Version=1", -7, "design: n\n"},
        {"\x1b[2J;UserID=1;Version=\x07", 1, "design: ?[2J\nversion: 0-0.1\nvivado: ?\n"},
    };
    MadeMachine machine;
    for (const Row& row : rows) {
        CAPTURE(row.text);
        Parts parts;
        parts.design = field('a', closed(row.text));
        parts.size = QByteArray::fromHex("6500000001");
        CHECK(parse(parts.all(), true) == row.result);
        const std::string out = machine.takeOut();
        CHECK(out.substr(0, out.find("device")) == row.out);
        CHECK(parse(parts.all(), false) == 1); // the text counts only if it is to be shown
    }
}

TEST_CASE("Each thing wrong in a bit file's header has its number", "[platform]")
{
    struct Row
    {
        int result;
        void (*spoil)(Parts&);
    };
    const Row rows[] = {
        {-1, [](Parts& p) { p.start[1] = 8; }},
        {-3, [](Parts& p) { p.start[12] = 2; }},
        {-4, [](Parts& p) { p.design[0] = 'A'; }},
        {-10, [](Parts& p) { p.device[0] = 'c'; }},
        {-12, [](Parts& p) { p.date[0] = 'b'; }},
        {-13, [](Parts& p) { p.date = field('c', QByteArray(16, 'x')); }},
        {-15, [](Parts& p) { p.time[0] = 'e'; }},
        {-16, [](Parts& p) { p.time = field('d', QByteArray(65535, 'x')); }},
        {-18, [](Parts& p) { p.size[0] = 'f'; }},
        {1, [](Parts& p) { p.date = field('c', QByteArray(15, 'x')); }},
        {1, [](Parts& p) { p.time = field('d', QByteArray()); }},
    };
    MadeMachine machine;
    for (const Row& row : rows) {
        for (const bool verbose : {false, true}) {
            Parts parts;
            parts.size = QByteArray::fromHex("6500000001");
            row.spoil(parts);
            CHECK(parse(parts.all(), verbose) == row.result);
        }
    }
}

TEST_CASE("A bit file's header that is cut anywhere tells what is missing", "[platform]")
{
    const Parts parts;
    // By the bytes that are there: what is missing is the first that does not fit any more.
    struct Row
    {
        int sizeBytes;
        int result;
    };
    const Row rows[] = {
        {2, -1},                       // length 9
        {9, -2},                       // its bytes
        {2, -3},                       // length 1
        {1, -4},                       // tag a
        {parts.design.size() - 1, -5}, // design
        {1, -10},                      // tag b
        {parts.device.size() - 1, -11},
        {1, -12},
        {parts.date.size() - 1, -14},
        {1, -15},
        {parts.time.size() - 1, -17},
        {5, -18},
    };
    MadeMachine machine;
    int size = 0;
    for (const Row& row : rows) {
        for (int i = 0; i < row.sizeBytes; ++i, ++size) {
            CAPTURE(size);
            CHECK(parse(parts.all().left(size), false) == row.result);
        }
    }
    CHECK(size == parts.all().size());
}
