// Words of flow descriptions.
#include "infrastructure/ip/flows/AudioChannelLimits.h"
#include "infrastructure/ip/flows/FlowVocabulary.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

namespace {

/// The texts of the values from 0 on; the last one is that of all others.
template <typename Word>
void checkTexts(const std::vector<const char*>& texts, QLatin1String (*toText)(Word))
{
    const auto count = static_cast<quint32>(texts.size()) - 1;
    for (quint32 value = 0; value < count; ++value) {
        CHECK(toText(Word(value)) == QLatin1String(texts[value]));
    }
    CHECK(toText(Word(count)) == QLatin1String(texts[count]));
    CHECK(toText(Word(0xFFFFFFFF)) == QLatin1String(texts[count]));
}

} // namespace

TEST_CASE("Words of flows are shown by their numbers", "[ip]")
{
    checkTexts<IpProtocol>(
        {"2022-6", "2110-20", "2110-30", "2110-31", "2110-40", "Other IP", "Error"}, toString);
    checkTexts<FlowMode>({"Multicast (M/M)", "SMPTE Mixed (M/U)", "Unicast (U/U)", "Unknown"},
                         toString);
    checkTexts<FlowMode>({"multicast", "smpte-mixed", "unicast", "Unknown"}, toKeyword);
    checkTexts<FlowMode>({"multicast", "hybrid", "unicast", "Unknown"}, toHybridKeyword);
    checkTexts<FilterKind>({"Any", "OnlyInclude", "Exclude", "Error"}, toString);
    checkTexts<SelectionMode>({"Manual", "Auto", "Error"}, toString);
    checkTexts<FlowClass>({"Class A", "Class B", "Class C", "Class D", "Error"}, toString);
    checkTexts<LostSignalAction>({"Black Screen", "Freeze Last Frame", "?"}, toString);
    checkTexts<Kind2110>({"2110-10", "2110-20", "2110-30", "2110-40", "Error"}, toString);
    checkTexts<RateShaping>({"Gapped", "Linear", "Error"}, toString);
    checkTexts<PackingMode>({"BPM", "GPM", "Error"}, toString);
    checkTexts<VideoTxSource>({"Monitor", "Generator", "Error"}, toString);
    checkTexts<AudioTxSource>({"Monitored Audio", "Metered Audio", "Generator", "Error"}, toString);
}

TEST_CASE("Channels of an audio flow are limited by its packet time and format", "[ip]")
{
    const quint32 limits[2][6] = {{80, 60, 40, 10, 2, 0}, {60, 45, 30, 7, 1, 0}};
    for (quint32 format = 0; format < 6; ++format) {
        for (const quint32 code : {0u, 1u, 2u, 3u, 4u, 5u, 255u}) {
            CAPTURE(format, code);
            const bool known = format == IpProtocol_2110_30 || format == IpProtocol_2110_31;
            const quint32 limit = known ? limits[format - 2][std::min(code, 5u)] : 0;
            CHECK(maxChannels(code, format) == limit);
            const bool tested = known && (code == 0 || code == 3);
            CHECK(channelCountValid(format, 1, code) == tested);
            CHECK(channelCountValid(format, limit, code) == tested);
            CHECK_FALSE(channelCountValid(format, limit + 1, code));
        }
    }
}
