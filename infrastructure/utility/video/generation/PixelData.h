// Pixels of a source image as runs of 16-bit words, and a picture made of them. Values; the order
// of the words in a pixel is fixed.
//
//   form              words: 0    1    2    3
//   PixelDataARGB            R    G    B    A
//   PixelDataRGB             R    G    B
//   PixelDataAYCrCb          Cr   Y    Cb   A
//   PixelDataYCbCr           Y    Cb   Cr
#pragma once

#include <QtGlobal>

#include <cstddef>

namespace Tessorn {
namespace Types {

/// Which of the four forms a picture's pixels have.
enum PixelFormat : quint32 {
    PixelFormat_ARGB = 0,
    PixelFormat_RGB = 1,
    PixelFormat_AYCrCb = 2,
    PixelFormat_YCbCr = 3,
};

/// True for the forms of luma and colour differences.
constexpr bool isYCbCr(PixelFormat format)
{
    return format == PixelFormat_AYCrCb || format == PixelFormat_YCbCr;
}

/// Words of a pixel of this form; 0 for a number that is none.
constexpr std::size_t getWordsOfPixel(PixelFormat format)
{
    switch (format) {
    case PixelFormat_ARGB:
    case PixelFormat_AYCrCb:
        return 4;
    case PixelFormat_RGB:
    case PixelFormat_YCbCr:
        return 3;
    }
    return 0;
}

/// Red, green and blue with alpha, in this order of words.
struct PixelDataARGB
{
    static constexpr PixelFormat FORMAT = PixelFormat_ARGB;
    quint16 r = 0;
    quint16 g = 0;
    quint16 b = 0;
    quint16 a = 0;
};

/// Red, green and blue.
struct PixelDataRGB
{
    static constexpr PixelFormat FORMAT = PixelFormat_RGB;
    quint16 r = 0;
    quint16 g = 0;
    quint16 b = 0;
};

/// Luma between the colour differences, then alpha.
struct PixelDataAYCrCb
{
    static constexpr PixelFormat FORMAT = PixelFormat_AYCrCb;
    quint16 cr = 0;
    quint16 y = 0;
    quint16 cb = 0;
    quint16 a = 0;
};

/// Luma and the colour differences.
struct PixelDataYCbCr
{
    static constexpr PixelFormat FORMAT = PixelFormat_YCbCr;
    quint16 y = 0;
    quint16 cb = 0;
    quint16 cr = 0;
};

// Pictures are runs of words, so a pixel may hold nothing but its words.
static_assert(sizeof(PixelDataARGB) == 8 && sizeof(PixelDataAYCrCb) == 8);
static_assert(sizeof(PixelDataRGB) == 6 && sizeof(PixelDataYCbCr) == 6);

/// A picture in memory that it does not own, line after line without gaps. There must be as many
/// words as format, width and height say.
struct PictureBuffer
{
    PixelFormat format = PixelFormat_ARGB;
    quint32 width = 0;  ///< pixels
    quint32 height = 0; ///< lines
    quint16* words = nullptr;

    /// Width times height; 0 without words.
    constexpr std::size_t getPixelCount() const
    {
        return words != nullptr ? std::size_t(width) * height : 0;
    }
};

/// Pixels of one form, one after the other, in memory that it does not own.
struct PixelRun
{
    /// The pixels of an array. `Pixel` is one of the four structures.
    template <typename Pixel>
    PixelRun(const Pixel* pixels, std::size_t pixelCount)
        : format(Pixel::FORMAT)
        , words(reinterpret_cast<const quint16*>(pixels))
        , count(pixelCount)
    {
    }

    /// The pixels of a picture, line after line.
    PixelRun(const PictureBuffer& picture)
        : format(picture.format)
        , words(picture.words)
        , count(picture.getPixelCount())
    {
    }

    PixelFormat format;
    const quint16* words;
    std::size_t count; ///< pixels
};

/// The same to write to.
struct PixelSpan
{
    /// The pixels of an array. `Pixel` is one of the four structures.
    template <typename Pixel>
    PixelSpan(Pixel* pixels, std::size_t pixelCount)
        : format(Pixel::FORMAT)
        , words(reinterpret_cast<quint16*>(pixels))
        , count(pixelCount)
    {
    }

    /// The pixels of a picture, line after line.
    PixelSpan(const PictureBuffer& picture)
        : format(picture.format)
        , words(picture.words)
        , count(picture.getPixelCount())
    {
    }

    PixelFormat format;
    quint16* words;
    std::size_t count; ///< pixels
};

constexpr bool operator==(const PixelDataAYCrCb& a, const PixelDataAYCrCb& b)
{
    return a.cr == b.cr && a.y == b.y && a.cb == b.cb && a.a == b.a;
}
constexpr bool operator!=(const PixelDataAYCrCb& a, const PixelDataAYCrCb& b)
{
    return !(a == b);
}

constexpr bool operator==(const PixelDataYCbCr& a, const PixelDataYCbCr& b)
{
    return a.y == b.y && a.cb == b.cb && a.cr == b.cr;
}
constexpr bool operator!=(const PixelDataYCbCr& a, const PixelDataYCbCr& b)
{
    return !(a == b);
}

constexpr bool operator==(const PixelDataARGB& a, const PixelDataARGB& b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}
constexpr bool operator!=(const PixelDataARGB& a, const PixelDataARGB& b)
{
    return !(a == b);
}

constexpr bool operator==(const PixelDataRGB& a, const PixelDataRGB& b)
{
    return a.r == b.r && a.g == b.g && a.b == b.b;
}
constexpr bool operator!=(const PixelDataRGB& a, const PixelDataRGB& b)
{
    return !(a == b);
}

} // namespace Types
} // namespace Tessorn
