#include "infrastructure/ip/flows/FlowVocabulary.h"

#include "infrastructure/utility/video/Vocabulary.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using Vocabulary::Row;

constexpr Row<IpProtocol> PROTOCOLS[] = {
    {IpProtocol_2022_6, "2022-6"},   {IpProtocol_2110_20, "2110-20"},
    {IpProtocol_2110_30, "2110-30"}, {IpProtocol_2110_31, "2110-31"},
    {IpProtocol_2110_40, "2110-40"}, {IpProtocol_Other, "Other IP"},
};

struct FlowModeRow
{
    FlowMode value;
    std::string_view text;
    std::string_view keyword;
    std::string_view hybridKeyword;
};

constexpr FlowModeRow FLOW_MODES[] = {
    {FlowMode_Multicast, "Multicast (M/M)", "multicast", "multicast"},
    {FlowMode_Mixed, "SMPTE Mixed (M/U)", "smpte-mixed", "hybrid"},
    {FlowMode_Unicast, "Unicast (U/U)", "unicast", "unicast"},
};
constexpr FlowModeRow UNKNOWN_FLOW_MODE = {{}, "Unknown", "Unknown", "Unknown"};

const FlowModeRow& findFlowMode(FlowMode mode)
{
    const FlowModeRow* row = Vocabulary::find(FLOW_MODES, mode);
    return row != nullptr ? *row : UNKNOWN_FLOW_MODE;
}

constexpr Row<FilterKind> FILTER_KINDS[] = {
    {FilterKind_Any, "Any"},
    {FilterKind_OnlyInclude, "OnlyInclude"},
    {FilterKind_Exclude, "Exclude"},
};

constexpr Row<SelectionMode> SELECTION_MODES[] = {
    {SelectionMode_Manual, "Manual"},
    {SelectionMode_Auto, "Auto"},
};

constexpr Row<FlowClass> CLASSES[] = {
    {FlowClass_A, "Class A"},
    {FlowClass_B, "Class B"},
    {FlowClass_C, "Class C"},
    {FlowClass_D, "Class D"},
};

constexpr Row<LostSignalAction> LOST_SIGNAL_ACTIONS[] = {
    {LostSignalAction_BlackScreen, "Black Screen"},
    {LostSignalAction_FreezeLastFrame, "Freeze Last Frame"},
};

constexpr Row<Kind2110> KINDS[] = {
    {Kind2110_10, "2110-10"},
    {Kind2110_20, "2110-20"},
    {Kind2110_30, "2110-30"},
    {Kind2110_40, "2110-40"},
};

constexpr Row<RateShaping> RATE_SHAPINGS[] = {
    {RateShaping_Gapped, "Gapped"},
    {RateShaping_Linear, "Linear"},
};

constexpr Row<PackingMode> PACKING_MODES[] = {
    {PackingMode_Bpm, "BPM"},
    {PackingMode_Gpm, "GPM"},
};

constexpr Row<VideoTxSource> VIDEO_SOURCES[] = {
    {VideoTxSource_Monitor, "Monitor"},
    {VideoTxSource_Generator, "Generator"},
};

constexpr Row<AudioTxSource> AUDIO_SOURCES[] = {
    {AudioTxSource_MonitoredAudio, "Monitored Audio"},
    {AudioTxSource_MeteredAudio, "Metered Audio"},
    {AudioTxSource_Generator, "Generator"},
};

} // namespace

QLatin1String toString(IpProtocol protocol)
{
    return Vocabulary::text(PROTOCOLS, protocol, "Error");
}

QLatin1String toString(FlowMode mode)
{
    return Vocabulary::latin1(findFlowMode(mode).text);
}

QLatin1String toKeyword(FlowMode mode)
{
    return Vocabulary::latin1(findFlowMode(mode).keyword);
}

QLatin1String toHybridKeyword(FlowMode mode)
{
    return Vocabulary::latin1(findFlowMode(mode).hybridKeyword);
}

QLatin1String toString(FilterKind kind)
{
    return Vocabulary::text(FILTER_KINDS, kind, "Error");
}

QLatin1String toString(SelectionMode mode)
{
    return Vocabulary::text(SELECTION_MODES, mode, "Error");
}

QLatin1String toString(FlowClass flowClass)
{
    return Vocabulary::text(CLASSES, flowClass, "Error");
}

QLatin1String toString(LostSignalAction action)
{
    return Vocabulary::text(LOST_SIGNAL_ACTIONS, action, "?");
}

QLatin1String toString(Kind2110 kind)
{
    return Vocabulary::text(KINDS, kind, "Error");
}

QLatin1String toString(RateShaping shaping)
{
    return Vocabulary::text(RATE_SHAPINGS, shaping, "Error");
}

QLatin1String toString(PackingMode mode)
{
    return Vocabulary::text(PACKING_MODES, mode, "Error");
}

QLatin1String toString(VideoTxSource source)
{
    return Vocabulary::text(VIDEO_SOURCES, source, "Error");
}

QLatin1String toString(AudioTxSource source)
{
    return Vocabulary::text(AUDIO_SOURCES, source, "Error");
}

} // namespace IpTypes
} // namespace Tessorn
