// The one place that knows how positions in the active picture and in the stream correspond: the
// figures of a standard, read once, and arithmetic on them. A value; any thread.
#pragma once

#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <QtGlobal>

/// How the lines of a picture are distributed.
enum ActivePictureForm {
    ActivePictureForm_LevelA,
    /// Level B, line interleaved: odd lines of the picture on one stream, even ones on the other,
    /// and both multiplexed sample by sample (SMPTE ST 425-1, SMPTE ST 372).
    ActivePictureForm_LevelBli,
};

/// Every sample of the stream, blanking included, has exactly one position, which leads back to
/// that sample. Blanking has the positions around the picture:
///
/// - Without square division, samples up to the end of the front porch are right of the picture;
///   the others are left of it, at negative samples of the line below. Lines continue above line 1
///   and below the last.
/// - With square division, each quadrant's blanking is outside the whole picture, on the side of
///   that quadrant, and not between quadrants.
///   that quadrant, and not between quadrants.
///
///        line above  | . . . . . . . . . . . . . .
///        a line      | back porch | active picture | front porch |
///                      x < 0        0 ... W - 1      W ...
class ActivePictureRaster
{
public:
    /// In the active picture. Lines from 1, samples from 0; both may lie outside.
    struct Active
    {
        qint64 line = 1;
        qint64 sample = 0;
        qint32 field = 0; ///< 1 or 2 if the lines are carried in fields, otherwise 0
    };

    /// In the stream.
    struct Source
    {
        qint64 line = 1;
        qint64 lineInOtherLevelBLink = 0; ///< 0 when there is none
        qint64 sample = 0;
        qint64 link = 0;
    };

    /// With the given division, whatever the standard's own, and form. Throws std::out_of_range for
    /// a standard without active lines, and for the level B form of one whose lines are all in one
    /// field.
    ActivePictureRaster(const StandardFromPayloadIdentifier& standard,
                        Tessorn::Sdi::SubImageDivision subImageDivision,
                        ActivePictureForm pictureForm);

    /// Level B, and 10-bit samples of the 4:2:2 family.
    static bool isLineInterleaved(const StandardFromPayloadIdentifier& standard);
    /// True if a pixel takes two samples: mapping structures 2 to 4.
    static bool isExtended(const StandardFromPayloadIdentifier& standard);
    /// Pixels and picture lines of a sub-image, or of the picture if the standard has none.
    static QSize getSubImageSize(const StandardFromPayloadIdentifier& standard);

    /// The field of the position is ignored.
    Source toSource(const Active& active) const;
    /// The way back, including the field. On a line interleaved standard the line may be that of
    /// either link. The other link's line is ignored.
    Active toActive(const Source& source) const;

    /// The same sample's line in the other level B link; 0 when there is none.
    qint64 getLineInOtherLevelBLink(qint64 line) const;
    /// 1 or 2 if the lines of the picture are carried in two fields, otherwise 0.
    qint32 getField(qint64 line) const;
    /// Modulo 4, and 0 without division.
    qint64 getLink(qint64 link) const;

private:
    /// Pixel, line and number of a sub-image, or of the picture without division.
    struct Place
    {
        qint64 x;
        qint64 y;
        qint64 link;
    };

    Place split(qint64 x, qint64 y) const;
    Active join(const Place& place) const;
    qint64 lineOf(qint64 y) const;
    qint64 placeLineOf(qint64 line, qint64 parity, qint64 link) const;
    qint64 wrapped(qint64 line) const;
    bool isLeftOfPicture(qint64 x, qint64 link) const;
    bool isSquare() const;

    Tessorn::Sdi::SubImageDivision division;
    bool lineInterleaved;
    qint64 samplesAPixel;       ///< on a line of the stream
    qint64 fields = 1;          ///< that the lines are distributed to in turn
    qint64 linesAStep;          ///< from one line of a field to its next, in lines of a Place
    qint64 firstLines[2] = {};  ///< of each field
    qint64 fieldLines[2] = {};  ///< with blanking; those of the whole frame if it is in one piece
    qint64 otherLinkOffset = 0; ///< lines from one level B link to the other
    qint64 frameLines;
    qint64 width;         ///< pixels of a sub-image
    qint64 height;        ///< lines of a sub-image
    qint64 lineWidth;     ///< pixels, with blanking
    qint64 frontPorchEnd; ///< pixels from the first active one
};
