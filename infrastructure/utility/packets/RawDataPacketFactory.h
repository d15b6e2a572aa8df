// From a received header and payload to a packet object.
#pragma once

#include "infrastructure/utility/packets/RawDataPacket.h"

#include <memory>

/// The packet that starts at the front of `view` and whose header is `header`, as an object of the
/// class that its type stands for; null for a type outside the vocabulary.
std::shared_ptr<RawDataPacket> createRawDataPacket(const QByteArray& view,
                                                   const RawDataPacketHeader& header);
