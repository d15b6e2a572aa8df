#include "infrastructure/platform/BitFile.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

namespace {

QByteArray field(char tag, const QByteArray& text)
{
    const int size = text.size();
    return QByteArray(1, tag) + static_cast<char>(size >> 8) + static_cast<char>(size) + text;
}

/// A text with the NUL that its length counts.
QByteArray closed(const QByteArray& text)
{
    return text + '\0';
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
    QByteArray size = QByteArray::fromHex("6580000001");

    QByteArray all() const { return start + design + device + date + time + size; }
};

constexpr int64_t SIZE = 0x80000001;

int64_t parse(const QByteArray& bytes, bool verbose)
{
    return parseBitFile(streamOf(bytes).get(), verbose);
}

} // namespace

TEST_CASE("A bit file's header gives the size of its stream and, if wanted, its texts",
          "[platform]")
{
    MadeMachine machine;
    CHECK(parse(Parts().all(), false) == SIZE);
    CHECK(machine.takeOut().empty());
    CHECK(parse(Parts().all(), true) == SIZE);
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
    const auto [text, result, out] = GENERATE(table<const char*, int64_t, const char*>({
        {"n;COMPRESS=TRUE;UserID=0X00010203;Version=2019.1", SIZE,
         "design: n\nversion: 1-2.3\nvivado: 2019.1\n"},
        {"n;UserID=0Xff;Version=2019.1;PR=1", SIZE,
         "design: n\nversion: 0-0.255\nvivado: 2019.1\n"},
        {"n;UserID=FFFFFFFF;Version=", SIZE, "design: n\nversion: 32767-255.255(dev)\nvivado: \n"},
        {"n.ncd;UserID=0xFFFFFFFF", -8, "design: n.ncd\nversion: 32767-255.255(dev)\n"},
        {"n;UserID=0X01020304;COMPRESS=TRUE", -9, "design: n\nversion: 258-3.4\n"},
        {"n.ncd", -6, ""},
        {"", -6, ""},
        {"n;COMPRESS=TRUE", -19, "design: n\n"},
        {"n;A=1;B=2;UserID=1;Version=1", -7, "design: n\n"},
        {"n;UserIDs=1;Version=1", -7, "design: n\n"},
        {"n;UserID=;Version=1", -7, "design: n\n"},
        {"n;UserID=0X100000000;Version=1", -7, "design: n\n"},
        {"n;UserID=0X1x;Version=1", -7, "design: n\n"},
        {"\x1b[2J;UserID=1;Version=\x07", SIZE, "design: ?[2J\nversion: 0-0.1\nvivado: ?\n"},
    }));
    CAPTURE(text);
    MadeMachine machine;
    Parts parts;
    parts.design = field('a', closed(text));
    CHECK(parse(parts.all(), true) == result);
    const std::string shown = machine.takeOut();
    CHECK(shown.substr(0, shown.find("device")) == out);
    CHECK(parse(parts.all(), false) == SIZE); // the text counts only if it is to be shown
}

TEST_CASE("Each thing wrong in a bit file's header has its number", "[platform]")
{
    const auto [part, bytes, result] = GENERATE(table<QByteArray Parts::*, QByteArray, int64_t>({
        {&Parts::start, QByteArray::fromHex("00080ff00ff00ff00ff0000001"), -1},
        {&Parts::start, QByteArray::fromHex("00090ff00ff00ff00ff0000002"), -3},
        {&Parts::design, field('A', ""), -4},
        {&Parts::device, field('c', ""), -10},
        {&Parts::date, field('b', ""), -12},
        {&Parts::date, field('c', QByteArray(16, 'x')), -13},
        {&Parts::time, field('e', ""), -15},
        {&Parts::time, field('d', QByteArray(65535, 'x')), -16},
        {&Parts::size, QByteArray::fromHex("6680000001"), -18},
        {&Parts::date, field('c', QByteArray(15, 'x')), SIZE},
        {&Parts::time, field('d', ""), SIZE},
    }));
    const MadeMachine machine;
    Parts parts;
    parts.*part = bytes;
    CHECK(parse(parts.all(), GENERATE(false, true)) == result);
}

TEST_CASE("A bit file's header that is cut anywhere tells what is missing", "[platform]")
{
    const Parts parts;
    // By the bytes that are there: what is missing is the first that does not fit any more.
    const std::pair<int, int> rows[] = {
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
    const MadeMachine machine;
    int size = 0;
    for (const auto& [sizeBytes, result] : rows) {
        for (int i = 0; i < sizeBytes; ++i, ++size) {
            CAPTURE(size);
            CHECK(parse(parts.all().left(size), false) == result);
        }
    }
    CHECK(size == parts.all().size());
}
