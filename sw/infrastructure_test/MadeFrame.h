// Frames of noise with all that belongs to them, and the words of a link that carries them.
#pragma once

#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/analysis/FrameReader.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"

#include <QStringList>

#include <random>
#include <utility>
#include <vector>

using FrameWords = std::vector<quint32>;

/// What one stream has of a field: its lines without the other streams'.
inline FieldMetrics streamMetrics(const FieldMetrics& metrics, quint32 streams)
{
    const auto narrowed = [streams](const FieldRegion& region) {
        return FieldRegion(region.getFirstSampleIndex() / streams, region.getFirstLineIndex(),
                           region.getWidth() / streams, region.getHeight());
    };
    return {narrowed(metrics.getWholeFieldRegion()), narrowed(metrics.getActivePictureRegion())};
}

/// Fields of blanking alone, without references.
inline std::vector<FrameWords> blankFrame(const FrameLayout& layout)
{
    std::vector<FrameWords> fields;
    for (const FieldMetrics& metrics : layout.fields) {
        fields.emplace_back(metrics.getTotalSamples(), 64 | 512 << 10);
        for (quint32 i = 0; layout.channels == 1 && i < fields.back().size(); ++i) {
            fields.back()[i] = i % 2 == 0 ? 512 : 64;
        }
    }
    return fields;
}

/// Writes what every frame has around its picture, and one ancillary packet in each channel's first
/// line. The frame repeats.
inline void completeFrame(const FrameLayout& layout, std::vector<FrameWords>& fields)
{
    const quint32 streams = layout.streams;
    for (quint32 part = 0; part < streams * layout.channels; ++part) {
        const quint32 stream = part % streams;
        const quint32 shift = 10 * (part / streams);
        std::vector<FrameOperations::Frame> parts;
        for (std::size_t number = 0; number < fields.size(); ++number) {
            const FieldMetrics metrics = streamMetrics(layout.fields[number], streams);
            FrameOperations::Frame words(metrics.getTotalSamples());
            for (std::size_t i = 0; i < words.size(); ++i) {
                words[i] = quint16(fields[number][i * streams + stream] >> shift & 0x3FF);
            }
            FrameOperations::writeTimingReferences(words.data(), words.size(), metrics,
                                                   number != 0);
            if (layout.channels == 2) {
                FrameOperations::writeLineNumbers(words, metrics, true, true);
                if (metrics.getWidth() - metrics.getActiveWidth() >= 8 + 9 + 4) {
                    const quint16 packet[] = {0,     0x3FF, 0x3FF, 0x241, 0x101,
                                              0x102, 3,     0x3FE, 0x2AA};
                    std::copy(std::begin(packet), std::end(packet), words.begin() + 8);
                }
            }
            parts.push_back(std::move(words));
        }
        for (std::size_t number = 0; number < parts.size(); ++number) {
            const FieldMetrics metrics = streamMetrics(layout.fields[number], streams);
            if (layout.channels == 2) {
                const auto& before = number == 0 ? parts.back() : parts[number - 1];
                FrameOperations::writeCrcs(parts[number], metrics,
                                           FrameOperations::lastActiveLine(before, metrics));
            }
            for (std::size_t i = 0; i < parts[number].size(); ++i) {
                quint32& word = fields[number][i * streams + stream];
                word = (word & ~(0x3FFu << shift)) | quint32(parts[number][i]) << shift;
            }
        }
    }
}

/// The words of each field, which repeat: noise in the picture, otherwise the usual values.
inline std::vector<FrameWords> makeFrame(const FrameLayout& layout, quint32 seed = 1)
{
    std::vector<FrameWords> fields = blankFrame(layout);
    quint32 noise = seed;
    const auto next = [&noise] {
        noise = noise * 1664525u + 1013904223u;
        return 4 + (noise >> 16) % 1016;
    };
    for (std::size_t number = 0; number < fields.size(); ++number) {
        const FieldMetrics& metrics = layout.fields[number];
        const quint32 width = metrics.getWidth();
        const quint32 above = metrics.getPrePictureVerticalBlankingRegion().getHeight();
        for (quint32 row = above; row < above + metrics.getActiveHeight(); ++row) {
            for (quint32 i = width - metrics.getActiveWidth(); i < width; ++i) {
                fields[number][row * width + i] =
                    layout.channels == 1 ? next() : next() | next() << 10;
            }
        }
    }
    completeFrame(layout, fields);
    return fields;
}

/// The fields one after another, tagged or not.
inline FrameWords joined(const FrameLayout& layout, const std::vector<FrameWords>& fields,
                         bool isTagged)
{
    FrameWords all;
    for (std::size_t number = 0; number < fields.size(); ++number) {
        ParcelTongue::FieldTagValues values;
        values.value32 = 0xFFFFFFFF;
        values.flagA = true;
        values.tagByteB = 7;
        values.flagC = 7;
        const FrameWords words =
            isTagged ? ParcelTongue::tagField({layout.fields[number], fields[number]}, values)
                     : fields[number];
        all.insert(all.end(), words.begin(), words.end());
    }
    return all;
}

using LinkWords = std::vector<quint16>;

/// The order in which the streams' words follow one another, as the interfaces' standards draw it:
/// stream, and whether it is the chroma.
inline std::vector<std::pair<quint32, bool>> orderOf(quint32 words)
{
    switch (words) {
    case 2:
        return {{0, true}, {0, false}};
    case 4:
        return {{1, true}, {0, true}, {1, false}, {0, false}};
    case 8:
        return {{3, true},  {1, true},  {2, true},  {0, true},
                {3, false}, {1, false}, {2, false}, {0, false}};
    default:
        return {{0, false}};
    }
}

/// The words of a link on which so many come in turn, from the words of its streams in turn.
inline LinkWords linkWords(const FrameWords& store, quint32 words)
{
    const auto order = orderOf(words);
    const quint32 streams = std::max(words / 2, 1u);
    LinkWords link(store.size() / streams * words);
    for (std::size_t turn = 0; turn < words; ++turn) {
        const auto [stream, isChroma] = order[turn];
        const int shift = isChroma ? 10 : 0;
        std::size_t to = turn;
        for (std::size_t i = stream; i < store.size(); i += streams, to += words) {
            link[to] = quint16(store[i] >> shift & 0x3FF);
        }
    }
    return link;
}

/// Small frames: one field and two, one stream and several, with and without spacers.
inline const FrameLayout SMALL[] = {
    {{{FieldRegion(0, 0, 61, 12), FieldRegion(25, 3, 36, 7)}}},
    {{{FieldRegion(0, 0, 64, 9), FieldRegion(24, 2, 40, 5)},
      {FieldRegion(0, 9, 64, 8), FieldRegion(24, 11, 40, 5)}}},
    {{{FieldRegion(0, 0, 300, 9), FieldRegion(44, 2, 256, 5)},
      {FieldRegion(0, 9, 300, 8), FieldRegion(44, 11, 256, 5)}},
     2},
    {{{FieldRegion(0, 0, 2400, 8), FieldRegion(96, 2, 2304, 5)}}, 4},
};

/// What a reader made of words.
struct Reading
{
    FindingList findings;
    std::vector<FrameWords> fields;
    std::vector<quint32> numbers; ///< of the lines
    quint64 frames = 0;
    std::optional<FieldParcelTag> tag;
};

/// A frame once, in pieces of so many words.
inline Reading read(const FrameLayout& layout, const FrameWords& words, bool isTagged,
                    std::size_t piece = 100000)
{
    FrameReaderOptions options;
    options.isTagged = isTagged;
    options.repeats = true;
    FrameReader reader(layout, options);
    Reading reading;
    reading.fields.resize(layout.fields.size());
    reader.setLineReceiver([&](const FrameReader::Line& line) {
        FrameWords& field = reading.fields[std::size_t(line.field)];
        reading.numbers.push_back(line.number);
        field.insert(field.end(), line.blanking, line.blanking + line.blankingCount);
        field.insert(field.end(), line.picture, line.picture + line.pictureCount);
    });
    for (std::size_t i = 0; i < words.size(); i += piece) {
        const FrameWords part(words.begin() + std::ptrdiff_t(i),
                              words.begin() + std::ptrdiff_t(std::min(i + piece, words.size())));
        reader.read(part.data(), part.size());
    }
    reader.finish();
    reading.findings = reader.getFindings();
    reading.frames = reader.getFrameCount();
    reading.tag = reader.getFieldTag();
    return reading;
}

inline QStringList textsOf(const FindingList& findings)
{
    QStringList texts;
    for (const Finding& finding : findings.getFindings()) {
        texts.append(finding.toString());
    }
    return texts;
}
