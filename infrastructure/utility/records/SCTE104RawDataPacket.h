// A splice request in the terms of SCTE 104.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

/// The request's fields. On the wire the eleventh word comes before the tenth.
struct SCTE104Raw
{
    quint16 scteWord1 = 0;
    quint16 scteWord2 = 0;
    quint16 scteWord3 = 0;
    quint16 scteWord4 = 0;
    quint16 scteWord5 = 0;
    quint16 scteWord6 = 0;
    quint16 scteWord7 = 0;
    quint16 scteWord8 = 0;
    quint16 scteWord9 = 0;
    quint16 scteWord10 = 0;
    quint16 scteWord11 = 0;
    qint32 scteField1 = 0;
    quint16 scteWord12 = 0;
    quint16 scteWord13 = 0;
    quint16 scteWord14 = 0;
    quint16 scteWord15 = 0;
    quint16 scteWord16 = 0;
    quint16 scteWord17 = 0;
    quint16 scteWord18 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::fields<quint16>(
            &SCTE104Raw::scteWord1, &SCTE104Raw::scteWord2, &SCTE104Raw::scteWord3,
            &SCTE104Raw::scteWord4, &SCTE104Raw::scteWord5, &SCTE104Raw::scteWord6,
            &SCTE104Raw::scteWord7, &SCTE104Raw::scteWord8, &SCTE104Raw::scteWord9),
        RecordLayout::fields<quint16>(&SCTE104Raw::scteWord11, &SCTE104Raw::scteWord10),
        RecordLayout::field<qint32>(&SCTE104Raw::scteField1),
        RecordLayout::fields<quint16>(&SCTE104Raw::scteWord12, &SCTE104Raw::scteWord13,
                                      &SCTE104Raw::scteWord14, &SCTE104Raw::scteWord15,
                                      &SCTE104Raw::scteWord16, &SCTE104Raw::scteWord17,
                                      &SCTE104Raw::scteWord18));
};

class SCTE104RawDataPacket : public TypedPacket<RecordPayload<SCTE104Raw>, RawPacketType_SCTE104Raw>
{
public:
    using TypedPacket::TypedPacket;
};
