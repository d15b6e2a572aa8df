#include "infrastructure/utility/captions/Cc608XdsDecoder.h"

namespace {

constexpr bool isPacketType(uint8_t byte)
{
    return byte >= 1 && byte <= 127;
}

} // namespace

Cc608XdsDecoder::Cc608XdsDecoder(XdsPacketPool& packetPool)
    : pool(packetPool)
{
    unowned.newer = &unowned;
    unowned.older = &unowned;
}

Cc608XdsDecoder::~Cc608XdsDecoder()
{
    reset();
}

// The steps below are inline: in position-independent code a compiler may not inline them by
// itself.

inline std::size_t Cc608XdsDecoder::slotOf(uint8_t startCode, uint8_t type)
{
    return startCode / 2u * TYPE_COUNT + type;
}

inline void Cc608XdsDecoder::linkAsCurrent(Node* node)
{
    node->newer = &unowned;
    node->older = unowned.older;
    node->older->newer = node;
    unowned.older = node;
    ++openCount;
}

inline void Cc608XdsDecoder::unlink(Node* node)
{
    node->newer->older = node->older;
    node->older->newer = node->newer;
    --openCount;
}

inline Cc608XdsDecoder::Node* Cc608XdsDecoder::removeCurrent()
{
    Node* node = current();
    openPackets[slotOf(node->startCode(), node->type())] = nullptr;
    unlink(node);
    return node;
}

/// A packet to start in a slot, not in any list: the one open there, a free one, or the one touched
/// longest ago.
inline Cc608XdsDecoder::Node* Cc608XdsDecoder::nodeToStart(std::size_t slot)
{
    if (Node* open = openPackets[slot]) {
        unlink(open);
        return open;
    }
    if (Node* node = pool.takeNode()) {
        return node;
    }
    if (!hasOpenPacket()) {
        return nullptr;
    }
    Node* oldest = unowned.newer;
    openPackets[slotOf(oldest->startCode(), oldest->type())] = nullptr;
    unlink(oldest);
    return oldest;
}

inline XdsResult Cc608XdsDecoder::start(XdsBytePair pair)
{
    const std::size_t slot = slotOf(pair.c1, pair.c2);
    Node* node = nodeToStart(slot);
    if (node == nullptr) {
        return XdsNoPacketAvailable;
    }
    node->begin(pair);
    openPackets[slot] = node;
    linkAsCurrent(node);
    setState(State_Collecting);
    return XdsOk;
}

inline XdsResult Cc608XdsDecoder::resume(XdsBytePair pair)
{
    const auto startCode = static_cast<uint8_t>(pair.c1 - 1);
    Node* node = isPacketType(pair.c2) ? openPackets[slotOf(startCode, pair.c2)] : nullptr;
    if (node == nullptr) {
        return XdsNoOpenPacket;
    }
    if (node != current()) {
        unlink(node);
        linkAsCurrent(node);
    }
    setState(State_Collecting);
    return XdsOk;
}

inline XdsResult Cc608XdsDecoder::end(XdsBytePair pair, XdsPacket*& out)
{
    if (!hasOpenPacket()) {
        return XdsEndWithoutPacket;
    }
    Node* node = removeCurrent();
    setState(State_Collecting);
    node->appendUnchecked(pair);
    if (!node->verifyChecksum()) {
        pool.releaseNode(node);
        return XdsChecksumFailed;
    }
    node->isWithCaller = true;
    out = node;
    return XdsPacketReady;
}

/// A pair that starts, continues or ends a packet.
XdsResult Cc608XdsDecoder::processCode(XdsBytePair pair, XdsPacket*& out)
{
    if (inPacket > State_Collecting) {
        return XdsBadState;
    }
    if (pair.c1 == XdsPacket::END_CODE) {
        return inPacket == State_Idle ? XdsOk : end(pair, out);
    }
    if (pair.c1 % 2 == 0) {
        return resume(pair);
    }
    return isPacketType(pair.c2) ? start(pair) : collect(pair);
}

/// Called when the packet that is being filled is full.
XdsResult Cc608XdsDecoder::handleFullTarget()
{
    XdsResult result = XdsOk;
    if (inPacket == State_Collecting) {
        result = hasOpenPacket() ? XdsPacketTooLong : XdsNoOpenPacket;
    }
    if (target != &unowned) {
        pool.releaseNode(removeCurrent());
    }
    setState(State_Idle);
    return result;
}

XdsResult Cc608XdsDecoder::processAncillaryPacket(const uint8_t* words, std::size_t size,
                                                  XdsPacket*& out)
{
    constexpr std::size_t ancillaryWords = 10;
    out = nullptr;
    if (size != ancillaryWords) {
        return XdsNoPacketAvailable;
    }
    return processPair(XdsPair::fromRaw(words[7], words[8], (words[6] & 0x80) != 0), out);
}

XdsResult Cc608XdsDecoder::processAncillaryPacket(const std::vector<uint8_t>& words,
                                                  XdsPacket*& out)
{
    return processAncillaryPacket(words.data(), words.size(), out);
}

void Cc608XdsDecoder::reset()
{
    while (hasOpenPacket()) {
        pool.releaseNode(removeCurrent());
    }
    setState(State_Idle);
}
