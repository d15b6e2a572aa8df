// The eleven kinds of digital interface that the instrument knows. Each is an identifier class with
// the interface's field table, fixed answers, geometry and rules.
//
// Normative references: SMPTE ST 352:2013, table 1 (byte 0), and the interface standards named
// below.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierVariant.h"

/// 720 lines on 1.5 Gb/s (SMPTE ST 292-1).
class PayloadIdentifier720_1g5 : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier720_1g5(quint32 rawBytes);
};

/// 720 lines on 3 Gb/s level A (SMPTE ST 425-1).
class PayloadIdentifier720_3g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier720_3g(quint32 rawBytes);
};

/// 1080 lines on 1.5 Gb/s (SMPTE ST 292-1).
class PayloadIdentifier1080_1g5 : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier1080_1g5(quint32 rawBytes);
};

/// 1080 lines on two links of 1.5 Gb/s (SMPTE ST 372).
class PayloadIdentifier1080_DualLink1g5 : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier1080_DualLink1g5(quint32 rawBytes);
};

/// 1080 lines on 3 Gb/s level A (SMPTE ST 425-1).
class PayloadIdentifier1080_3g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier1080_3g(quint32 rawBytes);
};

/// 1080 lines as a dual link on 3 Gb/s level B (SMPTE ST 425-1).
class PayloadIdentifier1080_Levelb3g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier1080_Levelb3g(quint32 rawBytes);
};

/// 2160 lines on four links of 3 Gb/s level A (SMPTE ST 425-5).
class PayloadIdentifier2160_QuadLink3g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier2160_QuadLink3g(quint32 rawBytes);
};

/// 2160 lines on four links of 3 Gb/s level B (SMPTE ST 425-5).
class PayloadIdentifier2160_QuadLinkLevelb3g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier2160_QuadLinkLevelb3g(quint32 rawBytes);
};

/// 2160 lines on two links of 6 Gb/s (SMPTE ST 2081-11).
class PayloadIdentifier2160_DualLink6g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier2160_DualLink6g(quint32 rawBytes);
};

/// 2160 lines on 6 Gb/s (SMPTE ST 2081-10).
class PayloadIdentifier2160_6g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier2160_6g(quint32 rawBytes);
};

/// 2160 lines on 12 Gb/s (SMPTE ST 2082-10).
class PayloadIdentifier2160_12g : public PayloadIdentifierVariant
{
public:
    static const PayloadIdentifierFacts FACTS;
    explicit PayloadIdentifier2160_12g(quint32 rawBytes);
};
