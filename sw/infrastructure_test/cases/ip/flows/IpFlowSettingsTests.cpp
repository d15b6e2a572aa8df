// Filters for flows.
#include "infrastructure/ip/flows/IpFlowSettings.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

namespace {

FlowConfig makeFlow()
{
    bool ok = false;
    return FlowConfig::deserialise(u"96,192.168.0.1,239.1.2.3,5004,5006,1234,,1+2|2", ok);
}

/// A change of one field, the flag that asks for it, and the bit of a flow's mask that sets it.
struct Row
{
    void (*change)(IpFlowSettings&);
    bool IpFlowSettings::*flag;
    quint32 setBy;
};
const Row ROWS[] = {
    {[](IpFlowSettings& s) { s.srcIpAddr = QHostAddress(1u); }, &IpFlowSettings::matchSrcIp, 0x01},
    {[](IpFlowSettings& s) { s.dstIpAddr = QHostAddress(1u); }, &IpFlowSettings::matchDstIp, 0x02},
    {[](IpFlowSettings& s) { ++s.srcUdpPort; }, &IpFlowSettings::matchSrcPort, 0x04},
    {[](IpFlowSettings& s) { ++s.dstUdpPort; }, &IpFlowSettings::matchDstPort,
     0x02}, // follows the address
    {[](IpFlowSettings& s) { ++s.ssrc; }, &IpFlowSettings::matchSsrc, 0x20},
    {[](IpFlowSettings& s) { ++s.payloadType; }, &IpFlowSettings::matchPayload, 0x10},
};

} // namespace

TEST_CASE("A filter without identity is null, whatever its protocol and interface", "[ip]")
{
    const IpFlowSettings settings;
    const auto values = [](const IpFlowSettings& filter) {
        return std::tuple(filter.isNull(), filter.matchPayload, filter.payloadType, filter.protocol,
                          filter.interface);
    };
    CHECK(values(settings) == std::tuple(true, true, 0, IpProtocol_Other, IpInterface_TessEth0));
    const IpFlowSettings elsewhere(IpInterface_TessEth1, IpProtocol_2110_40);
    CHECK(values(elsewhere) == std::tuple(true, true, 0, IpProtocol_2110_40, IpInterface_TessEth1));
    CHECK(elsewhere != settings);
    CHECK(IpFlowSettings(IpInterface_TessEth1).protocol == IpProtocol_Other);

    for (const Row& row : ROWS) {
        const bool counts = row.flag != &IpFlowSettings::matchPayload;
        IpFlowSettings changed;
        row.change(changed);
        CHECK(changed.isNull() != counts);
        CHECK(changed != settings);
        IpFlowSettings flagged;
        flagged.*row.flag = !(flagged.*row.flag);
        CHECK(flagged.isNull() != counts);
        CHECK(flagged != settings);
    }
}

TEST_CASE("A filter from a flow takes its flags from the mask", "[ip]")
{
    for (quint32 mask = 0; mask <= IpMediaFlow::AllParams; ++mask) {
        CAPTURE(mask);
        const IpFlowSettings settings(makeFlow(), mask);
        for (const Row& row : ROWS) {
            REQUIRE(settings.*row.flag == ((mask & row.setBy) != 0));
        }
    }
    const IpFlowSettings settings(makeFlow(), 0);
    CHECK(settings.payloadType == 96);
    const FlowConfig flow = makeFlow();
    CHECK((settings.srcIpAddr == flow.srcIpAddr && settings.dstIpAddr == flow.dstIpAddr));
    CHECK(std::tuple(settings.srcUdpPort, settings.dstUdpPort, settings.ssrc, settings.protocol,
                     settings.interface) ==
          std::tuple(5004, 5006, 1234u, IpProtocol_2110_30, IpInterface_TessEth1));

    const IpFlowSettings ofNull(FlowConfig(IpInterface_TessEth1), IpMediaFlow::AllParams);
    CHECK(ofNull.isNull());
    CHECK_FALSE(ofNull.matchPayload);
    CHECK(ofNull.interface == IpInterface_TessEth1);
}

TEST_CASE("Filters match where both of them ask for the same", "[ip]")
{
    const IpFlowSettings null;
    const IpFlowSettings all(makeFlow(), IpMediaFlow::AllParams);
    CHECK(settingsMatch(null, IpFlowSettings(IpInterface_TessEth1, IpProtocol_2110_40)));
    CHECK_FALSE(settingsMatch(null, all));
    CHECK_FALSE(settingsMatch(all, null));
    CHECK(settingsMatch(all, all));

    for (const Row& row : ROWS) {
        IpFlowSettings other = all;
        row.change(other);
        CHECK_FALSE(settingsMatch(all, other));
        other.*row.flag = false; // asked for by one side only
        CHECK(settingsMatch(all, other));
        CHECK(settingsMatch(other, all));
    }
    IpFlowSettings other = all;
    other.protocol = IpProtocol_2022_6;
    other.interface = IpInterface_TessEth0;
    CHECK(settingsMatch(all, other));
    CHECK(all != other);
}
