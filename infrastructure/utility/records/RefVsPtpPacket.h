// The video reference against PTP time.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

/// One comparison.
struct RefVsPtp
{
    quint64 referenceTime = 0;
    qint32 referenceField1 = 0;
    qint32 referenceField2 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::field<quint64>(&RefVsPtp::referenceTime),
        RecordLayout::fields<qint32>(&RefVsPtp::referenceField1, &RefVsPtp::referenceField2));
};

class RefVsPtpPacket : public TypedPacket<RecordPayload<RefVsPtp>, RawPacketType_RefVsPtp>
{
public:
    using TypedPacket::TypedPacket;
};
