// Makes the standard of all links from payload identifier bytes.
#pragma once

#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <QStringList>

#include <memory>
#include <vector>

/// The standard that one link's identifier belongs to, with an identifier for each of its links:
/// first the given one, then the others in the order of their links, built from its fields without
/// reserved bits. Null if byte 0 is unknown.
///
/// With `squareDivision`, the identifier is taken as that of each of four quadrants.
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandard(quint32 rawValue, bool squareDivision = false);

/// The standard of links with these identifiers, in their order: one for each link, or for each
/// channel if a link has two. Four identifiers of 1080 lines on one link are the quadrants of a
/// square division.
///
/// The links must be equal in everything that a comparison of identifiers looks at. Those of one
/// interface must be complete, each with its own channel assignment; quadrants have the same one.
/// Otherwise null, with each complaint in *complaints as a message and the value in decimal:
///
///   89C98001 and three of 89CB8001 => "Link 2: picture rate is not that of link 1: 11", and so on
std::shared_ptr<const StandardFromPayloadIdentifier>
createVideoStandardFromLinks(const std::vector<quint32>& rawValues,
                             QStringList* complaints = nullptr);
