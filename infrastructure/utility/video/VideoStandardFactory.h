// From payload identifier bytes to the standard of all its links.
#pragma once

#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <memory>
#include <vector>

/// The standard that one link's identifier tells of, with an identifier for each of its links: the
/// given one first, then the others in the order of their links. Null where byte 0 is unknown.
///
/// With `squareDivision`, the identifier is that of each of four quadrants.
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandard(quint32 rawValue, bool squareDivision = false);

/// The standard of links whose identifiers are these, in their order. Four identifiers of 1080
/// lines on one link are the quadrants of a square division. Null for no links and where a byte 0
/// is unknown.
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandardFromLinks(const std::vector<quint32>& rawValues);
