// The peers that are loops anyone would write, for the benchmarks and for the figures of the
// target.
#pragma once

#include "infrastructure/utility/video/generation/PixelData.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

#include <array>
#include <cmath>
#include <vector>

namespace bench {

/// The line CRC by a table: that of a word after zeros, for each of the 1024 words.
class CrcTable
{
public:
    CrcTable()
    {
        for (quint32 word = 0; word < table.size(); ++word) {
            quint32 crc = word;
            for (int bit = 0; bit < 10; ++bit) {
                crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0x23000u : 0u);
            }
            table[word] = crc;
        }
    }

    /// The CRCs of all lines but the first, whose previous line is elsewhere.
    void writeCrcs(quint16* frame, std::size_t words, std::size_t width, std::size_t active) const
    {
        for (std::size_t start = width; start < words; start += width) {
            quint32 crc = 0;
            for (std::size_t i = start - active; i < start + 6; ++i) {
                crc = (crc >> 10) ^ table[(crc ^ frame[i]) & 0x3FF];
            }
            frame[start + 6] = crcWord(crc);
            frame[start + 7] = crcWord(crc >> 9);
        }
    }

private:
    static quint16 crcWord(quint32 bits)
    {
        return static_cast<quint16>((bits & 0x1FF) | ((bits & 0x100) != 0 ? 0 : 0x200));
    }

    std::array<quint32, 1024> table = {};
};

// The mapping modes: each word as in the mapping's table.

using Samples = std::vector<Tessorn::Types::Sdi20BitSample>;

inline Samples plainMode1(const Tessorn::Types::PixelDataYCbCr* pixels, std::size_t count)
{
    Samples samples;
    samples.reserve(count);
    for (std::size_t i = 0; i < count; i += 2) {
        samples.push_back({quint16(pixels[i].y & 0x3FF), quint16(pixels[i].cb & 0x3FF)});
        samples.push_back({quint16(pixels[i + 1].y & 0x3FF), quint16(pixels[i].cr & 0x3FF)});
    }
    return samples;
}

inline Samples plainMode2(const Tessorn::Types::PixelDataYCbCr* pixels, std::size_t count)
{
    Samples samples;
    samples.reserve(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        samples.push_back({pixels[i].y, 64});
        samples.push_back({pixels[i].cr, pixels[i].cb});
    }
    return samples;
}

inline quint16 plainWord(unsigned value)
{
    return static_cast<quint16>(value | ((value & 0x100) != 0 ? 0u : 0x200u));
}

inline Samples plainMode3(const Tessorn::Types::PixelDataYCbCr* pixels, std::size_t count)
{
    Samples samples;
    samples.reserve(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto word = [&](int group) {
            const auto bits = [group](unsigned value) { return (value >> (3 * group)) & 7u; };
            return plainWord(bits(pixels[i].cr) << 6 | bits(pixels[i].y) << 3 | bits(pixels[i].cb));
        };
        samples.push_back({word(3), word(2)});
        samples.push_back({word(1), word(0)});
    }
    return samples;
}

inline Samples plainMode4(const Tessorn::Types::PixelDataYCbCr* pixels, std::size_t count)
{
    Samples samples;
    samples.reserve(2 * count);
    const auto word = [](unsigned six, unsigned alpha, int group) {
        return plainWord((six & 63u) | ((alpha >> (3 * group)) & 7u) << 6);
    };
    const unsigned alpha = 64;
    for (std::size_t i = 0; i < count; i += 2) {
        const unsigned y[] = {pixels[i].y, pixels[i + 1].y};
        const unsigned colour[] = {pixels[i].cb, pixels[i].cr};
        for (int half = 0; half < 2; ++half) {
            samples.push_back({word(y[half] >> 6, alpha, 3), word(colour[half] >> 6, alpha, 2)});
            samples.push_back({word(y[half], alpha, 1), word(colour[half], alpha, 0)});
        }
    }
    return samples;
}

/// R'G'B' to Y'CbCr of Rec. 709 and ten bits, in doubles.
inline void plainColour(const Tessorn::Types::PixelDataRGB* pixels, std::size_t count,
                        std::vector<Tessorn::Types::PixelDataYCbCr>& converted)
{
    const auto limited = [](double value, quint16 highest) {
        return static_cast<quint16>(value < 64 ? 64 : value > highest ? highest : value);
    };
    const auto colour = [&](double value) {
        const double scaled = value * 896;
        return limited(scaled >= 0 ? scaled + 512.5 : std::ceil(scaled - 0.5) + 512, 960);
    };
    converted.clear();
    converted.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double r = (pixels[i].r * 0.25 - 16.0) * 0.0045662100456621;
        const double g = (pixels[i].g * 0.25 - 16.0) * 0.0045662100456621;
        const double b = (pixels[i].b * 0.25 - 16.0) * 0.0045662100456621;
        converted.push_back({limited((r * 0.2126 + g * 0.7152 + b * 0.0722) * 876 + 64.5, 940),
                             colour(r * -0.114572106 + g * -0.385427894 + b * 0.5),
                             colour(r * 0.5 + g * -0.454152908 + b * -0.045847092)});
    }
}

} // namespace bench
