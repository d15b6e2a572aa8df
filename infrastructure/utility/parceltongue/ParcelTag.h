// The base of all tags. A value.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTongue.h"

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <vector>

/// A header and a footer, without what stands between them. The functions here give the words as a
/// vector; each class also has its own that give them as an array, without allocating.
class ParcelTag
{
public:
    virtual ~ParcelTag() = default;

    /// These are the words before what the tag encloses, and those after it.
    virtual std::vector<quint32> getHeaderWords() const = 0;
    virtual std::vector<quint32> getFooterWords() const = 0;

    quint8 getTagType() const { return tagType; }
    quint8 getTagByteA() const { return tagByteA; }
    quint8 getTagByteB() const { return tagByteB; }

protected:
    ParcelTag(ParcelTongue::TagType type, quint8 byteA, quint8 byteB)
        : tagType(type)
        , tagByteA(byteA)
        , tagByteB(byteB)
    {
    }
    ParcelTag(const ParcelTag&) = default;
    ParcelTag& operator=(const ParcelTag&) = default;

    /// The first word of a header or footer of `count` words.
    quint32 headWord(ParcelTongue::WordKind kind, quint32 count) const
    {
        return kind << 30 | (tagType & 0x3Fu) << 24 | quint32(tagByteA) << 16 |
               quint32(tagByteB) << 8 | (count & 0xFu);
    }

    /// The words of an array, for the functions above.
    template <std::size_t count>
    static std::vector<quint32> toVector(const std::array<quint32, count>& words)
    {
        return {words.begin(), words.end()};
    }

private:
    quint8 tagType;
    quint8 tagByteA;
    quint8 tagByteB;
};
