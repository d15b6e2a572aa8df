#include "infrastructure/ip/20226/VideoFormat20226.h"

#include "infrastructure/utility/video/Vocabulary.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using namespace Sdi;

/// The fields of the word, big-endian on the wire:
///
///    31  28 27          20 19          12 11   8 7            0
///   +------+--------------+--------------+------+--------------+
///   | MAP  |    FRAME     |    FRATE     |SAMPLE|   reserved   |
///   +------+--------------+--------------+------+--------------+
struct Codes
{
    explicit constexpr Codes(quint32 word)
        : map(word >> 28)
        , frame(word >> 20 & 0xFF)
        , frameRate(word >> 12 & 0xFF)
        , sample(word >> 8 & 0xF)
    {
    }
    quint32 map;
    quint32 frame;
    quint32 frameRate;
    quint32 sample;
};

constexpr quint32 MAP_LEVEL_B_DUAL_LINK = 1;
constexpr quint32 MAP_LEVEL_B_DUAL_STREAM = 2;

constexpr bool isLevelB(const Codes& codes)
{
    return codes.map == MAP_LEVEL_B_DUAL_LINK || codes.map == MAP_LEVEL_B_DUAL_STREAM;
}

/// What a picture size tells about the interface's rate.
enum class FrameRateRule {
    Rate270M,    ///< standard definition, whatever the frame rate
    Rate1G5,     ///< 1.5 Gb/s at all its frame rates, with 4:2:2 10-bit samples
    ByFrameRate, ///< 3 Gb/s for fast pictures, 1.5 Gb/s for slow ones, with 4:2:2 10-bit samples
    AnySize,     ///< either of the two above: unknown if they differ and pictures of both exist
};

struct FrameRow
{
    quint32 value;
    FrameRateRule rule;
};

constexpr FrameRow FRAMES[] = {
    {0x00, FrameRateRule::AnySize},     // unknown
    {0x10, FrameRateRule::Rate270M},    // 720x486 interlaced
    {0x11, FrameRateRule::Rate270M},    // 720x576 interlaced
    {0x20, FrameRateRule::Rate1G5},     // 1920x1080 interlaced
    {0x21, FrameRateRule::ByFrameRate}, // 1920x1080 progressive
    {0x22, FrameRateRule::ByFrameRate}, // 1920x1080 psf
    {0x23, FrameRateRule::ByFrameRate}, // 2048x1080 progressive
    {0x24, FrameRateRule::ByFrameRate}, // 2048x1080 psf
    {0x30, FrameRateRule::Rate1G5},     // 1280x720 progressive
};

struct FrameRateRow
{
    quint32 value;
    bool is1001;
    SdiDataRate serialRate; ///< of the code itself; SdiDataRate_Unknown if the frame decides
    bool isFast;            ///< 47.95 Hz and above
    bool has720Lines;       ///< fast, and also a rate of pictures with 720 lines (SMPTE ST 296)
};

constexpr FrameRateRow FRAME_RATES[] = {
    {0x00, false, SdiDataRate_3G, false, false},      // unknown, at 2.970 GHz
    {0x01, true, SdiDataRate_3G, false, false},       // unknown, at 2.970 GHz / 1.001
    {0x02, false, SdiDataRate_1G5, false, false},     // unknown, at 1.485 GHz
    {0x03, true, SdiDataRate_1G5, false, false},      // unknown, at 1.485 GHz / 1.001
    {0x04, false, SdiDataRate_270M, false, false},    // unknown, at 0.270 GHz
    {0x10, false, SdiDataRate_Unknown, true, true},   // 60
    {0x11, true, SdiDataRate_Unknown, true, true},    // 60 / 1.001
    {0x12, false, SdiDataRate_Unknown, true, true},   // 50
    {0x14, false, SdiDataRate_Unknown, true, false},  // 48
    {0x15, true, SdiDataRate_Unknown, true, false},   // 48 / 1.001
    {0x16, false, SdiDataRate_Unknown, false, false}, // 30
    {0x17, true, SdiDataRate_Unknown, false, false},  // 30 / 1.001
    {0x18, false, SdiDataRate_Unknown, false, false}, // 25
    {0x1A, false, SdiDataRate_Unknown, false, false}, // 24
    {0x1B, true, SdiDataRate_Unknown, false, false},  // 24 / 1.001
};

/// Sample codes up to this one are unknown and 4:2:2 at 10 bits. All above, including the reserved
/// ones, take more bits for a pixel.
constexpr quint32 SAMPLE_422_10 = 1;

} // namespace

VideoFormat20226::VideoFormat20226(quint32 formatWord)
    : rate(getRateFromVideoSourceFormatUInt(formatWord))
    , clockIs1001not1000(getIs1001FromVideoSourceFormatUInt(formatWord))
    , level(getLevelFromVideoSourceFormatUInt(formatWord))
{
}

SdiDataRate VideoFormat20226::getRateFromVideoSourceFormatUInt(quint32 formatWord)
{
    const Codes codes(formatWord);
    const FrameRow* frame = Vocabulary::find(FRAMES, codes.frame);
    const FrameRateRow* frameRate = Vocabulary::find(FRAME_RATES, codes.frameRate);

    // From the certain to what must be combined.
    if (frameRate != nullptr && frameRate->serialRate != SdiDataRate_Unknown) {
        return frameRate->serialRate;
    }
    if (isLevelB(codes)) {
        return SdiDataRate_3G;
    }
    if (frame != nullptr && frame->rule == FrameRateRule::Rate270M) {
        return SdiDataRate_270M;
    }
    if (frame == nullptr || frameRate == nullptr) {
        return SdiDataRate_Unknown;
    }
    if (codes.sample > SAMPLE_422_10) {
        return SdiDataRate_3G;
    }
    if (frame->rule == FrameRateRule::AnySize && frameRate->has720Lines) {
        return SdiDataRate_Unknown;
    }
    const bool slow = frame->rule == FrameRateRule::Rate1G5 || !frameRate->isFast;
    return slow ? SdiDataRate_1G5 : SdiDataRate_3G;
}

bool VideoFormat20226::getIs1001FromVideoSourceFormatUInt(quint32 formatWord)
{
    const FrameRateRow* row = Vocabulary::find(FRAME_RATES, Codes(formatWord).frameRate);
    return row != nullptr && row->is1001;
}

Level VideoFormat20226::getLevelFromVideoSourceFormatUInt(quint32 formatWord)
{
    return isLevelB(Codes(formatWord)) ? Level_B : Level_A;
}

} // namespace IpTypes
} // namespace Tessorn
