// An index to the objects of a JSON text (RFC 8259), so that a whole tree can be read from it in
// place.
#pragma once

#include "infrastructure/datacore/PlainJson_p.h"

#include <QVarLengthArray>

/// Where the members of a text's objects are, in the order of their keys. It takes what trees are
/// written as, by this library and by others: keys in any order, of printable ASCII without
/// escapes; whole numbers of up to nine digits; white space; any strings. All other text, bad text
/// and text with a key twice included, is left to parseJson, which gives the same for what is
/// taken.
///
/// Takes 24 bytes for each member, except for objects within arrays, which are checked and
/// forgotten. A view: the text must outlive it.
class JsonTextIndex
{
public:
    /// What `next` and `firstMember` say where there is none.
    static constexpr int NONE = -1;

    /// A member of an object. Positions are bytes from the start of the text.
    struct Member
    {
        int keyStart;
        int keySize;
        int valueStart;
        int valueSize;
        int firstMember; ///< of the value, if that is an object; for a string see isEscaped
        int next;        ///< the member with the next key
    };

    /// Checks and indexes the text. False unless it is an object of the kind that is taken.
    bool read(const char* jsonText, int size);

    /// The first member of the whole text's object; null if it is empty.
    const Member* first() const { return get(firstOfAll); }
    /// The next member in the order of keys, and the first one of a member's value; null if there
    /// is none.
    const Member* next(const Member& member) const { return get(member.next); }
    const Member* firstOf(const Member& member) const
    {
        return isEscaped(member) ? nullptr : get(member.firstMember);
    }

    QLatin1String getKey(const Member& member) const
    {
        return QLatin1String(text + member.keyStart, member.keySize);
    }
    /// True for a string that is not as it stands in the text, but has escapes or is not ASCII.
    static bool isEscaped(const Member& member) { return member.firstMember == ESCAPED; }
    /// The value. For a string that is escaped, getString has its characters.
    PlainJsonValue getValue(const Member& member) const
    {
        return PlainJsonValue(text + member.valueStart, member.valueSize);
    }
    QString getString(const Member& member) const;

private:
    friend class JsonTextScanner;

    static constexpr int ESCAPED = -2; ///< as firstMember

    const Member* get(int place) const { return place < 0 ? nullptr : &members[place]; }

    const char* text = nullptr;
    int firstOfAll = NONE;
    QVarLengthArray<Member, 16> members;
};
