// Slows down whoever guesses tokens. One thread.
#pragma once

#include "infrastructure/utility/packets/PeerOrigin.h"

#include <QByteArray>
#include <QHash>

#include <chrono>

/// After a wrong token, no further one from the same place is looked at for a while: 1 s at first,
/// twice as long after each, up to a minute. All is forgotten ten minutes after the last wrong one;
/// a right one does not shorten that. A place is an IPv4 address, the first 64 bits of an IPv6
/// address, or a user of this machine. At most MAX_PLACES are told apart; once there are as many,
/// all others are one place.
class TokenGuesses
{
public:
    using Time = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::milliseconds;

    static constexpr int MAX_PLACES = 1024;
    static constexpr Duration FIRST_PAUSE{1000};
    static constexpr Duration LONGEST_PAUSE{60 * 1000};
    static constexpr Duration MEMORY{10 * 60 * 1000};

    /// How long no token from there is looked at; 0 if one is.
    Duration getPause(const PeerOrigin& origin, Time now) const;
    /// Notes a wrong token.
    void addWrong(const PeerOrigin& origin, Time now);
    /// The number of places that are kept.
    int getPlaceCount() const { return places.size(); }

private:
    struct Place
    {
        Time last;      ///< wrong token
        Duration pause; ///< from then on
    };

    QByteArray findKey(const PeerOrigin& origin) const;
    void forgetOld(Time now);

    QHash<QByteArray, Place> places;
};
