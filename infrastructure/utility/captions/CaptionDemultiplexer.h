// From ancillary packets to caption services. One thread.
#pragma once

#include "infrastructure/utility/captions/CaptionChannel708.h"
#include "infrastructure/utility/captions/CaptionField608.h"
#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "infrastructure/utility/captions/CdpDecoder.h"
#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"

#include <functional>

/// Takes caption distribution packets (DID 0x61 SDID 0x01) and CEA-608 packets (0x61 0x02) and
/// passes over all others. Holds the four services of CEA-608, XDS, and those of CEA-708. Each has
/// a revision: a viewer copies a grid or text only when it is another one. A CEA-608 pair with a
/// byte of even parity is dropped.
class CaptionDemultiplexer
{
public:
    /// Called with each finished XDS packet, which holds for the length of the call.
    using XdsReceiver = std::function<void(const XdsPacket&)>;

    explicit CaptionDemultiplexer(XdsReceiver receiver = {});

    /// True if the packet was one of captions. Findings: those of CdpErrorReport and
    /// CaptionChannel708, "anc.end-marker", "anc.length", "cdp.parity" and "cdp.xds".
    bool process(const AncillaryCollectorPacket& packet, const FindingPlace& place = {});

    /// CC1 to CC4, as 1 to 4; any other number gives that of its lowest bits.
    const CaptionProcessor608& service608(unsigned number) const;
    /// True once a control pair of the service has come.
    bool isPresent608(unsigned number) const;
    const CaptionChannel708& channel708() const { return channel; }
    /// Language of a service of CEA-708, "eng", as last announced; empty if it was not.
    QString language708(unsigned number) const;
    /// The same for CC1, by field 1, and CC3, by field 2.
    QString language608(bool isField2) const;
    /// Another number after each finished XDS packet.
    uint32_t getXdsRevision() const { return xdsRevision; }

    FindingList& getFindings() { return findings; }
    const FindingList& getFindings() const { return findings; }

private:
    void processCdp(const uint8_t* bytes, std::size_t size, const FindingPlace& place);
    bool processPair(bool isField1, uint8_t raw1, uint8_t raw2, const FindingPlace& place);

    CdpDecoder decoder;
    CaptionDistributionPacket cdp;
    std::array<CaptionField608, 2> fields;
    XdsPacketPool pool;
    Cc608XdsDecoder xds;
    XdsReceiver xdsReceiver;
    uint32_t xdsRevision = 0;
    CaptionChannel708 channel;
    std::array<QString, CaptionChannel708::MAX_SERVICE + 3> languages; ///< then those of CEA-608
    FindingList findings;
};
