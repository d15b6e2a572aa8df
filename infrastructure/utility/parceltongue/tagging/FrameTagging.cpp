#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/parceltongue/tags/FieldParcelTag.h"
#include "infrastructure/utility/parceltongue/tags/LineParcelTag.h"
#include "infrastructure/utility/parceltongue/tags/SectionParcelTags.h"
#include "infrastructure/utility/parceltongue/tags/SpacerParcelTag.h"

#include <algorithm>
#include <optional>

namespace ParcelTongue {

namespace {

using Words = std::vector<quint32>;

constexpr quint32 FIELD_HEADER = FieldParcelTag::NUM_WORDS_IN_HEADER_TAG();
constexpr quint32 FIELD_FOOTER = FieldParcelTag::NUM_WORDS_IN_FOOTER_TAG();
constexpr quint32 LINE_HEADER = LineParcelTag::NUM_WORDS_IN_HEADER_TAG();
constexpr quint32 LINE_FOOTER = LineParcelTag::NUM_WORDS_IN_FOOTER_TAG();
constexpr quint32 SECTION_HEADER = ActivePictureParcelTag::NUM_WORDS_IN_HEADER_TAG();
constexpr quint32 SECTION_FOOTER = ActivePictureParcelTag::NUM_WORDS_IN_FOOTER_TAG();

/// The words between the blanking of a line and its picture.
constexpr quint32 BETWEEN_SECTIONS = SECTION_FOOTER + SECTION_HEADER;
constexpr quint32 LINE_TAGS = LINE_HEADER + SECTION_HEADER + SECTION_FOOTER + LINE_FOOTER;

constexpr quint32 LINE_MULTIPLE = 8;
constexpr quint32 FIELD_MULTIPLE = 16;

// So a line's spacers depend on its width alone.
static_assert(FIELD_HEADER % LINE_MULTIPLE == 0 && LINE_TAGS % LINE_MULTIPLE == 0 &&
                  BETWEEN_SECTIONS % LINE_MULTIPLE == 0,
              "tags leave the alignment of lines alone");

template <typename Count>
constexpr Count roundUp(Count words, quint32 multiple)
{
    return (words + multiple - 1) / multiple * multiple;
}

/// How many of the first `lines` lines have picture.
quint64 pictureLinesAmong(const FieldMetrics& metrics, quint64 lines)
{
    const quint64 above = metrics.getPrePictureVerticalBlankingRegion().getHeight();
    return lines > above ? std::min<quint64>(lines - above, metrics.getActiveHeight()) : 0;
}

/// The number of words of the first `lines` lines of a field, tags included.
quint64 taggedLines(const FieldMetrics& metrics, quint64 lines)
{
    return lines * (roundUp<quint64>(metrics.getWidth(), LINE_MULTIPLE) + LINE_TAGS) +
           pictureLinesAmong(metrics, lines) * BETWEEN_SECTIONS;
}

bool isPictureLine(const FieldMetrics& metrics, quint64 line)
{
    return pictureLinesAmong(metrics, line + 1) != pictureLinesAmong(metrics, line);
}

/// The size with all tags, if the field can be tagged.
std::optional<std::size_t> sizeIfTaggable(const Field& field)
{
    const FieldMetrics& metrics = field.metrics;
    if (field.isTagged) {
        return std::nullopt;
    }
    const quint64 samples = quint64(metrics.getWidth()) * metrics.getHeight();
    if (samples != field.words.size()) {
        VELLOG_ERR() << "Field of " << field.words.size() << " samples is not tagged, expected "
                     << samples;
        return std::nullopt;
    }
    if (metrics.getWidth() == 0 && metrics.getHeight() != 0) {
        VELLOG_ERR() << "Field of " << metrics.getHeight() << " empty lines is not tagged";
        return std::nullopt;
    }
    const quint64 size = getTaggedSize(metrics);
    if (metrics.getActiveWidth() > metrics.getWidth() || size > field.words.max_size()) {
        VELLOG_ERR() << "Field is not tagged, active width " << metrics.getActiveWidth()
                     << ", line width " << metrics.getWidth() << ", tagged size " << size;
        return std::nullopt;
    }
    return static_cast<std::size_t>(size);
}

void append(Words& out, const quint32* words, quint32 count)
{
    out.insert(out.end(), words, words + count);
}

template <std::size_t count>
void append(Words& out, const std::array<quint32, count>& words)
{
    out.insert(out.end(), words.begin(), words.end());
}

template <std::size_t a, std::size_t b>
std::array<quint32, a + b> join(const std::array<quint32, a>& first,
                                const std::array<quint32, b>& second)
{
    std::array<quint32, a + b> both;
    std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), both.begin()));
    return both;
}

/// Appends the lines of a field; tags that are the same for all of them are made only once.
class LineWriter
{
public:
    LineWriter(const FieldMetrics& metrics, const SpacerParcelTag& spacerTag)
        : width(metrics.getWidth())
        , blanking(metrics.getWidth() - metrics.getActiveWidth())
        , spacer(spacerTag.getWord())
    {
    }

    void appendBlankingLine(Words& out, quint32 lineNumber, const quint32* samples) const
    {
        append(out, join(LineParcelTag(lineNumber, 0, 0).getHeader(), beforeBlankingLine));
        append(out, samples, width);
        finishLine(out, afterBlankingLine);
    }

    void appendPictureLine(Words& out, quint32 lineNumber, const quint32* samples) const
    {
        append(out, join(LineParcelTag(lineNumber, 0, 0).getHeader(), beforeBlanking));
        append(out, samples, blanking);
        append(out, betweenSections);
        append(out, samples + blanking, width - blanking);
        finishLine(out, afterPicture);
    }

private:
    using Tag = std::array<quint32, 4>;
    using TwoTags = std::array<quint32, 8>;

    void finishLine(Words& out, const TwoTags& footers) const
    {
        append(out, footers);
        out.resize(roundUp(out.size(), LINE_MULTIPLE), spacer);
    }

    quint32 width;
    quint32 blanking;
    quint32 spacer;
    Tag beforeBlankingLine = VerticalBlankingParcelTag().getHeader();
    Tag beforeBlanking = HorizontalBlankingParcelTag().getHeader();
    TwoTags betweenSections =
        join(HorizontalBlankingParcelTag().getFooter(), ActivePictureParcelTag().getHeader());
    TwoTags afterPicture =
        join(ActivePictureParcelTag().getFooter(), LineParcelTag(0, 0, 0).getFooter());
    TwoTags afterBlankingLine =
        join(VerticalBlankingParcelTag().getFooter(), LineParcelTag(0, 0, 0).getFooter());
};

/// `out` must be empty.
void appendField(Words& out, const Field& field, const FieldTagValues& values)
{
    const FieldMetrics& metrics = field.metrics;
    const FieldParcelTag fieldTag(values.value32, metrics.getWidth(), TOTAL_LINES, metrics,
                                  values.flagA, values.flagB, 0, 0, values.flagC, 0, 0,
                                  values.tagByteB, values.value4);
    const SpacerParcelTag spacer(0, static_cast<quint8>(values.flagC & 0xFFu));
    const LineWriter lines(metrics, spacer);

    append(out, fieldTag.getHeader());
    const quint32* samples = field.words.data();
    for (quint32 line = 0; line < metrics.getHeight(); ++line) {
        if (isPictureLine(metrics, line)) {
            lines.appendPictureLine(out, line + 1, samples);
        } else {
            lines.appendBlankingLine(out, line + 1, samples);
        }
        samples += metrics.getWidth();
    }
    append(out, fieldTag.getFooter());
    out.resize(roundUp(out.size(), FIELD_MULTIPLE), spacer.getWord());
}

} // namespace

quint64 getTaggedSize(const FieldMetrics& metrics)
{
    return roundUp(FIELD_HEADER + taggedLines(metrics, metrics.getHeight()) + FIELD_FOOTER,
                   FIELD_MULTIPLE);
}

quint32 getTaggedIndex(const FieldMetrics& metrics, quint32 index)
{
    const quint32 width = metrics.getWidth();
    const quint32 line = width != 0 ? index / width : 0;
    const quint32 sample = index - line * width;
    quint64 tagged = FIELD_HEADER + taggedLines(metrics, line) + LINE_HEADER + SECTION_HEADER;
    if (sample >= width - metrics.getActiveWidth() && isPictureLine(metrics, line)) {
        tagged += BETWEEN_SECTIONS;
    }
    return static_cast<quint32>(tagged + sample);
}

std::vector<quint32> tagField(const Field& field, const FieldTagValues& values)
{
    const std::optional<std::size_t> size = sizeIfTaggable(field);
    if (!size) {
        return field.words;
    }
    Words out;
    out.reserve(*size);
    appendField(out, field, values);
    return out;
}

void tagFrame(std::vector<Section>& sections, const std::vector<quint32>& values, bool flagA,
              bool flagB, quint32 value4)
{
    std::size_t position = 0;
    for (std::size_t number = 0; number < sections.size(); ++number) {
        auto& fields = sections[number].fields;
        for (Field& field : fields) {
            FieldTagValues fieldValues;
            fieldValues.value32 = values.empty() ? 0 : values[position];
            fieldValues.flagA = flagA;
            fieldValues.flagB = flagB;
            fieldValues.value4 = value4;
            fieldValues.flagC = static_cast<quint32>(number);
            fieldValues.tagByteB = static_cast<quint8>(number);
            position += values.size() / sections.size() / fields.size();
            if (sizeIfTaggable(field)) {
                field.words = tagField(field, fieldValues);
                field.isTagged = true;
            }
        }
    }
}

} // namespace ParcelTongue
