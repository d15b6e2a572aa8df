// Frames of noise with all that belongs to them, and the words of a link that carries them.
#pragma once

#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/analysis/FrameReader.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"

#include <random>

using StoreWords = std::vector<quint32>;

/// What one stream has of a field: its lines without the other streams'.
inline FieldMetrics streamMetrics(const FieldMetrics& metrics, quint32 streams)
{
    const auto narrowed = [streams](const FieldRegion& region) {
        return FieldRegion(region.getFirstSampleIndex() / streams, region.getFirstLineIndex(),
                           region.getWidth() / streams, region.getHeight());
    };
    return {narrowed(metrics.getWholeFieldRegion()), narrowed(metrics.getActivePictureRegion())};
}

/// The words of each field, which repeat. Blanking holds the usual values, and one ancillary packet
/// in each channel's first line.
inline std::vector<StoreWords> makeFrame(const FrameLayout& layout, quint32 seed = 1)
{
    quint32 noise = seed;
    const auto next = [&noise] { return noise = noise * 1664525u + 1013904223u; };
    std::vector<StoreWords> fields;
    for (const FieldMetrics& metrics : layout.fields) {
        fields.emplace_back(metrics.getTotalSamples());
    }
    for (quint32 stream = 0; stream < layout.streams; ++stream) {
        for (quint32 channel = 0; channel < layout.channels; ++channel) {
            std::vector<FrameOperations::Frame> parts;
            for (std::size_t number = 0; number < fields.size(); ++number) {
                const FieldMetrics metrics = streamMetrics(layout.fields[number], layout.streams);
                FrameOperations::Frame part(metrics.getTotalSamples(), channel == 0 ? 64 : 512);
                const FieldRegion active = metrics.getActivePictureRegion();
                const quint32 width = metrics.getWidth();
                for (quint32 i = 0; layout.channels == 1 && i < part.size(); i += 2) {
                    part[i] = 512;
                }
                for (quint32 i = 0; i < part.size(); ++i) {
                    if (active.contains(
                            i % width,
                            active.getFirstLineIndex() -
                                metrics.getPrePictureVerticalBlankingRegion().getHeight() +
                                i / width)) {
                        part[i] = static_cast<quint16>(4 + (next() >> 16) % 1016);
                    }
                }
                FrameOperations::writeTimingReferences(part.data(), part.size(), metrics,
                                                       number != 0);
                if (layout.channels == 2) {
                    FrameOperations::writeLineNumbers(part, metrics, true, true);
                    if (active.getFirstSampleIndex() >= 8 + 9 + 4) {
                        const quint16 packet[] = {0,     0x3FF, 0x3FF, 0x241, 0x101,
                                                  0x102, 3,     0x3FE, 0x2AA};
                        std::copy(std::begin(packet), std::end(packet), part.begin() + 8);
                    }
                }
                parts.push_back(std::move(part));
            }
            for (std::size_t number = 0; number < parts.size(); ++number) {
                const FieldMetrics metrics = streamMetrics(layout.fields[number], layout.streams);
                if (layout.channels == 2) {
                    const auto& before = number == 0 ? parts.back() : parts[number - 1];
                    FrameOperations::writeCrcs(parts[number], metrics,
                                               FrameOperations::lastActiveLine(before, metrics));
                }
                for (std::size_t i = 0; i < parts[number].size(); ++i) {
                    fields[number][i * layout.streams + stream] |= quint32(parts[number][i])
                                                                   << (10 * channel);
                }
            }
        }
    }
    return fields;
}

/// The fields one after another, tagged or not.
inline StoreWords joined(const FrameLayout& layout, const std::vector<StoreWords>& fields,
                         bool isTagged)
{
    StoreWords all;
    for (std::size_t number = 0; number < fields.size(); ++number) {
        ParcelTongue::FieldTagValues values;
        values.value32 = 0xFFFFFFFF;
        values.flagA = true;
        values.tagByteB = 7;
        values.flagC = 7;
        const StoreWords words =
            isTagged ? ParcelTongue::tagField({layout.fields[number], fields[number]}, values)
                     : fields[number];
        all.insert(all.end(), words.begin(), words.end());
    }
    return all;
}
