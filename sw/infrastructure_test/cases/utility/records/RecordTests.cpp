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

QByteArray hex(const char* digits)
{
    return QByteArray::fromHex(digits);
}

} // namespace

TEMPLATE_TEST_CASE("A record comes back from the factory as it was sent", "[records]",
                   EyeVerticalHistogramData, EyeHorizontalHistogramData, PpmMetersData,
                   PeakHoldMetersData, PhaseMetersData, InstantPeakDbMetersData,
                   InstantPeakLinearMetersData, ST337DolbyDetectData,
                   RawSdiJitterSpectrumDataPacket, JitterVerticalHistogramData,
                   VideoPitHistogramPacket, AudioPitHistogramPacket, AncPitHistogramPacket,
                   AudioChannelStatusDataPacket, AesPresenceDataPacket,
                   EyeWindowedVerticalHistogramData, VideoIp2110_21DataPacket,
                   PtpMediaLatencyPacket, RefVsPtpPacket, SCTE104RawDataPacket,
                   LoudnessEngineRawDataPacket)
{
    Randomiser randomiser(17);
    for (int i = 0; i < 200; ++i) {
        TestType sent;
        randomiser.fill(sent);
        const QByteArray payload = sent.serialisePayload();
        REQUIRE(payload.size() == RecordLayout::sizeOf(sent));
        const auto received = receive<TestType>(payload);
        REQUIRE(received != nullptr);
        REQUIRE(*received == sent);
        REQUIRE(received->serialisePayload() == payload);

        TestType other;
        randomiser.fill(other);
        // Long enough that two random ones are not the same by chance.
        REQUIRE((other == sent) == (other.serialisePayload() == payload));
    }
}

TEMPLATE_TEST_CASE("A payload that ends anywhere gives zeros for what is missing", "[records]",
                   EyeVerticalHistogramData, PpmMetersData, InstantPeakLinearMetersData,
                   ST337DolbyDetectData, RawSdiJitterSpectrumDataPacket, VideoPitHistogramPacket,
                   AudioChannelStatusDataPacket, AesPresenceDataPacket, VideoIp2110_21DataPacket,
                   PtpMediaLatencyPacket, RefVsPtpPacket, SCTE104RawDataPacket,
                   LoudnessEngineRawDataPacket)
{
    Randomiser randomiser(23);
    TestType sent;
    randomiser.fill(sent);
    const QByteArray whole = sent.serialisePayload();
    for (int size = 0; size <= whole.size(); ++size) {
        const auto received = receive<TestType>(whole.left(size));
        REQUIRE(received != nullptr);
        const QByteArray again = received->serialisePayload();
        // The longest field has 8 bytes: up to there all is as sent, and behind it all is zero.
        const int sure = std::max(std::min(size - 8, again.size()), 0);
        REQUIRE(again.left(sure) == whole.left(sure));
        REQUIRE(again.mid(size).count('\0') == std::max(again.size() - size, 0));
    }
    const auto empty = receive<TestType>(QByteArray());
    CHECK(*empty == TestType());
}

TEST_CASE("Records have these bytes", "[records]")
{
    EyeVerticalHistogramData eye;
    CHECK(eye.serialisePayload() == hex("00000000"));
    eye.histogram = {1, -2};
    CHECK(eye.serialisePayload() == hex("00000002 00000001 fffffffe"));

    RawSdiJitterSpectrumDataPacket jitter;
    jitter.spectrumVector1 = {1.0};
    jitter.spectrumVector3 = {-0.5};
    jitter.spectrumParameter1 = 3;
    jitter.spectrumFlag = true;
    jitter.spectrumParameter2 = 4;
    CHECK(jitter.serialisePayload() == hex("00000001 3ff0000000000000 00000000"
                                           "00000001 bfe0000000000000 00000003 01 00000004"));

    PpmMetersData ppm;
    ppm.metersField1 = 1;
    ppm.metersField2 = 2;
    ppm.metersField3 = 3;
    CHECK(ppm.serialisePayload().size() == 16);
    ppm.readings = {{0xFE, 5, 6, 7, -1.5f}};
    CHECK(ppm.serialisePayload() == hex("00000001 00000002 00000003 00000001"
                                        "000000fe 00000005 00000006 00000007 bff8000000000000"));

    InstantPeakLinearMetersData linear;
    linear.readings = {{1, 2, 3, 4, -5}};
    CHECK(linear.serialisePayload() == hex("00000000 00000000 00000000 00000001"
                                           "00000001 00000002 00000003 00000004 fffffffb"));

    ST337DolbyDetectData dolby;
    dolby.channels = {{0xAB, 6, true, false, 1, 2, 3, 0x0405, false, true, true, false}};
    dolby.bursts = {{-1, 2, 3, 0x80}};
    CHECK(dolby.serialisePayload() ==
          hex("00000000 00000000 00000000 00000001"
              "00ab 00000001 00000002 00000003 01 00 0405 0006 00 01 01 00"
              "00000001 ffff 0002 0003 0080"));

    AesPresenceDataPacket aes;
    aes.metersField3 = -1;
    CHECK(aes.serialisePayload() == hex("00000000 00000000 ffffffff"));

    RefVsPtpPacket reference;
    reference.referenceTime = 0x0102030405060708;
    reference.referenceField1 = -1;
    reference.referenceField2 = 9;
    CHECK(reference.serialisePayload() == hex("0102030405060708 ffffffff 00000009"));

    VideoIp2110_21DataPacket video;
    video.counter1 = 1;
    video.counter2 = 2;
    video.counter3 = 3;
    video.counter4 = 4;
    video.counter5 = 5;
    video.counter6 = 6;
    video.measurement1 = 2.0;
    video.videoWord2 = 7;
    video.videoField1 = 8;
    CHECK(video.serialisePayload() ==
          hex("00000002 00000001 00000003 00000004 00000005 00000006"
              "4000000000000000 0000000000000000 0000000000000000 0000000000000000"
              "0000 0007 00000008"));

    SCTE104RawDataPacket scte;
    scte.scteWord9 = 9;
    scte.scteWord10 = 10;
    scte.scteWord11 = 11;
    scte.scteField1 = 0x01020304;
    scte.scteWord12 = 12;
    scte.scteWord18 = 18;
    CHECK(scte.serialisePayload() ==
          hex("0000 0000 0000 0000 0000 0000 0000 0000 0009 000b 000a 01020304"
              "000c 0000 0000 0000 0000 0000 0012"));

    LoudnessEngineRawDataPacket loudness;
    loudness.loudnessStamp2 = 2;
    loudness.loudnessWord4 = 4;
    loudness.loudnessFlag5 = true;
    loudness.loudnessByte1 = 6;
    loudness.loudnessWord5 = 7;
    CHECK(loudness.serialisePayload() ==
          hex("0000000000000000 0000000000000002 0000 0000 0000 0004 00 00 00 00 01 06 0007"));

    AudioChannelStatusDataPacket audio;
    audio.statusField2 = 2;
    audio.statusFlag = true;
    audio.channels = {{0xFF, 1, 2, 3, 11, 12, 13, 14, 15, 16, 4, 5}};
    CHECK(audio.serialisePayload() ==
          hex("00000000 00000002 00000001 000000ff 00000001 00000002 00000003"
              "0000000b 0000000c 0000000d 0000000e 0000000f 00000010"
              "00000000 00000004 00000005 01"));
}

TEST_CASE("The long records have their fields where they belong", "[records]")
{
    // Every field its own value, so that no two can change places unseen.
    PtpMediaLatencyPacket latency;
    latency.latencyStamp = 1;
    latency.latencyField1 = 2;
    latency.latencyField6 = 7;
    latency.latencyStamp2 = 8;
    latency.latencyWord = 9;
    latency.latencyByte1 = 10;
    latency.latencyByte2 = 11;
    latency.latencyStamp3 = 12;
    latency.latencyStamp4 = 13;
    latency.latencyField7 = 14;
    latency.latencyField8 = 15;
    latency.latencyStamp5 = 16;
    latency.latencyField9 = 17;
    latency.latencyField10 = 18;
    latency.latencyStamp6 = 19;
    latency.latencyField11 = 20;
    latency.latencyField26 = 35;
    CHECK(latency.serialisePayload() ==
          hex("0000000000000001 00000002 00000000 00000000 00000000 00000000 00000007"
              "0000000000000008 0009 0a 0b 000000000000000c 000000000000000d 0000000e 0000000f"
              "0000000000000010 00000011 00000012 0000000000000013 00000014") +
              QByteArray(14 * 4, '\0') + hex("00000023"));

    AudioPitHistogramPacket pit;
    pit.pitField1 = 1;
    pit.pitField2 = 2;
    pit.pitTotal = 3;
    pit.pitField3 = 4;
    pit.pitField6 = 7;
    pit.pitFlag2 = true;
    pit.bins[0] = 8;
    pit.bins[63] = 9;
    pit.pitField7 = 10;
    pit.sourceAddress = QHostAddress(QStringLiteral("239.1.2.3"));
    pit.pitField8 = 11;
    pit.pitField10 = 13;
    pit.thirdAddress = QHostAddress(QStringLiteral("10.0.0.1"));
    pit.pitField12 = 15;
    pit.flowIndex = 0x1617;
    CHECK(pit.serialisePayload() ==
          hex("00000001 00000002 0000000000000003 00000004 00000000 00000000 00000007 00 01"
              "00000008") +
              QByteArray(62 * 4, '\0') +
              hex("00000009 0000000a 01 ef010203 00 00000000 0000000b 00000000 0000000d"
                  "01 0a000001 00000000 0000000f 1617"));
    const auto received = receive<AudioPitHistogramPacket>(pit.serialisePayload());
    CHECK(received->destinationAddress.isNull());
    CHECK(received->thirdAddress == pit.thirdAddress);

    CHECK(wireBytes(VideoPitHistogramPacket()).left(4) == hex("101c 0000"));
    CHECK(wireBytes(AudioPitHistogramPacket()).left(4) == hex("101d 0001"));
    CHECK(wireBytes(AncPitHistogramPacket()).left(4) == hex("101e 0003"));
}

TEST_CASE("A float level travels exactly", "[records]")
{
    for (const float level : {0.1f, -0.0f, 1e-45f, std::numeric_limits<float>::max(),
                              std::numeric_limits<float>::infinity()}) {
        PhaseMetersData sent;
        sent.readings = {{1, 0, 0, 0, level}};
        const auto received = receive<PhaseMetersData>(sent.serialisePayload());
        REQUIRE(received->readings.size() == 1);
        CHECK(received->readings[0].level == level);
        CHECK(std::signbit(received->readings[0].level) == std::signbit(level));
    }
}

TEST_CASE("A count that lies takes no memory for itself", "[records]")
{
    constexpr int limit = RecordLayout::Reader::MAX_MISSING_ELEMENTS;
    const LogCapture log;
    CHECK(receive<EyeVerticalHistogramData>(hex("ffffffff 00000001"))->histogram.isEmpty());
    CHECK(receive<EyeVerticalHistogramData>(hex("80000000"))->histogram.isEmpty());
    CHECK(receive<EyeVerticalHistogramData>(hex("00000003 00000001 0000"))->histogram ==
          QVector<int>{1, 0, 0});
    CHECK(receive<EyeVerticalHistogramData>(hex("00010001 00000001"))->histogram.size() ==
          limit + 1);
    CHECK(log.lines().isEmpty());

    CHECK(receive<EyeVerticalHistogramData>(hex("7fffffff 00000001"))->histogram.size() ==
          limit + 1);
    CHECK(log.lines() ==
          QStringList{QStringLiteral("error: Record counts 2147418110 elements more than its "
                                     "payload holds, beyond the limit of 65536")});

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
