// The fixed supply of XDS packets that bounds what a stream can make its decoder hold. One thread.
#pragma once

#include "infrastructure/utility/captions/XdsPacket.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Owns all its packets from construction to its end; nothing is allocated between. It must outlive
/// its decoders and every packet taken from it.
class XdsPacketPool
{
public:
    static constexpr std::size_t DEFAULT_PACKET_COUNT = 69;

    explicit XdsPacketPool(std::size_t packetCount = DEFAULT_PACKET_COUNT);
    XdsPacketPool(const XdsPacketPool&) = delete;
    XdsPacketPool& operator=(const XdsPacketPool&) = delete;

    std::size_t packetCount() const { return nodes.size(); }
    std::size_t inUseCount() const { return nodes.size() - freeCount; }

    /// A packet, with whatever it held before; null when all are in use.
    XdsPacket* take();
    /// Takes a packet back. Null is ignored; a packet that is not with a caller, or is of another
    /// pool, is logged and ignored.
    void release(XdsPacket* packet);

private:
    friend class Cc608XdsDecoder; // keeps its packets in a list without asking for memory

    struct Node : XdsPacket
    {
        Node* newer = nullptr; ///< neighbours in a decoder's list
        Node* older = nullptr;
        bool isWithCaller = false;
    };

    Node* takeNode() { return freeCount == 0 ? nullptr : freeNodes[--freeCount]; }
    void releaseNode(Node* node) { freeNodes[freeCount++] = node; }
    bool isOwn(const XdsPacket* packet) const;

    std::vector<Node> nodes;
    std::vector<Node*> freeNodes; ///< a stack, `freeCount` high
    std::size_t freeCount;
};
