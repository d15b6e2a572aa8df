#include "infrastructure/utility/video/analysis/FrameReader.h"

#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/parceltongue/tags/LineParcelTag.h"
#include "infrastructure/utility/parceltongue/tags/SectionParcelTags.h"
#include "infrastructure/utility/parceltongue/tags/SpacerParcelTag.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "infrastructure/utility/video/generation/LineCrc_p.h"

#include <algorithm>

using Tessorn::Types::Sdi20BitSample;

namespace {

constexpr quint32 CHANNEL_BITS = 10;
constexpr quint32 CHANNEL_MASK = 0x3FF;
constexpr quint32 REFERENCE_WORDS = 4;
constexpr quint32 PREAMBLE[] = {0x3FF, 0, 0};
constexpr quint32 PREAMBLE_WORDS = REFERENCE_WORDS - 1;
constexpr quint32 NUMBER_INDEX = 4;
constexpr quint32 CRC_INDEX = 6;
constexpr quint32 FIRST_BLANKING_INDEX = 8;
constexpr quint32 WORDS_BEFORE_CRC = CRC_INDEX;
constexpr quint32 MOST_STREAMS = 4;

constexpr std::size_t TAG_WORDS = 4;
constexpr std::size_t FIELD_TAG_WORDS = FieldParcelTag::NUM_WORDS_IN_HEADER_TAG();
constexpr quint32 LINE_MULTIPLE = 8;
/// One or two wrong words are damage; of so many the reader is not where it believes to be.
constexpr int WRONG_TAG_WORDS_WHEN_LOST = 3;

/// An ancillary packet: data flag, three words, user words, checksum (SMPTE ST 291-1).
constexpr quint32 ANCILLARY_COUNT_INDEX = 5;
constexpr quint32 ANCILLARY_WORDS_AROUND = 7;

constexpr quint32 both(quint32 word)
{
    return word << CHANNEL_BITS | word;
}

constexpr quint32 channelOf(quint32 storeWord, quint32 channel)
{
    return storeWord >> (CHANNEL_BITS * channel) & CHANNEL_MASK;
}

constexpr quint32 roundUp(quint32 words, quint32 multiple)
{
    return (words + multiple - 1) / multiple * multiple;
}

std::string_view getReasonAgainst(const FieldMetrics& metrics, quint32 streams, quint32 channels)
{
    const FieldRegion whole = metrics.getWholeFieldRegion();
    const FieldRegion active = metrics.getActivePictureRegion();
    if (whole.getFirstSampleIndex() != 0 || whole.getWidth() == 0 || whole.getHeight() == 0) {
        return "A field has no lines";
    }
    if (whole.getWidth() > FrameLayout::MAX_LINE_SAMPLES ||
        whole.getHeight() > FrameLayout::MAX_FIELD_LINES ||
        whole.getFirstLineIndex() > FrameLayout::MAX_FIELD_LINES) {
        return "A field is too large";
    }
    if (active.getWidth() == 0 || active.getHeight() == 0 || !metrics.contains(active) ||
        active.getLastSampleIndex() != whole.getLastSampleIndex()) {
        return "The picture is not at the end of the lines of its field";
    }
    const quint32 start = channels == 2 ? FIRST_BLANKING_INDEX : REFERENCE_WORDS;
    if (active.getFirstSampleIndex() < streams * (start + REFERENCE_WORDS)) {
        return "The blanking has no room for what belongs there";
    }
    if (whole.getWidth() % streams != 0 || active.getWidth() % streams != 0) {
        return "The streams have not equally many samples";
    }
    return {};
}

} // namespace

FrameLayout FrameLayout::of(const StandardFromPayloadIdentifier& standard)
{
    FrameLayout layout;
    if (standard.getReasonWithoutMetrics().empty()) {
        for (const std::vector<FieldMetrics>& copies : standard.getTransmissionMetrics()) {
            layout.fields.push_back(copies.front());
        }
        layout.streams = standard.getLevel() == Tessorn::Sdi::Level_B ? 2 : 1;
    }
    return layout;
}

std::string_view FrameLayout::getReasonAgainst() const
{
    if (fields.empty() || fields.size() > 2) {
        return "A frame has one field or two";
    }
    if ((streams != 1 && streams != 2 && streams != MOST_STREAMS) ||
        (channels != 1 && channels != 2) || (channels == 1 && streams != 1)) {
        return "No link has so many streams";
    }
    for (const FieldMetrics& metrics : fields) {
        const std::string_view reason = ::getReasonAgainst(metrics, streams, channels);
        if (!reason.empty()) {
            return reason;
        }
    }
    return {};
}

/// Works out CRCs for any number of streams, and keeps those of the line before.
class FrameReader::Crcs
{
public:
    using Registers = std::array<LineCrc::Registers, MOST_STREAMS>;

    Crcs(quint32 streamCount, std::size_t mostWords)
        : streams(streamCount)
        , one(streamCount == 1 ? mostWords : 0)
        , two(streamCount == 2 ? mostWords : 0)
        , four(streamCount == MOST_STREAMS ? mostWords : 0)
    {
    }

    /// The active samples of a line, which its successor's CRC covers.
    void keep(const quint32* words, std::size_t count)
    {
        Registers registers = {};
        switch (streams) {
        case 1:
            copy(one.of(words, count), registers);
            break;
        case 2:
            copy(two.of(words, count), registers);
            break;
        default:
            copy(four.of(words, count), registers);
        }
        before = registers;
    }
    void forget() { before.reset(); }
    bool hasLine() const { return before.has_value(); }

    /// Of the line kept and the first words of its successor: the CRC words as store words.
    std::array<quint32, 2> of(const quint32* lineStart, quint32 stream) const
    {
        LineCrc::Registers registers = (*before)[stream];
        for (quint32 i = 0; i < WORDS_BEFORE_CRC; ++i) {
            registers = LineCrc::stepBoth(registers, lineStart[i * streams + stream]);
        }
        const auto first = LineCrc::toWords(LineCrc::ofChannel(registers, 0));
        const auto second = LineCrc::toWords(LineCrc::ofChannel(registers, 1));
        return {Sdi20BitSample{first[0], second[0]}.toStoreWord(),
                Sdi20BitSample{first[1], second[1]}.toStoreWord()};
    }

private:
    template <std::size_t count>
    static void copy(const std::array<LineCrc::Registers, count>& from, Registers& to)
    {
        std::copy(from.begin(), from.end(), to.begin());
    }

    quint32 streams;
    LineCrc::StoreRun<1> one;
    LineCrc::StoreRun<2> two;
    LineCrc::StoreRun<MOST_STREAMS> four;
    std::optional<Registers> before;
};

struct FrameReader::Tags
{
    std::array<quint32, FIELD_TAG_WORDS> words;
    std::array<quint32, FIELD_TAG_WORDS> known;
    std::size_t count;
    const char* names[2]; ///< of each four words

    template <std::size_t a, std::size_t b>
    static Tags join(const std::array<quint32, a>& first, const char* firstName,
                     const std::array<quint32, b>& second, const char* secondName)
    {
        Tags tags{{}, {}, a + b, {firstName, secondName}};
        std::copy(second.begin(), second.end(),
                  std::copy(first.begin(), first.end(), tags.words.begin()));
        tags.known.fill(0xFFFFFFFF);
        return tags;
    }

    bool isWrong(std::size_t i, quint32 word) const { return ((word ^ words[i]) & known[i]) != 0; }
    int countWrong(const quint32* found) const
    {
        int wrong = 0;
        for (std::size_t i = 0; i < count; ++i) {
            wrong += isWrong(i, found[i]) ? 1 : 0;
        }
        return wrong;
    }
    bool areElsewhere(const quint32* found) const
    {
        return countWrong(found) >= WRONG_TAG_WORDS_WHEN_LOST;
    }
};

FrameReader::FrameReader(FrameLayout frameLayout, const FrameReaderOptions& readerOptions)
    : layout(std::move(frameLayout))
    , options(readerOptions)
    , findings(readerOptions.mostFindings)
    , part(readerOptions.isTagged ? Part::FieldHeader : Part::Line)
{
    if (layout.getReasonAgainst().empty()) {
        quint32 mostWords = 0;
        for (const FieldMetrics& each : layout.fields) {
            mostWords = std::max(mostWords, each.getActiveWidth());
        }
        crcs = std::make_unique<Crcs>(layout.streams, mostWords);
    }
}

FrameReader::~FrameReader() = default;

void FrameReader::read(const quint32* words, std::size_t count)
{
    while (crcs) {
        const std::size_t needed = getPartSize();
        const std::size_t kept = buffer.size() - bufferStart;
        if (kept == 0) {
            if (count < needed) {
                buffer.assign(words, words + count);
                bufferStart = 0;
                return;
            }
            const std::size_t used = readPart(words);
            words += used;
            count -= used;
            continue;
        }
        const std::size_t taken = std::min(count, needed - std::min(kept, needed));
        if (bufferStart > needed) {
            buffer.erase(buffer.begin(), buffer.begin() + std::ptrdiff_t(bufferStart));
            bufferStart = 0;
        }
        buffer.insert(buffer.end(), words, words + taken);
        words += taken;
        count -= taken;
        if (buffer.size() - bufferStart < needed) {
            return;
        }
        bufferStart += readPart(buffer.data() + bufferStart);
    }
}

void FrameReader::skipLine()
{
    if (crcs && !options.isTagged) {
        buffer.clear();
        bufferStart = 0;
        crcs->forget();
        isWhole = false;
        endLine();
    }
}

void FrameReader::finish()
{
    if (!crcs) {
        return;
    }
    const bool isMidway = field != 0 || line != 0 || buffer.size() > bufferStart;
    if (part == Part::Search) {
        // That tags were lost is known already.
    } else if (isMidway || !hasEnd) {
        quint32 lines = line;
        quint32 all = 0;
        for (std::size_t i = 0; i < layout.fields.size(); ++i) {
            lines += i < field ? layout.fields[i].getHeight() : 0;
            all += layout.fields[i].getHeight();
        }
        report(FindingCode::FrameCutShort, 0, all, lines, {});
    } else if (options.repeats && firstLine && crcs->hasLine()) {
        checkCrc(*firstLine);
    }
    crcs->forget();
    firstLine.reset();
    buffer.clear();
    bufferStart = 0;
    field = 0;
    line = 0;
    isFieldKnown = false;
    isWhole = true;
    part = options.isTagged ? Part::FieldHeader : Part::Line;
}

bool FrameReader::isPictureLine(quint32 lineOfField) const
{
    const quint32 above = metrics().getPrePictureVerticalBlankingRegion().getHeight();
    return lineOfField >= above && lineOfField - above < metrics().getActiveHeight();
}

FindingPlace FrameReader::placeOf(quint32 sample) const
{
    quint32 number = metrics().getFirstLineNumber() + std::min(line, metrics().getHeight() - 1);
    quint32 all = 0;
    for (const FieldMetrics& each : layout.fields) {
        all += each.getHeight();
    }
    // A frame of standard definition may begin with a later line.
    if (layout.fields.front().getFirstLineNumber() > 1 && number > all) {
        number -= all;
    }
    return {options.link, layout.fields.size() > 1 ? int(field) : -1, int(number), int(sample)};
}

void FrameReader::report(FindingCode code, quint32 sample, qint64 expected, qint64 found,
                         const QString& detail)
{
    findings.add({code, placeOf(sample), expected, found, detail});
}

/// A finding about one channel of a word.
void FrameReader::reportWord(FindingCode code, quint32 sample, quint32 channel, quint32 expected,
                             quint32 found)
{
    FindingPlace place = placeOf(sample);
    place.stream = layout.streams > 1 ? int(sample % layout.streams) : -1;
    place.channel = layout.channels > 1 ? int(channel) : -1;
    findings.add({code, place, expected, found, {}});
}

// Parts.

std::size_t FrameReader::getPartSize() const
{
    const quint32 width = metrics().getWidth();
    switch (part) {
    case Part::FieldHeader:
    case Part::Search:
        return FIELD_TAG_WORDS;
    case Part::FieldEnd: {
        const quint64 lines =
            quint64(roundUp(width, LINE_MULTIPLE) + 4 * TAG_WORDS) * metrics().getHeight() +
            2 * TAG_WORDS * quint64(metrics().getActiveHeight());
        return static_cast<std::size_t>(ParcelTongue::getTaggedSize(metrics()) - FIELD_TAG_WORDS -
                                        lines);
    }
    case Part::Line:
        break;
    }
    if (!options.isTagged) {
        return width;
    }
    return roundUp(width, LINE_MULTIPLE) + (isPictureLine(line) ? 6 : 4) * TAG_WORDS;
}

/// Returns how many words were used: all of the part's unless tags are lost.
std::size_t FrameReader::readPart(const quint32* words)
{
    switch (part) {
    case Part::FieldHeader:
        return readFieldHeader(words);
    case Part::FieldEnd:
        return readFieldEnd(words);
    case Part::Search:
        return search(words);
    case Part::Line:
        break;
    }
    if (options.isTagged) {
        return readTaggedLine(words);
    }
    const quint32 width = metrics().getWidth();
    const quint32 blanking = isPictureLine(line) ? blankingWidth() : width;
    readLine({int(field), metrics().getFirstLineNumber() + line, words, blanking, words + blanking,
              width - blanking});
    endLine();
    return width;
}

std::size_t FrameReader::lose(quint32 sample)
{
    report(FindingCode::TagLost, sample, 0, 0, {});
    crcs->forget();
    isWhole = false;
    part = Part::Search;
    return 1;
}

/// Each wrong word is a finding.
void FrameReader::checkTags(const Tags& tags, const quint32* words, quint32 sample)
{
    for (std::size_t i = 0; i < tags.count; ++i) {
        if (tags.isWrong(i, words[i])) {
            const bool isSecond = tags.names[1] != nullptr && i >= TAG_WORDS;
            // Bits that are anyone's are expected as they are.
            report(FindingCode::TagWord, sample,
                   (tags.words[i] & tags.known[i]) | (words[i] & ~tags.known[i]), words[i],
                   QStringLiteral("word %1 of the %2")
                       .arg(isSecond ? i - TAG_WORDS : i)
                       .arg(QLatin1String(tags.names[isSecond ? 1 : 0])));
        }
    }
}

/// All spacers of a field have the byte of the first one.
void FrameReader::checkSpacers(const quint32* words, std::size_t count)
{
    const quint32 width = metrics().getWidth();
    for (std::size_t i = 0; i < count; ++i) {
        const auto byte = static_cast<quint8>(words[i] >> 8 & 0xFFu);
        const quint32 expected = SpacerParcelTag(0, spacerByte.value_or(byte)).getWord();
        if (words[i] != expected) {
            report(FindingCode::TagWord, width, expected, words[i], QStringLiteral("a spacer"));
        } else {
            spacerByte = byte;
        }
    }
}

FrameReader::Tags FrameReader::lineHeader(quint32 lineOfField) const
{
    const LineParcelTag lineTag(lineOfField + 1, 0, 0);
    return isPictureLine(lineOfField)
               ? Tags::join(lineTag.getHeader(), "line's header",
                            HorizontalBlankingParcelTag().getHeader(), "blanking's header")
               : Tags::join(lineTag.getHeader(), "line's header",
                            VerticalBlankingParcelTag().getHeader(), "blanking's header");
}

FrameReader::Tags FrameReader::fieldHeader(std::size_t number) const
{
    const FieldMetrics& of = layout.fields[number];
    const FieldParcelTag tag(0, of.getWidth(), ParcelTongue::TOTAL_LINES, of, false, false, 0, 0, 0,
                             0, 0, 0, 0);
    // What it tells besides sizes is anyone's: byte B; values and flags; words 1 and 5.
    return {tag.getHeader(),
            {0xFFFF00FF, 0xC0000000, 0xFFFFFFFC, 0xCFFFFFFF, 0xC0001FFF, 0xC0000000, 0xFFFFFFFF,
             0xFFFFFFFF},
            FIELD_TAG_WORDS,
            {"field's header", nullptr}};
}

std::size_t FrameReader::readFieldHeader(const quint32* words)
{
    const Tags header = fieldHeader(field);
    if (header.areElsewhere(words)) {
        isFieldKnown = false;
        return lose(0);
    }
    checkTags(header, words, 0);
    fieldTag.emplace(std::vector<quint32>(words, words + FIELD_TAG_WORDS));
    spacerByte.reset();
    isFieldKnown = true;
    part = Part::Line;
    return FIELD_TAG_WORDS;
}

std::size_t FrameReader::readTaggedLine(const quint32* words)
{
    struct Group
    {
        Tags tags;
        const quint32* words;
        quint32 sample;
    };
    const quint32 width = metrics().getWidth();
    const bool isPicture = isPictureLine(line);
    const quint32 blanking = isPicture ? blankingWidth() : width;
    const quint32* samples = words + 2 * TAG_WORDS;
    const quint32* picture = samples + blanking + (isPicture ? 2 * TAG_WORDS : 0);
    const quint32* tail = picture + (width - blanking);
    const auto lineFooter = LineParcelTag(line + 1, 0, 0).getFooter();
    const Group head = {lineHeader(line), words, 0};
    const Group middle = {Tags::join(HorizontalBlankingParcelTag().getFooter(), "blanking's footer",
                                     ActivePictureParcelTag().getHeader(), "picture's header"),
                          samples + blanking, blanking};
    const Group last = {isPicture ? Tags::join(ActivePictureParcelTag().getFooter(),
                                               "picture's footer", lineFooter, "line's footer")
                                  : Tags::join(VerticalBlankingParcelTag().getFooter(),
                                               "blanking's footer", lineFooter, "line's footer"),
                        tail, width};
    const Group groups[] = {head, isPicture ? middle : last, last};
    const auto* const end = groups + (isPicture ? 3 : 2);
    const auto* const lost = std::find_if(
        groups, end, [](const Group& group) { return group.tags.areElsewhere(group.words); });
    if (lost != end) {
        return lose(lost->sample);
    }
    for (const auto* group = groups; group != end; ++group) {
        checkTags(group->tags, group->words, group->sample);
    }
    checkSpacers(tail + 2 * TAG_WORDS, roundUp(width, LINE_MULTIPLE) - width);
    readLine({int(field), metrics().getFirstLineNumber() + line, samples, blanking, picture,
              width - blanking});
    const std::size_t size = getPartSize();
    endLine();
    return size;
}

std::size_t FrameReader::readFieldEnd(const quint32* words)
{
    const quint32 width = metrics().getWidth();
    const FieldParcelTag tag(0, 0, 0, metrics(), false, false, 0, 0, 0, 0, 0,
                             fieldTag ? fieldTag->getTagByteB() : quint8(0), 0);
    const Tags footer =
        Tags::join(tag.getFooter(), "field's footer", std::array<quint32, 0>(), nullptr);
    if (footer.areElsewhere(words)) {
        return lose(width);
    }
    checkTags(footer, words, width);
    const std::size_t size = getPartSize();
    checkSpacers(words + TAG_WORDS, size - TAG_WORDS);
    endField();
    return size;
}

/// The header of a line further on in the field, or of any field.
std::size_t FrameReader::search(const quint32* words)
{
    constexpr quint32 HEADER_OF_LINE = 0x42000004;
    constexpr quint32 HEADER_OF_FIELD = 0x41000008;
    if (words[0] == HEADER_OF_LINE && isFieldKnown) {
        const quint32 number = words[1] & 0x3FFFu;
        if (number > line && number <= metrics().getHeight() &&
            lineHeader(number - 1).countWrong(words) == 0) {
            line = number - 1;
            part = Part::Line;
            return 0;
        }
    }
    if ((words[0] & 0xFFFF00FFu) == HEADER_OF_FIELD) {
        const std::size_t first = isFieldKnown ? field + 1 : field;
        for (std::size_t i = 0; i < layout.fields.size(); ++i) {
            const std::size_t candidate = (first + i) % layout.fields.size();
            if (fieldHeader(candidate).countWrong(words) == 0) {
                field = candidate;
                line = 0;
                isWhole = candidate == 0;
                part = Part::FieldHeader;
                return 0;
            }
        }
    }
    return 1;
}

void FrameReader::endLine()
{
    if (++line < metrics().getHeight()) {
        part = Part::Line;
    } else if (options.isTagged) {
        part = Part::FieldEnd;
    } else {
        endField();
    }
}

void FrameReader::endField()
{
    line = 0;
    if (++field == layout.fields.size()) {
        field = 0;
        frameCount += isWhole ? 1 : 0;
        hasEnd = true;
        isWhole = true;
    }
    part = options.isTagged ? Part::FieldHeader : Part::Line;
}

// Lines.

void FrameReader::readLine(const Line& words)
{
    const quint32 width = metrics().getWidth();
    const quint32 streams = layout.streams;
    const quint32 blankingEnd = blankingWidth();
    const quint32 startOfActive = blankingEnd - REFERENCE_WORDS * streams;
    const quint32* active = words.pictureCount != 0 ? words.picture : words.blanking + blankingEnd;
    const quint32 activeCount = width - blankingEnd;

    checkReference(words.blanking, 0, true);
    quint32 blankingStart = REFERENCE_WORDS * streams;
    if (layout.channels == 2) {
        checkNumber(words.blanking);
        LineStart start;
        const bool isBlanking = !isPictureLine(line);
        const quint32 last = FrameOperations::timingReferenceWord(field != 0, isBlanking, true);
        const auto number = FrameOperations::lineNumberWords(words.number);
        const std::array<quint32, WORDS_BEFORE_CRC> expected = {
            both(CHANNEL_MASK), 0, 0, both(last), both(number[0]), both(number[1])};
        for (quint32 i = 0; i < FIRST_BLANKING_INDEX * streams; ++i) {
            start.words[i] = words.blanking[i];
            start.expected[i] = i / streams < WORDS_BEFORE_CRC ? expected[i / streams] : 0;
        }
        if (crcs->hasLine()) {
            checkCrc(start);
        } else if (frameCount == 0 && field == 0 && line == 0) {
            firstLine = start;
        }
        crcs->keep(active, activeCount);
        blankingStart = FIRST_BLANKING_INDEX * streams;
    }
    checkWidth(words.blanking, 0, words.blankingCount);
    checkBlanking(words.blanking, blankingStart, startOfActive);
    checkReference(words.blanking + startOfActive, startOfActive, false);
    if (words.pictureCount == 0) {
        checkBlanking(words.blanking, blankingEnd, width);
    } else {
        checkSamples(words.picture - blankingEnd, blankingEnd, width);
    }
    if (lineReceiver) {
        lineReceiver(words);
    }
}

/// One finding for each stream and channel, and another for the last word.
void FrameReader::checkReference(const quint32* words, quint32 sample, bool isEnd)
{
    using FrameOperations::timingReferenceWord;
    const quint32 last = timingReferenceWord(field != 0, !isPictureLine(line), isEnd);
    const quint32 streams = layout.streams;
    for (quint32 i = 0; i < streams * layout.channels; ++i) {
        const quint32 stream = i % streams;
        const quint32 channel = i / streams;
        for (quint32 word = 0; word < PREAMBLE_WORDS; ++word) {
            const quint32 index = word * streams + stream;
            const quint32 found = channelOf(words[index], channel);
            if (found != PREAMBLE[word]) {
                reportWord(FindingCode::TimingReference, sample + index, channel, PREAMBLE[word],
                           found);
                break;
            }
        }
        const quint32 index = PREAMBLE_WORDS * streams + stream;
        const quint32 found = channelOf(words[index], channel);
        if (found != last) {
            const bool isLawful =
                found == timingReferenceWord((found & 0x100u) != 0, (found & 0x80u) != 0,
                                             (found & 0x40u) != 0);
            reportWord(isLawful ? FindingCode::TimingFlags : FindingCode::TimingProtection,
                       sample + index, channel, last, found);
        }
    }
}

/// One finding for each stream and channel.
void FrameReader::checkNumber(const quint32* words)
{
    const auto number = FrameOperations::lineNumberWords(metrics().getFirstLineNumber() + line);
    const quint32 streams = layout.streams;
    for (quint32 i = 0; i < streams * 2; ++i) {
        const quint32 channel = i / streams;
        for (quint32 word = 0; word < 2; ++word) {
            const quint32 index = (NUMBER_INDEX + word) * streams + i % streams;
            const quint32 found = channelOf(words[index], channel);
            if (found != number[word]) {
                reportWord(FindingCode::LineNumber, index, channel, number[word], found);
                break;
            }
        }
    }
}

/// A CRC may be over what is there or over what should be: a word that is a finding of its own does
/// not make another one here.
void FrameReader::checkCrc(const LineStart& start)
{
    const quint32 streams = layout.streams;
    for (quint32 stream = 0; stream < streams; ++stream) {
        const auto ofFound = crcs->of(start.words.data(), stream);
        const auto ofExpected = crcs->of(start.expected.data(), stream);
        const auto indexOf = [&](quint32 word) { return (CRC_INDEX + word) * streams + stream; };
        for (quint32 channel = 0; channel < 2; ++channel) {
            const auto found = [&](quint32 word) {
                return channelOf(start.words[indexOf(word)], channel);
            };
            const auto isRight = [&](const std::array<quint32, 2>& crc, quint32 word) {
                return channelOf(crc[word], channel) == found(word);
            };
            if ((isRight(ofFound, 0) && isRight(ofFound, 1)) ||
                (isRight(ofExpected, 0) && isRight(ofExpected, 1))) {
                continue;
            }
            const quint32 word = isRight(ofExpected, 0) ? 1 : 0;
            reportWord(FindingCode::LineCrc, indexOf(word), channel,
                       channelOf(ofExpected[word], channel), found(word));
        }
    }
}

/// `words` are the line's; only those from `from` on, up to `to`, are looked at.
void FrameReader::checkBlanking(const quint32* words, quint32 from, quint32 to)
{
    if (!options.blanking) {
        return;
    }
    quint32 differs = 0;
    if (layout.channels == 2) {
        const quint32 expected = options.blanking->toStoreWord();
        for (quint32 i = from; i < to; ++i) {
            differs |= words[i] ^ expected;
        }
        differs &= both(CHANNEL_MASK);
    } else {
        differs = CHANNEL_MASK;
    }
    for (quint32 channel = 0; channel < layout.channels; ++channel) {
        if ((differs & CHANNEL_MASK << (CHANNEL_BITS * channel)) != 0) {
            checkBlankingOf(words, from, to, channel);
        }
    }
}

void FrameReader::checkBlankingOf(const quint32* words, quint32 from, quint32 to, quint32 channel)
{
    const quint32 streams = layout.streams;
    const quint32 values[2] = {options.blanking->channelOne, options.blanking->channelTwo};
    for (quint32 stream = 0; stream < streams; ++stream) {
        const auto at = [&](quint32 i) { return channelOf(words[i], channel); };
        for (quint32 i = from + stream; i < to;) {
            const quint32 left = (to - i + streams - 1) / streams; // of this stream
            if (left >= 3 && at(i) == 0 && at(i + streams) == CHANNEL_MASK &&
                at(i + 2 * streams) == CHANNEL_MASK) {
                const quint32 userWords = left > ANCILLARY_COUNT_INDEX
                                              ? at(i + ANCILLARY_COUNT_INDEX * streams) & 0xFFu
                                              : 0;
                i += (ANCILLARY_WORDS_AROUND + userWords) * streams;
                continue;
            }
            const quint32 expected = values[layout.channels == 2 ? channel : 1 - i % 2];
            if (at(i) != expected) {
                reportWord(FindingCode::BlankingValue, i, channel, expected, at(i));
            }
            i += streams;
        }
    }
}

/// The same of a picture: 0 to 3 and 1020 to 1023 are for references.
void FrameReader::checkSamples(const quint32* words, quint32 from, quint32 to)
{
    // Of such a value bits 9 to 2 are equal: no difference between neighbours, in bits 9 to 3. Any
    // difference carries into bit 10 when all those bits are added.
    constexpr quint32 DIFFERENCES = both(0x3F8);
    constexpr quint32 CARRIES = both(0x400);
    const auto carriesOf = [](quint32 word) {
        return ((word ^ (word << 1)) & DIFFERENCES) + DIFFERENCES;
    };
    quint32 carries = CARRIES;
    quint32 all = 0;
    for (quint32 i = from; i < to; ++i) {
        carries &= carriesOf(words[i]);
        all |= words[i];
    }
    for (quint32 channel = 0; channel < layout.channels; ++channel) {
        const quint32 carry = 0x400u << (CHANNEL_BITS * channel);
        for (quint32 i = from; (carries & carry) == 0 && i < to; ++i) {
            if ((carriesOf(words[i]) & carry) == 0) {
                reportWord(FindingCode::ReservedValue, i, channel, 0, channelOf(words[i], channel));
            }
        }
    }
    if (all >> (CHANNEL_BITS * layout.channels) != 0) {
        checkWidth(words, from, to);
    }
}

void FrameReader::checkWidth(const quint32* words, quint32 from, quint32 to)
{
    const quint32 shift = CHANNEL_BITS * layout.channels;
    quint32 all = 0;
    for (quint32 i = from; i < to; ++i) {
        all |= words[i];
    }
    for (quint32 i = from; all >> shift != 0 && i < to; ++i) {
        if (words[i] >> shift != 0) {
            report(FindingCode::WordTooWide, i, 0, words[i], {});
        }
    }
}
