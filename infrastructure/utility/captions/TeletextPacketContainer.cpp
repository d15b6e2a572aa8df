#include "infrastructure/utility/captions/TeletextPacketContainer.h"

#include <algorithm>
#include <utility>

TeletextPacketContainer::TeletextPacketContainer(std::vector<uint8_t> ancillaryWords)
    : ancillaryBytes(std::move(ancillaryWords))
{
}

TeletextPacketContainer::TeletextPacketContainer(const TeletextPacketContainer& other)
    : ancillaryBytes(other.ancillaryBytes)
    , packets(other.packets)
{
    rebase(other.ancillaryBytes.data());
}

// A moved vector keeps its memory, so the pointers stay valid.
TeletextPacketContainer::TeletextPacketContainer(TeletextPacketContainer&& other) noexcept
    : ancillaryBytes(std::exchange(other.ancillaryBytes, {}))
    , packets(std::exchange(other.packets, {}))
{
}

TeletextPacketContainer& TeletextPacketContainer::operator=(const TeletextPacketContainer& other)
{
    if (this != &other) {
        packets.clear(); // none may be left pointing into bytes that are gone
        ancillaryBytes = other.ancillaryBytes;
        packets = other.packets;
        rebase(other.ancillaryBytes.data());
    }
    return *this;
}

TeletextPacketContainer&
TeletextPacketContainer::operator=(TeletextPacketContainer&& other) noexcept
{
    TeletextPacketContainer taken(std::move(other)); // works for itself too
    ancillaryBytes.swap(taken.ancillaryBytes);
    packets.swap(taken.packets);
    return *this;
}

std::size_t TeletextPacketContainer::displayDataOffset(const TeletextPacket& packet) const
{
    return packet.displayData == nullptr
               ? 0
               : static_cast<std::size_t>(packet.displayData - ancillaryBytes.data());
}

void TeletextPacketContainer::setBytes(const uint8_t* ancillaryWords, std::size_t size)
{
    packets.clear();
    ancillaryBytes = std::vector<uint8_t>(ancillaryWords, ancillaryWords + size); // may be our own
}

bool TeletextPacketContainer::append(TeletextPacket packet, std::size_t offset)
{
    if (packet.displayDataLength == 0) {
        packet.displayData = nullptr;
    } else if (offset > ancillaryBytes.size() ||
               packet.displayDataLength > ancillaryBytes.size() - offset) {
        return false;
    } else {
        packet.displayData = ancillaryBytes.data() + offset;
    }
    packets.push_back(packet);
    return true;
}

QString TeletextPacketContainer::toString() const
{
    QString text;
    for (const TeletextPacket& packet : packets) {
        text += packet.toString() + QLatin1Char('\n');
    }
    return text;
}

void TeletextPacketContainer::rebase(const uint8_t* oldBytes)
{
    for (TeletextPacket& packet : packets) {
        if (packet.displayData != nullptr) {
            packet.displayData = ancillaryBytes.data() + (packet.displayData - oldBytes);
        }
    }
}

bool operator==(const TeletextPacketContainer& a, const TeletextPacketContainer& b)
{
    const auto samePacket = [&a, &b](const TeletextPacket& mine, const TeletextPacket& other) {
        return mine.values() == other.values() &&
               a.displayDataOffset(mine) == b.displayDataOffset(other);
    };
    return a.bytes() == b.bytes() &&
           std::equal(a.teletextPackets().begin(), a.teletextPackets().end(),
                      b.teletextPackets().begin(), b.teletextPackets().end(), samePacket);
}

bool operator!=(const TeletextPacketContainer& a, const TeletextPacketContainer& b)
{
    return !(a == b);
}
