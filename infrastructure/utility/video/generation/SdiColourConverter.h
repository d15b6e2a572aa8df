// Converts pixels from R'G'B' to Y'CbCr and back, with a matrix of doubles and the range of the bit
// depth. Pure functions except for log lines.
//
// The matrices are the instrument's own settings; behind them stand ITU-R BT.601, BT.709-6 clause 3
// and BT.2020-2 table 4. The ranges are those of SMPTE ST 274:2008, clause 7.
#pragma once

#include "infrastructure/utility/video/generation/PixelData.h"
#include "infrastructure/utility/video/PayloadIdVocabulary.h"

#include <array>
#include <vector>

/// The range of R'G'B' results.
enum RgbRange {
    RgbRange_Narrow, ///< as convertRgbToYCbCr takes it: black at 64, white at 940 in 10 bits
    RgbRange_Full,   ///< for pictures: from 0 to all ones
};

/// Results are those of the arithmetic in doubles to the last bit, on every machine.
///
/// A component v counts as (v / 4 - 16) / 219 at 10 bits and (v / 16 - 16) / 219 at 12 bits,
/// whether the target's range is full or narrow. A result is rounded, saturated to 16 bits and then
/// clamped:
///
///   depth   luma             chroma              luma clamped to  chroma clamped to
///   10FR    y * 1023         c * 1023 + 512      4 to 1019        4 to 1019
///   10      y * 876 + 64     c * 896 + 512       64 to 940        64 to 960
///   12      y * 3504 + 256   c * 3584 + 2048     256 to 3760      256 to 3840
///   12FR    y * 4095         c * 4095 + 2048     not clamped      not clamped
///
/// The way back takes y * 876 and c * 896, by the same table, through a matrix to R'G'B' from 0 to
/// 1023, which is scaled to the range and depth of the result, rounded and clamped: to 4 to 1019,
/// or 16 to 4079 at 12 bits, in narrow range.
class SdiColourConverter
{
public:
    /// Row by row; the rows give Y, Cb, Cr, or R, G, B.
    using Matrix = std::array<double, 9>;

    // clang-format off
    static constexpr Matrix NO_CONVERSION = {
        1.0, 0.0, 0.0,
        0.0, 1.0, 0.0,
        0.0, 0.0, 1.0};
    static constexpr Matrix RGB_TO_YCRCB_REC2020 = {
         0.2627,       0.678,       0.0593,
        -0.139630063, -0.360369937, 0.5,
         0.5,         -0.4597857,  -0.0402143};
    static constexpr Matrix RGB_TO_YCRCB_REC709 = {
         0.2126,       0.7152,       0.0722,
        -0.114572106, -0.385427894,  0.5,
         0.5,         -0.454152908, -0.045847092};
    static constexpr Matrix RGB_TO_YCRCB_REC601 = {
         0.299,  0.587,  0.114,
        -0.173, -0.339,  0.5,
         0.511, -0.428, -0.083};
    static constexpr Matrix YCBCR_TO_RGB_REC709 = {
        1.1678,  0.0,     1.7993,
        1.1678, -0.2138, -0.5345,
        1.1678,  2.1186,  0.0};
    static constexpr Matrix YCBCR_TO_RGB_REC601 = {
        1.1678,  0.0,     1.6007,
        1.1678, -0.393,  -0.9159,
        1.1678,  2.0252,  0.0};
    // clang-format on

    /// For Rec.709, Rec.2020 and Rec.601. Anything else is logged at level err and gives
    /// NO_CONVERSION.
    static const Matrix& getRgbToYCbCrMatrix(Tessorn::Sdi::PayloadId::Colourimetry colourimetry);
    /// For Rec.709 and Rec.601. Anything else is logged at level err and gives NO_CONVERSION.
    static const Matrix& getYCbCrToRgbMatrix(Tessorn::Sdi::PayloadId::Colourimetry colourimetry);

    /// The inverse of getRgbToYCbCrMatrix, for all three, in the scale of the constants above.
    /// Their figures differ from it: those of Rec.709 by a thousandth, those of Rec.601 by a tenth.
    /// Anything else is logged at level err and gives NO_CONVERSION.
    static const Matrix& getInverseMatrix(Tessorn::Sdi::PayloadId::Colourimetry colourimetry);

    // A colourimetry without matrix is logged, and converted with NO_CONVERSION. For a number that
    // is not a depth nothing is converted: there is a log line at level err, and the output stays
    // as it was.

    /// In place: the words hold their component in the upper bits, the results in the lower ones.
    /// ARGB becomes AYCrCb with the fourth word unchanged, RGB becomes YCbCr; the format is
    /// updated. Any other format is left alone.
    static void convertRgbToYCbCr(Tessorn::Types::PictureBuffer& picture,
                                  Tessorn::Sdi::PayloadId::Colourimetry colourimetry,
                                  Tessorn::Sdi::PayloadId::BitDepth depth);

    /// The components are in the lower bits. The vector is cleared first; A is 64 in each of its
    /// pixels.
    static void convertRgbToYCbCr(const Tessorn::Types::PixelDataARGB* pixels,
                                  std::size_t pixelCount,
                                  Tessorn::Sdi::PayloadId::Colourimetry colourimetry,
                                  Tessorn::Sdi::PayloadId::BitDepth depth,
                                  std::vector<Tessorn::Types::PixelDataAYCrCb>& converted);

    /// The components are in the lower bits. The vector is cleared first.
    static void convertRgbToYCbCr(const Tessorn::Types::PixelDataRGB* pixels,
                                  std::size_t pixelCount,
                                  Tessorn::Sdi::PayloadId::Colourimetry colourimetry,
                                  Tessorn::Sdi::PayloadId::BitDepth depth,
                                  std::vector<Tessorn::Types::PixelDataYCbCr>& converted);

    /// Y'CbCr to R'G'B' in place; components and results are in the lower bits. AYCrCb becomes ARGB
    /// with the fourth word unchanged, YCbCr becomes RGB; the format is updated. Any other format
    /// is left alone. A line is a picture of height 1.
    ///
    /// The matrix is one of getInverseMatrix, of getYCbCrToRgbMatrix, or the caller's own.
    static void convertYCbCrToRgb(Tessorn::Types::PictureBuffer& picture, const Matrix& matrix,
                                  Tessorn::Sdi::PayloadId::BitDepth depth, RgbRange range);

    /// Any pixels to 16 bits, full range and opaque, in the layout of QImage::Format_RGBA64: for
    /// pictures to look at. Y'CbCr goes through the matrix; R'G'B' is expected in the range of luma
    /// of this depth. Components are in the lower bits. `converted` has room for all pixels.
    /// Results are those of RgbRange_Full with the upper bits repeated below. False if nothing was
    /// written.
    static bool convertToRgba64(Tessorn::Types::PixelRun pixels, const Matrix& matrix,
                                Tessorn::Sdi::PayloadId::BitDepth depth,
                                Tessorn::Types::PixelDataARGB* converted);
};
