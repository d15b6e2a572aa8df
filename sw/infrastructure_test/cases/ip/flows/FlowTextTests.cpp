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
    std::tie(flow.measurementField1, flow.measurementField2, flow.measurementField3,
             flow.measurementPackets, flow.measurementField4, flow.measurementField5,
             flow.measurementField6, flow.measurementField7, flow.measurementFlag1,
             flow.measurementField8, flow.measurementField9, flow.measurementField10) =
        std::tuple(1, 2, 3, 18446744073709551615u, 99, 5, 6, 7, true, 8, 9, 4294967295);
    // Field 4 does not travel.
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
    std::tie(flow.packetRateIndex, flow.rateShaping, flow.packingMode, flow.source, flow.enable,
             flow.videoField1) = std::tuple(2, 3, 4, 5, true, 60);
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
    std::tie(flow.payloadType, flow.srcUdpPort, flow.dstUdpPort, flow.ssrc) =
        std::tuple(96, 5004, 5006, 4294967295);
    flow.srcIpAddr = QHostAddress("192.168.0.1"_s);
    flow.dstIpAddr = QHostAddress("239.1.2.3"_s);
    flow.igmpSourceAddr = QHostAddress("10.0.255.1"_s);
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
    CHECK(video.serialiseDetails() == "PRS: Linear\nPacking Mode: BPM\nSource: Generator"_s);
    AudioFlowConfigTx audio;
    audio.channelCount = 5;
    audio.packetTime = 3;
    audio.source = 1;
    const FlowConfigTx& base = audio;
    CHECK(base.serialiseDetails() == "Packet Time: 1 ms\nChannels: 5\nSource: Metered Audio"_s);
}

TEST_CASE("An address that is not IPv4 is written as none", "[ip]")
{
    IpMediaFlow flow;
    flow.srcIpAddr = QHostAddress("fe80::1"_s);
    flow.dstIpAddr = QHostAddress("::ffff:10.0.0.1"_s); // has an IPv4 form
    CHECK(flow.serialise() == "0,,10.0.0.1,0,0,0,,0"_s);
    CHECK(flow.toKey(false) == "10.0.0.1,0,,0,0,0"_s);
    IpMediaFlow same;
    same.srcIpAddr = QHostAddress(0u);
    same.dstIpAddr = QHostAddress("10.0.0.1"_s);
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
