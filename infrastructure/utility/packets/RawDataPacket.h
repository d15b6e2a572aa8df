// The unit that crosses a link: a typed record with an 8-byte header and an opaque payload.
#pragma once

#include "infrastructure/utility/packets/RawDataPacketHeader.h"

#include <QByteArray>

class QIODevice;

/// The base of every packet. A packet received from a link is shared by all its receivers, and none
/// of them may change it.
class RawDataPacket
{
public:
    /// A zero header and an empty payload.
    RawDataPacket() = default;

    /// A received packet: `view` starts at the header, and `header` is the result of parseHeader
    /// for it. Copies the payload. If the view ends early, so does the payload.
    RawDataPacket(const QByteArray& view, const RawDataPacketHeader& header);

    virtual ~RawDataPacket();

    /// The bytes to send after the header.
    virtual QByteArray serialisePayload() const = 0;
    /// The raw type number of the class.
    virtual quint16 getPacketType() const = 0;
    /// The sub type of the class; 0 for most.
    virtual quint16 getPacketSubType() const;

    /// The header as it was received; zeros in a packet that was built here.
    const RawDataPacketHeader& getHeader() const { return receivedHeader; }
    /// The payload as it was received; empty in a packet that was built here.
    const QByteArray& getPayload() const { return receivedPayload; }

    /// Reads the header at the start of `view`, which extends to the end of what has arrived.
    ///     type outside the vocabulary, or a size of 2 GiB and above => type NO_PACKET
    ///     payload not all in the view, or fewer than 8 bytes        => type INCOMPLETE_PACKET
    static RawDataPacketHeader parseHeader(const QByteArray& view)
    {
        return parseHeader(view.constData(), view.size());
    }
    /// The same on bytes in place.
    static RawDataPacketHeader parseHeader(const char* bytes, int size);

    /// The header for this payload, which must be this packet's.
    QByteArray makeHeader(const QByteArray& payload) const;

    /// Writes header and payload to the device. True if it took all of both.
    bool serialiseTo(QIODevice& device) const;

protected:
    RawDataPacket(const RawDataPacket&) = default;
    RawDataPacket(RawDataPacket&&) = default;
    RawDataPacket& operator=(const RawDataPacket&) = default;
    RawDataPacket& operator=(RawDataPacket&&) = default;

private:
    RawDataPacketHeader receivedHeader;
    QByteArray receivedPayload;
};
