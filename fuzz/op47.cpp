// Two bytes that set the page filter, then one ancillary packet's words. Each record found must
// point into the words. Also through a copied container.
#include "infrastructure/utility/captions/Op47decoder.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    Op47decoder decoder;
    decoder.setPageFilter((data[0] & 0x80) != 0, data[0] & 7, data[1]);
    TeletextPacketContainer container(std::vector<uint8_t>(data + 2, data + size));
    for (int i = 0; i < 2; ++i) {
        decoder.decode(container);
        const TeletextPacketContainer copy = container;
        for (const TeletextPacket& packet : copy.teletextPackets()) {
            if (copy.displayDataOffset(packet) + packet.displayDataLength > size - 2) {
                std::abort();
            }
        }
        if (copy != container || copy.toString().isNull() != copy.teletextPackets().empty()) {
            std::abort();
        }
    }
    return 0;
}
