#include "infrastructure/utility/captions/CaptionDemultiplexer.h"
#include "infrastructure/utility/captions/CaptionProcessor608.h"
#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"
#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"
#include "infrastructure/utility/video/ancillary/AncillaryWords.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>
#include <QMap>

#include <array>
#include <memory>
#include <random>

namespace {

constexpr uint16_t RCL = 0x1420, RU4 = 0x1427, RDC = 0x1429, RTD = 0x142B;
constexpr uint16_t ROW_1 = 0x1150; ///< preamble address code of column 0

/// A text without the blanks behind it.
QString withoutEnd(QString text)
{
    while (text.endsWith(QLatin1Char(' '))) {
        text.chop(1);
    }
    return text;
}

/// One number for all that processors show and report (FNV-1a of 32-bit words).
class Digest
{
public:
    void add(uint32_t word) { value = (value ^ word) * 0x100000001B3u; }
    void add(const CaptionGrid608& grid)
    {
        for (unsigned row = 0; row < 16; ++row) {
            for (unsigned column = 0; column < 32; ++column) {
                const CaptionCell608 cell = grid.cell(row, column);
                add(cell.glyph | cell.colour << 16 | uint32_t{cell.underline} << 24 |
                    uint32_t{cell.valid} << 25);
            }
        }
    }
    void add(const CaptionProcessor608& processor)
    {
        add(processor.getMode());
        add(processor.displayedGrid());
        add(processor.nonDisplayedGrid());
    }
    uint64_t get() const { return value; }

private:
    uint64_t value = 0xCBF29CE484222325u;
};

/// Writes into all rows, from the sixteenth on, with attributes of each kind.
template <typename Processor>
void fillRows(Processor& processor, int channel)
{
    constexpr uint16_t rows[] = {0x1060, 0x1141, 0x1162, 0x1243, 0x1264, 0x1545, 0x1566, 0x1647,
                                 0x1668, 0x1749, 0x176A, 0x104B, 0x134C, 0x136D, 0x144E, 0x146F};
    uint16_t text = 0x4142;
    for (const uint16_t row : rows) {
        for (const int code : {int{text}, row | channel << 11, text + 0x1010, text + 0x2020}) {
            processor.process(static_cast<uint16_t>(code), channel);
        }
        text = static_cast<uint16_t>(text + 0x0101);
    }
}

/// A pair in which codes are as frequent as text, for either channel.
uint16_t mixedCode(std::mt19937& random)
{
    const auto bits = static_cast<unsigned>(random());
    constexpr std::array<unsigned, 2> forms[] = {
        {0, 0x7F7F}, {0, 0}, {0x1420, 0x090F}, {0x1040, 0x0F3F}, {0x1020, 0x0F1F}};
    constexpr std::array<unsigned, 2> text = {0x2000, 0x5F7F};
    const auto& [base, mask] = bits % 8 < 5 ? forms[bits % 8] : text;
    return static_cast<uint16_t>(bits % 8 == 1 ? bits >> 16 : base | (bits >> 8 & mask));
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
            colours += cell.valid ? QString::number(cell.colour) : " "_s;
            underlines += QLatin1Char(cell.valid && cell.underline ? '_' : ' ');
        }
        const auto add = [&](char kind, const QString& whole) {
            const QString text = withoutEnd(whole);
            if (!text.isEmpty()) {
                const QString key = QString::number(row + 1) + QLatin1Char(kind);
                rows += "%1|%2|"_s.arg(key.leftJustified(3), text);
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
    QFile file(DatacoreTest::testSourceDirectory + "/captions/"_s + QString::fromLatin1(name));
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
    std::array<CaptionProcessor608, 2> services;
    // The same pairs as words of ancillary packets, which carry both services.
    CaptionDemultiplexer demultiplexer;
    CaptionDistributionPacket cdp;
    FindingList findings;
    AncillaryExtractor extractor(
        [&](const ExtractedAncillaryPacket& found) { demultiplexer.process(found.packet); },
        findings);
    QMap<QString, QStringList> shown; // by line and service
    for (const ScenaristLine& line : lines) {
        for (const auto& pair : line.pairs) {
            cdp.tripletCount = 0;
            cdp.append({true, CaptionTripletType_Field1, pair});
            cdp.pad();
            ++cdp.sequence;
            const std::vector<uint8_t> bytes = cdp.toBytes();
            const std::vector<quint16> words =
                makeAncillaryWords(makeAncillaryPacket({0x61, 0x01}, bytes.data(), bytes.size()));
            extractor.readRun({words.data(), words.size()}, {}, AncillarySpace::Vertical);
        }
        for (int channel = 0; channel < 2; ++channel) {
            CaptionProcessor608& processor = services[static_cast<std::size_t>(channel)];
            for (const auto& pair : line.pairs) {
                processor.process(Caption608BytePair::fromRaw(pair[0], pair[1], true).code(),
                                  channel);
            }
            const QString key = "@ %1 CC%2"_s.arg(line.timeCode.toString()).arg(channel + 1);
            shown.insert(key, screen(processor.displayedGrid()));
            shown.insert(key + " of packets"_s,
                         screen(demultiplexer.service608(unsigned(channel) + 1).displayedGrid()));
        }
    }
    CHECK((findings.isEmpty() && demultiplexer.getFindings().isEmpty()));
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
        CHECK(shown.value(screenOf.key() + " of packets"_s) == screenOf.value());
    }
}

// The digests of the next two cases are those of a second decoder, a plain chain of tests over
// plain cells, that was given the same codes.

TEST_CASE("Every code has its effect in every mode and for either channel", "[captions]")
{
    const Table<uint16_t, int, uint64_t> rows{
        {RDC, 0, 0x40CEACADF23EB6AD}, {RDC, 1, 0x7AE6C5856F2F1A25}, {RCL, 0, 0xBF3BCF5DBA05408D},
        {RCL, 1, 0x439588267BDDC581}, {RU4, 0, 0xB5A6880E727F1DA1}, {RU4, 1, 0x48048079D5B0BD6D},
        {RTD, 0, 0xC6F04BB0BAE2C15D}, {RTD, 1, 0xFAC416E9B83E4645},
    };
    for (const auto& [mode, channel, expected] : rows) {
        CaptionProcessor608 processor;
        fillRows(processor, channel);
        processor.process(static_cast<uint16_t>(mode | channel << 11), channel);
        fillRows(processor, channel);
        processor.process(static_cast<uint16_t>(0x1356 | channel << 11), channel);
        Digest digest;
        for (int code = 0; code <= 0xFFFF; ++code) {
            CaptionProcessor608 after = processor;
            for (const int next : {code, 0x4344, 0x142D}) { // text and return show where it is
                digest.add(after.process(static_cast<uint16_t>(next), channel));
                digest.add(after.hasPendingChange());
            }
            if (code % 64 == 0 || (code >= 0x1000 && code < 0x2000)) {
                digest.add(after);
            }
        }
        CAPTURE(mode, channel);
        CHECK(digest.get() == expected);
    }
}

TEST_CASE("Any pairs, sent once or twice, have their effects", "[captions]")
{
    constexpr std::array<uint64_t, 2> digests{0xAE067BFE7E625168, 0x721C14E7873F85AA};
    for (int channel = 0; channel < 2; ++channel) {
        CaptionProcessor608 processor;
        std::mt19937 random(static_cast<unsigned>(channel));
        Digest digest;
        for (int i = 0; i < 300000; ++i) {
            const uint16_t code = mixedCode(random);
            for (unsigned times = random() % 3 == 0 ? 2 : 1; times > 0; --times) {
                digest.add(processor.process(code, channel));
                digest.add(processor.hasPendingChange());
            }
            if (i % 32 == 0) {
                digest.add(processor);
            }
        }
        CHECK(digest.get() == digests[static_cast<std::size_t>(channel)]);
    }
}

TEST_CASE("Characters are written as the tables of CEA-608 have them", "[captions]")
{
    const auto charactersOf = [](int first, int count, int step = 1) {
        CaptionProcessor608 processor;
        processor.process(RDC, 0);
        processor.process(ROW_1, 0);
        for (int code = first; code < first + count * step; code += step) {
            if ((code & 0x0200) != 0 && step == 1) {
                processor.process(0x7800, 0); // an x, which an extended one replaces
            }
            processor.process(static_cast<uint16_t>(code), 0);
        }
        return processor.displayedGrid().rowText(0).left(step == 1 ? count : 2 * count);
    };
    CHECK(charactersOf(0x2021, 16, 0x202) == " !\"#$%&‘()á+,-./0123456789:;<=>?"_s);
    CHECK(charactersOf(0x4041, 16, 0x202) == "@ABCDEFGHIJKLMNOPQRSTUVWXYZ[é]íó"_s);
    CHECK(charactersOf(0x6061, 16, 0x202) == "úabcdefghijklmnopqrstuvwxyzç÷Ññ█"_s);
    CHECK(charactersOf(0x1130, 16) == "®°½¿™¢£♪à\u00A0èâêîôû"_s);
    CHECK(charactersOf(0x1220, 31) == "ÁÉÓÚÜü’¡*'—©℠•“”ÀÂÇÈÊËëÎÏïÔÙùÛ«"_s);
    CHECK(charactersOf(0x1320, 31) == "ÃãÍÌìÒòÕõ{}\\^_|~ÄäÖöß¥¤¦ÅåØø┌┐└"_s);
    CHECK(charactersOf(0x123F, 1) == "»"_s);
    CHECK(charactersOf(0x133F, 1) == "┘"_s);
}

TEST_CASE("Records are taken by field, all of them", "[captions]")
{
    const std::vector<Caption608BytePair> records{
        Caption608BytePair::fromRaw(0x94, 0x2C, true),  // erase: a change
        Caption608BytePair::fromRaw(0xC1, 0xC2, false), // "AB"
        Caption608BytePair::fromRaw(0xC8, 0x49, true),  // "HI"
    };
    CHECK(records[0] == Caption608BytePair{0x14, 0x2C, 0x94, 0x2C, true, 0});
    using Pair = Caption608BytePair;
    checkEachFieldCounts(&Pair::data1, &Pair::data2, &Pair::rawData1, &Pair::rawData2,
                         &Pair::isField1, &Pair::spare);
    for (const auto& [select, changed, text] : Table<CaptionFieldSelect608, bool, const char*>{
             {CaptionFieldSelect608_Field1, true, "HI"},
             {CaptionFieldSelect608_Field2, false, "AB"},
             {CaptionFieldSelect608_None, false, ""}}) {
        CaptionProcessor608 processor;
        processor.setFieldSelect(select);
        CHECK(processor.processPairs(records) == changed);
        CHECK(withoutEnd(processor.displayedGrid().rowText(15)) == QLatin1String(text));
    }
    CaptionProcessor608 untouched;
    CHECK_FALSE(untouched.processPairs(records));
    CHECK_FALSE(untouched.processRecord(records[0]));
    CHECK(untouched.displayedGrid() == CaptionGrid608());
    CHECK_FALSE(untouched.processPairs({}));
}

TEST_CASE("Random pairs have one effect, many at a time or one by one", "[captions]")
{
    runRandomPairs(500000);
}

TEST_CASE("Fifty million random pairs go through the caption processor", "[captions][.][long]")
{
    runRandomPairs(50000000);
}
