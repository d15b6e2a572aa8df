// The peers that are loops anyone would write, for the benchmarks and for the figures of the
// target.
#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>

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

} // namespace bench
