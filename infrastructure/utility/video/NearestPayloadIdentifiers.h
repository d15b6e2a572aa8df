// Which payload identifiers are lawful, and which lawful ones are nearest to one that is not.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierField.h"

#include <cstddef>
#include <functional>
#include <vector>

/// True if SMPTE ST 352 reserves this value of the field: picture rates 0 and 1, sample structures
/// 7, 11, 12, 13 and 15.
bool isReservedValue(PayloadIdentifierKey key, quint32 value);

/// True if an interface carries it: without reserved bits or values, it is in the list of supported
/// standards, or differs from one there only in range, colourimetry, curve or luminance; or it has
/// no complaint, its picture fits its frame store, and is not interlaced where the transport is
/// progressive.
bool isPayloadIdentifierLawful(quint32 rawValue);

/// The lawful identifiers that differ in the fewest fields, those in the list of supported
/// standards alone if there are any, in the order of keys and values, other interfaces last.
/// Reserved bits are cleared; aspect ratio, channel assignment and audio copy status are kept.
/// Where one field is not enough, they are pictures of the list, with range and colours as they are
/// if that is lawful; none if byte 0 is of no known kind. With `accepts`, only those for which it
/// is true. Takes some milliseconds.
///
///   0x89C18001, rate 1 => 0x89C98001, 0x89CA8001, 0x89CB8001
std::vector<quint32>
findNearestPayloadIdentifiers(quint32 rawValue, std::size_t most = 4,
                              const std::function<bool(quint32)>& accepts = {});
