// A flow's identity: null, comparison under a mask, the texts that are shown.
#include "infrastructure/ip/flows/FlowConfig.h"
#include "infrastructure/ip/flows/IpMediaFlowData.h"
#include "infrastructure/ip/flows/IpMediaFlowTx.h"
#include "infrastructure/ip/flows/TxMedia2110.h"
#include "sw/infrastructure_test/Catch.h"

#include <functional>

using namespace Tessorn::IpTypes;

namespace {

QHostAddress address(const char* text)
{
    return QHostAddress(QLatin1String(text));
}

template <typename Flow = IpMediaFlow>
Flow makeFlow()
{
    Flow flow;
    bool ok = false;
    static_cast<IpMediaFlow&>(flow) =
        IpMediaFlow::deserialise(u"96,192.168.0.1,239.1.2.3,5004,5006,1234,,0", ok);
    return flow;
}

/// One field's change, and the bit of the mask that sees it.
struct Change
{
    const char* field;
    quint32 bit;
    std::function<void(IpMediaFlow&)> apply;
};

const std::vector<Change>& changes()
{
    static const std::vector<Change> all{
        {"srcIpAddr", 0x01, [](auto& flow) { flow.srcIpAddr = address("192.168.0.2"); }},
        {"dstIpAddr", 0x02, [](auto& flow) { flow.dstIpAddr = address("239.1.2.4"); }},
        {"srcUdpPort", 0x04, [](auto& flow) { ++flow.srcUdpPort; }},
        {"dstUdpPort", 0x08, [](auto& flow) { ++flow.dstUdpPort; }},
        {"payloadType", 0x10, [](auto& flow) { ++flow.payloadType; }},
        {"ssrc", 0x20, [](auto& flow) { ++flow.ssrc; }},
        {"igmpSourceAddr", 0, [](auto& flow) { flow.igmpSourceAddr = address("10.0.0.1"); }},
    };
    return all;
}

template <typename A, typename B = A>
constexpr bool COMPARES = std::is_invocable_v<std::equal_to<>, const A&, const B&>&&
    std::is_invocable_v<std::not_equal_to<>, const A&, const B&>;
template <typename A, typename B>
constexpr bool IS_REFUSED = !std::is_invocable_v<std::equal_to<>, const A&, const B&> &&
                            !std::is_invocable_v<std::equal_to<>, const B&, const A&> &&
                            !std::is_invocable_v<std::not_equal_to<>, const A&, const B&>;

} // namespace

TEST_CASE("Flows compare with those of their own class alone", "[ip]")
{
    STATIC_REQUIRE((COMPARES<IpMediaFlow> && COMPARES<IpMediaFlowData> && COMPARES<FlowConfig>));
    STATIC_REQUIRE((COMPARES<VideoFlowConfigTx> && COMPARES<AudioFlowConfigTx>));
    STATIC_REQUIRE((COMPARES<IpMediaFlowTx> && COMPARES<TxMedia2110_Video>));
    STATIC_REQUIRE(
        (IS_REFUSED<FlowConfig, IpMediaFlow> && IS_REFUSED<FlowConfig, IpMediaFlowData>));
    STATIC_REQUIRE((IS_REFUSED<IpMediaFlowTx, IpMediaFlow>));
    STATIC_REQUIRE((IS_REFUSED<VideoFlowConfigTx, FlowConfigTx>));
    STATIC_REQUIRE((IS_REFUSED<FlowConfigTx, FlowConfigTx>)); // would be the identity alone
}

TEST_CASE("A flow made with an interface alone is null and keeps it", "[ip]")
{
    CHECK(IpMediaFlow().isNull());
    CHECK(IpMediaFlow().interface == IpInterface_TessEth0);
    const IpMediaFlow flow(IpInterface_TessEth1);
    CHECK(flow.isNull());
    CHECK(flow.interface == IpInterface_TessEth1);
    for (const Change& change : changes()) {
        CAPTURE(change.field);
        IpMediaFlow changed;
        change.apply(changed);
        CHECK_FALSE(changed.isNull());
    }
}

TEST_CASE("A difference in one field counts where the mask names it", "[ip]")
{
    const auto flow = makeFlow();
    for (const Change& change : changes()) {
        CAPTURE(change.field);
        auto other = flow;
        change.apply(other);
        CHECK(flow != other);
        CHECK_FALSE(flow == other);
        for (quint32 mask = 0; mask <= IpMediaFlow::AllParams; ++mask) {
            REQUIRE(flowParamsSame(flow, other, mask) == ((mask & change.bit) == 0));
        }
    }

    auto elsewhere = flow;
    elsewhere.interface = IpInterface_TessEth1;
    CHECK(flow != elsewhere);
    for (quint32 mask = 0; mask <= IpMediaFlow::AllParams; ++mask) {
        REQUIRE_FALSE(flowParamsSame(flow, elsewhere, mask));
    }
}

TEST_CASE("Masks are inverted and compared within their nine bits", "[ip]")
{
    CHECK((invertParams(IpMediaFlow::DstIpAddr) & IpMediaFlow::DstIpAddr) == 0);
    for (quint32 mask = 0; mask <= 0x1FF; ++mask) {
        REQUIRE((invertParams(mask) | mask) == 0x1FF);
        REQUIRE((invertParams(mask) & mask) == 0);
        REQUIRE(invertParams(invertParams(mask)) == mask);
        REQUIRE(paramsContain(mask, mask));
        REQUIRE(paramsContain(mask, 0));
        REQUIRE(paramsContain(mask, 0x1FF) == (mask == 0x1FF));
        REQUIRE(paramsContain(mask, 0x22) == ((mask & 0x02) != 0 && (mask & 0x20) != 0));
    }
    CHECK(invertParams(0xFFFFFE00) == 0x1FF);
    CHECK(paramsContain(0, 0xFFFFFE00)); // bits beyond the nine ask for nothing
}

TEST_CASE("Requested flows are compared by what either of them matches", "[ip]")
{
    const auto flow = makeFlow<FlowConfig>();
    CHECK(flow.matchParams == IpMediaFlow::DstIpAddr);
    CHECK_FALSE(flow.isValid());
    auto other = flow;
    other.protocol = IpProtocol_2110_20;
    CHECK(other.isValid());
    CHECK(flow != other);
    CHECK(flowParamsSame(flow, other)); // the protocol is no part of the identity

    other.srcUdpPort = 1;
    CHECK(flowParamsSame(flow, other));
    other.matchParams = IpMediaFlow::SrcUdpPort;
    CHECK_FALSE(flowParamsSame(flow, other));
    CHECK_FALSE(flowParamsSame(other, flow));

    FlowConfig null;
    null.protocol = IpProtocol_2110_20;
    CHECK_FALSE(null.isValid());
}

TEST_CASE("The measurement that stays at home tells no flows apart", "[ip]")
{
    const auto flow = makeFlow<IpMediaFlowData>();
    auto other = flow;
    other.measurementField4 = 1;
    CHECK(flow == other);
    other.measurementPackets = quint64{1} << 40;
    CHECK(flow != other);
}

TEST_CASE("A flow is shown whole, as a filter and as a key", "[ip]")
{
    const auto flow = makeFlow();
    CHECK(flow.toDisplayString(1) ==
          "SFP E, Payload: 96, Dst 239.1.2.3:5006, Src 192.168.0.1:5004, SSRC: 1234"_s);
    CHECK(IpMediaFlow(IpInterface_TessEth1).toDisplayString(2) ==
          "Error, Payload: 0, Dst :0, Src :0, SSRC: 0"_s);

    CHECK(flow.toFilterString(IpMediaFlow::AllParams) ==
          "96 Dst: 239.1.2.3:5006 Src: 192.168.0.1:5004 1234"_s);
    CHECK(flow.toFilterString(IpMediaFlow::DstIpAddr | IpMediaFlow::SrcUdpPort) ==
          "Any Dst: 239.1.2.3:Any Src: Any:5004 Any"_s);
    CHECK(flow.toFilterString(0) == "Any Dst: Any:Any Src: Any:Any Any"_s);

    CHECK(flow.toKey(false) == "239.1.2.3,5006,192.168.0.1,5004,96,0"_s);
    CHECK(flow.toKey(true) == "1234,239.1.2.3,5006,192.168.0.1,5004,96,0"_s);
    CHECK(IpMediaFlow(IpInterface_TessEth1).toKey(false) == ",0,,0,0,1"_s);

    // And a key by its number of fields.
    CHECK(IpMediaFlow::keyToDisplayString(flow.toKey(false)) ==
          "Payload: 96, Dst 239.1.2.3:5006, Src 192.168.0.1:5004 "_s);
    CHECK(IpMediaFlow::keyToDisplayString(flow.toKey(true)) ==
          "Payload: 96, Dst 239.1.2.3:5006, Src 192.168.0.1:5004 , SSRC: 1234"_s);
    // Fields that look like places in a text are taken as they stand.
    CHECK(IpMediaFlow::keyToDisplayString(u"%2,%3,%4,%5,%1,0") ==
          "Payload: %1, Dst %2:%3, Src %4:%5 "_s);
    for (const char16_t* key : {u"", u",,,,", u"1,2,3,4,5", u"1,2,3,4,5,6,7,8"}) {
        CHECK(IpMediaFlow::keyToDisplayString(key) == "Unrecognised Stream"_s);
    }
}
