// The words of a link, without a beginning: rasters are measured, frames read, slips survived.
#include "infrastructure/utility/video/analysis/SdiWordReader.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"
#include "sw/infrastructure_test/MadeFrame.h"
#include "sw/infrastructure_test/TestSupport.h"

namespace {

/// A raster, and frames of it on a link.
struct Link
{
    quint32 words;
    quint32 width;
    quint32 active;
    std::vector<SdiRaster::Field> fields;

    SdiRaster raster() const { return {words, width, active, fields}; }
    LinkWords frame(quint32 seed) const
    {
        const FrameLayout layout = raster().toLayout();
        return linkWords(joined(layout, makeFrame(layout, seed), false), words);
    }
    /// Of the same frame again and again, so that CRCs are right throughout.
    LinkWords frames(int count) const
    {
        const LinkWords one = frame(5);
        LinkWords all;
        for (int i = 0; i < count; ++i) {
            all.insert(all.end(), one.begin(), one.end());
        }
        return all;
    }
    std::size_t lineWords() const { return std::size_t(width) * words; }
};

const Link LINKS[] = {
    {2, 90, 60, {{1, 20, 5, 14}}},
    {2, 100, 64, {{1, 11, 3, 7}, {12, 10, 15, 7}}},
    {4, 80, 50, {{1, 11, 3, 7}, {12, 10, 15, 7}}},
    {4, 77, 50, {{1, 20, 5, 14}}},
    {8, 70, 48, {{1, 20, 5, 14}}},
    {1, 1728, 1440, {{1, 312, 23, 288}, {313, 313, 336, 288}}},
    {1, 1716, 1440, {{4, 262, 20, 244}, {266, 263, 283, 243}}},
};

bool operator==(const SdiRaster::Field& a, const SdiRaster::Field& b)
{
    return a.firstLine == b.firstLine && a.lines == b.lines &&
           a.firstActiveLine == b.firstActiveLine && a.activeLines == b.activeLines;
}

void checkRaster(const SdiWordReader& reader, const Link& link)
{
    REQUIRE(reader.getState() == SdiWordReader::State::Reading);
    const SdiRaster& raster = *reader.getRaster();
    CHECK(raster.words == link.words);
    CHECK(raster.samplesPerLine == link.width);
    CHECK(raster.activeSamples == link.active);
    CHECK(std::equal(raster.fields.begin(), raster.fields.end(), link.fields.begin(),
                     link.fields.end(), [](const auto& a, const auto& b) { return a == b; }));
}

QStringList textsOf(const SdiWordReader& reader)
{
    QStringList texts;
    for (const Finding& finding : reader.getFindings().getFindings()) {
        texts.append(finding.toString());
    }
    return texts;
}

void append(LinkWords& words, const LinkWords& more)
{
    words.insert(words.end(), more.begin(), more.end());
}

} // namespace

TEST_CASE("A link's raster is measured and its frames are read, wherever it begins", "[frames]")
{
    std::mt19937 random(4);
    for (const Link& link : LINKS) {
        CAPTURE(&link - LINKS);
        const LinkWords all = link.frames(6);
        FrameReaderOptions options;
        options.link = 3;
        SdiWordReader reader(options);
        FrameWords read;
        reader.setLineReceiver([&](const FrameReader::Line& line) {
            read.insert(read.end(), line.blanking, line.blanking + line.blankingCount);
            read.insert(read.end(), line.picture, line.picture + line.pictureCount);
        });
        for (std::size_t i = random() % all.size() / 6; i < all.size();) {
            const std::size_t piece = std::min<std::size_t>(1 + random() % 3000, all.size() - i);
            const LinkWords part(all.begin() + std::ptrdiff_t(i),
                                 all.begin() + std::ptrdiff_t(i + piece));
            reader.read(part.data(), part.size());
            i += piece;
        }
        CHECK(textsOf(reader) == QStringList());
        checkRaster(reader, link);
        CHECK(reader.getFrameCount() >= 2);

        const FrameLayout layout = link.raster().toLayout();
        const FrameWords frame = joined(layout, makeFrame(layout, 5), false);
        REQUIRE(read.size() > 2 * frame.size());
        CHECK(std::equal(frame.begin(), frame.end(), read.begin()));
        CHECK(std::equal(frame.begin(), frame.end(), read.begin() + std::ptrdiff_t(frame.size())));
    }
}

TEST_CASE("Words lost or inserted cost a line", "[frames]")
{
    std::mt19937 random(6);
    for (std::size_t number = 0; number < 5; ++number) {
        const Link& link = LINKS[number];
        for (int round = 0; round < 40; ++round) {
            LinkWords all = link.frames(6);
            const quint32 lines = link.raster().getLines();
            const quint32 line = 3 * lines + quint32(random() % lines);
            // Anywhere but in the reference that begins the line.
            const std::size_t at = line * link.lineWords() + 4 * link.words +
                                   random() % (link.lineWords() - 8 * link.words);
            const auto place = all.begin() + std::ptrdiff_t(at);
            const std::size_t count = 1 + random() % (4 * link.words);
            const bool isLost = random() % 2 == 0;
            if (isLost) {
                all.erase(place, place + std::ptrdiff_t(count));
            } else {
                all.insert(place, count, 0x155);
            }
            FrameReaderOptions options;
            options.link = 1;
            SdiWordReader reader(options);
            reader.read(all.data(), all.size());
            CAPTURE(number, round, at, count, isLost, textsOf(reader));
            REQUIRE(reader.getFindings().getTotal() == 1);
            const std::size_t length = link.lineWords();
            const Finding expected{FindingCode::LineLength,
                                   {1, -1, int(line % lines) + 1, -1},
                                   qint64(length),
                                   qint64(isLost ? length - count : length + count)};
            REQUIRE(reader.getFindings().getFindings()[0].toString() == expected.toString());
            checkRaster(reader, link);
            REQUIRE(reader.getFrameCount() >= 2);
        }
    }
}

TEST_CASE("Lines lost or repeated are told by their numbers", "[frames]")
{
    for (std::size_t number = 0; number < 5; ++number) {
        const Link& link = LINKS[number];
        const quint32 lines = link.raster().getLines();
        for (const quint32 missing : {1u, 4u, lines - 3}) {
            LinkWords all = link.frames(7);
            const std::size_t from = (3 * lines + 6) * link.lineWords();
            const auto place = all.begin() + std::ptrdiff_t(from);
            all.erase(place, place + std::ptrdiff_t(missing * link.lineWords()));
            SdiWordReader reader;
            reader.read(all.data(), all.size());
            CAPTURE(number, missing, textsOf(reader));
            REQUIRE(reader.getFindings().getTotal() == 1);
            const Finding& finding = reader.getFindings().getFindings()[0];
            CHECK(finding.code == FindingCode::LineSlip);
            CHECK(finding.place.line == 7);
            CHECK(finding.expected == 7);
            CHECK(finding.found == (6 + missing) % lines + 1);
            checkRaster(reader, link);
            CHECK(reader.getFrameCount() >= 2);
        }
    }
}

TEST_CASE("A damaged reference is a finding and nothing more", "[frames]")
{
    std::mt19937 random(8);
    for (const Link& link : LINKS) {
        const quint32 lines = link.raster().getLines();
        const LinkWords good = link.frames(5);
        for (int round = 0; round < (link.words == 1 ? 2 : 40); ++round) {
            LinkWords all = good;
            const quint32 line = 3 * lines + quint32(random() % lines);
            all[line * link.lineWords() + random() % (4 * link.words)] ^=
                quint16(1u << random() % 10);
            SdiWordReader reader;
            reader.read(all.data(), all.size());
            CAPTURE(&link - LINKS, round, line % lines + 1, textsOf(reader));
            REQUIRE(reader.getFindings().getTotal() == 1);
            const Finding& finding = reader.getFindings().getFindings()[0];
            REQUIRE((finding.code == FindingCode::TimingReference ||
                     finding.code == FindingCode::TimingProtection));
            REQUIRE((finding.place.line >= 1 && finding.place.line <= int(lines)));
            const int first = int(link.fields[0].firstLine);
            REQUIRE((finding.place.line - first + int(lines)) % int(lines) == int(line % lines));
            checkRaster(reader, link);
        }
    }
}

TEST_CASE("Another signal on the link is measured anew", "[frames]")
{
    // Other words in turn, other line lengths, other lines, and nothing in between.
    for (const Link& before : LINKS) {
        for (const Link& after : LINKS) {
            if (&before == &after) {
                continue;
            }
            CAPTURE(&before - LINKS, &after - LINKS);
            LinkWords all = before.frames(3);
            all.resize(all.size() - 10);
            append(all, after.frames(5));
            SdiWordReader reader;
            reader.read(all.data(), all.size());
            checkRaster(reader, after);
            CHECK(reader.getFrameCount() >= 2);
        }
    }
    // Fields in the place of whole frames, with equal lines.
    const Link progressive{2, 90, 60, {{1, 21, 5, 14}}};
    const Link inFields{2, 90, 60, {{1, 11, 3, 7}, {12, 10, 15, 6}}};
    LinkWords all = progressive.frames(3);
    append(all, inFields.frames(4));
    SdiWordReader reader;
    reader.read(all.data(), all.size());
    checkRaster(reader, inFields);
    // Then silence.
    all.assign(10000, 0x200);
    reader.clearFindings();
    reader.read(all.data(), all.size());
    CHECK(reader.getState() == SdiWordReader::State::Searching);
    CHECK_FALSE(reader.getRaster());
    CHECK(reader.getFindings().getCount(FindingCode::ReferencesLost) == 1);
}

TEST_CASE("A raster is measured even if no frame is undamaged", "[frames]")
{
    const Link& link = LINKS[1];
    LinkWords all = link.frames(7);
    for (std::size_t line = 8; line < 7 * 21; line += 21) {
        all[line * link.lineWords() + 7] ^= 0x20; // with the flags of the line before
    }
    SdiWordReader reader;
    reader.read(all.data(), all.size());
    checkRaster(reader, link);
    CHECK(reader.getFindings().getCount(FindingCode::TimingProtection) >= 1);
    CHECK(reader.getFindings().getTotal() ==
          reader.getFindings().getCount(FindingCode::TimingProtection));
}

TEST_CASE("Words of more than ten bits are findings, and their ten bits count", "[frames]")
{
    LinkWords all = LINKS[0].frames(4);
    all[5] |= 0x8000;
    SdiWordReader reader;
    reader.read(all.data(), all.size());
    REQUIRE(reader.getFindings().getTotal() == 1);
    CHECK(reader.getFindings().getFindings()[0].code == FindingCode::WordTooWide);
    CHECK(reader.getFindings().getFindings()[0].found == all[5]);
    checkRaster(reader, LINKS[0]);
}

TEST_CASE("Random words and broken references are survived", "[frames]")
{
    std::mt19937 random(12);
    for (int round = 0; round < 30; ++round) {
        SdiWordReader reader;
        for (int piece = 0; piece < 200; ++piece) {
            const Link& link = LINKS[random() % 5];
            LinkWords words = link.frame(1);
            const std::size_t from = random() % words.size();
            words.erase(words.begin(), words.begin() + std::ptrdiff_t(from));
            words.resize(random() % 3 == 0 ? random() % 50 : words.size());
            reader.read(words.data(), words.size());
        }
        REQUIRE(reader.getFindings().getFindings().size() <= FindingList::DEFAULT_LIMIT);
        const LinkWords all = LINKS[1].frames(5);
        reader.read(all.data(), all.size());
        checkRaster(reader, LINKS[1]);
    }
}

TEST_CASE("A raster tells the interfaces that can carry it", "[frames]")
{
    using namespace Tessorn::Sdi;
    // Rates are those at which clock, line and frame agree (SMPTE ST 274, ST 296, BT.656).
    const Table<Link, QStringList> rows{
        {{2, 2640, 1920, {{1, 1125, 42, 1080}}}, {"1.5G A 25"_s, "3G A 50"_s}},
        {{2, 2200, 1920, {{1, 563, 21, 540}, {564, 562, 584, 540}}}, {"1.5G A 30"_s, "3G A 60"_s}},
        {{2, 2750, 1920, {{1, 1125, 42, 1080}}}, {"1.5G A 24"_s, "3G A 48"_s}},
        {{2, 1980, 1280, {{1, 750, 26, 720}}}, {"1.5G A 50"_s, "3G A 100"_s}},
        {{4, 2640, 1920, {{1, 563, 21, 540}, {564, 562, 584, 540}}}, {"3G B 25"_s}},
        {{8, 2200, 1920, {{1, 1125, 42, 1080}}}, {"6G A 30"_s, "12G A 60"_s}},
        {LINKS[5], {"270M A 25"_s}},
        {LINKS[6], {"270M A 30"_s}},
        {{2, 2641, 1920, {{1, 1125, 42, 1080}}}, {}},
        {{3, 2640, 1920, {{1, 1125, 42, 1080}}}, {}},
    };
    for (const auto& [link, expected] : rows) {
        QStringList found;
        for (const SdiInterface& each : link.raster().getInterfaces()) {
            found.append(
                "%1 %2 %3"_s.arg(toString(each.rate), toString(each.level)).arg(each.frameRateHz));
        }
        CHECK(found == expected);
    }

    // 1080p50 level A and B, 1080i25, 2160p50 on 12G: each fits its own raster alone.
    const Table<quint32, Link> standards{
        {0x89C98001, {2, 2640, 1920, {{1, 1125, 42, 1080}}}},
        {0x8A492001, {4, 2640, 1920, {{1, 563, 21, 540}, {564, 562, 584, 540}}}},
        {0x85050001, {2, 2640, 1920, {{1, 563, 21, 540}, {564, 562, 584, 540}}}},
        {0xCEC98001, {8, 2640, 1920, {{1, 1125, 42, 1080}}}},
    };
    for (const auto& [identifier, link] : standards) {
        const auto standard = createVideoStandard(identifier);
        REQUIRE(standard);
        CAPTURE(standard->getDescription());
        for (const auto& [other, otherLink] : standards) {
            CHECK(otherLink.raster().fits(*standard) == (identifier == other));
        }
        Link narrow = link;
        narrow.active -= 2;
        CHECK_FALSE(narrow.raster().fits(*standard));
        narrow = link;
        narrow.fields.back().activeLines -= 1;
        CHECK_FALSE(narrow.raster().fits(*standard));
    }
}
