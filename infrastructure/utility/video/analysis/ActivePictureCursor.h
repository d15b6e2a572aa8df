// From a position in the reconstructed active picture to the place where that sample travels in the
// stream, and back. Static and pure; any thread.
//
// Normative references: SMPTE ST 425-1 (levels and mappings of 3 Gb/s), ST 425-5 (two-sample
// interleave and square division).
#pragma once

#include "infrastructure/utility/video/analysis/ActivePictureRaster.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

/// Both ways are exact inverses: over the whole active picture, and over every line and sample of
/// the stream. What lies in blanking has a position outside the picture, as ActivePictureRaster
/// draws it. On an extended standard, one with two samples a pixel, the way back ends at the first
/// of the pixel's samples.
///
/// Where an operation takes `forceDivision`, that makes `division` count in place of the standard's
/// own. A standard without active lines ends in std::out_of_range.
class ActivePictureCursor
{
public:
    /// One sample, in the picture and in the stream.
    struct CursorPosition
    {
        /// In the reconstructed picture; blanking lies around it.
        struct Active
        {
            qint32 line = 0;   ///< from 1
            qint32 sample = 0; ///< from 0
            qint32 field = 0;  ///< 1 or 2 where the lines travel in two fields, otherwise 0
        };
        /// In the stream, as the digital interface counts.
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
    /// half the picture either way. `hasSubImages` may be null.
    ///
    /// Square division of 3840x2160: 1920, 0 => SubImage2. Two-sample interleave: 2, 1 =>
    /// SubImage4.
    static Tessorn::Sdi::SubImage determineSubImageFromActivePicturePosition(
        const Tessorn::Types::PixelCoordinates& position,
        const StandardFromPayloadIdentifier& standard, bool* hasSubImages,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// The position inside its sub-image, counted likewise; 0, 0 without division.
    static Tessorn::Types::PixelCoordinates determineActivePictureCoordinatesInSubImage(
        const Tessorn::Types::PixelCoordinates& position,
        const StandardFromPayloadIdentifier& standard, Tessorn::Sdi::SubImage subImage,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// By the form that the standard takes: level B line interleaved, or else level A.
    static CursorPosition cursorPositionFromActivePicturePosition(
        qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// The field follows from the line; the one given is not looked at.
    static CursorPosition cursorPositionFromActivePicturePositionLevelA(
        qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// In the line interleaved form of level B, whatever form the standard takes. The field is
    /// passed on.
    static CursorPosition cursorPositionFromActivePicturePositionLevelBli(
        qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
        bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);

    /// By the form that the standard takes: level B line interleaved, or else level A.
    ///
    /// The source position of the result is the one given. On a line interleaved standard the line
    /// may be that of either link; the other one follows from it, whatever is given.
    static CursorPosition cursorPositionFromSourcePosition(
        qint32 line, qint32 lineInOtherLevelBLink, qint32 sample, qint32 link,
        const StandardFromPayloadIdentifier& standard, bool forceDivision = false,
        Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None);
    /// The same in the form of level A, whatever form the standard takes.
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
