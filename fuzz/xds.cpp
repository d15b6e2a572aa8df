// One byte, whose low bits are the size of the pool and whose high bit says whether the decoder is
// reset after a failure, then pairs as received. No packet may get lost.
#include "infrastructure/utility/captions/Cc608XdsDecoder.h"
#include "infrastructure/utility/captions/XdsRatingText.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    XdsPacketPool pool(data[0] % 8);
    Cc608XdsDecoder decoder(pool);
    for (size_t i = 1; i + 1 < size; i += 2) {
        XdsPacket* packet = nullptr;
        const XdsResult result =
            decoder.processPair(XdsPair::fromRaw(data[i], data[i + 1], false), packet);
        if (result == XdsPacketReady) {
            if (packet->pairCount() > XdsPacket::MAX_PAIRS || ratingText(*packet).isEmpty() ||
                packet->toString().isEmpty()) {
                std::abort();
            }
            pool.release(packet);
        } else if (result != XdsOk && (data[0] & 0x80) != 0) {
            decoder.reset();
        }
        if (result == XdsBadState || pool.inUseCount() != decoder.openPacketCount()) {
            std::abort();
        }
    }
    return 0;
}
