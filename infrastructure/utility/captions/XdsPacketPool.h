// The fixed supply of XDS packets, which limits how much a stream can make its decoder hold. One
// thread.
#pragma once

#include "infrastructure/utility/captions/XdsPacket.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Allocates all its packets at construction and nothing after that. It must outlive its decoders
/// and every packet taken from it.
class XdsPacketPool
{
public:
    static constexpr std::size_t DEFAULT_PACKET_COUNT = 69;

    explicit XdsPacketPool(std::size_t packetCount = DEFAULT_PACKET_COUNT);
    XdsPacketPool(const XdsPacketPool&) = delete;
    XdsPacketPool& operator=(const XdsPacketPool&) = delete;

    std::size_t packetCount() const { return nodes.size(); }
    std::size_t inUseCount() const { return nodes.size() - freeCount; }

    /// A packet, still holding its previous content; null if all are in use.
    XdsPacket* take();
    /// Takes a packet back. Null is ignored; a packet that is not with a caller, or belongs to
    /// another pool, is logged and ignored.
    void release(XdsPacket* packet);

private:
    friend class Cc608XdsDecoder; // keeps its packets in a list without allocating

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
