// Converts a position in the reconstructed active picture to where that sample is carried in the
// stream, and back. Static and pure; any thread.
//
// Normative references: SMPTE ST 425-1 (levels and mappings of 3 Gb/s), ST 425-5 (two-sample
// interleave and square division).
#pragma once

#include "infrastructure/utility/video/analysis/ActivePictureRaster.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

/// The two directions are exact inverses: over the whole active picture, and over every line and
/// sample of the stream. Samples in blanking have positions outside the picture, as drawn in
/// ActivePictureRaster. On an extended standard, one with two samples a pixel, the way back gives
/// the first of the pixel's samples.
///
/// If an operation is given `forceDivision`, it uses `division` instead of the standard's own. A
/// standard without active lines throws std::out_of_range.
class ActivePictureCursor
{
public:
    /// One sample, in the picture and in the stream.
    struct CursorPosition
    {
        /// In the reconstructed picture, which is surrounded by blanking.
        struct Active
        {
            qint32 line = 0;   ///< from 1
            qint32 sample = 0; ///< from 0
            qint32 field = 0;  ///< 1 or 2 if the lines are carried in two fields, otherwise 0
        };
        /// In the stream, counted as the digital interface does.
        struct Source
        {
            qint32 line = 0; ///< from 1
            /// The same sample's line number in the other level B link; 0 when there is none.
            qint32 lineInOtherLevelBLink = 0;
            qint32 sample = 0; ///< from 0, the first of the active picture
            qint32 link = 0;   ///< sub-image or link, from 0
        };

        Active activePosition;
        Source sourcePosition;
    };

    /// The sub-image of a position: x counts pixels and y picture lines, both from 0. A quadrant is
    /// half the picture in each direction. `hasSubImages` may be null.
    ///
    /// Square division of 3840x2160: 1920, 0 => SubImage2. Two-sample interleave: 2, 1 =>
    /// SubImage4.
    static Tessorn::Sdi::SubImage determineSubImageFromActivePicturePosition(
        const Tessorn::Types::PixelCoordinates& position,
        const StandardFromPayloadIdentifier& standard, bool* hasSubImages,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// The position within its sub-image, counted likewise; 0, 0 without division.
    static Tessorn::Types::PixelCoordinates determineActivePictureCoordinatesInSubImage(
        const Tessorn::Types::PixelCoordinates& position,
        const StandardFromPayloadIdentifier& standard, Tessorn::Sdi::SubImage subImage,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// In the form that the standard uses: level B line interleaved, otherwise level A.
    static CursorPosition cursorPositionFromActivePicturePosition(
        qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// The field follows from the line; the given one is ignored.
    static CursorPosition cursorPositionFromActivePicturePositionLevelA(
        qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// In the line interleaved form of level B, whatever form the standard uses. The field is
    /// passed on.
    static CursorPosition cursorPositionFromActivePicturePositionLevelBli(
        qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// In the form that the standard uses: level B line interleaved, otherwise level A.
    ///
    /// The result's source position is the given one. On a line interleaved standard the line may
    /// be that of either link; the other line is worked out from it, whatever is given.
    static CursorPosition cursorPositionFromSourcePosition(
        qint32 line, qint32 lineInOtherLevelBLink, qint32 sample, qint32 link,
        const StandardFromPayloadIdentifier& standard, bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// The same in the form of level A, whatever form the standard uses.
    static CursorPosition cursorPositionFromSourcePositionLevelA(
        qint32 line, qint32 lineInOtherLevelBLink, qint32 sample, qint32 link,
        const StandardFromPayloadIdentifier& standard, bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// The same in the line interleaved form of level B.
    static CursorPosition cursorPositionFromSourcePositionLevelBli(
        qint32 line, qint32 lineInOtherLevelBLink, qint32 sample, qint32 link,
        const StandardFromPayloadIdentifier& standard, bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// Of the stream: line 1, sample 0, link 0.
    static CursorPosition getFirstCursorPosition(const StandardFromPayloadIdentifier& standard);
    /// Of the stream: the last line, sample and link.
    static CursorPosition getLastCursorPosition(const StandardFromPayloadIdentifier& standard);

    /// Compares active line and sample, and line, link and sample in the stream. On an extended
    /// standard both samples of a pixel are one position.
    static bool areCursorPositionsEqual(const CursorPosition& a, const CursorPosition& b,
                                        const StandardFromPayloadIdentifier& standard);
};
