// The video source format word of SMPTE ST 2022-6.
#include "infrastructure/ip/20226/VideoFormat20226.h"
#include "sw/infrastructure_test/Catch.h"

#include <set>

using namespace Tessorn::IpTypes;
using namespace Tessorn::Sdi;

namespace {

constexpr quint32 formatWord(quint32 map, quint32 frame, quint32 frameRate, quint32 sample)
{
    return map << 28 | frame << 20 | frameRate << 12 | sample << 8;
}

/// The rate by the rules in their order, on sets of codes.
SdiDataRate expectedRate(quint32 map, quint32 frame, quint32 frameRate, quint32 sample)
{
    const std::set<quint32> frames{0x00, 0x10, 0x11, 0x20, 0x21, 0x22, 0x23, 0x24, 0x30};
    const std::set<quint32> fast{0x10, 0x11, 0x12, 0x14, 0x15};
    const std::set<quint32> slow{0x16, 0x17, 0x18, 0x1A, 0x1B};
    if (frameRate <= 0x04) {
        return frameRate <= 0x01   ? SdiDataRate_3G
               : frameRate <= 0x03 ? SdiDataRate_1G5
                                   : SdiDataRate_270M;
    }
    if (map == 1 || map == 2) {
        return SdiDataRate_3G;
    }
    if (frame == 0x10 || frame == 0x11) {
        return SdiDataRate_270M;
    }
    if (frames.count(frame) == 0 || fast.count(frameRate) + slow.count(frameRate) == 0) {
        return SdiDataRate_Unknown;
    }
    if (sample > 1) {
        return SdiDataRate_3G;
    }
    if (frame == 0 && frameRate >= 0x10 && frameRate <= 0x12) { // 60, 59.94, 50
        return SdiDataRate_Unknown;
    }
    return frame == 0x20 || frame == 0x30 || slow.count(frameRate) != 0 ? SdiDataRate_1G5
                                                                        : SdiDataRate_3G;
}

} // namespace

TEST_CASE("The words of well-known formats give their interface", "[ip]")
{
    const Table<const char*, quint32, SdiDataRate, bool, Level> rows{
        {"1080i25, captured", 0x02018100, SdiDataRate_1G5, false, Level_A},
        {"720p59.94, captured", 0x03011100, SdiDataRate_1G5, true, Level_A},
        {"3G A 1080p60 4:2:2", formatWord(0, 0x21, 0x10, 1), SdiDataRate_3G, false, Level_A},
        {"3G B 2048x1080p50", formatWord(1, 0x23, 0x12, 1), SdiDataRate_3G, false, Level_B},
        {"two streams of 1080i29.97", formatWord(2, 0x20, 0x17, 1), SdiDataRate_3G, true, Level_B},
        {"625 lines, 4:4:4", formatWord(0, 0x11, 0x18, 2), SdiDataRate_270M, false, Level_A},
    };
    for (const auto& [name, word, rate, is1001, level] : rows) {
        CAPTURE(name);
        const VideoFormat20226 format(word);
        CHECK(std::tuple(format.rate, format.clockIs1001not1000, format.level) ==
              std::tuple(rate, is1001, level));
        CHECK(VideoFormat20226(word ^ 0xFFu) == format); // the reserved byte says nothing
    }
}

TEST_CASE("Formats are equal where rate, clock and level are", "[ip]")
{
    const VideoFormat20226 format(formatWord(0, 0x21, 0x10, 1)); // 1080p60
    CHECK(format == VideoFormat20226(formatWord(0, 0x23, 0x12, 1)));
    CHECK(format != VideoFormat20226(formatWord(0, 0x30, 0x10, 1))); // 1.5 Gb/s
    CHECK(format != VideoFormat20226(formatWord(0, 0x21, 0x11, 1))); // 59.94 Hz
    CHECK(format != VideoFormat20226(formatWord(1, 0x21, 0x10, 1))); // level B
}

TEST_CASE("Every word has the rate, the clock and the level of its codes", "[ip]")
{
    const std::set<quint32> codes1001{0x01, 0x03, 0x11, 0x15, 0x17, 0x1B};
    for (quint32 map = 0; map < 16; map += map < 3 ? 1 : 6) {
        for (quint32 frame = 0; frame < 256; frame += frame < 0x32 ? 1 : 41) {
            for (quint32 frameRate = 0; frameRate < 256; frameRate += frameRate < 0x1D ? 1 : 45) {
                for (quint32 sample = 0; sample < 16; ++sample) {
                    const VideoFormat20226 format(formatWord(map, frame, frameRate, sample));
                    const auto expected = std::tuple(expectedRate(map, frame, frameRate, sample),
                                                     codes1001.count(frameRate) != 0,
                                                     map == 1 || map == 2 ? Level_B : Level_A);
                    CAPTURE(map, frame, frameRate, sample);
                    REQUIRE(std::tuple(format.rate, format.clockIs1001not1000, format.level) ==
                            expected);
                }
            }
        }
    }
}
