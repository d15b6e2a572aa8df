// One direction of a link, split into its packets.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketHeader.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// A piece of a stream: a whole packet, or bytes between packets.
struct StreamPiece
{
    quint16 packetType = RawDataPacketHeader::NO_PACKET;
    QByteArray bytes; ///< header and payload

    bool isPacket() const { return packetType != RawDataPacketHeader::NO_PACKET; }
    /// The text of a JSON packet; empty for anything else.
    QByteArray getText() const;
};

/// Takes bytes as they arrive and returns pieces once they are complete, by the rules of a
/// receiver. All bytes come out again, in order.
class PacketStream
{
public:
    static constexpr int MAX_WAITING_BYTES = 64 << 20;

    std::vector<StreamPiece> take(const QByteArray& arrived);
    /// The start of a packet that will never be complete.
    QByteArray takeRest();
    /// True while waiting for a packet above the limit: the caller should give the stream up.
    bool isOverfull() const { return waiting.size() > MAX_WAITING_BYTES; }
    /// The error text for that.
    static QString overfullText();

private:
    QByteArray waiting;
};

/// The piece's bytes with the client id, under "ClientID" and "ClientId", replaced by another; the
/// sizes before the text are adjusted. Everything else stays byte for byte.
QByteArray withClientId(const StreamPiece& piece, const QByteArray& from, const QByteArray& to);
