#include "infrastructure/utility/video/ancillary/AncillaryWords.h"

std::vector<quint16> makeAncillaryWords(const AncillaryCollectorPacket& packet)
{
    std::vector<quint16> words{0x000, 0x3FF, 0x3FF};
    const uint8_t* const values = packet.payloadIndex();
    quint32 sum = 0;
    for (std::size_t i = 0; i < AncillaryCollectorPacket::DC_OFFSET + 1u + packet.getDataCount();
         ++i) {
        words.push_back(ancillaryWord(values[i]));
        sum += words.back();
    }
    words.push_back(ancillaryChecksumWord(sum));
    return words;
}
