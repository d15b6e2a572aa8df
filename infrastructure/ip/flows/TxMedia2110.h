// The media that a transmitter of SMPTE ST 2110 is set up for. The IP core fills these in.
#pragma once

#include "infrastructure/ip/flows/AudioFlowConfigTx.h"
#include "infrastructure/ip/flows/VideoFlowConfigTx.h"

namespace Tessorn {
namespace IpTypes {

/// Media of any kind.
class TxMedia2110
{
public:
    TxMedia2110() = default;
    TxMedia2110(const TxMedia2110&) = default;
    TxMedia2110& operator=(const TxMedia2110&) = default;
    virtual ~TxMedia2110();
};

/// A video flow to be sent.
class TxMedia2110_Video : public TxMedia2110
{
public:
    VideoFlowConfigTx flow;
};

/// An audio flow to be sent.
class TxMedia2110_Audio : public TxMedia2110
{
public:
    AudioFlowConfigTx flow;
};

inline bool operator==(const TxMedia2110_Video& a, const TxMedia2110_Video& b)
{
    return a.flow == b.flow;
}
inline bool operator!=(const TxMedia2110_Video& a, const TxMedia2110_Video& b)
{
    return !(a == b);
}

inline bool operator==(const TxMedia2110_Audio& a, const TxMedia2110_Audio& b)
{
    return a.flow == b.flow;
}
inline bool operator!=(const TxMedia2110_Audio& a, const TxMedia2110_Audio& b)
{
    return !(a == b);
}

} // namespace IpTypes
} // namespace Tessorn
