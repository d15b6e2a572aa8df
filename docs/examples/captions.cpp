#include "infrastructure/utility/captions/CaptionProcessor608.h"
#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "infrastructure/utility/captions/Op47decoder.h"
#include "infrastructure/utility/captions/ScenaristCaptions.h"
#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"

#include <cstdio>

int main()
{
    // CEA-608: pop-on caption "Hi!" in row 15, from a caption file.
    QStringList errors;
    const auto lines = readScenaristFile(
        "Scenarist_SCC V1.0\n\n01:00:00:00\t9420 9420 9470 9470 c8e9 a180 942f 942f\n", errors);
    CaptionProcessor608 captions;
    captions.setFieldSelect(CaptionFieldSelect608_Field1);
    for (const auto& raw : lines[0].pairs) {
        if (captions.processRecord(Caption608BytePair::fromRaw(raw[0], raw[1], true))) {
            std::printf("|%s|\n", qPrintable(captions.displayedGrid().rowText(14)));
        }
    }

    // XDS, in the ancillary packets of field 2: programme name "Even" (class 1, type 3).
    XdsPacketPool pool;
    Cc608XdsDecoder xds(pool);
    const uint8_t pairs[][2] = {{0x01, 0x03}, {'E', 'v'}, {'e', 'n'}, {0x0F, 0x5F}};
    for (const auto& pair : pairs) {
        XdsPacket* packet = nullptr;
        if (xds.processAncillaryPacket({0, 0xFF, 0xFF, 0x61, 0x02, 3, 0, pair[0], pair[1], 0},
                                       packet) == XdsPacketReady) {
            std::puts(qPrintable(packet->toString()));
            pool.release(packet);
        }
    }

    // OP-47, as the collector delivers it: too short, and reported so.
    const uint8_t collected[] = {0, 0, 0, 0, 0, 0, 0, 0, 0x43, 0x02, 2, 0x51, 0x15, 0xFF};
    const auto packet = AncillaryCollectorPacket::fromBytes(collected, sizeof collected);
    std::puts(qPrintable(packet.toString()));
    std::vector<uint8_t> words;
    for (std::size_t i = 0; i < 8; ++i) {
        words.push_back(packet.getAncWord(i));
    }
    std::vector<TeletextPacket> teletext;
    const Op47ErrorReport report = Op47decoder().decode(words.data(), words.size(), teletext);
    std::printf("%s, %zu teletext packets\n", qPrintable(report.toString()), teletext.size());
}
