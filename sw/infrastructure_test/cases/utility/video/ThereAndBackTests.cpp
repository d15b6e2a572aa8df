// Pictures to frames, words and back to the same pictures, and one fault after the other on the
// way: it is found where it is, and nothing else.
#include "infrastructure/utility/video/analysis/PictureReader.h"
#include "infrastructure/utility/video/analysis/SdiWordReader.h"
#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeFrame.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <map>
#include <set>

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;
using Converter = SdiPixelToSourceImageSampleConverter;
using Standard = StandardFromPayloadIdentifier;

namespace {

/// The words of each field of each sub-image or link, in the order of the metrics.
using Store = std::vector<std::vector<FrameWords>>;

bool isNarrow(quint32 mode)
{
    return mode == 0 || mode == 3 || mode == 4;
}

/// A picture of which no two samples follow from each other, as far as the mapping can carry it.
std::vector<quint16> makePicture(const PictureReader& reader, quint32 mode, quint32 seed)
{
    const bool is12Bits = mode == 2 || mode == 3;
    const std::size_t wordsAPixel = getWordsOfPixel(reader.getFormat());
    const std::size_t luma = wordsAPixel == 4 ? 1 : 0;
    std::vector<quint16> words(std::size_t(reader.getSize().width()) *
                               std::size_t(reader.getSize().height()) * wordsAPixel);
    quint32 noise = seed;
    for (quint16& word : words) {
        noise = noise * 1664525u + 1013904223u;
        word = quint16(is12Bits ? noise >> 20 : 4 + (noise >> 16) % 1016);
    }
    for (std::size_t pixel = 0; isNarrow(mode) && pixel < words.size(); pixel += 2 * wordsAPixel) {
        for (std::size_t i = pixel; i < pixel + 3; ++i) {
            words[i + wordsAPixel] = words[i - pixel == luma ? i + wordsAPixel : i];
        }
    }
    return words;
}

/// The samples of pixels that follow each other in a sub-image. Both links' in turn in mode 5.
Converter::Samples samplesOf(std::vector<quint16> words, PixelFormat format, quint32 mode)
{
    const auto count = quint32(words.size() / getWordsOfPixel(format));
    const PictureBuffer line{format, count, 1, words.data()};
    switch (mode) {
    case 1:
        return Converter::resampleTo444_4(line, BitDepth_10);
    case 2:
        return Converter::resampleToMappingMode3(line, BitDepth_12);
    case 3:
        return Converter::resampleToMappingMode4(line, BitDepth_12);
    case 5:
        break;
    default:
        return Converter::convertToYCbCr422_10(line, BitDepth_10);
    }
    // G travels as Y, B as Cb, R as Cr (SMPTE ST 372).
    std::vector<PixelDataAYCrCb> pixels;
    for (std::size_t i = 0; i < words.size(); i += getWordsOfPixel(format)) {
        const quint16* w = &words[i];
        pixels.push_back(format == PixelFormat_YCbCr ? PixelDataAYCrCb{w[2], w[0], w[1], 64}
                         : format == PixelFormat_RGB ? PixelDataAYCrCb{w[0], w[1], w[2], 64}
                                                     : PixelDataAYCrCb{w[0], w[1], w[2], w[3]});
    }
    const auto links = Converter::resampleToMappingModeII({pixels.data(), count}, BitDepth_10);
    Converter::Samples both;
    for (std::size_t i = 0; i < count; ++i) {
        both.insert(both.end(), {links.at(DualLinkLink_A)[i], links.at(DualLinkLink_B)[i]});
    }
    return both;
}

/// Where the standards put a line of a picture: SMPTE ST 274 (fields), ST 372 and ST 425-1 (line
/// interleave), ST 425-5 (sub-images).
void placeLine(const Standard& standard, const Standard::TransmissionMetrics& layout, Store& store,
               quint32 picture, std::size_t y, const quint16* words, PixelFormat format)
{
    const SubImageDivision division = standard.getSubImageDivision();
    const bool isOnTwoLinks = division == SubImageDivision_None && standard.getNumberOfLinks() == 2;
    const quint32 mode = standard.getMappingMode();
    const bool isInterleaved = mode == 4;
    const std::size_t wordsAPixel = getWordsOfPixel(format);
    const auto width = std::size_t(standard.getPictureSize().width());
    const auto height = std::size_t(standard.getPictureSize().height());

    std::vector<quint16> runs[2];
    for (std::size_t x = 0; x < width; ++x) {
        const std::size_t run = division == SubImageDivision_TwoSampleInterleave ? x / 2 % 2
                                : division == SubImageDivision_SquareDivision    ? x / (width / 2)
                                                                                 : 0;
        runs[run].insert(runs[run].end(), words, words + wordsAPixel);
        words += wordsAPixel;
    }
    std::size_t image = 0;
    if (division == SubImageDivision_TwoSampleInterleave) {
        image = y % 2 * 2;
        y /= 2;
    } else if (division == SubImageDivision_SquareDivision) {
        image = y / (height / 2) * 2;
        y %= height / 2;
    }
    std::size_t field = picture;
    std::size_t row = y / 2;
    if (isOnTwoLinks) {
        image = y % 2;
    } else if (!isInterleaved) {
        field = y % store.size();
        row = y / store.size();
    }
    for (std::size_t run = 0; run < 2 && !runs[run].empty(); ++run) {
        const auto samples = samplesOf(std::move(runs[run]), format, mode);
        const FieldMetrics metrics = layout[field][image + run];
        const std::size_t step = isInterleaved ? 2 : 1;
        quint32* target = &store[field][image + run]
                                [metrics.getFirstActiveSampleOffset() + row * metrics.getWidth()] +
                          (isInterleaved ? y % 2 : 0);
        for (const Sdi20BitSample& sample : samples) {
            *target = sample.toStoreWord();
            target += step;
        }
    }
}

/// The fields of one sub-image or link, read from its tagged words.
std::vector<FrameWords> readTagged(const FrameLayout& layout, const Store& store, std::size_t image)
{
    std::vector<FrameWords> fields;
    for (const auto& field : store) {
        fields.push_back(field[image]);
    }
    const Reading reading = read(layout, joined(layout, fields, true), true);
    REQUIRE(textsOf(reading.findings) == QStringList());
    REQUIRE(reading.frames == 1);
    REQUIRE((reading.fields == fields));
    return reading.fields;
}

/// So many sub-images that one link carries, or level B, through its words: the fields as the
/// reader of words hands them on, which has them all in turn.
std::vector<FrameWords> readLink(const Standard& standard, const Store& store, std::size_t image,
                                 std::size_t images)
{
    const quint32 words = images == 1 ? 2 * FrameLayout::of(standard).streams : 8;
    FrameWords all;
    all.reserve(store.size() * store[0][image].size() * images);
    for (const auto& field : store) {
        for (std::size_t i = 0; i < field[image].size(); ++i) {
            for (std::size_t each = image; each < image + images; ++each) {
                all.push_back(field[each][i]);
            }
        }
    }
    const LinkWords link = linkWords(all, words);
    SdiWordReader reader;
    std::vector<FrameWords> fields(store.size());
    reader.setLineReceiver([&](const FrameReader::Line& line) {
        FrameWords& field = fields[std::size_t(line.field)];
        if (reader.getFrameCount() == 0) {
            field.insert(field.end(), line.blanking, line.blanking + line.blankingCount);
            field.insert(field.end(), line.picture, line.picture + line.pictureCount);
        }
    });
    // From a few lines before a frame on, up to a few behind one.
    const std::size_t some = 10 * link.size() / 1125;
    reader.read(link.data() + link.size() - some, some);
    reader.read(link.data(), link.size());
    reader.read(link.data(), link.size());
    reader.read(link.data(), some);
    REQUIRE(textsOf(reader.getFindings()) == QStringList());
    REQUIRE(reader.getFrameCount() == 1);
    REQUIRE(reader.getRaster()->fits(standard));
    REQUIRE_FALSE(reader.getRaster()->getInterfaces().empty());
    return fields;
}

/// A picture to tagged frames and to the words of links, and back. If not `withWords`, to the store
/// and back.
void checkThereAndBack(const Standard& standard, quint32 seed, bool withWords)
{
    CAPTURE(standard.getDescription(), seed);
    const PictureReader reader(standard);
    const FrameLayout layout = FrameLayout::of(standard);
    const auto metrics = standard.getTransmissionMetrics();
    const QSize size = reader.getSize();
    REQUIRE(size == standard.getPictureSize());

    Store store;
    for (std::size_t field = 0; field < metrics.size(); ++field) {
        store.emplace_back(metrics[field].size(), blankFrame(layout)[field]);
    }
    const std::size_t lineWords = std::size_t(size.width()) * getWordsOfPixel(reader.getFormat());
    std::vector<std::vector<quint16>> pictures;
    for (quint32 picture = 0; picture < reader.getPictureCount(); ++picture) {
        pictures.push_back(makePicture(reader, standard.getMappingMode(), seed + picture));
        for (std::size_t y = 0; y < std::size_t(size.height()); ++y) {
            placeLine(standard, metrics, store, picture, y, &pictures.back()[y * lineWords],
                      reader.getFormat());
        }
    }
    const std::size_t images = metrics[0].size();
    for (std::size_t image = 0; image < images && withWords; ++image) {
        std::vector<FrameWords> fields;
        for (auto& field : store) {
            fields.push_back(std::move(field[image]));
        }
        completeFrame(layout, fields);
        for (std::size_t field = 0; field < fields.size(); ++field) {
            store[field][image] = std::move(fields[field]);
        }
    }

    // Two links with two sub-images each are known by their frames alone.
    const bool areInTurn = withWords && standard.getNumberOfLinks() == 1 && images > 1;
    const std::size_t ofLink = areInTurn ? images : 1;
    std::vector<std::vector<FrameWords>> kept(images);
    for (std::size_t image = 0; image < images && withWords; ++image) {
        kept[image] = readTagged(layout, store, image);
    }
    for (std::size_t image = 0; image < images && withWords; image += ofLink) {
        if (standard.getNumberOfLinks() * ofLink == images) {
            kept[image] = readLink(standard, store, image, ofLink);
        }
    }
    PictureReader::Frame frame(metrics.size());
    for (std::size_t image = 0; image < images; ++image) {
        for (std::size_t field = 0; field < frame.size(); ++field) {
            for (quint32& word : store[field][image]) {
                word |= 0xA5500000; // bits that say nothing
            }
            const FrameWords& words =
                withWords ? kept[areInTurn ? 0 : image][field] : store[field][image];
            const std::size_t first = areInTurn ? image : 0;
            frame[field].emplace_back(words.data() + first, words.size() - first, ofLink);
        }
    }
    for (quint32 picture = 0; picture < reader.getPictureCount(); ++picture) {
        std::vector<quint16> words(pictures[picture].size());
        REQUIRE(reader.readPicture(
            frame, picture,
            {reader.getFormat(), quint32(size.width()), quint32(size.height()), words.data()}));
        REQUIRE((words == pictures[picture]));
    }
}

/// A listed standard for each group of those that have all in common which matters to words and
/// samples, smallest first.
std::vector<const Standard*> listedShapes()
{
    std::map<std::vector<quint32>, const Standard*> shapes;
    std::map<std::string_view, int> reasons;
    int count = 0;
    for (const auto& standard : SupportedVideoStandards::getInstance().getStandards()) {
        const PictureReader reader(*standard);
        if (!reader.getReasonWithoutPicture().empty()) {
            ++reasons[reader.getReasonWithoutPicture()];
            CHECK(reader.getSize() == QSize(0, 0));
            CHECK(reader.getPictureCount() == 0);
            continue;
        }
        ++count;
        const FrameLayout layout = FrameLayout::of(*standard);
        const FieldMetrics& first = layout.fields[0];
        std::vector<quint32> key{quint32(standard->getPictureSize().width()),
                                 first.getWidth(),
                                 first.getActiveWidth(),
                                 first.getHeight(),
                                 first.getActiveHeight(),
                                 quint32(layout.fields.size()),
                                 standard->getLevel(),
                                 standard->getPicutreInterlacedProgressivePsf(),
                                 standard->getSubImageDivision(),
                                 standard->getNumberOfLinks(),
                                 standard->getSdiDataRates()[0],
                                 standard->getMappingMode(),
                                 reader.getFormat()};
        shapes.emplace(key, standard.get());
    }
    // Each listed standard has a shape or a reason.
    CHECK(count == 4192);
    CHECK(reasons == std::map<std::string_view, int>{
                         {"Metrics of level B are known for progressive pictures alone", 364},
                         {"Metrics of two 1.5G links are known for line interleave alone", 184},
                         {"No mapping mode is known for these samples", 238},
                         {"No mapping of 12 bits on two streams is known", 430}});
    std::vector<const Standard*> listed;
    for (const auto& [key, standard] : shapes) {
        listed.push_back(standard);
    }
    return listed;
}

/// A frame whose words can be made wrong one at a time.
class Faulty
{
public:
    Faulty(const FrameLayout& frameLayout, quint32 seed)
        : layout(frameLayout)
        , random(seed)
        , fields(makeFrame(layout, seed))
        , words(joined(layout, fields, true))
        , field(random() % layout.fields.size())
        , metrics(layout.fields[field])
        , line(below(metrics.getHeight()))
        , channel(below(2))
    {
    }

    quint32 below(quint32 limit) { return quint32(random() % limit); }

    /// Index among all words of a word of this line.
    std::size_t indexOf(quint32 sample) const
    {
        return startOf(field) +
               ParcelTongue::getTaggedIndex(metrics, line * metrics.getWidth() + sample);
    }
    std::size_t startOf(std::size_t number) const
    {
        std::size_t index = 0;
        for (std::size_t before = 0; before < number; ++before) {
            index += std::size_t(ParcelTongue::getTaggedSize(layout.fields[before]));
        }
        return index;
    }
    quint32 get(quint32 sample) const { return words[indexOf(sample)] >> (10 * channel) & 0x3FF; }
    bool isPicture() const
    {
        const quint32 above = metrics.getPrePictureVerticalBlankingRegion().getHeight();
        return line >= above && line - above < metrics.getActiveHeight();
    }
    FindingPlace place(quint32 sample) const
    {
        return {-1, layout.fields.size() > 1 ? int(field) : -1,
                int(metrics.getFirstLineNumber() + line), int(sample)};
    }
    /// Sets a sample of the channel, and expects a finding about it.
    void set(quint32 sample, quint32 value, FindingCode code)
    {
        const quint32 before = get(sample);
        words[indexOf(sample)] ^= (before ^ value) << (10 * channel);
        expectWord(code, sample, code == FindingCode::ReservedValue ? 0 : before, value);
    }
    void flip(quint32 sample, FindingCode code)
    {
        set(sample, get(sample) ^ 1u << below(10), code);
    }
    void expectWord(FindingCode code, quint32 sample, quint32 before, quint32 value)
    {
        FindingPlace at = place(sample);
        at.stream = layout.streams > 1 ? int(sample % layout.streams) : -1;
        at.channel = int(channel);
        expected.push_back({code, at, before, value});
    }
    /// A sample of this line was changed: the next line's CRC tells.
    void expectCrc(quint32 stream)
    {
        FrameOperations::Frame covered;
        for (quint32 i = metrics.getWidth() - metrics.getActiveWidth() + stream;
             i < metrics.getWidth(); i += layout.streams) {
            covered.push_back(quint16(get(i)));
        }
        if (++line == metrics.getHeight()) {
            line = 0;
            field = (field + 1) % layout.fields.size();
            metrics = layout.fields[field];
        }
        for (quint32 i = 0; i < 6; ++i) {
            covered.push_back(quint16(get(i * layout.streams + stream)));
        }
        const auto crc = FrameOperations::calculateCrc(covered);
        const quint32 at = 6 * layout.streams + stream;
        const quint32 next = crc[0] == get(at) ? layout.streams : 0;
        expectWord(FindingCode::LineCrc, at + next, crc[next != 0 ? 1 : 0], get(at + next));
    }

    FrameLayout layout;
    std::mt19937 random;
    std::vector<FrameWords> fields;
    FrameWords words;
    std::size_t field;
    FieldMetrics metrics;
    quint32 line;
    quint32 channel;
    std::vector<Finding> expected;
};

constexpr int FAULTS = 13;

/// Puts in one fault, and finds it and nothing else.
void checkFault(Faulty&& made, int kind)
{
    const FrameLayout& layout = made.layout;
    const quint32 streams = layout.streams;
    const quint32 stream = made.below(streams);
    const quint32 width = made.metrics.getWidth();
    const quint32 blanking = width - made.metrics.getActiveWidth();
    const quint32 reference = made.below(2) * (blanking - 4 * streams); // of the line's two
    const auto sample = [&](quint32 first, quint32 count) {
        return (first + made.below(count)) * streams + stream;
    };
    const auto flipWord = [&](std::size_t index, quint32 bit, FindingCode code, quint32 at) {
        const quint32 before = made.words[index];
        made.words[index] ^= 1u << bit;
        made.expected.push_back({code, made.place(at),
                                 code == FindingCode::WordTooWide ? 0 : before, made.words[index]});
    };
    quint64 frames = 1;
    switch (kind) {
    case 0:
        made.flip(reference + sample(0, 3), FindingCode::TimingReference);
        break;
    case 1:
        made.flip(reference + sample(3, 1), FindingCode::TimingProtection);
        break;
    case 2: {
        const quint32 at = reference + sample(3, 1);
        const quint32 other = made.get(at) >> 6 ^ (1 + made.below(7));
        made.set(at,
                 FrameOperations::timingReferenceWord((other & 4) != 0, (other & 2) != 0,
                                                      (other & 1) != 0),
                 FindingCode::TimingFlags);
        break;
    }
    case 3:
        made.flip(sample(4, 2), FindingCode::LineNumber);
        break;
    case 4:
        made.flip(sample(6, 2), FindingCode::LineCrc);
        break;
    case 5: { // a sample: its line's successor tells
        const quint32 at = blanking + made.below(width - blanking);
        const quint32 value = 4 + (made.get(at) - 4 + 1 + made.below(1015)) % 1016;
        made.set(at, value, FindingCode::BlankingValue);
        if (made.isPicture()) {
            made.expected.clear();
        }
        made.expectCrc(at % streams);
        break;
    }
    case 6: { // neither the packet nor the references
        const quint32 at = (blanking / streams - 5) * streams + stream;
        made.set(at, made.get(at) ^ (1 + made.below(1023)), FindingCode::BlankingValue);
        break;
    }
    case 7: { // reserved, which is a changed sample as well
        made.line = made.metrics.getPrePictureVerticalBlankingRegion().getHeight() +
                    made.below(made.metrics.getActiveHeight());
        const quint32 at = blanking + made.below(width - blanking);
        const quint32 reserved[] = {0, 1, 2, 3, 1020, 1021, 1022, 1023};
        made.set(at, reserved[made.below(8)], FindingCode::ReservedValue);
        made.expectCrc(at % streams);
        break;
    }
    case 8: {
        const quint32 at = made.below(width);
        flipWord(made.indexOf(at), 20 + made.below(12), FindingCode::WordTooWide, at);
        break;
    }
    case 9: { // a tag before, within or behind the line
        const quint32 word = made.below(8);
        const quint32 part = made.below(made.isPicture() ? 3 : 2);
        const quint32 at = part == 0 ? 0 : part == 1 ? width : blanking;
        flipWord(part == 1 ? made.indexOf(width - 1) + 1 + word : made.indexOf(at) - 8 + word,
                 made.below(32), FindingCode::TagWord, at);
        break;
    }
    case 10: { // a word is lost or comes twice
        const quint32 sampleAt = 1 + made.below(width - 1);
        const auto where = made.words.begin() + std::ptrdiff_t(made.indexOf(sampleAt));
        if (made.below(2) == 0) {
            made.words.erase(where);
        } else {
            made.words.insert(where, *where);
        }
        made.expected.push_back(
            {FindingCode::TagLost,
             made.place(made.isPicture() && sampleAt < blanking ? blanking : width)});
        frames = 0;
        break;
    }
    case 11: // a field's header, in bits that tell sizes
        made.line = 0;
        flipWord(made.indexOf(0) - 16 + 2 + made.below(2), 2 + made.below(12), FindingCode::TagWord,
                 0);
        break;
    default: { // the end
        const std::size_t left = 1 + made.random() % (made.words.size() - 1);
        made.words.resize(left);
        made.field = left < made.startOf(1) ? 0 : 1;
        made.metrics = layout.fields[made.field];
        const quint32 height = made.metrics.getHeight();
        const std::size_t spacers = (8 - width % 8) % 8;
        for (made.line = 0; made.line < height; ++made.line) {
            if (left < made.indexOf(width - 1) + 1 + 8 + spacers) {
                break;
            }
        }
        const quint32 before = made.field == 0 ? 0 : layout.fields[0].getHeight();
        const quint32 whole = before + made.line;
        made.line = std::min(made.line, height - 1);
        made.expected.push_back({FindingCode::FrameCutShort, made.place(0),
                                 layout.fields[0].getHeight() +
                                     (layout.fields.size() > 1 ? layout.fields[1].getHeight() : 0),
                                 whole});
        frames = 0;
    }
    }
    Reading reading = read(layout, made.words, true, 1 + made.below(5000));
    CAPTURE(textsOf(reading.findings));
    QStringList found;
    for (Finding finding : reading.findings.getFindings()) {
        finding.detail.clear(); // the name of a tag
        found.append(finding.toString());
    }
    QStringList expected;
    for (const Finding& finding : made.expected) {
        expected.append(finding.toString());
    }
    REQUIRE(found == expected);
    REQUIRE(reading.frames == frames);
}

} // namespace

TEST_CASE("Pictures in every form and distribution come back from the words of their links",
          "[frames]")
{
    std::set<std::vector<quint32>> seen;
    const LogCapture log;
    const auto isNew = [&](const std::vector<quint32>& key) { return seen.insert(key).second; };
    for (const Standard* shape : listedShapes()) {
        const bool isNewForm =
            isNew({shape->getLevel(), shape->getMappingMode(), PictureReader(*shape).getFormat()});
        const bool isNewDistribution =
            isNew({shape->getLevel(), shape->getPicutreInterlacedProgressivePsf(),
                   shape->getSubImageDivision(), shape->getNumberOfLinks()});
        if (isNewForm || isNewDistribution) {
            // Four links are as good as one.
            checkThereAndBack(*shape, quint32(seen.size()), shape->getNumberOfLinks() != 4);
        }
    }
    CHECK(seen.size() == 26);
    CHECK(log.lines().isEmpty());
}

TEST_CASE("Pictures of every listed standard come back from the words of its links",
          "[frames][.][long]")
{
    quint32 seed = 0;
    for (const Standard* shape : listedShapes()) {
        checkThereAndBack(*shape, ++seed, true);
    }
    CHECK(seed == 526);
}

TEST_CASE("One fault is one finding in its place", "[frames]")
{
    for (std::size_t i = 0; i < std::size(SMALL); ++i) {
        for (int kind = 0; kind < FAULTS; ++kind) {
            for (quint32 seed = 1; seed <= 40; ++seed) {
                CAPTURE(i, kind, seed);
                checkFault(Faulty(SMALL[i], seed), kind);
            }
        }
    }
}

TEST_CASE("Each fault in a frame of every listed standard", "[frames][.][long]")
{
    std::vector<FrameLayout> layouts;
    for (const Standard* shape : listedShapes()) {
        const FrameLayout layout = FrameLayout::of(*shape);
        const bool isNew =
            std::none_of(layouts.begin(), layouts.end(), [&](const FrameLayout& known) {
                return known.fields == layout.fields && known.streams == layout.streams;
            });
        if (isNew) {
            layouts.push_back(layout);
        }
        for (int kind = 0; isNew && kind < FAULTS; ++kind) {
            CAPTURE(shape->getDescription(), kind);
            checkFault(Faulty(layout, quint32(100 * layouts.size()) + quint32(kind)), kind);
        }
    }
    CHECK(layouts.size() == 45);
}
