// Puts the tags of ParcelTongue around the samples of a field or a frame, and finds a sample among
// them. Pure functions over values.
//
//   field header
//     line header | blanking header, blanking, footer | picture header, picture, footer |
//     line footer | spacers up to a multiple of 8 words         (a line of the picture)
//     line header | vertical blanking header, line, footer |
//     line footer | spacers up to a multiple of 8 words         (any other line)
//   field footer, spacers up to a multiple of 16 words
#pragma once

#include "infrastructure/utility/video/metrics/FieldMetrics.h"

#include <vector>

namespace ParcelTongue {

/// One field: its samples in store order, or the tagged words that replaced them.
struct Field
{
    FieldMetrics metrics;
    std::vector<quint32> words;
    bool isTagged = false;
};

/// The fields of one part of a frame.
struct Section
{
    std::vector<Field> fields;
};

/// What a field's tag contains besides its metrics.
struct FieldTagValues
{
    quint32 value32 = 0;
    bool flagA = false;
    bool flagB = false;
    quint32 value4 = 0;
    quint32 flagC = 0; ///< the lowest bit goes to the field, the lowest byte to the spacers
    quint8 tagByteB = 0;
};

/// The number of lines that a field's tag gives for the whole frame.
constexpr quint32 TOTAL_LINES = 1125;

/// The number of words of a field with all its tags.
quint64 getTaggedSize(const FieldMetrics& metrics);

/// The index, among the tagged words, of the sample at `index` of the untagged field. Takes
/// constant time. Arithmetic is modulo 2^32.
quint32 getTaggedIndex(const FieldMetrics& metrics, quint32 index);

/// The field's words between their tags, in one allocation. A field is returned unchanged if it is
/// already tagged, if its number of samples does not match its metrics, or if its picture is wider
/// than its lines; the latter two are logged at level err.
std::vector<quint32> tagField(const Field& field, const FieldTagValues& values);

/// Tags each field that can be tagged, in place, and marks it. The section's number, from 0,
/// becomes `flagC` and `tagByteB` of its fields.
///
/// `values` supplies `value32`. Each field has its part: the size of `values` divided by the number
/// of sections and then of fields in its section, rounded down each time. The parts follow each
/// other, and each field takes the first value of its own. An empty list gives 0.
void tagFrame(std::vector<Section>& sections, const std::vector<quint32>& values, bool flagA,
              bool flagB, quint32 value4);

} // namespace ParcelTongue
