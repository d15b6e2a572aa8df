#include "infrastructure/utility/captions/XdsPacket.h"

#include "infrastructure/utility/captions/Caption608Characters_p.h"

#include <algorithm>

namespace {

constexpr std::array<const char*, 7> CLASS_NAMES{
    "Current", "Future", "Channel", "Miscellaneous", "Public service", "Reserved", "Private data",
};

} // namespace

bool XdsPacket::pairAt(std::size_t index, XdsBytePair& out) const
{
    if (index >= count) {
        return false;
    }
    out = pairs[index];
    return true;
}

QString XdsPacket::text() const
{
    QString text;
    for (std::size_t i = 1; i < count && pairs[i].c1 != END_CODE; ++i) {
        for (const uint8_t byte : {pairs[i].c1, pairs[i].c2}) {
            if (byte >= 0x20 && byte < 0x80) {
                text += QChar(caption608Character(byte - 0x20u));
            }
        }
    }
    return text;
}

QString XdsPacket::toString() const
{
    return QStringLiteral("%1 type %2: \"%3\"")
        .arg(className(packetClassIndex))
        .arg(packetType)
        .arg(text());
}

QString XdsPacket::className(uint32_t classIndex)
{
    return QLatin1String(classIndex < CLASS_NAMES.size() ? CLASS_NAMES[classIndex] : "Unknown");
}

bool XdsPacket::append(XdsBytePair pair)
{
    if (count == 0) {
        begin(pair);
        return true;
    }
    if (count >= MAX_PAIRS || packetStatus != XdsStatus_Open) {
        return false;
    }
    appendUnchecked(pair);
    return true;
}

bool operator==(const XdsPacket& a, const XdsPacket& b)
{
    return a.packetType == b.packetType && a.packetStartCode == b.packetStartCode &&
           a.packetClassIndex == b.packetClassIndex && a.packetStatus == b.packetStatus &&
           std::equal(a.pairs.begin(), a.pairs.begin() + a.count, b.pairs.begin(),
                      b.pairs.begin() + b.count);
}
