#include "infrastructure/utility/captions/XdsPacketPool.h"

#include "infrastructure/utility/Log.h"

#include <algorithm>
#include <functional>

XdsPacketPool::XdsPacketPool(std::size_t packetCount)
    : nodes(packetCount)
    , freeNodes(packetCount)
    , freeCount(packetCount)
{
    std::transform(nodes.begin(), nodes.end(), freeNodes.begin(), [](Node& node) { return &node; });
}

XdsPacket* XdsPacketPool::take()
{
    Node* node = takeNode();
    if (node != nullptr) {
        node->isWithCaller = true;
    }
    return node;
}

void XdsPacketPool::release(XdsPacket* packet)
{
    if (packet == nullptr) {
        return;
    }
    Node* node = isOwn(packet) ? static_cast<Node*>(packet) : nullptr;
    if (node == nullptr || !node->isWithCaller) {
        VELLOG_ERR() << "XDS packet released that is not in use";
        return;
    }
    node->isWithCaller = false;
    releaseNode(node);
}

bool XdsPacketPool::isOwn(const XdsPacket* packet) const
{
    // std::less also orders pointers into different objects.
    const std::less<const XdsPacket*> before;
    return !before(packet, nodes.data()) && before(packet, nodes.data() + nodes.size());
}
