// The eleven kinds of digital interface that the instrument knows, a class each, which answers from
// the row for its byte 0 in PayloadIdentifierInterfaces.h. They are names for who makes an
// identifier of a kind that is known when it is compiled; the factory needs none of them.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierInterfaces.h"

/// The identifier of the interface with this byte 0; does not compile if there is no row for it.
template <quint32 payloadByte>
class PayloadIdentifierOf : public PayloadIdentifierVariant
{
public:
    static constexpr const PayloadIdentifierFacts& FACTS =
        *PayloadIdentifierInterfaces::find(payloadByte);

    explicit PayloadIdentifierOf(quint32 rawBytes)
        : PayloadIdentifierVariant(rawBytes, FACTS)
    {
    }
};

/// 720 lines on 1.5 Gb/s (SMPTE ST 292-1).
using PayloadIdentifier720_1g5 = PayloadIdentifierOf<0x84>;

/// 720 lines on 3 Gb/s level A (SMPTE ST 425-1).
using PayloadIdentifier720_3g = PayloadIdentifierOf<0x88>;

/// 1080 lines on 1.5 Gb/s (SMPTE ST 292-1).
using PayloadIdentifier1080_1g5 = PayloadIdentifierOf<0x85>;

/// 1080 lines on two links of 1.5 Gb/s (SMPTE ST 372).
using PayloadIdentifier1080_DualLink1g5 = PayloadIdentifierOf<0x87>;

/// 1080 lines on 3 Gb/s level A (SMPTE ST 425-1).
using PayloadIdentifier1080_3g = PayloadIdentifierOf<0x89>;

/// 1080 lines as a dual link on 3 Gb/s level B (SMPTE ST 425-1).
using PayloadIdentifier1080_Levelb3g = PayloadIdentifierOf<0x8A>;

/// 2160 lines on four links of 3 Gb/s level A (SMPTE ST 425-5).
using PayloadIdentifier2160_QuadLink3g = PayloadIdentifierOf<0x97>;

/// 2160 lines on four links of 3 Gb/s level B (SMPTE ST 425-5).
using PayloadIdentifier2160_QuadLinkLevelb3g = PayloadIdentifierOf<0x98>;

/// 2160 lines on two links of 6 Gb/s (SMPTE ST 2081-11).
using PayloadIdentifier2160_DualLink6g = PayloadIdentifierOf<0xC2>;

/// 2160 lines on 6 Gb/s (SMPTE ST 2081-10).
using PayloadIdentifier2160_6g = PayloadIdentifierOf<0xC0>;

/// 2160 lines on 12 Gb/s (SMPTE ST 2082-10).
using PayloadIdentifier2160_12g = PayloadIdentifierOf<0xCE>;
