// Flows of all classes as text: known texts there and back, and what is refused.
#include "infrastructure/ip/flows/AudioFlowConfigTx.h"
#include "infrastructure/ip/flows/FlowConfig.h"
#include "infrastructure/ip/flows/IpMediaFlowData.h"
#include "infrastructure/ip/flows/IpMediaFlowTx.h"
#include "infrastructure/ip/flows/VideoFlowConfigTx.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

namespace {

// Every field of a flow's own gets another value; the text behind the identity, and that of a
// default-made flow.

std::pair<const char*, const char*> fillOwn(IpMediaFlow&)
{
    return {"", ""};
}

std::pair<const char*, const char*> fillOwn(IpMediaFlowData& flow)
{
    flow.measurementField1 = 1;
    flow.measurementField2 = 2;
    flow.measurementField3 = 3;
    flow.measurementPackets = 18446744073709551615u;
    flow.measurementField4 = 99; // does not travel
    flow.measurementField5 = 5;
    flow.measurementField6 = 6;
    flow.measurementField7 = 7;
    flow.measurementFlag1 = true;
    flow.measurementField8 = 8;
    flow.measurementField9 = 9;
    flow.measurementField10 = 4294967295;
    return {"+1;2;3;18446744073709551615;5;6;7;T;8;9;4294967295", "+0;0;0;0;0;0;0;F;0;0;0"};
}

std::pair<const char*, const char*> fillOwn(FlowConfig& flow)
{
    flow.protocol = IpProtocol_2110_31;
    flow.matchParams = 511;
    return {"+3|511", "+5|2"};
}

std::pair<const char*, const char*> fillOwn(VideoFlowConfigTx& flow)
{
    flow.packetRateIndex = 2;
    flow.rateShaping = 3;
    flow.packingMode = 4;
    flow.source = 5;
    flow.enable = true;
    flow.videoField1 = 60;
    return {"+2;3;4;5;true;60", "+1;0;0;0;false;0"};
}

std::pair<const char*, const char*> fillOwn(AudioFlowConfigTx& flow)
{
    flow.channelCount = 3;
    flow.packetTime = 4;
    flow.source = 5;
    flow.channels = {1, 2, 160};
    return {"+3;4;5;1*2*160", "+0;0;0;"};
}

template <typename Flow>
Flow makeFlow()
{
    Flow flow;
    flow.payloadType = 96;
    flow.srcIpAddr = QHostAddress(QStringLiteral("192.168.0.1"));
    flow.dstIpAddr = QHostAddress(QStringLiteral("239.1.2.3"));
    flow.srcUdpPort = 5004;
    flow.dstUdpPort = 5006;
    flow.ssrc = 4294967295;
    flow.igmpSourceAddr = QHostAddress(QStringLiteral("10.0.255.1"));
    flow.interface = IpInterface_TessEth1;
    fillOwn(flow);
    return flow;
}

/// Texts with a "/" between them.
template <typename Flow>
void checkRefused(const char* texts)
{
    for (const QString& text : QString::fromUtf8(texts).split(QLatin1Char('/'))) {
        CAPTURE(text);
        bool deserialiseSuccess = true;
        CHECK(Flow::deserialise(text, deserialiseSuccess) == Flow());
        CHECK_FALSE(deserialiseSuccess);
    }
}

} // namespace

TEMPLATE_TEST_CASE("A flow is its text, and no piece of it", "[ip]", IpMediaFlow, IpMediaFlowData,
                   IpMediaFlowTx, FlowConfig, VideoFlowConfigTx, AudioFlowConfigTx)
{
    TestType filled;
    const auto [ownText, defaultOwnText] = fillOwn(filled);
    const auto flow = makeFlow<TestType>();
    const QString text =
        QLatin1String("96,192.168.0.1,239.1.2.3,5004,5006,4294967295,10.0.255.1,1") +
        QLatin1String(ownText);
    CHECK(flow.serialise() == text);
    bool deserialiseSuccess = false;
    CHECK(TestType::deserialise(text, deserialiseSuccess) == flow);
    CHECK(deserialiseSuccess);

    const QString defaultText = QLatin1String("0,,,0,0,0,,0") + QLatin1String(defaultOwnText);
    CHECK(TestType().serialise() == defaultText);
    const auto null = TestType::deserialise(defaultText, deserialiseSuccess);
    CHECK(deserialiseSuccess);
    CHECK(null == TestType());
    // A null address is not the address 0.0.0.0, though they compare equal.
    CHECK((null.isNull() && null.srcIpAddr.isNull()));

    const int lastField =
        std::max({text.lastIndexOf(QLatin1Char(',')), text.lastIndexOf(QLatin1Char(';')),
                  text.lastIndexOf(QLatin1Char('|'))});
    for (int size = 0; size < text.size(); ++size) {
        CAPTURE(size);
        const auto read = TestType::deserialise(text.left(size), deserialiseSuccess);
        CHECK(read != flow);
        CHECK((deserialiseSuccess || read == TestType()));
        CHECK_FALSE((deserialiseSuccess && size <= lastField));
    }
    auto other = flow;
    other.ssrc = 0;
    CHECK(other != flow);
    CHECK_FALSE(other == flow);
}

TEST_CASE("Flows to transmit have details for the screen", "[ip]")
{
    VideoFlowConfigTx video;
    video.rateShaping = 1;
    video.source = 1;
    CHECK(video.serialiseDetails() ==
          QStringLiteral("PRS: Linear\nPacking Mode: BPM\nSource: Generator"));
    AudioFlowConfigTx audio;
    audio.channelCount = 5;
    audio.packetTime = 3;
    audio.source = 1;
    const FlowConfigTx& base = audio;
    CHECK(base.serialiseDetails() ==
          QStringLiteral("Packet Time: 1 ms\nChannels: 5\nSource: Metered Audio"));
}

TEST_CASE("An address that is not IPv4 is written as none", "[ip]")
{
    IpMediaFlow flow;
    flow.srcIpAddr = QHostAddress(QStringLiteral("fe80::1"));
    flow.dstIpAddr = QHostAddress(QStringLiteral("::ffff:10.0.0.1")); // has an IPv4 form
    CHECK(flow.serialise() == QStringLiteral("0,,10.0.0.1,0,0,0,,0"));
    CHECK(flow.toKey(false) == QStringLiteral("10.0.0.1,0,,0,0,0"));
    IpMediaFlow same;
    same.srcIpAddr = QHostAddress(0u);
    same.dstIpAddr = QHostAddress(QStringLiteral("10.0.0.1"));
    CHECK(same == flow); // by their IPv4 values
}

TEST_CASE("Readers of flows take nothing but what the writers make", "[ip]")
{
    for (const char* bad :
         {"/0/0,,,0,0,0,/0,,,0,0,0,,/0,,,0,0,0,,0,/0,,,0,0,0,,0,0/0,,,0,0,0,,2/0,,,0,0,0,,00x1",
          "-1,,,0,0,0,,0/+1,,,0,0,0,,0/ 1,,,0,0,0,,0/1 ,,,0,0,0,,0/4294967296,,,0,0,0,,0",
          "0x1,,,0,0,0,,0/,,,0,0,0,,0/0,,,0,0,0,,0\n/0,,,0,0,0,,0+/0;;;0;0;0;;0",
          "0,1,,0,0,0,,0/0,1.2.3,,0,0,0,,0/0,1.2.3.4.5,,0,0,0,,0/0,1.2.3.256,,0,0,0,,0",
          "0,01.2.3.4,,0,0,0,,0/0,1.2.3.04,,0,0,0,,0/0,1..3.4,,0,0,0,,0/0,1.2.3.,,0,0,0,,0",
          "0,.1.2.3,,0,0,0,,0/0,1.2.3.4 ,,0,0,0,,0/0,localhost,,0,0,0,,0/0,fe80::1,,0,0,0,,0",
          "0,0x7f.0.0.1,,0,0,0,,0/0,\xC2\xB5,,0,0,0,,0/\xD9\xA1,,,0,0,0,,0"}) {
        checkRefused<IpMediaFlow>(bad);
        checkRefused<IpMediaFlowTx>(bad);
    }
    checkRefused<FlowConfig>(
        "0,,,0,0,0,,0/0,,,0,0,0,,0+/+5|2/0,,,0,0,0,,0+5/0,,,0,0,0,,0+5|2|/0,,,0,0,0,,0+5|2|0/"
        "0,,,0,0,0,,0+6|2/0,,,0,0,0,,0+5;2/0,,,0,0,0,,0+5|2+/0,,,0,0,0,,0++5|2/"
        "0,,,0,0,0,,0+5|2+5|2/0,,,0,0,0,+0,5|2");
    checkRefused<IpMediaFlowData>(
        "0,,,0,0,0,,0+1;2;3;4;5;6;7;T;8;9/0,,,0,0,0,,0+1;2;3;4;5;6;7;T;8;9;10;11/"
        "0,,,0,0,0,,0+1;2;3;4;5;6;7;t;8;9;10/0,,,0,0,0,,0+1;2;3;4;5;6;7;true;8;9;10/"
        "0,,,0,0,0,,0+1;2;3;4;5;6;7;1;8;9;10/0,,,0,0,0,,0+1;2;3;4;5;6;7;;8;9;10/"
        "0,,,0,0,0,,0+1;2;3;18446744073709551616;5;6;7;T;8;9;10/"
        "0,,,0,0,0,,0+1;2;3;4;4294967296;6;7;T;8;9;10");
    checkRefused<VideoFlowConfigTx>("0,,,0,0,0,,0+1;1;0;1;T;7/0,,,0,0,0,,0+1;1;0;1;true/"
                                    "0,,,0,0,0,,0+1;1;0;1;true;7;8/0,,,0,0,0,,0+1;1;0;1;TRUE;7");
    checkRefused<AudioFlowConfigTx>(
        "0,,,0,0,0,,0+0;0;0/0,,,0,0,0,,0+0;0;0;;/0,,,0,0,0,,0+0;0;0;*/0,,,0,0,0,,0+0;0;0;1*/"
        "0,,,0,0,0,,0+0;0;0;*1/0,,,0,0,0,,0+0;0;0;1**2/0,,,0,0,0,,0+0;0;0;1,2/"
        "0,,,0,0,0,,0+0;0;0;4294967296");
}

TEST_CASE("Flows to transmit are told apart by what is on the network", "[ip]")
{
    const auto check = [](const auto& flow, const auto&... fields) {
        for (const auto field : {fields...}) {
            auto other = flow;
            ++(other.*field);
            CHECK_FALSE((flowsIdentical(flow, other) || flowsSame(flow, other)));
        }
        auto other = flow;
        ++other.ssrc;
        CHECK_FALSE((flowsIdentical(flow, other) || flowsSame(flow, other)));
        other = flow;
        other.igmpSourceAddr = QHostAddress(1u);
        CHECK_FALSE(flowsIdentical(flow, other));
        CHECK(flowsSame(flow, other));
    };
    const auto video = makeFlow<VideoFlowConfigTx>();
    check(video, &VideoFlowConfigTx::rateShaping, &VideoFlowConfigTx::packingMode,
          &VideoFlowConfigTx::source);
    auto otherVideo = video;
    ++otherVideo.packetRateIndex;
    ++otherVideo.videoField1;
    otherVideo.enable = false;
    CHECK((flowsIdentical(video, otherVideo) && flowsSame(video, otherVideo)));
    CHECK(video != otherVideo);

    const auto audio = makeFlow<AudioFlowConfigTx>();
    check(audio, &AudioFlowConfigTx::channelCount, &AudioFlowConfigTx::packetTime,
          &AudioFlowConfigTx::source);
    auto otherAudio = audio;
    otherAudio.channels.push_back(1);
    CHECK((flowsIdentical(audio, otherAudio) && flowsSame(audio, otherAudio)));
    CHECK(audio != otherAudio);
}
