// One direction of a link, cut into its packets.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketHeader.h"

#include <QByteArray>
#include <QString>

#include <vector>

/// What a stream is made of: a whole packet, or bytes between packets.
struct StreamPiece
{
    quint16 packetType = RawDataPacketHeader::NO_PACKET;
    QByteArray bytes; ///< header and payload

    bool isPacket() const { return packetType != RawDataPacketHeader::NO_PACKET; }
    /// The text of a JSON packet; empty for anything else.
    QByteArray getText() const;
};

/// Takes bytes as they come and gives pieces as they are whole, by the rules of a receiver. All
/// bytes come out again, in order.
class PacketStream
{
public:
    static constexpr int MAX_WAITING_BYTES = 64 << 20;

    std::vector<StreamPiece> take(const QByteArray& arrived);
    /// What waits for a packet to be whole, and will not be.
    QByteArray takeRest();
    /// True while a packet above the limit is waited for: the caller gives the stream up.
    bool isOverfull() const { return waiting.size() > MAX_WAITING_BYTES; }
    /// What is said then.
    static QString overfullText();

private:
    QByteArray waiting;
};

/// The piece's bytes with another client id in place of one, under "ClientID" and "ClientId"; the
/// sizes in front of the text follow. All else stays byte for byte.
QByteArray withClientId(const StreamPiece& piece, const QByteArray& from, const QByteArray& to);
