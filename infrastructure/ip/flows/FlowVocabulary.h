// Words of flow descriptions: protocols, modes, filters, transmit parameters.
#pragma once

#include <QLatin1String>

namespace Tessorn {
namespace IpTypes {

/// What a flow carries: all of SMPTE ST 2022-6, or one essence of ST 2110.
enum IpProtocol : quint32 {
    IpProtocol_2022_6 = 0,
    IpProtocol_2110_20 = 1,
    IpProtocol_2110_30 = 2,
    IpProtocol_2110_31 = 3,
    IpProtocol_2110_40 = 4,
    IpProtocol_Other = 5,
};

/// How messages are addressed: to a group, to a group with replies to one, or to one.
enum FlowMode : quint32 {
    FlowMode_Multicast = 0,
    FlowMode_Mixed = 1,
    FlowMode_Unicast = 2,
};

/// What a list of flows does: nothing, let through, or keep out.
enum FilterKind : quint32 {
    FilterKind_Any = 0,
    FilterKind_OnlyInclude = 1,
    FilterKind_Exclude = 2,
};

/// Who picks a flow: the user or the instrument.
enum SelectionMode : quint32 {
    SelectionMode_Manual = 0,
    SelectionMode_Auto = 1,
};

/// The class by which flows are sorted.
enum FlowClass : quint32 {
    FlowClass_A = 0,
    FlowClass_B = 1,
    FlowClass_C = 2,
    FlowClass_D = 3,
};

/// What is shown when a flow has gone.
enum LostSignalAction : quint32 {
    LostSignalAction_BlackScreen = 0,
    LostSignalAction_FreezeLastFrame = 1,
};

/// The part of SMPTE ST 2110 that a stream follows.
enum Kind2110 : quint32 {
    Kind2110_10 = 0,
    Kind2110_20 = 1,
    Kind2110_30 = 2,
    Kind2110_40 = 3,
};

/// How the packets of a video flow are spread over the frame (SMPTE ST 2110-21).
enum RateShaping : quint32 {
    RateShaping_Gapped = 0,
    RateShaping_Linear = 1,
};

/// How pixel groups fill packets: blocks of 180 octets, or as many as fit (SMPTE ST 2110-20,
/// clause 6.3).
enum PackingMode : quint32 {
    PackingMode_Bpm = 0,
    PackingMode_Gpm = 1,
};

/// Where the video that is sent comes from.
enum VideoTxSource : quint32 {
    VideoTxSource_Monitor = 0,
    VideoTxSource_Generator = 1,
};

/// Where the audio that is sent comes from.
enum AudioTxSource : quint32 {
    AudioTxSource_MonitoredAudio = 0,
    AudioTxSource_MeteredAudio = 1,
    AudioTxSource_Generator = 2,
};

/// IpProtocol_2110_20 => "2110-20". Here and below, unless stated otherwise, any other number =>
/// "Error".
QLatin1String toString(IpProtocol protocol);
/// FlowMode_Mixed => "SMPTE Mixed (M/U)"; others => "Unknown", as with the two keywords.
QLatin1String toString(FlowMode mode);
/// FlowMode_Mixed => "smpte-mixed".
QLatin1String toKeyword(FlowMode mode);
/// FlowMode_Mixed => "hybrid".
QLatin1String toHybridKeyword(FlowMode mode);
/// FilterKind_OnlyInclude => "OnlyInclude", FlowClass_A => "Class A": each of these by its own
/// name.
QLatin1String toString(FilterKind kind);
QLatin1String toString(SelectionMode mode);
QLatin1String toString(FlowClass flowClass);
/// LostSignalAction_BlackScreen => "Black Screen"; others => "?".
QLatin1String toString(LostSignalAction action);
/// Kind2110_20 => "2110-20"; each of these by its own name.
QLatin1String toString(Kind2110 kind);
QLatin1String toString(RateShaping shaping);
QLatin1String toString(PackingMode mode);
QLatin1String toString(VideoTxSource source);
QLatin1String toString(AudioTxSource source);

} // namespace IpTypes
} // namespace Tessorn
