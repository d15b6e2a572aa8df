// Makes the standard of all links from the payload identifier of one. For identifiers from several
// links see LinkSet.h.
#pragma once

#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <memory>

/// The standard that one link's identifier belongs to, with an identifier for each of its links:
/// first the given one, then the others in the order of their links, built from its fields without
/// reserved bits. Null if byte 0 is unknown.
///
/// With `squareDivision`, the identifier is taken as that of each of four quadrants.
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandard(quint32 rawValue, bool squareDivision = false);
