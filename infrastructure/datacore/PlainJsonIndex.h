// An index to the members of a JSON object in its text, so that a packet's content need not be
// parsed.
#pragma once

#include <QLatin1String>

#include <algorithm>
#include <array>

class PlainJsonValue;

/// Where the members of an object are in its text. Holds no pointers, so the text may move.
class PlainJsonIndex
{
public:
    static constexpr int MAX_MEMBERS = 6;

    PlainJsonIndex() = default;
    PlainJsonIndex(const PlainJsonIndex& other) { *this = other; }
    PlainJsonIndex& operator=(const PlainJsonIndex& other)
    {
        count = other.count;
        std::copy_n(other.members.begin(), count, members.begin());
        return *this;
    }

    /// Checks and indexes the text. Returns false, with the index empty, unless it is a plain
    /// object of at most MAX_MEMBERS members.
    bool read(const char* text, int size);
    /// The value of the key in the text that was read; missing if there is none.
    PlainJsonValue find(const char* text, QLatin1String key) const;

private:
    struct Member
    {
        int keyStart; ///< from the start of the text
        int keySize;
        int valueStart;
        int valueSize;
    };

    std::array<Member, MAX_MEMBERS> members; ///< the first `count` of them
    int count = 0;
};
