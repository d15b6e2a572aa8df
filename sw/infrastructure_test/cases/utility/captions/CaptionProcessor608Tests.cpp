#include "infrastructure/utility/captions/CaptionProcessor608.h"
#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/DatacoreTest.h"

#include <QFile>
#include <QMap>

#include <array>
#include <memory>
#include <random>

namespace {

constexpr uint16_t RCL = 0x1420, BS = 0x1421, DER = 0x1424, RU2 = 0x1425, RU4 = 0x1427,
                   RDC = 0x1429, RTD = 0x142B, EDM = 0x142C, CR = 0x142D, ENM = 0x142E,
                   EOC = 0x142F, TO1 = 0x1721, TO3 = 0x1723;
constexpr uint16_t ROW_15 = 0x1470, ROW_1 = 0x1150; ///< preamble address codes, column 0
constexpr uint16_t CHANNEL_2 = 0x0800;

/// Feeds codes and text to data channel 1, and keeps what was reported.
struct Caption
{
    CaptionProcessor608 processor;
    std::vector<bool> reports;

    Caption& operator<<(int code)
    {
        reports.push_back(processor.process(static_cast<uint16_t>(code), 0));
        return *this;
    }
    Caption& operator<<(const char* text)
    {
        for (; *text != '\0'; text += text[1] == '\0' ? 1 : 2) {
            *this << (text[0] << 8 | text[1]);
        }
        return *this;
    }
    bool reported() const { return reports.back(); }
    QString row(unsigned index) const { return shown(processor.displayedGrid(), index); }
    QString hiddenRow(unsigned index) const { return shown(processor.nonDisplayedGrid(), index); }

    static QString shown(const CaptionGrid608& grid, unsigned index)
    {
        QString text = grid.rowText(index);
        while (text.endsWith(QLatin1Char(' '))) {
            text.chop(1);
        }
        return text;
    }
};

/// The decoder once more, word for word as the rules are told: a chain of tests and plain cells.
struct PlainDecoder
{
    struct Cell
    {
        unsigned colour = 0;
        bool underline = false;
        char16_t glyph = 0;
        bool valid = false;
    };
    using Grid = std::array<std::array<Cell, 32>, 16>;

    int row = 15, column = 0, rollUpRows = 2, mode = 0, lastControlCode = 0;
    unsigned colour = 0;
    bool underline = false, ignoringText = false, gridsSwapped = false;
    std::array<Grid, 2> grids{};

    Grid& displayed() { return grids[gridsSwapped ? 1 : 0]; }
    Grid& hidden() { return grids[gridsSwapped ? 0 : 1]; }

    static char16_t glyph(int index)
    {
        static const QString table = QStringLiteral(
            " !\"#$%&‘()á+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[é]íóúabcdefghijklmnopq"
            "rstuvwxyzç÷Ññ█®°½¿™¢£♪à\u00A0èâêîôûÁÉÓÚÜü’¡*'—©℠•“”ÀÂÇÈÊËëÎÏïÔÙùÛ«»ÃãÍÌìÒòÕõ{}\\^_|~"
            "ÄäÖöß¥¤¦ÅåØø┌┐└┘");
        return index >= 0 && index < 176 ? table[index].unicode() : u'\0';
    }

    void write(char16_t character)
    {
        if (row > 15 || column > 31 || character == 0) {
            return;
        }
        Cell& cell =
            (mode == 1 ? hidden()
                       : displayed())[static_cast<unsigned>(row)][static_cast<unsigned>(column)];
        cell = {colour, underline, character, true};
        column = column < 31 ? column + 1 : 31;
    }

    static void clear(Grid& grid)
    {
        for (auto& cells : grid) {
            clear(cells, 0);
        }
    }
    static void clear(std::array<Cell, 32>& cells, int from)
    {
        for (std::size_t i = static_cast<std::size_t>(from); i < 32; ++i) {
            cells[i].valid = false;
        }
    }
    static void roll(Grid& grid, int top, int bottom)
    {
        for (int i = top; i < bottom; ++i) {
            grid[static_cast<std::size_t>(i)] = grid[static_cast<std::size_t>(i + 1)];
        }
        clear(grid[static_cast<std::size_t>(bottom)], 0);
    }

    bool process(int code, int channel)
    {
        const int data1 = code >> 8, data2 = code & 0xFF;
        const bool matches = ((code & 0x0800) != 0) == (channel == 1);
        if (data1 >= 0x10 && data1 <= 0x1F) {
            ignoringText = false;
            if (code == lastControlCode) {
                code = 0;
                lastControlCode = 0;
            } else {
                lastControlCode = code;
            }
        } else {
            lastControlCode = 0;
        }
        const bool takesText = !ignoringText && mode != 3;
        if ((code & 0x6000) != 0) {
            if (takesText) {
                write(glyph(data1 - 0x20));
                write(data2 >= 0x20 ? glyph(data2 - 0x20) : u'\0');
            }
        } else if ((code & 0x7770) == 0x1130) {
            if (takesText && matches) {
                write(glyph((code & ~0x0800) - 0x10D0));
            }
        } else if ((code & 0x7660) == 0x1220) {
            if (takesText && matches) {
                column -= column > 0 ? 1 : 0;
                write(glyph((code & ~0x0800) - ((code & 0x0100) != 0 ? 0x1290 : 0x11B0)));
            }
        } else if ((code & 0x7070) == 0 && (code & 0x0F0F) != 0) {
            ignoringText = true;
        } else if ((code & 0x7770) == 0x1120) {
            if (matches) {
                colour = static_cast<unsigned>(code) >> 1 & 7;
                underline = (code & 1) != 0;
            }
        } else if ((code & 0x777C) == 0x1724 || (code & 0x777C) == 0x1728) {
        } else if ((code & 0x7040) == 0x1040) {
            if (matches) {
                constexpr int rows[] = {10, -1, 0, 1, 2, 3, 11, 12, 13, 14, 4, 5, 6, 7, 8, 9};
                row = std::max(rows[(data1 & 7) * 2 + (data2 >> 5 & 1)], 0);
                underline = (code & 1) != 0;
                const int value = code >> 1 & 7;
                colour = (code & 0x10) != 0 ? 0 : static_cast<unsigned>(value);
                column = (code & 0x10) != 0 ? value * 4 : 0;
            }
        } else if ((code & 0x7670) == 0x1420 || (code & 0x7770) == 0x1720) {
            code &= (code & 0x0200) != 0 ? ~0x0800 : ~0x0900;
            return matches && command(code);
        }
        return false;
    }

    bool command(int code)
    {
        const bool isShown = mode == 0 || mode == 2;
        Grid& target = isShown ? displayed() : hidden();
        auto& line = target[static_cast<std::size_t>(row)];
        if (code == RCL) {
            mode = 1;
        } else if (code == BS && column > 0) {
            column -= mode == 3 ? 0 : 1;
            line[static_cast<std::size_t>(column)].valid = false;
            return isShown;
        } else if (code == DER && mode != 3) {
            clear(line, column);
            return isShown;
        } else if (code >= RU2 && code <= RU4) {
            if (mode != 2) {
                clear(grids[0]);
                clear(grids[1]);
            }
            rollUpRows = code - RU2 + 2;
            mode = 2;
        } else if (code == RDC) {
            mode = 0;
        } else if (code == RTD) {
            mode = 3;
        } else if (code == EDM && mode != 3) {
            clear(displayed());
            return true;
        } else if (code == ENM && mode != 3) {
            clear(hidden());
        } else if (code == EOC) {
            mode = 1;
            gridsSwapped = !gridsSwapped;
            return true;
        } else if (code == CR && mode >= 2) {
            roll(displayed(), std::max(row - rollUpRows + 1, 0), row);
            return true;
        } else if (code == CR && row == 15) {
            roll(target, 0, 15);
            return true;
        } else if (code == CR) {
            ++row;
        } else if (code >= TO1 && code <= TO3 && mode != 3) {
            column = std::min(column + code - TO1 + 1, 31);
        }
        return false;
    }
};

bool sameGrid(const PlainDecoder::Grid& plain, const CaptionGrid608& grid)
{
    for (unsigned row = 0; row < 16; ++row) {
        for (unsigned column = 0; column < 32; ++column) {
            const PlainDecoder::Cell& cell = plain[row][column];
            if (grid.cell(row, column) !=
                CaptionCell608{cell.colour, cell.underline, cell.glyph, cell.valid, 0}) {
                return false;
            }
        }
    }
    return true;
}

/// A pair in which codes are as frequent as text, for either channel.
uint16_t mixedCode(std::mt19937& random)
{
    const auto bits = static_cast<unsigned>(random());
    switch (bits % 8) {
    case 0:
        return static_cast<uint16_t>(bits >> 8 & 0x7F7F);
    case 1:
        return static_cast<uint16_t>(bits >> 16);
    case 2:
        return static_cast<uint16_t>(0x1420 | (bits >> 8 & 0x090F));
    case 3:
        return static_cast<uint16_t>(0x1040 | (bits >> 8 & 0x0F3F));
    case 4:
        return static_cast<uint16_t>(0x1020 | (bits >> 8 & 0x0F1F));
    default:
        return static_cast<uint16_t>(0x2000 | (bits >> 8 & 0x5F7F));
    }
}

/// Random pairs of both fields, many at a time and, by another processor, one by one.
void runRandomPairs(std::size_t count)
{
    const auto many = std::make_unique<CaptionProcessor608>();
    const auto single = std::make_unique<CaptionProcessor608>();
    for (CaptionProcessor608* processor : {many.get(), single.get()}) {
        processor->setFieldSelect(CaptionFieldSelect608_Field1);
    }
    std::mt19937 random(608);
    std::vector<Caption608BytePair> records;
    std::size_t changes = 0;
    for (std::size_t done = 0; done < count; done += records.size()) {
        records.resize(1 + random() % 200);
        bool isChanged = false;
        for (Caption608BytePair& record : records) {
            const uint16_t code = mixedCode(random);
            record = Caption608BytePair::fromRaw(static_cast<uint8_t>(code >> 8),
                                                 static_cast<uint8_t>(code), random() % 4 != 0);
            isChanged = single->processRecord(record) || isChanged;
        }
        REQUIRE(many->processPairs(records) == isChanged);
        REQUIRE(many->hasPendingChange() == single->hasPendingChange());
        REQUIRE(many->displayedGrid() == single->displayedGrid());
        changes += isChanged ? 1 : 0;
    }
    CHECK(changes > 0);
}

/// The rows that are not blank, in the form of the file of expected screens.
QStringList screen(const CaptionGrid608& grid)
{
    QStringList rows;
    for (unsigned row = 0; row < CaptionGrid608::ROWS; ++row) {
        QString colours, underlines;
        for (unsigned column = 0; column < CaptionGrid608::COLUMNS; ++column) {
            const CaptionCell608 cell = grid.cell(row, column);
            colours += cell.valid ? QString::number(cell.colour) : QStringLiteral(" ");
            underlines += QLatin1Char(cell.valid && cell.underline ? '_' : ' ');
        }
        const auto add = [&](char kind, QString text) {
            while (text.endsWith(QLatin1Char(' '))) {
                text.chop(1);
            }
            if (!text.isEmpty()) {
                const QString key = QString::number(row + 1) + QLatin1Char(kind);
                rows += QStringLiteral("%1|%2|").arg(key.leftJustified(3), text);
            }
        };
        add(' ', grid.rowText(row));
        if (!QString(colours).remove(QLatin1Char('0')).trimmed().isEmpty()) {
            add('c', colours);
        }
        add('u', underlines);
    }
    return rows;
}

QByteArray testSource(const char* name)
{
    QFile file(DatacoreTest::testSourceDirectory + QStringLiteral("/captions/") +
               QString::fromLatin1(name));
    INFO(file.fileName().toStdString());
    REQUIRE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

TEST_CASE("A caption file shows the screens that the standard asks for", "[captions]")
{
    QStringList errors;
    const std::vector<ScenaristLine> lines = readScenaristFile(testSource("styles.scc"), errors);
    REQUIRE(errors.isEmpty());
    std::array<Caption, 2> services;
    QMap<QString, QStringList> shown; // by line and service
    for (const ScenaristLine& line : lines) {
        for (int channel = 0; channel < 2; ++channel) {
            CaptionProcessor608& processor = services[static_cast<std::size_t>(channel)].processor;
            for (const auto& pair : line.pairs) {
                processor.process(Caption608BytePair::fromRaw(pair[0], pair[1], true).code(),
                                  channel);
            }
            shown.insert(QStringLiteral("@ %1 CC%2").arg(line.timeCode.toString()).arg(channel + 1),
                         screen(processor.displayedGrid()));
        }
    }
    QMap<QString, QStringList> expected;
    QString key;
    for (const QByteArray& text : testSource("styles.screens").split('\n')) {
        const QString line = QString::fromUtf8(text);
        if (line.startsWith(QLatin1Char('@'))) {
            key = line;
            expected.insert(key, {});
        } else if (!line.isEmpty() && !line.startsWith(QLatin1Char('#'))) {
            expected[key].append(line);
        }
    }
    CHECK(expected.size() == 21);
    for (auto screenOf = expected.constBegin(); screenOf != expected.constEnd(); ++screenOf) {
        CAPTURE(screenOf.key());
        REQUIRE(shown.contains(screenOf.key()));
        CHECK(shown.value(screenOf.key()) == screenOf.value());
    }
}

TEST_CASE("The processor agrees with a plain chain of tests on any pairs", "[captions]")
{
    for (int channel = 0; channel < 2; ++channel) {
        auto plain = std::make_unique<PlainDecoder>();
        auto processor = std::make_unique<CaptionProcessor608>();
        std::mt19937 random(static_cast<unsigned>(channel));
        for (int i = 0; i < 300000; ++i) {
            const uint16_t code = mixedCode(random);
            const int times = random() % 3 == 0 ? 2 : 1;
            for (int repeat = 0; repeat < times; ++repeat) {
                CAPTURE(i, code, channel);
                REQUIRE(processor->process(code, channel) == plain->process(code, channel));
            }
            REQUIRE(processor->getMode() == plain->mode);
            if (i % 16 == 0) {
                REQUIRE(sameGrid(plain->displayed(), processor->displayedGrid()));
                REQUIRE(sameGrid(plain->hidden(), processor->nonDisplayedGrid()));
            }
        }
    }
}

TEST_CASE("Every code has the same effect as in the plain chain of tests", "[captions]")
{
    for (const uint16_t mode : {RDC, RCL, RU4, RTD}) {
        PlainDecoder plain;
        CaptionProcessor608 processor;
        for (const uint16_t code : {uint16_t{0x3031}, mode, uint16_t{0x1356}, uint16_t{0x4142}}) {
            plain.process(code, 0);
            processor.process(code, 0);
        }
        for (int code = 0; code <= 0xFFFF; ++code) {
            PlainDecoder plainAfter = plain;
            CaptionProcessor608 after = processor;
            bool same = true;
            for (const int next : {code, 0x4344}) { // the text shows where the cursor is
                same = same &&
                       plainAfter.process(next, 0) == after.process(static_cast<uint16_t>(next), 0);
            }
            if (code % 8 == 0 || (code >= 0x1000 && code < 0x1800)) {
                same = same && sameGrid(plainAfter.displayed(), after.displayedGrid()) &&
                       sameGrid(plainAfter.hidden(), after.nonDisplayedGrid());
            }
            if (!same) {
                FAIL("code " << std::hex << code << " in the mode of " << mode);
            }
        }
    }
}

TEST_CASE("Characters are written as the tables of CEA-608 have them", "[captions]")
{
    Caption caption;
    caption << RDC << ROW_1;
    for (int byte = 0x20; byte < 0x80; byte += 2) {
        if (byte % 32 == 0 && byte > 0x20) {
            caption << (byte == 0x40 ? 0x1170 : 0x1250);
        }
        caption << (byte << 8 | (byte + 1));
    }
    CHECK(caption.row(0) == QStringLiteral(" !\"#$%&‘()á+,-./0123456789:;<=>?"));
    CHECK(caption.row(1) == QStringLiteral("@ABCDEFGHIJKLMNOPQRSTUVWXYZ[é]íó"));
    CHECK(caption.row(2) == QStringLiteral("úabcdefghijklmnopqrstuvwxyzç÷Ññ█"));

    const auto charactersOf = [](int first, int count) {
        Caption some;
        some << RDC << ROW_1;
        for (int code = first; code < first + count; ++code) {
            some << ((code & 0x0200) != 0 ? "x" : "") << code; // extended ones replace the x
        }
        return some.processor.displayedGrid().rowText(0).left(count);
    };
    CHECK(charactersOf(0x1130, 16) == QStringLiteral("®°½¿™¢£♪à\u00A0èâêîôû"));
    CHECK(charactersOf(0x1220, 31) == QStringLiteral("ÁÉÓÚÜü’¡*'—©℠•“”ÀÂÇÈÊËëÎÏïÔÙùÛ«"));
    CHECK(charactersOf(0x1320, 31) == QStringLiteral("ÃãÍÌìÒòÕõ{}\\^_|~ÄäÖöß¥¤¦ÅåØø┌┐└"));
    CHECK(charactersOf(0x123F, 1) == QStringLiteral("»"));
    CHECK(charactersOf(0x133F, 1) == QStringLiteral("┘"));
}

TEST_CASE("Of equal control pairs in a row every second one is ignored", "[captions]")
{
    const auto swaps = [](std::vector<int> codes) {
        Caption caption;
        for (const int code : codes) {
            caption << code;
        }
        return std::count(caption.reports.begin(), caption.reports.end(), true);
    };
    CHECK(swaps({EOC}) == 1);
    CHECK(swaps({EOC, EOC}) == 1);
    CHECK(swaps({EOC, EOC, EOC}) == 2);
    CHECK(swaps({EOC, 0x4141, EOC}) == 2);
    CHECK(swaps({EOC, 0x0000, EOC}) == 2); // filler is no control pair
    CHECK(swaps({EOC, EOC | CHANNEL_2, EOC}) == 2);
}

TEST_CASE("What is written where is as the reactions say", "[captions]")
{
    Caption caption;
    SECTION("An extended character replaces the one before it, but not beyond column 0")
    {
        caption << RDC << ROW_1 << 0x1220 << "e" << 0x1221;
        CHECK(caption.row(0) == QStringLiteral("ÁÉ"));
    }
    SECTION("Text at the last column overwrites it")
    {
        caption << RDC << 0x115E << TO3 << "ab"
                << "cd"; // column 28 and 3
        CHECK(caption.row(0) == QString(31, QLatin1Char(' ')) + QLatin1Char('d'));
    }
    SECTION("Text before the first preamble goes to a sixteenth row")
    {
        caption << "ab";
        CHECK(caption.row(15) == QStringLiteral("ab"));
    }
    SECTION("The preamble of no row moves to the first")
    {
        caption << ROW_15 << 0x1060 << "a" << (0x1060 | CHANNEL_2);
        CHECK(caption.row(0) == QStringLiteral("a"));
    }
    SECTION("Paint-on text reports no change of its own")
    {
        caption << RDC << ROW_1 << "abcd";
        CHECK(std::count(caption.reports.begin(), caption.reports.end(), true) == 0);
        CHECK(caption.processor.hasPendingChange());
        caption << EDM;
        CHECK(caption.reported());
        CHECK_FALSE(caption.processor.hasPendingChange());
        CHECK(caption.row(0).isEmpty());
    }
    SECTION("Pop-on text is hidden until it is swapped in, and EOC twice brings the first back")
    {
        caption << RCL << ROW_1 << "ab";
        CHECK_FALSE(caption.processor.hasPendingChange());
        CHECK(caption.hiddenRow(0) == QStringLiteral("ab"));
        caption << EOC;
        CHECK(caption.row(0) == QStringLiteral("ab"));
        caption << RCL << EOC;
        CHECK(caption.row(0).isEmpty());
        CHECK(caption.hiddenRow(0) == QStringLiteral("ab"));
    }
    SECTION("Roll-up clears both grids without a report, but not a second time")
    {
        caption << "ab" << RCL << "cd" << RU2;
        CHECK_FALSE(caption.reported());
        CHECK(caption.row(15).isEmpty());
        CHECK(caption.hiddenRow(15).isEmpty());
        caption << ROW_1 << "ef" << RU4;
        CHECK(caption.row(0) == QStringLiteral("ef"));
        caption << CR;
        CHECK(caption.reported());
        CHECK(caption.row(0).isEmpty());
    }
    SECTION("A carriage return in pop-on reports only at the foot")
    {
        caption << RCL << 0x1470 << "ab" << CR; // to the sixteenth row
        CHECK_FALSE(caption.reported());
        caption << 0x0000 << CR;
        CHECK(caption.reported());
        CHECK(caption.hiddenRow(13) == QStringLiteral("ab"));
    }
    SECTION("XDS pairs hide the text up to the next control pair")
    {
        caption << RDC << ROW_1 << 0x0103 << "ab" << 0x1120 << "cd";
        CHECK(caption.row(0) == QStringLiteral("cd"));
    }
    SECTION("Text mode discards text, and its carriage return rolls what is displayed")
    {
        caption << RDC << ROW_1 << "ab" << RTD << "cd" << EDM;
        CHECK_FALSE(caption.reported());
        CHECK(caption.row(0) == QStringLiteral("ab"));
        caption << CR;
        CHECK(caption.reported());
        CHECK(caption.row(0).isEmpty());
    }
}

TEST_CASE("Records are taken by field, all of them", "[captions]")
{
    const std::vector<Caption608BytePair> records{
        Caption608BytePair::fromRaw(0x94, 0x2C, true),  // erase: a change
        Caption608BytePair::fromRaw(0xC1, 0xC2, false), // "AB"
        Caption608BytePair::fromRaw(0xC8, 0x49, true),  // "HI"
    };
    CHECK(records[0].data1 == 0x14);
    CHECK(records[0].rawData1 == 0x94);
    struct Row
    {
        CaptionFieldSelect608 select;
        bool changed;
        const char* text;
    };
    for (const Row& row : {Row{CaptionFieldSelect608_Field1, true, "HI"},
                           Row{CaptionFieldSelect608_Field2, false, "AB"},
                           Row{CaptionFieldSelect608_None, false, ""}}) {
        Caption caption;
        caption.processor.setFieldSelect(row.select);
        CHECK(caption.processor.processPairs(records) == row.changed);
        CHECK(caption.row(15) == QString::fromLatin1(row.text));
    }
    Caption untouched;
    CHECK_FALSE(untouched.processor.processPairs(records));
    CHECK_FALSE(untouched.processor.processRecord(records[0]));
    CHECK(untouched.processor.displayedGrid() == CaptionGrid608());
    CHECK_FALSE(untouched.processor.processPairs({}));
}

TEST_CASE("Random pairs have one effect, many at a time or one by one", "[captions]")
{
    runRandomPairs(500000);
}

TEST_CASE("Fifty million random pairs go through the caption processor", "[captions][.][long]")
{
    runRandomPairs(50000000);
}
