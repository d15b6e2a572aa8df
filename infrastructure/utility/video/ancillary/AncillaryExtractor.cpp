#include "infrastructure/utility/video/ancillary/AncillaryExtractor.h"

#include "infrastructure/utility/video/ancillary/AncillaryKernels_p.h"
#include "infrastructure/utility/video/ancillary/AncillaryNames.h"
#include "infrastructure/utility/video/ancillary/AncillaryWords.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::size_t FLAG_WORDS = 3;
constexpr std::size_t HEAD_WORDS = 6; ///< with DID, SDID and data count
constexpr quint32 ALL_ONES = 0x3FF;
constexpr std::size_t BLOCK_WORDS = 512;

/// In a line of the frame store.
constexpr std::size_t WORDS_BEFORE_HORIZONTAL_SPACE = 8; ///< EAV, line number, CRC
constexpr std::size_t START_OF_ACTIVE_VIDEO_WORDS = 4;

} // namespace

AncillaryRun AncillaryRun::part(std::size_t first, std::size_t most) const
{
    AncillaryRun run = *this;
    const std::size_t begin = std::min(first, count);
    if (words != nullptr) {
        run.words += begin * step;
    } else if (samples != nullptr) {
        run.samples += begin;
    }
    run.count = std::min(most, count - begin);
    return run;
}

std::size_t AncillaryRun::findFlag(std::size_t from) const
{
    const AncillaryKernels& kernels = getKernels<AncillaryKernels>();
    // A flag has two words of ones side by side, which no timing reference has.
    for (std::size_t ones = from + 1; ones + 1 < count;) {
        const std::size_t pairs = std::min(BLOCK_WORDS, count - 1 - ones);
        const bool mayBegin = words != nullptr
                                  ? kernels.inWords(words + ones * step, (pairs - 1) * step + 1,
                                                    step, quint16{ALL_ONES})
                                  : kernels.inSamples(samples + ones, pairs, 1, ALL_ONES << shift);
        const std::size_t end = ones + pairs;
        for (; mayBegin && ones < end; ++ones) {
            if ((*this)[ones] == ALL_ONES && (*this)[ones + 1] == ALL_ONES &&
                (*this)[ones - 1] == 0) {
                return ones - 1;
            }
        }
        ones = end;
    }
    return count;
}

AncillaryExtractor::AncillaryExtractor(Receiver packetReceiver, FindingList& findingList)
    : receiver(std::move(packetReceiver))
    , findings(findingList)
{
}

void AncillaryExtractor::add(FindingCode code, const FindingPlace& first, std::size_t at,
                             qint64 expected, qint64 foundValue)
{
    FindingPlace place = first;
    place.sample = std::max(first.sample, 0) + static_cast<int>(at);
    findings.add({code, place, expected, foundValue, {}});
}

void AncillaryExtractor::readRun(const AncillaryRun& run, const FindingPlace& firstPlace,
                                 AncillarySpace space)
{
    FindingPlace first = firstPlace;
    first.channel = run.getChannel() < 0 ? first.channel : run.getChannel();
    found.space = space;
    for (std::size_t end = 0; end < run.size();) {
        const std::size_t flagAt = run.findFlag(end);
        if (flagAt == run.size()) {
            return;
        }
        if (flagAt != end && space == AncillarySpace::Horizontal) {
            add(FindingCode::AncGap, first, flagAt, 0, static_cast<qint64>(flagAt - end));
        }
        end = readPacket(run, flagAt, first);
    }
}

/// Hands on the packet whose flag is at `flagAt`. Returns where it ends.
std::size_t AncillaryExtractor::readPacket(const AncillaryRun& run, std::size_t flagAt,
                                           const FindingPlace& first)
{
    // The length, as far as there are words for it.
    const std::size_t left = run.size() - flagAt;
    const std::size_t dataCount = left >= HEAD_WORDS ? run[flagAt + HEAD_WORDS - 1] & 0xFF : 0;
    const std::size_t length = ANCILLARY_WORDS_AROUND_USER_DATA + dataCount;
    const AncillaryRun rest = run.part(flagAt, length);
    // A flag may begin in the packet and end behind it.
    const std::size_t next = run.part(flagAt, length + FLAG_WORDS - 1).findFlag(FLAG_WORDS);
    const std::size_t present = std::min(rest.size(), next);
    found.isWhole = present == length;
    if (!found.isWhole) {
        add(present == left ? FindingCode::AncPastEnd : FindingCode::AncCut, first, flagAt,
            static_cast<qint64>(length), static_cast<qint64>(present));
    }

    found.place = first;
    found.place.sample = std::max(first.sample, 0) + static_cast<int>(flagAt);
    found.packet.buffer.fill(0);
    found.isParityGood = true;
    const std::size_t end = found.isWhole ? length - 1 : present;
    quint32 sum = 0;
    bool hasParity = true;
    for (std::size_t i = FLAG_WORDS; i < end; ++i) {
        const quint16 word = rest[i];
        const auto value = static_cast<quint8>(word);
        found.packet.buffer[AncillaryCollectorPacket::PAYLOAD_START_INDEX + i - FLAG_WORDS] = value;
        sum += word;
        const quint16 expected = hasParity ? ancillaryWord(value) : ancillaryChecksumWord(word);
        if (word != expected) {
            found.isParityGood = false;
            add(FindingCode::AncParity, first, flagAt + i, expected, word);
        }
        if (i == HEAD_WORDS - 1) {
            hasParity = !hasNineBitUserWords(found.packet.getDidSdid().did);
        }
    }
    found.isChecksumGood = true;
    if (found.isWhole) {
        found.packet.buffer[AncillaryCollectorPacket::PAYLOAD_START_INDEX + end - FLAG_WORDS] =
            AncillaryCollectorPacket::END_MARKER;
        const quint16 expected = ancillaryChecksumWord(sum);
        found.isChecksumGood = rest[end] == expected;
        if (!found.isChecksumGood) {
            add(FindingCode::AncChecksum, first, flagAt + end, expected, rest[end]);
        }
    }
    if (receiver) {
        receiver(found);
    }
    return flagAt + std::max(present, FLAG_WORDS);
}

bool AncillaryExtractor::readField(const AncillaryRun& field, const FieldMetrics& metrics,
                                   const FindingPlace& place)
{
    const std::size_t width = metrics.getWidth();
    const std::size_t blanking = metrics.getHorizontalBlankingRegion().getWidth();
    const std::size_t height = metrics.getHeight();
    constexpr std::size_t references = WORDS_BEFORE_HORIZONTAL_SPACE + START_OF_ACTIVE_VIDEO_WORDS;
    if (width == 0 || field.size() % width != 0 || field.size() / width != height ||
        blanking > width || blanking < references) {
        return false;
    }
    const FieldRegion picture = metrics.getActivePictureRegion();
    for (std::size_t line = 0; line < height; ++line) {
        const AncillaryRun words = field.part(line * width, width);
        FindingPlace first = place;
        first.line = static_cast<int>(metrics.getFirstLineNumber() + line);
        first.sample = static_cast<int>(WORDS_BEFORE_HORIZONTAL_SPACE);
        readRun(words.part(WORDS_BEFORE_HORIZONTAL_SPACE, blanking - references), first,
                AncillarySpace::Horizontal);
        const std::size_t lineIndex = metrics.getWholeFieldRegion().getFirstLineIndex() + line;
        if (lineIndex < picture.getFirstLineIndex() || lineIndex > picture.getLastLineIndex()) {
            first.sample = static_cast<int>(blanking);
            readRun(words.part(blanking, width - blanking), first, AncillarySpace::Vertical);
        }
    }
    return true;
}
