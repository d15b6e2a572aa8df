// Where the members of a JSON object stand in its text: the part of a packet's content that saves
// it from being parsed.
#pragma once

#include <QLatin1String>

#include <array>

class PlainJsonValue;

/// Where the members of an object stand in its text. It holds no pointers: the text may move.
class PlainJsonIndex
{
public:
    static constexpr int MAX_MEMBERS = 6;

    /// Checks the text. False, with the index empty, unless it is a plain object of at most
    /// MAX_MEMBERS members.
    bool read(const char* text, int size);
    /// The value under the key in the text that was read; missing where there is none.
    PlainJsonValue find(const char* text, QLatin1String key) const;

private:
    struct Member
    {
        int keyStart; ///< from the start of the text
        int keySize;
        int valueStart;
        int valueSize;
    };

    std::array<Member, MAX_MEMBERS> members{};
    int count = 0;
};
