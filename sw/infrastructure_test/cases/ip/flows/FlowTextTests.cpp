// Flows of all classes as text: known texts, random values there and back, and what is refused.
#include "infrastructure/ip/flows/AudioFlowConfigTx.h"
#include "infrastructure/ip/flows/FlowConfig.h"
#include "infrastructure/ip/flows/IpMediaFlowData.h"
#include "infrastructure/ip/flows/IpMediaFlowTx.h"
#include "infrastructure/ip/flows/VideoFlowConfigTx.h"
#include "sw/infrastructure_test/Catch.h"

#include <random>

using namespace Tessorn::IpTypes;

namespace {

class Random
{
public:
    /// Small and large numbers alike, zero and the highest among them.
    quint32 number() { return static_cast<quint32>(wide() >> 32); }
    quint64 wide()
    {
        switch (engine() % 8) {
        case 0:
            return 0;
        case 1:
            return std::numeric_limits<quint64>::max();
        default:
            return engine() >> (engine() % 64);
        }
    }
    quint32 below(quint32 end) { return static_cast<quint32>(engine() % end); }
    bool flag() { return below(2) == 1; }
    QHostAddress address()
    {
        return below(4) == 0 ? QHostAddress() : QHostAddress(static_cast<quint32>(engine()));
    }

private:
    std::mt19937_64 engine{2110};
};

void fillOwn(IpMediaFlow&, Random&) {}

void fillOwn(IpMediaFlowData& flow, Random& random)
{
    for (quint32* field :
         {&flow.measurementField1, &flow.measurementField2, &flow.measurementField3,
          &flow.measurementField5, &flow.measurementField6, &flow.measurementField7,
          &flow.measurementField8, &flow.measurementField9, &flow.measurementField10}) {
        *field = random.number();
    }
    flow.measurementPackets = random.wide();
    flow.measurementFlag1 = random.flag();
}

void fillOwn(FlowConfig& flow, Random& random)
{
    flow.protocol = IpProtocol(random.below(6));
    flow.matchParams = random.number();
}

void fillOwn(VideoFlowConfigTx& flow, Random& random)
{
    for (quint32* field : {&flow.packetRateIndex, &flow.rateShaping, &flow.packingMode,
                           &flow.source, &flow.videoField1}) {
        *field = random.number();
    }
    flow.enable = random.flag();
}

void fillOwn(AudioFlowConfigTx& flow, Random& random)
{
    for (quint32* field : {&flow.channelCount, &flow.packetTime, &flow.source}) {
        *field = random.number();
    }
    flow.channels.resize(random.below(5));
    for (quint32& channel : flow.channels) {
        channel = random.number();
    }
}

template <typename Flow>
Flow randomFlow(Random& random)
{
    Flow flow;
    flow.payloadType = random.number();
    flow.srcIpAddr = random.address();
    flow.dstIpAddr = random.address();
    flow.srcUdpPort = random.number();
    flow.dstUdpPort = random.number();
    flow.ssrc = random.number();
    flow.igmpSourceAddr = random.address();
    flow.interface = IpInterface(random.below(2));
    fillOwn(flow, random);
    return flow;
}

template <typename Flow>
void checkRefused(const char* text)
{
    CAPTURE(text);
    bool deserialiseSuccess = true;
    const QString taken = QString::fromUtf8(text);
    CHECK(Flow::deserialise(taken, deserialiseSuccess) == Flow());
    CHECK_FALSE(deserialiseSuccess);
}

const char* const SEPARATORS = ",+;|*";

int countSeparators(const QString& text)
{
    return static_cast<int>(std::count_if(text.begin(), text.end(), [](QChar character) {
        return character != QLatin1Char('*') && QLatin1String(SEPARATORS).contains(character);
    }));
}

} // namespace

TEMPLATE_TEST_CASE("Every flow survives its text", "[ip]", IpMediaFlow, IpMediaFlowData,
                   IpMediaFlowTx, FlowConfig, VideoFlowConfigTx, AudioFlowConfigTx)
{
    Random random;
    for (int i = 0; i < 1000; ++i) {
        const auto flow = randomFlow<TestType>(random);
        const QString text = flow.serialise();
        bool deserialiseSuccess = false;
        const auto read = TestType::deserialise(text, deserialiseSuccess);
        CAPTURE(text);
        REQUIRE(deserialiseSuccess);
        REQUIRE(read == flow);
        REQUIRE(read.serialise() == text);
        // A null address is not the address 0.0.0.0, though they compare equal.
        REQUIRE(read.isNull() == flow.isNull());
        REQUIRE(read.srcIpAddr.isNull() == flow.srcIpAddr.isNull());
    }
}

TEMPLATE_TEST_CASE("A text that was cut or changed is refused, or is another flow's", "[ip]",
                   IpMediaFlow, IpMediaFlowData, FlowConfig, VideoFlowConfigTx, AudioFlowConfigTx)
{
    Random random;
    const auto flow = randomFlow<TestType>(random);
    const QString text = flow.serialise();
    for (int size = 0; size < text.size(); ++size) {
        bool deserialiseSuccess = false;
        const QString cut = text.left(size);
        CAPTURE(cut);
        const auto read = TestType::deserialise(cut, deserialiseSuccess);
        if (countSeparators(cut) < countSeparators(text)) {
            REQUIRE_FALSE(deserialiseSuccess);
        }
        REQUIRE((deserialiseSuccess || read == TestType()));
    }

    const QString alphabet = QString::fromUtf8("0123456789.,+;|*-TFtruefalse \xCE\xBC");
    int refused = 0;
    for (int i = 0; i < 3000; ++i) {
        QString changed = randomFlow<TestType>(random).serialise();
        const int position = static_cast<int>(random.below(static_cast<quint32>(changed.size())));
        changed[position] =
            alphabet[static_cast<int>(random.below(static_cast<quint32>(alphabet.size())))];
        bool deserialiseSuccess = false;
        const auto read = TestType::deserialise(changed, deserialiseSuccess);
        CAPTURE(changed);
        if (deserialiseSuccess) {
            REQUIRE(TestType::deserialise(read.serialise(), deserialiseSuccess) == read);
            REQUIRE(deserialiseSuccess);
        } else {
            REQUIRE(read == TestType());
            ++refused;
        }
    }
    CHECK(refused > 1000);
}

TEST_CASE("Flows have these texts", "[ip]")
{
    const auto identify = [](IpMediaFlow& flow) {
        flow.payloadType = 96;
        flow.srcIpAddr = QHostAddress(QStringLiteral("192.168.0.1"));
        flow.dstIpAddr = QHostAddress(QStringLiteral("239.1.2.3"));
        flow.srcUdpPort = 5004;
        flow.dstUdpPort = 5006;
        flow.ssrc = 4294967295;
        flow.igmpSourceAddr = QHostAddress(QStringLiteral("10.0.255.1"));
        flow.interface = IpInterface_TessEth1;
    };
    const QString identity =
        QStringLiteral("96,192.168.0.1,239.1.2.3,5004,5006,4294967295,10.0.255.1,1");
    IpMediaFlow plain;
    identify(plain);
    CHECK(plain.serialise() == identity);
    CHECK(IpMediaFlow().serialise() == QStringLiteral("0,,,0,0,0,,0"));

    IpMediaFlowData data;
    identify(data);
    data.measurementField1 = 1;
    data.measurementField2 = 2;
    data.measurementField3 = 3;
    data.measurementPackets = 18446744073709551615u;
    data.measurementField4 = 99;
    data.measurementField5 = 5;
    data.measurementField6 = 6;
    data.measurementField7 = 7;
    data.measurementFlag1 = true;
    data.measurementField8 = 8;
    data.measurementField9 = 9;
    data.measurementField10 = 10;
    CHECK(data.serialise() ==
          identity + QStringLiteral("+1;2;3;18446744073709551615;5;6;7;T;8;9;10"));

    FlowConfig config;
    CHECK(config.serialise() == QStringLiteral("0,,,0,0,0,,0+5|2"));

    VideoFlowConfigTx video;
    CHECK(video.packetRateIndex == 1);
    video.rateShaping = 1;
    video.source = 1;
    video.enable = true;
    video.videoField1 = 7;
    CHECK(video.serialise() == QStringLiteral("0,,,0,0,0,,0+1;1;0;1;true;7"));
    CHECK(video.serialiseDetails() ==
          QStringLiteral("PRS: Linear\nPacking Mode: BPM\nSource: Generator"));

    AudioFlowConfigTx audio;
    CHECK(audio.serialise() == QStringLiteral("0,,,0,0,0,,0+0;0;0;"));
    audio.channelCount = 3;
    audio.packetTime = 3;
    audio.source = 1;
    audio.channels = {1, 2, 16};
    CHECK(audio.serialise() == QStringLiteral("0,,,0,0,0,,0+3;3;1;1*2*16"));
    const FlowConfigTx& base = audio;
    CHECK(base.serialiseDetails() ==
          QStringLiteral("Packet Time: 1 ms\nChannels: 3\nSource: Metered Audio"));
}

TEST_CASE("An address that is not IPv4 is written as none", "[ip]")
{
    IpMediaFlow flow;
    flow.srcIpAddr = QHostAddress(QStringLiteral("fe80::1"));
    flow.dstIpAddr = QHostAddress(QStringLiteral("::ffff:10.0.0.1")); // has an IPv4 form
    CHECK(flow.serialise() == QStringLiteral("0,,10.0.0.1,0,0,0,,0"));
    CHECK(flow.toKey(false) == QStringLiteral("10.0.0.1,0,,0,0,0"));
}

TEST_CASE("Readers of flows take nothing but what the writers make", "[ip]")
{
    for (const char* bad : {"",
                            "0",
                            "0,,,0,0,0,",
                            "0,,,0,0,0,,",
                            "0,,,0,0,0,,0,",
                            "0,,,0,0,0,,0,0",
                            "0,,,0,0,0,,2",
                            "0,,,0,0,0,,00x1",
                            "-1,,,0,0,0,,0",
                            "+1,,,0,0,0,,0",
                            " 1,,,0,0,0,,0",
                            "1 ,,,0,0,0,,0",
                            "4294967296,,,0,0,0,,0",
                            "0x1,,,0,0,0,,0",
                            ",,,0,0,0,,0",
                            "0,1,,0,0,0,,0",
                            "0,1.2.3,,0,0,0,,0",
                            "0,1.2.3.4.5,,0,0,0,,0",
                            "0,1.2.3.256,,0,0,0,,0",
                            "0,01.2.3.4,,0,0,0,,0",
                            "0,1.2.3.04,,0,0,0,,0",
                            "0,1..3.4,,0,0,0,,0",
                            "0,1.2.3.,,0,0,0,,0",
                            "0,.1.2.3,,0,0,0,,0",
                            "0,1.2.3.4 ,,0,0,0,,0",
                            "0,localhost,,0,0,0,,0",
                            "0,fe80::1,,0,0,0,,0",
                            "0,0x7f.0.0.1,,0,0,0,,0",
                            "0,,,0,0,0,,0\n",
                            "0,,,0,0,0,,0+",
                            "0;;;0;0;0;;0",
                            "0,\xC2\xB5,,0,0,0,,0",
                            "\xD9\xA1,,,0,0,0,,0"}) {
        checkRefused<IpMediaFlow>(bad);
        checkRefused<IpMediaFlowTx>(bad);
    }
    for (const char* bad :
         {"0,,,0,0,0,,0", "0,,,0,0,0,,0+", "+5|2", "0,,,0,0,0,,0+5", "0,,,0,0,0,,0+5|2|",
          "0,,,0,0,0,,0+5|2|0", "0,,,0,0,0,,0+6|2", "0,,,0,0,0,,0+5;2", "0,,,0,0,0,,0+5|2+",
          "0,,,0,0,0,,0++5|2", "0,,,0,0,0,,0+5|2+5|2", "0,,,0,0,0,+0,5|2"}) {
        checkRefused<FlowConfig>(bad);
    }
    for (const char* bad :
         {"0,,,0,0,0,,0+1;2;3;4;5;6;7;T;8;9", "0,,,0,0,0,,0+1;2;3;4;5;6;7;T;8;9;10;11",
          "0,,,0,0,0,,0+1;2;3;4;5;6;7;t;8;9;10", "0,,,0,0,0,,0+1;2;3;4;5;6;7;true;8;9;10",
          "0,,,0,0,0,,0+1;2;3;4;5;6;7;1;8;9;10", "0,,,0,0,0,,0+1;2;3;4;5;6;7;;8;9;10",
          "0,,,0,0,0,,0+1;2;3;18446744073709551616;5;6;7;T;8;9;10",
          "0,,,0,0,0,,0+1;2;3;4;4294967296;6;7;T;8;9;10"}) {
        checkRefused<IpMediaFlowData>(bad);
    }
    for (const char* bad : {"0,,,0,0,0,,0+1;1;0;1;T;7", "0,,,0,0,0,,0+1;1;0;1;true",
                            "0,,,0,0,0,,0+1;1;0;1;true;7;8", "0,,,0,0,0,,0+1;1;0;1;TRUE;7"}) {
        checkRefused<VideoFlowConfigTx>(bad);
    }
    for (const char* bad :
         {"0,,,0,0,0,,0+0;0;0", "0,,,0,0,0,,0+0;0;0;;", "0,,,0,0,0,,0+0;0;0;*",
          "0,,,0,0,0,,0+0;0;0;1*", "0,,,0,0,0,,0+0;0;0;*1", "0,,,0,0,0,,0+0;0;0;1**2",
          "0,,,0,0,0,,0+0;0;0;1,2", "0,,,0,0,0,,0+0;0;0;4294967296"}) {
        checkRefused<AudioFlowConfigTx>(bad);
    }
}

TEST_CASE("Flows to transmit are told apart by what is on the network", "[ip]")
{
    Random random;
    const auto video = randomFlow<VideoFlowConfigTx>(random);
    auto other = video;
    CHECK((flowsIdentical(video, other) && flowsSame(video, other)));
    ++other.packetRateIndex;
    ++other.videoField1;
    other.enable = !other.enable;
    CHECK((flowsIdentical(video, other) && flowsSame(video, other)));
    CHECK(video != other);
    for (quint32 VideoFlowConfigTx::*field :
         {&VideoFlowConfigTx::rateShaping, &VideoFlowConfigTx::packingMode,
          &VideoFlowConfigTx::source}) {
        other = video;
        ++(other.*field);
        CHECK_FALSE((flowsIdentical(video, other) || flowsSame(video, other)));
    }
    other = video;
    ++other.ssrc;
    CHECK_FALSE((flowsIdentical(video, other) || flowsSame(video, other)));
    other = video;
    other.igmpSourceAddr = QHostAddress(video.igmpSourceAddr.toIPv4Address() + 1);
    CHECK_FALSE(flowsIdentical(video, other));
    CHECK(flowsSame(video, other));

    const auto audio = randomFlow<AudioFlowConfigTx>(random);
    auto otherAudio = audio;
    otherAudio.channels.push_back(1);
    CHECK((flowsIdentical(audio, otherAudio) && flowsSame(audio, otherAudio)));
    CHECK(audio != otherAudio);
    for (quint32 AudioFlowConfigTx::*field :
         {&AudioFlowConfigTx::channelCount, &AudioFlowConfigTx::packetTime,
          &AudioFlowConfigTx::source}) {
        otherAudio = audio;
        ++(otherAudio.*field);
        CHECK_FALSE((flowsIdentical(audio, otherAudio) || flowsSame(audio, otherAudio)));
    }
}
