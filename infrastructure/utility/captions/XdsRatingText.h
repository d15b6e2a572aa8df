// Content advisories (CEA-608, clause 9.5.1.5; CEA-766) as the status display shows them.
#pragma once

#include "infrastructure/utility/captions/XdsPacket.h"

#include <QString>

/// The rating that a packet of class 0 and type 5 carries in the pair after its start pair:
///     motion picture    => "MPA:PG13"
///     US television     => "TV:14 V,S,L,D", "TV:Y7 Fv", "TV:G " (the blank is always there)
///     Canadian English  => "CEn:C8"          Canadian French => "CFr:13"
///     any other system  => "Unknown"         no such pair    => "VChip Fail"
QString ratingText(const XdsPacket& packet);
