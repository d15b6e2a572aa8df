// What all tags of ParcelTongue share. ParcelTongue is the framing that turns sample data into a
// self-describing run of 32-bit words: a field, each of its lines, and each stretch of blanking or
// picture stands between a header tag and a footer tag.
//
//   head word     31 30 | 29 ... 24 | 23 ... 16 | 15 ... 8 | 7 ... 4 | 3 ... 0
//                 kind  | type      | byte A    | byte B   | 0       | words in the tag
//   further word  1  1  | content
#pragma once

#include <QtGlobal>

namespace ParcelTongue {

/// The size of every header and footer, except spacers, is a multiple of this.
constexpr quint32 TAG_SIZE_MULTIPLE = 4;

/// The top two bits of a tag's words.
enum WordKind : quint32 {
    WordKind_Header = 1,
    WordKind_Footer = 2,
    WordKind_Further = 3,
};

/// What follows a tag.
enum TagType : quint8 {
    TagType_Field = 1,
    TagType_Line = 2,
    TagType_VerticalBlanking = 3,
    TagType_HorizontalBlanking = 4,
    TagType_ActivePicture = 5,
    TagType_Spacer = 7,
};

/// A further word; the top two bits of `content` must be clear.
constexpr quint32 furtherWord(quint32 content)
{
    return WordKind_Further << 30 | content;
}

/// A further word without content.
constexpr quint32 FILLER_WORD = furtherWord(0);

} // namespace ParcelTongue
