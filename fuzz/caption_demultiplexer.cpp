// Ancillary packets, each as SDID, data count and user words (fewer if the input ends). All that
// can be seen of a service must not change without its revision.
#include "infrastructure/utility/captions/CaptionDemultiplexer.h"
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    CaptionDemultiplexer services([](const XdsPacket& packet) {
        if (packet.toString().isEmpty()) {
            std::abort();
        }
    });
    const auto textOf = [&services] {
        const CaptionService708* const service = services.channel708().service(1);
        return service == nullptr ? QString() : service->text();
    };
    const auto revisionOf = [&services] {
        const CaptionService708* const service = services.channel708().service(1);
        return service == nullptr ? 0 : service->getRevision();
    };
    for (size_t at = 0; at + 2 <= size;) {
        const size_t count = std::min<size_t>(data[at + 1], size - at - 2);
        const AncillaryDidSdid kind{0x61, static_cast<uint8_t>(data[at] % 4)};
        AncillaryCollectorPacket packet = makeAncillaryPacket(kind, data + at + 2, count);
        packet.buffer[AncillaryCollectorPacket::PAYLOAD_START_INDEX +
                      AncillaryCollectorPacket::DC_OFFSET] = data[at + 1];
        const CaptionGrid608 grid = services.service608(3).displayedGrid();
        const uint32_t revision608 = services.service608(3).getRevision();
        const QString text = textOf();
        const uint32_t revision708 = revisionOf();
        services.process(packet);
        if ((services.service608(3).getRevision() == revision608 &&
             services.service608(3).displayedGrid() != grid) ||
            (revisionOf() == revision708 && textOf() != text)) {
            std::abort();
        }
        at += 2 + count;
    }
    return 0;
}
