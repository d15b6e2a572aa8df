#include "infrastructure/utility/video/ancillary/AncillaryNames.h"

#include <algorithm>
#include <iterator>

namespace {

struct Row
{
    uint8_t did;
    uint8_t sdid; ///< 0 for type 1
    const char* name;
};

/// In the order of the identifiers.
constexpr Row NAMES[] = {
    {0x08, 0x08, "MPEG recoding data, vertical (ST 353)"},
    {0x08, 0x0C, "MPEG recoding data, horizontal (ST 353)"},
    {0x40, 0x01, "SDTI header (ST 305)"},
    {0x40, 0x02, "HD-SDTI header (ST 348)"},
    {0x40, 0x04, "link encryption message 1 (ST 427)"},
    {0x40, 0x05, "link encryption message 2 (ST 427)"},
    {0x40, 0x06, "link encryption metadata (ST 427)"},
    {0x41, 0x01, "payload identifier (ST 352)"},
    {0x41, 0x05, "AFD and bar data (ST 2016-3)"},
    {0x41, 0x06, "pan-scan data (ST 2016-4)"},
    {0x41, 0x07, "SCTE 104 messages (ST 2010)"},
    {0x41, 0x08, "DVB and SCTE VBI data (ST 2031)"},
    {0x41, 0x09, "MPEG transport stream packets (ST 2056)"},
    {0x41, 0x0A, "stereoscopic 3D (ST 2068)"},
    {0x41, 0x0B, "lip sync data (ST 2064)"},
    {0x41, 0x0C, "HDR and WCG metadata (ST 2108-1)"},
    {0x43, 0x01, "inter-station control data (BT.1685)"},
    {0x43, 0x02, "OP-47 subtitles (RDD 8)"},
    {0x43, 0x03, "OP-47 multipacket (RDD 8)"},
    {0x44, 0x04, "KLV metadata, vertical (RP 214)"},
    {0x44, 0x14, "KLV metadata, horizontal (RP 214)"},
    {0x44, 0x44, "UMID and programme label (RP 223)"},
    {0x45, 0x01, "audio metadata, no channels named (ST 2020)"},
    {0x45, 0x02, "audio metadata, channels 1 and 2 (ST 2020)"},
    {0x45, 0x03, "audio metadata, channels 3 and 4 (ST 2020)"},
    {0x45, 0x04, "audio metadata, channels 5 and 6 (ST 2020)"},
    {0x45, 0x05, "audio metadata, channels 7 and 8 (ST 2020)"},
    {0x45, 0x06, "audio metadata, channels 9 and 10 (ST 2020)"},
    {0x45, 0x07, "audio metadata, channels 11 and 12 (ST 2020)"},
    {0x45, 0x08, "audio metadata, channels 13 and 14 (ST 2020)"},
    {0x45, 0x09, "audio metadata, channels 15 and 16 (ST 2020)"},
    {0x46, 0x01, "two-frame marker (ST 2051)"},
    {0x50, 0x01, "WSS data (RDD 8)"},
    {0x51, 0x01, "film codes (RP 215)"},
    {0x5F, 0xDC, "ARIB captions (STD-B37)"},
    {0x5F, 0xDD, "ARIB captions (STD-B37)"},
    {0x5F, 0xDE, "ARIB captions (STD-B37)"},
    {0x5F, 0xDF, "ARIB captions (STD-B37)"},
    {0x60, 0x60, "time code (ST 12-2)"},
    {0x61, 0x01, "caption distribution packet (ST 334-1)"},
    {0x61, 0x02, "CEA-608 captions (ST 334-1)"},
    {0x62, 0x01, "programme description (RP 207)"},
    {0x62, 0x02, "data broadcast (ST 334-1)"},
    {0x62, 0x03, "VBI data (RP 208)"},
    {0x64, 0x64, "LTC, horizontal (RP 196)"},
    {0x64, 0x7F, "VITC, horizontal (RP 196)"},
    {0x80, 0, "marked for deletion (ST 291-1)"},
    {0xA0, 0, "HD audio control, group 8 (ST 299-2)"},
    {0xA1, 0, "HD audio control, group 7 (ST 299-2)"},
    {0xA2, 0, "HD audio control, group 6 (ST 299-2)"},
    {0xA3, 0, "HD audio control, group 5 (ST 299-2)"},
    {0xA4, 0, "HD audio, group 8 (ST 299-2)"},
    {0xA5, 0, "HD audio, group 7 (ST 299-2)"},
    {0xA6, 0, "HD audio, group 6 (ST 299-2)"},
    {0xA7, 0, "HD audio, group 5 (ST 299-2)"},
    {0xE0, 0, "HD audio control, group 4 (ST 299-1)"},
    {0xE1, 0, "HD audio control, group 3 (ST 299-1)"},
    {0xE2, 0, "HD audio control, group 2 (ST 299-1)"},
    {0xE3, 0, "HD audio control, group 1 (ST 299-1)"},
    {0xE4, 0, "HD audio, group 4 (ST 299-1)"},
    {0xE5, 0, "HD audio, group 3 (ST 299-1)"},
    {0xE6, 0, "HD audio, group 2 (ST 299-1)"},
    {0xE7, 0, "HD audio, group 1 (ST 299-1)"},
    {0xEC, 0, "SD audio control, group 4 (ST 272)"},
    {0xED, 0, "SD audio control, group 3 (ST 272)"},
    {0xEE, 0, "SD audio control, group 2 (ST 272)"},
    {0xEF, 0, "SD audio control, group 1 (ST 272)"},
    {0xF0, 0, "camera position (ST 315)"},
    {0xF4, 0, "error detection (RP 165)"},
    {0xF8, 0, "SD extended audio, group 4 (ST 272)"},
    {0xF9, 0, "SD audio, group 4 (ST 272)"},
    {0xFA, 0, "SD extended audio, group 3 (ST 272)"},
    {0xFB, 0, "SD audio, group 3 (ST 272)"},
    {0xFC, 0, "SD extended audio, group 2 (ST 272)"},
    {0xFD, 0, "SD audio, group 2 (ST 272)"},
    {0xFE, 0, "SD extended audio, group 1 (ST 272)"},
    {0xFF, 0, "SD audio, group 1 (ST 272)"},
};

} // namespace

const char* getAncillaryName(AncillaryDidSdid kind)
{
    const uint8_t sdid = isAncillaryType1(kind.did) ? 0 : kind.sdid;
    const auto row = std::find_if(std::begin(NAMES), std::end(NAMES), [&](const Row& candidate) {
        return candidate.did == kind.did && candidate.sdid == sdid;
    });
    return row == std::end(NAMES) ? "unknown" : row->name;
}

bool hasNineBitUserWords(uint8_t did)
{
    return did >= 0xF8 || (did >= 0xEC && did <= 0xEF);
}
