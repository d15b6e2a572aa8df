// Makes a packet object from a received header and payload.
#pragma once

#include "infrastructure/utility/packets/RawDataPacket.h"

#include <memory>

/// The packet at the front of `view`, whose header is `header`, as an object of the class for its
/// type; null for a type outside the vocabulary.
std::shared_ptr<RawDataPacket> createRawDataPacket(const QByteArray& view,
                                                   const RawDataPacketHeader& header);
