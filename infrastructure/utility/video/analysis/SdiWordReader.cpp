#include "infrastructure/utility/video/analysis/SdiWordReader.h"

#include "infrastructure/utility/video/generation/FrameOperations.h"

#include <algorithm>
#include <array>

using namespace Tessorn::Sdi;

namespace {

constexpr quint16 WORD_MASK = 0x3FF;
constexpr quint16 PREAMBLE_WORD = 0x3FF;
constexpr quint32 REFERENCE_WORDS = 4; ///< for each word in turn
constexpr quint32 NUMBER_WORDS = 2;
constexpr quint32 MOST_WORDS = 8;
constexpr std::size_t MOST_LINE_WORDS = FrameLayout::MAX_LINE_SAMPLES * 2;
constexpr std::size_t PIECE_WORDS = 1u << 16;
constexpr quint32 MOST_LINES = 2 * FrameLayout::MAX_FIELD_LINES;

/// So many references in a row are not where they belong: there are none.
constexpr int MISSED_WHEN_LOST = 4;
/// So many lines in a row do not belong to the raster: there is another.
constexpr int STRANGE_WHEN_CHANGED = 8;
/// A frame with damaged references is measured again, but not for ever.
constexpr int MOST_MEASUREMENTS = 3;

/// Lines of a 525-line frame are counted from where its first field ends the second by four
/// (SMPTE ST 125); all others begin with their first field.
constexpr quint32 LINES_OF_525 = 525;
constexpr quint32 FIRST_LINE_OF_525 = 4;

/// Where the words of each picture stream are among those in turn: C there, Y half way on.
constexpr std::array<std::array<quint32, 4>, 3> STREAM_OFFSETS = {
    {{0, 0, 0, 0}, {1, 0, 0, 0}, {3, 1, 2, 0}}};

constexpr quint32 streamsOf(quint32 words)
{
    return std::max(words / 2, 1u);
}

const std::array<quint32, 4>& streamOffsets(quint32 words)
{
    return STREAM_OFFSETS[words == 8 ? 2 : words == 4 ? 1 : 0];
}

constexpr bool isLawful(quint32 word)
{
    return word == FrameOperations::timingReferenceWord((word & 0x100u) != 0, (word & 0x80u) != 0,
                                                        (word & 0x40u) != 0);
}

constexpr bool isEndWord(quint32 word)
{
    return (word & 0x40u) != 0;
}

struct InterfaceRow
{
    SdiDataRate rate;
    Level level;
    quint32 words;
    quint32 streamHz; ///< samples a second of one stream
};

constexpr InterfaceRow INTERFACES[] = {
    {SdiDataRate_270M, Level_A, 1, 27000000}, {SdiDataRate_1G5, Level_A, 2, 74250000},
    {SdiDataRate_3G, Level_A, 2, 148500000},  {SdiDataRate_3G, Level_B, 4, 74250000},
    {SdiDataRate_6G, Level_A, 8, 74250000},   {SdiDataRate_12G, Level_A, 8, 148500000},
};

constexpr quint32 FRAME_RATES_HZ[] = {24, 25, 30, 48, 50, 60, 96, 100, 120};

} // namespace

quint32 SdiRaster::getLines() const
{
    quint32 lines = 0;
    for (const Field& field : fields) {
        lines += field.lines;
    }
    return lines;
}

FrameLayout SdiRaster::toLayout() const
{
    FrameLayout layout;
    layout.streams = streamsOf(words);
    layout.channels = words == 1 ? 1 : 2;
    const quint32 width = samplesPerLine * layout.streams;
    const quint32 activeWidth = activeSamples * layout.streams;
    for (const Field& field : fields) {
        layout.fields.emplace_back(FieldRegion(0, field.firstLine - 1, width, field.lines),
                                   FieldRegion(width - activeWidth, field.firstActiveLine - 1,
                                               activeWidth, field.activeLines));
    }
    return layout;
}

std::vector<SdiInterface> SdiRaster::getInterfaces() const
{
    std::vector<SdiInterface> interfaces;
    const quint64 samples = quint64(samplesPerLine) * getLines();
    for (const InterfaceRow& row : INTERFACES) {
        for (const quint32 rateHz : FRAME_RATES_HZ) {
            const quint64 thousandths = samples * rateHz * 1000;
            // 525 lines have the clock of 625 lines, and a rate with 1/1.001.
            if (row.words == words &&
                (thousandths == quint64(row.streamHz) * 1000 ||
                 (words == 1 && thousandths == quint64(row.streamHz) * 1001))) {
                interfaces.push_back({row.rate, row.level, rateHz});
            }
        }
    }
    return interfaces;
}

bool SdiRaster::fits(const StandardFromPayloadIdentifier& standard) const
{
    const FrameLayout layout = FrameLayout::of(standard);
    const std::vector<SdiDataRate> rates = standard.getSdiDataRates();
    const bool isCarried =
        std::any_of(std::begin(INTERFACES), std::end(INTERFACES), [&](const InterfaceRow& row) {
            return row.words == words && !rates.empty() && row.rate == rates.front() &&
                   row.level == standard.getLevel();
        });
    return isCarried &&
           std::equal(layout.fields.begin(), layout.fields.end(), fields.begin(), fields.end(),
                      [&](const FieldMetrics& a, const Field& b) {
                          return a.getWidth() == samplesPerLine * layout.streams &&
                                 a.getActiveWidth() == activeSamples * layout.streams &&
                                 a.getFirstLineNumber() == b.firstLine &&
                                 a.getHeight() == b.lines &&
                                 a.getFirstActiveLineNumber() == b.firstActiveLine &&
                                 a.getActiveHeight() == b.activeLines;
                      });
}

SdiWordReader::SdiWordReader(const FrameReaderOptions& readerOptions)
    : options(readerOptions)
    , findings(readerOptions.mostFindings)
{
    options.isTagged = false;
    options.repeats = false;
}

SdiWordReader::~SdiWordReader() = default;

void SdiWordReader::read(const quint16* newWords, std::size_t count)
{
    while (count > 0) {
        const std::size_t piece = std::min(count, PIECE_WORDS);
        if (bufferStart > buffer.size() / 2) {
            buffer.erase(buffer.begin(), buffer.begin() + std::ptrdiff_t(bufferStart));
            bufferStart = 0;
        }
        const std::size_t before = buffer.size();
        buffer.insert(buffer.end(), newWords, newWords + piece);
        newWords += piece;
        count -= piece;
        maskFrom(before);
        while (state == State::Searching ? search() : takeLine()) {
        }
    }
}

/// Of the buffer's words from this index on, ten bits stay.
void SdiWordReader::maskFrom(std::size_t index)
{
    quint32 all = 0;
    for (std::size_t i = index; i < buffer.size(); ++i) {
        all |= buffer[i];
    }
    for (std::size_t i = index; all > WORD_MASK && i < buffer.size(); ++i) {
        if (buffer[i] > WORD_MASK) {
            report(FindingCode::WordTooWide, -1, 0, buffer[i]);
            buffer[i] &= WORD_MASK;
        }
    }
}

void SdiWordReader::report(FindingCode code, int lineNumber, qint64 expected, qint64 found)
{
    findings.add({code, {options.link, -1, lineNumber, -1}, expected, found, {}});
}

/// True if there is an undamaged reference; all its words must be there.
bool SdiWordReader::isReference(std::size_t offset, bool isEnd) const
{
    const quint16* at = wordAt(offset);
    const quint16 last = at[3 * words];
    for (quint32 i = 0; i < words; ++i) {
        if (at[i] != PREAMBLE_WORD || at[words + i] != 0 || at[2 * words + i] != 0 ||
            at[3 * words + i] != last) {
            return false;
        }
    }
    return isLawful(last) && isEndWord(last) == isEnd;
}

/// The offset of the first undamaged reference from `from` up to and including `to`, or 0.
std::size_t SdiWordReader::findReference(std::size_t from, std::size_t to, bool isEnd) const
{
    for (std::size_t offset = from; offset <= to; ++offset) {
        if (*wordAt(offset) == PREAMBLE_WORD && isReference(offset, isEnd)) {
            return offset;
        }
    }
    return 0;
}

/// Looks for three ends of active video at equal distances. Once there is one, the buffer begins
/// with it. False if more words are needed.
bool SdiWordReader::search()
{
    constexpr std::size_t LONGEST_REFERENCE = REFERENCE_WORDS * MOST_WORDS;
    while (searched + LONGEST_REFERENCE <= available()) {
        const std::size_t offset = searched++;
        if (*wordAt(offset) == PREAMBLE_WORD) {
            for (quint32 inTurn = 1; inTurn <= MOST_WORDS; inTurn *= 2) {
                const quint32 before = words;
                words = inTurn;
                // With fewer words in turn, the last of a longer run of zeros is not the end.
                if (!isReference(offset, true)) {
                    words = before;
                    continue;
                }
                const bool isSecond = before == inTurn;
                if (isSecond && offset == lineWords) {
                    state = State::Measuring;
                    measurement = {};
                    lastLength = lineWords;
                    missed = 0;
                    strange = 0;
                    wasSecondField = false;
                    return true;
                }
                lineWords = isSecond ? offset : 0;
                drop(offset);
                searched = 1;
                return true;
            }
        }
        if (searched > MOST_LINE_WORDS) {
            words = 0;
            lineWords = 0;
            drop(searched);
            searched = 0;
            return true;
        }
    }
    return false;
}

void SdiWordReader::loseReferences()
{
    state = State::Searching;
    raster.reset();
    reader.reset();
    words = 0;
    lineWords = 0;
    searched = 0;
}

/// One line off the front of the buffer; false if more words are needed.
bool SdiWordReader::takeLine()
{
    const std::size_t ahead = (REFERENCE_WORDS + NUMBER_WORDS) * words;
    if (available() < lineWords + ahead) {
        return false;
    }
    std::size_t length = lineWords;
    if (isReference(lineWords, true)) {
        missed = 0;
    } else {
        if (available() < 2 * lineWords + ahead) {
            return false;
        }
        const std::size_t next = findReference(1, 2 * lineWords, true);
        if (next == 0) {
            if (++missed == MISSED_WHEN_LOST) {
                report(FindingCode::ReferencesLost, -1, 0, 0);
                loseReferences();
                return true;
            }
        } else {
            missed = 0;
            length = next < lineWords * 3 / 2 ? next : lineWords;
        }
    }
    if (length == lineWords) {
        const LineFacts facts = readFacts();
        if (state == State::Measuring) {
            measure(facts);
        }
        if (state == State::Reading) {
            follow(facts);
        }
        wasSecondField = facts.isIntact ? facts.secondField : wasSecondField;
    } else {
        report(FindingCode::LineLength, state == State::Reading ? int(line) + 1 : -1,
               qint64(lineWords), qint64(length));
        if (length == lastLength) {
            loseReferences(); // another length has come to stay
            return true;
        }
        measurement = {};
        wasSecondField = false;
        if (state == State::Reading) {
            skipLine();
        }
    }
    lastLength = length;
    drop(length);
    return true;
}

quint32 SdiWordReader::numberAt(std::size_t offset) const
{
    // Luma of the first stream comes last.
    const quint32 low = *wordAt(offset + words * (REFERENCE_WORDS + 1) - 1);
    const quint32 high = *wordAt(offset + words * (REFERENCE_WORDS + 2) - 1);
    return (low >> 2 & 0x7Fu) | (high >> 2 & 0xFu) << 7;
}

SdiWordReader::LineFacts SdiWordReader::readFacts() const
{
    const quint32 last = *wordAt(REFERENCE_WORDS * words - 1);
    return {isLawful(last) && isEndWord(last), (last & 0x100u) != 0, (last & 0x80u) != 0,
            numberAt(0), numberAt(lineWords)};
}

/// In line 1, or, where lines have no numbers, in the first of the first field.
bool SdiWordReader::isFrameStart(const LineFacts& facts) const
{
    if (words == 1) {
        return facts.isIntact && wasSecondField && !facts.secondField;
    }
    return facts.number == 1 && facts.nextNumber == 2;
}

void SdiWordReader::measure(const LineFacts& facts)
{
    const std::size_t most = lineWords - REFERENCE_WORDS * words;
    const std::size_t start = findReference(REFERENCE_WORDS * words, most, false);
    const auto active = static_cast<quint32>((most - start) / words);
    SdiRaster& found = measurement.raster;
    if (isFrameStart(facts)) {
        const bool isComplete = measurement.isStarted;
        const int attempts = measurement.attempts + 1;
        if (isComplete && (measurement.isIntact || attempts >= MOST_MEASUREMENTS)) {
            endMeasurement();
            if (state == State::Reading) {
                return;
            }
        }
        measurement = {};
        measurement.attempts = isComplete ? attempts : 0;
        measurement.isStarted = true;
        found.words = words;
        found.samplesPerLine = static_cast<quint32>(lineWords / words);
        found.fields.push_back({1, 0, 0, 0});
    }
    if (!measurement.isStarted) {
        if (++measurement.lines > MOST_LINES) {
            loseReferences();
        }
        return;
    }
    if (start != 0 && found.activeSamples == 0) {
        found.activeSamples = active;
    }
    measurement.isIntact =
        measurement.isIntact && facts.isIntact && start != 0 && active == found.activeSamples;
    if (++measurement.lines > MOST_LINES) {
        loseReferences();
        return;
    }
    // A damaged line is taken for one like the line before.
    if (facts.isIntact) {
        measurement.isSecond = facts.secondField;
        measurement.isBlanking = facts.blanking;
    }
    if (measurement.isSecond && found.fields.size() == 1) {
        found.fields.push_back({measurement.lines, 0, 0, 0});
    }
    SdiRaster::Field& field = found.fields.back();
    ++field.lines;
    if (!measurement.isBlanking) {
        if (field.activeLines == 0) {
            field.firstActiveLine = measurement.lines;
        }
        ++field.activeLines;
    }
}

void SdiWordReader::endMeasurement()
{
    SdiRaster& found = measurement.raster;
    if (words == 1 && found.getLines() == LINES_OF_525) {
        for (SdiRaster::Field& field : found.fields) {
            field.firstLine += FIRST_LINE_OF_525 - 1;
            field.firstActiveLine += FIRST_LINE_OF_525 - 1;
        }
    }
    const FrameLayout layout = found.toLayout();
    if (!layout.getReasonAgainst().empty()) {
        return;
    }
    raster = found;
    reader = std::make_unique<FrameReader>(layout, options);
    if (lineReceiver) {
        reader->setLineReceiver([this](const FrameReader::Line& each) { lineReceiver(each); });
    }
    line = 0;
    state = State::Reading;
}

/// A line of a known raster. Its number may tell that lines are missing, or that some came twice.
void SdiWordReader::follow(const LineFacts& facts)
{
    const quint32 lines = raster->getLines();
    quint32 found = line;
    if (words == 1) {
        found = isFrameStart(facts) ? 0 : line;
    } else if (facts.number >= 1 && facts.number <= lines &&
               facts.nextNumber == facts.number % lines + 1) {
        found = facts.number - 1;
    }
    if (found != line) {
        report(FindingCode::LineSlip, int(line) + 1, line + 1, found + 1);
        while (line != found) {
            skipLine();
        }
    }
    const SdiRaster::Field& first = raster->fields.front();
    const bool isSecond = line >= first.lines;
    const SdiRaster::Field& field = isSecond ? raster->fields.back() : first;
    const quint32 number = first.firstLine + line;
    const bool isBlanking =
        number < field.firstActiveLine || number - field.firstActiveLine >= field.activeLines;
    const bool fits =
        !facts.isIntact || (facts.secondField == isSecond && facts.blanking == isBlanking);
    strange = fits ? 0 : strange + 1;
    hand();
    if (strange == STRANGE_WHEN_CHANGED) {
        strange = 0;
        raster.reset();
        reader.reset();
        measurement = {};
        state = State::Measuring;
    }
}

/// The line at the front to the reader of frames.
void SdiWordReader::hand()
{
    const quint32 streams = streamsOf(words);
    const std::array<quint32, 4>& offsets = streamOffsets(words);
    storeWords.resize(lineWords / words * streams);
    const quint16* from = wordAt(0);
    if (words == 1) {
        std::copy(from, from + lineWords, storeWords.begin());
    } else {
        for (std::size_t i = 0; i < storeWords.size(); i += streams, from += words) {
            for (quint32 stream = 0; stream < streams; ++stream) {
                const quint32 chroma = from[offsets[stream]];
                storeWords[i + stream] = from[offsets[stream] + streams] | chroma << 10;
            }
        }
    }
    const quint64 before = reader->getFrameCount();
    reader->read(storeWords.data(), storeWords.size());
    frameCount += reader->getFrameCount() - before;
    if (!reader->getFindings().isEmpty()) {
        findings.append(reader->getFindings());
        reader->clearFindings();
    }
    nextLine();
}

void SdiWordReader::skipLine()
{
    reader->skipLine();
    nextLine();
}

void SdiWordReader::nextLine()
{
    line = (line + 1) % raster->getLines();
}
