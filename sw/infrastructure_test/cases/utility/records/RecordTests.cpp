// The records whose layout is a plain list of fields.
#include "infrastructure/utility/records/AudioChannelStatusDataPacket.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "infrastructure/utility/records/LoudnessEngineRawDataPacket.h"
#include "infrastructure/utility/records/MetersData.h"
#include "infrastructure/utility/records/PitHistogramPacket.h"
#include "infrastructure/utility/records/PtpMediaLatencyPacket.h"
#include "infrastructure/utility/records/RawSdiJitterSpectrumDataPacket.h"
#include "infrastructure/utility/records/RefVsPtpPacket.h"
#include "infrastructure/utility/records/SCTE104RawDataPacket.h"
#include "infrastructure/utility/records/ST337DolbyDetectData.h"
#include "infrastructure/utility/records/VideoIp2110_21DataPacket.h"
#include "sw/infrastructure_test/cases/utility/records/RecordTesting.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <limits>

using namespace RecordTesting;

namespace {

template <typename Packet>
void checkBytes(const Packet& packet, const char* digits)
{
    CHECK(packet.serialisePayload().toHex() == hex(digits).toHex());
}

} // namespace

/// A namespace as a user of the library has one.
namespace Elsewhere {

using RecordLayout::operator==;
using RecordLayout::operator!=;

struct Sample
{
    qint32 value = 0;

    static constexpr auto LAYOUT =
        RecordLayout::layout(RecordLayout::field<qint32>(&Sample::value));
};

} // namespace Elsewhere

TEST_CASE("Records of another namespace compare, and so do lists of them", "[records]")
{
    const std::vector<Elsewhere::Sample> samples{{1}, {2}};
    CHECK(samples == std::vector<Elsewhere::Sample>{{1}, {2}});
    CHECK(samples != std::vector<Elsewhere::Sample>{{1}, {3}});
    CHECK(QVector<Elsewhere::Sample>{{1}} != QVector<Elsewhere::Sample>{{2}});
    CHECK((samples[0] == samples[0] && samples[0] != samples[1]));
}

TEST_CASE("Words of the audio meters are reached through their base", "[records]")
{
    PhaseMetersData phase;
    phase.readings = {{1, 2, 3, 4, 0.5f}};
    AudioMetersDataPacket& base = phase;
    std::tie(base.metersField1, base.metersField2, base.metersField3) = std::tuple(11, 12, 13);
    const std::shared_ptr<AudioMetersDataPacket> received =
        receive<PhaseMetersData>(phase.serialisePayload());
    CHECK(std::tuple(received->metersField1, received->metersField2, received->metersField3) ==
          std::tuple(11, 12, 13));
    CHECK(static_cast<const PhaseMetersData&>(*received) == phase);
    ++received->metersField3;
    CHECK(static_cast<const PhaseMetersData&>(*received) != phase);
    STATIC_REQUIRE_FALSE((std::is_invocable_v<std::equal_to<>, AudioMetersDataPacket&,
                                              AudioMetersDataPacket&>)); // the words alone
    STATIC_REQUIRE_FALSE(
        (std::is_invocable_v<std::not_equal_to<>, AudioMetersDataPacket&, AudioMetersDataPacket&>));
}

TEST_CASE("A payload of 2 GiB is refused", "[records]")
{
    const LogCapture log;
    CHECK(RecordLayout::allocatePayload(0).size() == 0);
    CHECK_FALSE(RecordLayout::allocatePayload(0).isNull());
    CHECK(RecordLayout::allocatePayload(5).size() == 5);
    CHECK(log.lines().isEmpty());
    CHECK(RecordLayout::allocatePayload(2147483584).isNull());
    CHECK(log.lines() == QStringList{"error: Record of 2147483584 bytes exceeds the "
                                     "largest payload, 2147483583"_s});
}

TEST_CASE("Records have these bytes", "[records]")
{
    EyeVerticalHistogramData eye;
    checkBytes(eye, "00000000");
    eye.histogram = {1, -2};
    checkBytes(eye, "00000002 00000001 fffffffe");

    RawSdiJitterSpectrumDataPacket jitter;
    jitter.spectrumVector1 = {1.0};
    jitter.spectrumVector3 = {-0.5};
    jitter.spectrumParameter1 = 3;
    jitter.spectrumFlag = true;
    jitter.spectrumParameter2 = 4;
    checkBytes(jitter, "00000001 3ff0000000000000 00000000"
                       "00000001 bfe0000000000000 00000003 01 00000004");

    PpmMetersData ppm;
    std::tie(ppm.metersField1, ppm.metersField2, ppm.metersField3) = std::tuple(1, 2, 3);
    ppm.readings = {{0xFE, 5, 6, 7, -1.5f}};
    checkBytes(ppm, "00000001 00000002 00000003 00000001"
                    "000000fe 00000005 00000006 00000007 bff8000000000000");

    InstantPeakLinearMetersData linear;
    linear.readings = {{1, 2, 3, 4, -5}};
    checkBytes(linear, "00000000 00000000 00000000 00000001"
                       "00000001 00000002 00000003 00000004 fffffffb");

    ST337DolbyDetectData dolby;
    dolby.metersField2 = 9;
    dolby.channels = {{0xAB, 6, true, false, 1, 2, 3, 0x0405, false, true, true, false},
                      {0, 0, false, true, 0, 0, 0, 0, true, true, false, false}};
    dolby.bursts = {{-1, 2, 3, 0x80}};
    checkBytes(dolby, "00000000 00000009 00000000 00000002"
                      "00ab 00000001 00000002 00000003 01 00 0405 0006 00 01 01 00"
                      "0000 00000000 00000000 00000000 00 01 0000 0000 01 01 00 00"
                      "00000001 ffff 0002 0003 0080");

    AesPresenceDataPacket aes;
    aes.metersField3 = -1;
    checkBytes(aes, "00000000 00000000 ffffffff");
    checkBytes(RefVsPtpPacket(RefVsPtp{0x0102030405060708, -1, 9}),
               "0102030405060708 ffffffff 00000009");
    checkBytes(VideoIp2110_21DataPacket(
                   VideoIp2110_21{1, 2, 3, 4, 5, 6, 2.0, -2.0, 0.5, -0.5, 0x0102, 7, 8}),
               "00000002 00000001 00000003 00000004 00000005 00000006"
               "4000000000000000 c000000000000000 3fe0000000000000 bfe0000000000000"
               "0102 0007 00000008");
    checkBytes(SCTE104RawDataPacket(SCTE104Raw{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 0x01020304, 12,
                                               13, 14, 15, 16, 17, 18}),
               "0001 0002 0003 0004 0005 0006 0007 0008 0009 000b 000a 01020304"
               "000c 000d 000e 000f 0010 0011 0012");
    checkBytes(LoudnessEngineRawDataPacket(
                   LoudnessEngineRaw{1, 2, 3, 4, 5, 6, true, false, false, true, false, 0xF7, 8}),
               "0000000000000001 0000000000000002 0003 0004 0005 0006 01 00 00 01 00 f7 0008");

    int at = 24;
    for (bool LoudnessEngineRaw::*const flag :
         {&LoudnessEngineRaw::loudnessFlag1, &LoudnessEngineRaw::loudnessFlag2,
          &LoudnessEngineRaw::loudnessFlag3, &LoudnessEngineRaw::loudnessFlag4,
          &LoudnessEngineRaw::loudnessFlag5}) {
        LoudnessEngineRaw flagged;
        flagged.*flag = true;
        CHECK(LoudnessEngineRawDataPacket(flagged).serialisePayload().indexOf('\1') == at++);
    }

    AudioChannelStatusDataPacket audio;
    audio.statusField1 = 8;
    audio.statusField2 = 2;
    audio.statusFlag = true;
    audio.channels = {{0xFF, 1, 2, 3, 11, 12, 13, 14, 15, 16, 4, 5}};
    checkBytes(audio, "00000008 00000002 00000001 000000ff 00000001 00000002 00000003"
                      "0000000b 0000000c 0000000d 0000000e 0000000f 00000010"
                      "00000000 00000004 00000005 01");
}

TEST_CASE("The long records have their fields where they belong, and a float is exact", "[records]")
{
    // Every field its own value, so that no two can change places unseen.
    checkBytes(PtpMediaLatencyPacket(PtpMediaLatency{1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,
                                                     13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24,
                                                     25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35}),
               "0000000000000001 00000002 00000003 00000004 00000005 00000006 00000007"
               "0000000000000008 0009 0a 0b 000000000000000c 000000000000000d 0000000e 0000000f"
               "0000000000000010 00000011 00000012 0000000000000013 00000014 00000015 00000016"
               "00000017 00000018 00000019 0000001a 0000001b 0000001c 0000001d 0000001e 0000001f"
               "00000020 00000021 00000022 00000023");

    const QHostAddress third("10.0.0.1"_s);
    PitHistogram values{
        1,  2,  3,  4,  5,     6,  7,  false, true, {8}, 10, QHostAddress(0xEF010203),
        {}, 11, 12, 13, third, 14, 15, 0x1617};
    values.bins[63] = 9;
    const AudioPitHistogramPacket pit(values);
    CHECK(pit.serialisePayload() ==
          hex("00000001 00000002 0000000000000003 00000004 00000005 00000006 00000007 00 01"
              "00000008") +
              QByteArray(62 * 4, '\0') +
              hex("00000009 0000000a 01 ef010203 00 00000000 0000000b 0000000c 0000000d"
                  "01 0a000001 0000000e 0000000f 1617"));
    const auto received = receive<AudioPitHistogramPacket>(pit.serialisePayload());
    CHECK(received->destinationAddress.isNull());
    CHECK(received->thirdAddress == third);

    CHECK(wireBytes(VideoPitHistogramPacket()).left(4) == hex("101c 0000"));
    CHECK(wireBytes(AudioPitHistogramPacket()).left(4) == hex("101d 0001"));
    CHECK(wireBytes(AncPitHistogramPacket()).left(4) == hex("101e 0003"));

    for (const float level : {0.1f, -0.0f, 1e-45f, std::numeric_limits<float>::max(),
                              std::numeric_limits<float>::infinity()}) {
        PhaseMetersData sent;
        sent.readings = {{1, 0, 0, 0, level}};
        const auto phase = receive<PhaseMetersData>(sent.serialisePayload());
        REQUIRE(phase->readings.size() == 1);
        CHECK(phase->readings[0].level == level);
        CHECK(std::signbit(phase->readings[0].level) == std::signbit(level));
    }
}

TEST_CASE("A count that lies takes no memory for itself", "[records]")
{
    constexpr int limit = RecordLayout::Reader::MAX_MISSING_ELEMENTS;
    const LogCapture log;
    const auto histogram = [](const char* digits) {
        return receive<EyeVerticalHistogramData>(hex(digits))->histogram;
    };
    CHECK(histogram("ffffffff 00000001").isEmpty());
    CHECK(histogram("80000000").isEmpty());
    CHECK(histogram("00000003 00000001 0000") == QVector<int>{1, 0, 0});
    CHECK(receive<InstantPeakLinearMetersData>(
              hex("00000000 00000000 00000000 00000003 00000001 00000002 00000003 00000004 fffffffb"
                  "00000006 00000007 00000008 00000009 0000000a 0000000b 0000000c 0000"))
              ->readings ==
          QVector<MeterReading<int>>{{1, 2, 3, 4, -5}, {6, 7, 8, 9, 10}, {11, 12, 0, 0, 0}});
    CHECK(histogram("00010001 00000001").size() == limit + 1);
    CHECK(log.lines().isEmpty());
    CHECK(histogram("7fffffff 00000001").size() == limit + 1);
    CHECK(log.lines() == lines({"error: Record counts 2147418110 elements more than its payload "
                                "holds, beyond the limit of 65536"}));

    // One limit for all lists of a record, and one line.
    const auto jitter =
        receive<RawSdiJitterSpectrumDataPacket>(hex("00000001 3ff0000000000000 7fffffff"));
    CHECK(jitter->spectrumVector1 == std::vector<double>{1.0});
    CHECK(jitter->spectrumVector2.size() == limit);
    CHECK(jitter->spectrumVector3.empty());
    CHECK(receive<PpmMetersData>(hex("00000000 00000000 00000000 7fffffff"))->readings.size() ==
          limit);
    CHECK(log.lines().size() == 3);
}
