// Teletext packets with the OP-47 ancillary packet that they were in, as a record:
//
//   | count B, 8 bits | B bytes | count R, 8 bits | R records of 13 bytes |
//   record: magazine, packetNumber, hasPageHeader, displayDataLength | offset of the display data |
//           pageDecimal | pageBcd | subcode, 16 bits, low byte first |
//           erasePage, subtitle, magazineSerial, nationalOption
#pragma once

#include "infrastructure/utility/captions/TeletextPacketContainer.h"
#include "infrastructure/utility/records/RecordPacket.h"

/// Bytes and records beyond 255 do not fit and are left out, with a log line. A record whose
/// display data would lie outside the bytes is read back without it.
class TeletextRawPayload : public RawDataPacket
{
public:
    TeletextRawPayload() = default;
    explicit TeletextRawPayload(TeletextPacketContainer values);
    /// A received packet. Missing payload reads as zero.
    TeletextRawPayload(const QByteArray& view, const RawDataPacketHeader& header);

    QByteArray serialisePayload() const override;

    const TeletextPacketContainer& getTeletextData() const { return teletext; }

private:
    TeletextPacketContainer teletext;
};

class TeletextRawDataPacket : public TypedPacket<TeletextRawPayload, RawPacketType_TeletextRaw>
{
public:
    using TypedPacket::TypedPacket;
};
