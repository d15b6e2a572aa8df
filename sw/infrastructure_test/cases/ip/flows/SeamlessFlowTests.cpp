// The flows of two interfaces seen as one.
#include "infrastructure/ip/flows/SeamlessFlow.h"
#include "infrastructure/ip/flows/TxMedia2110.h"
#include "sw/infrastructure_test/Catch.h"

#include <limits>

using namespace Tessorn::IpTypes;

namespace {

SeamlessFlow makeFlow(quint32 ssrc, quint32 channelCount, quint32 packetTime,
                      IpInterface interface = IpInterface_TessEth0)
{
    SeamlessFlow flow;
    flow.flow = FlowConfig(interface);
    flow.flow.ssrc = ssrc;
    flow.channelCount = channelCount;
    flow.packetTime = packetTime;
    return flow;
}

} // namespace

TEST_CASE("A flow is completed from its partner on the other interface", "[ip]")
{
    std::vector<SeamlessFlow> flows{makeFlow(0, 2, 255), makeFlow(11, 8, 3),
                                    makeFlow(12, 4, 0, IpInterface_TessEth1),
                                    makeFlow(13, 6, 255, IpInterface_TessEth1)};
    flows[0].flowField1 = 9;
    flows[0].flow.protocol = IpProtocol_2110_30;
    flows[2].flow.protocol = IpProtocol_2110_31;
    flows[2].flow.matchParams = IpMediaFlow::Ssrc;
    bool ok = false;
    static_cast<IpMediaFlow&>(flows[2].flow) =
        IpMediaFlow::deserialise(u"96,192.168.0.1,239.1.2.3,5004,5006,12,10.0.0.1,1", ok);
    REQUIRE(ok);

    // What tells the stream, and nothing else: interface and source filter are the port's own.
    const SeamlessFlow first = mergedFlow(flows, 0);
    CHECK(first.flow.serialise() == "96,192.168.0.1,239.1.2.3,5004,5006,12,,0+2|2"_s);
    const auto values = [](const SeamlessFlow& flow) {
        return std::tuple(flow.channelCount, flow.packetTime, flow.flowField1);
    };
    CHECK(values(first) == std::tuple(4, 0, 9));

    // Nor does the flow of the second interface leave it.
    std::vector<SeamlessFlow> turned{flows[2], flows[3], flows[0], flows[1]};
    turned[2].flow.interface = IpInterface_TessEth1;
    CHECK(mergedFlow(turned, 2).flow.serialise() ==
          "96,192.168.0.1,239.1.2.3,5004,5006,12,,1+2|2"_s);

    const SeamlessFlow second = mergedFlow(flows, 1);
    CHECK(second.flow == flows[1].flow); // has an identity of its own
    CHECK(values(second) == std::tuple(8, 3, 0));
    CHECK(mergedFlow(flows, 2) == flows[2]);
    const SeamlessFlow fourth = mergedFlow(flows, 3);
    CHECK((fourth.flow.ssrc == 13 && values(fourth) == std::tuple(8, 3, 0)));
}

TEST_CASE("A flow without a partner stands as it is, and none is made up", "[ip]")
{
    const std::vector<SeamlessFlow> one{makeFlow(0, 2, 255)};
    CHECK(mergedFlow(one, 0) == one[0]);
    for (const int index :
         {-1, 1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        CHECK(mergedFlow(one, index) == SeamlessFlow());
    }
    CHECK(mergedFlow({}, 0) == makeFlow(0, 0, 0));
    CHECK(SeamlessFlow().flowField1 == 0);
    for (const SeamlessFlow& other :
         {makeFlow(1, 2, 255), makeFlow(0, 3, 255), makeFlow(0, 2, 254)}) {
        CHECK(other != one[0]);
    }
    SeamlessFlow fielded = one[0];
    fielded.flowField1 = 1;
    CHECK(fielded != one[0]);

    const std::vector<SeamlessFlow> nulls{makeFlow(0, 1, 255), makeFlow(0, 1, 255),
                                          makeFlow(0, 1, 255)};
    CHECK(mergedFlow(nulls, 0) == nulls[0]);
    CHECK(mergedFlow(nulls, 2) == nulls[2]);
}

TEST_CASE("Media of a transmitter is held by its base", "[ip]")
{
    TxMedia2110_Video video;
    video.flow.enable = true;
    CHECK(TxMedia2110_Video() != video);
    const std::unique_ptr<TxMedia2110> held = std::make_unique<TxMedia2110_Video>(video);
    CHECK(dynamic_cast<const TxMedia2110_Video&>(*held) == video);
    TxMedia2110_Audio audio;
    CHECK(audio == TxMedia2110_Audio());
    audio.flow.channelCount = 1;
    CHECK(audio != TxMedia2110_Audio());
}
