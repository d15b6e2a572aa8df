// The base of all tags. A value.
#pragma once

#include "infrastructure/utility/parceltongue/ParcelTongue.h"

#include <QtGlobal>

#include <array>
#include <cstddef>
#include <vector>

/// A header and a footer with what stands between them left out. Each class gives its words as a
/// vector through these operations, and as an array, without taking memory, through its own.
class ParcelTag
{
public:
    virtual ~ParcelTag() = default;

    /// These are the words ahead of what the tag encloses, and those behind it.
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

    /// The words of an array, for the operations above.
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
