#include "infrastructure/server/TokenGuesses_p.h"

#include <algorithm>

namespace {

constexpr const char* ALL_OTHERS = "others";
constexpr int NETWORK_BYTES = 8; ///< of an IPv6 address: a subscriber has all that follow

} // namespace

QByteArray TokenGuesses::findKey(const PeerOrigin& origin) const
{
    QByteArray key;
    if (origin.way == LinkAddress::Way::Local) {
        key = "user " + (origin.userId ? QByteArray::number(*origin.userId) : QByteArray());
    } else {
        bool isIPv4 = false;
        const quint32 address = origin.address.toIPv4Address(&isIPv4);
        if (isIPv4) {
            key = QByteArray::number(address);
        } else {
            const Q_IPV6ADDR bytes = origin.address.toIPv6Address();
            key = QByteArray(reinterpret_cast<const char*>(bytes.c), NETWORK_BYTES).toHex();
        }
    }
    const bool isKept = places.size() < MAX_PLACES || places.contains(key);
    return isKept ? key : QByteArray(ALL_OTHERS);
}

TokenGuesses::Duration TokenGuesses::getPause(const PeerOrigin& origin, Time now) const
{
    const auto place = places.constFind(findKey(origin));
    if (place == places.constEnd()) {
        return Duration(0);
    }
    const auto left = std::chrono::ceil<Duration>(place->last + place->pause - now);
    return std::max(left, Duration(0));
}

void TokenGuesses::addWrong(const PeerOrigin& origin, Time now)
{
    forgetOld(now);
    const QByteArray key = findKey(origin);
    const auto known = places.find(key);
    if (known == places.end()) {
        places.insert(key, {now, FIRST_PAUSE});
    } else {
        *known = {now, std::min(known->pause * 2, LONGEST_PAUSE)};
    }
}

void TokenGuesses::forgetOld(Time now)
{
    for (auto place = places.begin(); place != places.end();) {
        place = now - place->last >= MEMORY ? places.erase(place) : std::next(place);
    }
}
