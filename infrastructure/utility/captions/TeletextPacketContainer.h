// The bytes of one OP-47 ancillary packet, with the teletext packets found in it. A value.
#pragma once

#include "infrastructure/utility/captions/TeletextPacket.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <vector>

/// Owns the bytes that its records point into. The records' pointers always refer to the bytes of
/// their own container: those of a copy point into the copy's bytes, and new bytes drop the
/// records.
class TeletextPacketContainer
{
public:
    TeletextPacketContainer() = default;
    /// A whole ancillary packet from the ancillary data flag on, one byte per word, without records
    /// so far.
    explicit TeletextPacketContainer(std::vector<uint8_t> ancillaryWords);
    TeletextPacketContainer(const TeletextPacketContainer& other);
    TeletextPacketContainer(TeletextPacketContainer&& other) noexcept;
    TeletextPacketContainer& operator=(const TeletextPacketContainer& other);
    TeletextPacketContainer& operator=(TeletextPacketContainer&& other) noexcept;
    ~TeletextPacketContainer() = default;

    const std::vector<uint8_t>& bytes() const { return ancillaryBytes; }
    const std::vector<TeletextPacket>& teletextPackets() const { return packets; }
    /// The offset of a record's display data in the bytes; 0 for a record without display data.
    std::size_t displayDataOffset(const TeletextPacket& packet) const;

    /// Replaces the bytes by a newly allocated copy of others, which may be part of its own, and
    /// drops the records.
    void setBytes(const uint8_t* ancillaryWords, std::size_t size);
    /// Appends a record, pointing it at `offset` of the bytes; a record of length 0 gets null.
    /// False, with nothing appended, if its display data would reach past the end.
    bool append(TeletextPacket packet, std::size_t offset);
    /// Drops the records and keeps the bytes.
    void clearTeletextPackets() { packets.clear(); }

    /// The records, one per line.
    QString toString() const;

private:
    void rebase(const uint8_t* oldBytes);

    friend class Op47decoder; // appends records whose place it has worked out

    std::vector<uint8_t> ancillaryBytes;
    std::vector<TeletextPacket> packets;
};

/// Equal bytes and equal records; display data is equal if the offsets are.
bool operator==(const TeletextPacketContainer& a, const TeletextPacketContainer& b);
bool operator!=(const TeletextPacketContainer& a, const TeletextPacketContainer& b);
