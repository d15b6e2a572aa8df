// From payload identifier bytes to the standard of all its links.
#pragma once

#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <QStringList>

#include <memory>
#include <vector>

/// The standard that one link's identifier tells of, with an identifier for each of its links: the
/// given one first, then the others in the order of their links, made of its fields and without
/// reserved bits. Null where byte 0 is unknown.
///
/// With `squareDivision`, the identifier is that of each of four quadrants.
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandard(quint32 rawValue, bool squareDivision = false);

/// The standard of links whose identifiers are these, in their order: one for each link, or for
/// each channel where a link has two. Four identifiers of 1080 lines on one link are the quadrants
/// of a square division.
///
/// The links must be equal in all that a comparison of identifiers looks at. Those of one interface
/// must all be there, each with a channel assignment of its own; quadrants have the same one. Null
/// where they are not, with each complaint in *complaints as a message and the value in decimal:
///
///   89C98001 and three of 89CB8001 => "Link 2: picture rate is not that of link 1: 11", and so on
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandardFromLinks(const std::vector<quint32>& rawValues,
                             QStringList* complaints = nullptr);
