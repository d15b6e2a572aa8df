#include "infrastructure/utility/video/analysis/ActivePictureCursor.h"

#include <numeric>

using namespace Tessorn::Sdi;
using namespace Tessorn::Types;

namespace {

using CursorPosition = ActivePictureCursor::CursorPosition;

SubImageDivision divisionOf(const StandardFromPayloadIdentifier& standard, bool forceDivision,
                            SubImageDivision division)
{
    return forceDivision ? division : standard.getSubImageDivision();
}

ActivePictureForm formOf(const StandardFromPayloadIdentifier& standard)
{
    return ActivePictureRaster::isLineInterleaved(standard) ? ActivePictureForm_LevelBli
                                                            : ActivePictureForm_LevelA;
}

PixelCoordinates quadrantSize(const StandardFromPayloadIdentifier& standard)
{
    const QSize size = ActivePictureRaster::getSubImageSize(standard);
    return {static_cast<quint32>(size.width()), static_cast<quint32>(size.height())};
}

CursorPosition positionOf(const ActivePictureRaster::Active& active,
                          const ActivePictureRaster::Source& source)
{
    return {{static_cast<qint32>(active.line), static_cast<qint32>(active.sample), active.field},
            {static_cast<qint32>(source.line), static_cast<qint32>(source.lineInOtherLevelBLink),
             static_cast<qint32>(source.sample), static_cast<qint32>(source.link)}};
}

} // namespace

SubImage ActivePictureCursor::determineSubImageFromActivePicturePosition(
    const PixelCoordinates& position, const StandardFromPayloadIdentifier& standard,
    bool* hasSubImages, bool forceDivision, SubImageDivision division)
{
    const SubImageDivision wanted = divisionOf(standard, forceDivision, division);
    const bool isSquare = wanted == SubImageDivision_SquareDivision;
    const bool isInterleave = wanted == SubImageDivision_TwoSampleInterleave;
    if (hasSubImages != nullptr) {
        *hasSubImages = isSquare || isInterleave;
    }
    if (isSquare) {
        const PixelCoordinates size = quadrantSize(standard);
        return SubImage((position.x >= size.x ? 1u : 0u) + (position.y >= size.y ? 2u : 0u));
    }
    return isInterleave ? SubImage(position.x % 4 / 2 + position.y % 2 * 2) : SubImage1;
}

PixelCoordinates ActivePictureCursor::determineActivePictureCoordinatesInSubImage(
    const PixelCoordinates& position, const StandardFromPayloadIdentifier& standard,
    SubImage subImage, bool forceDivision, SubImageDivision division)
{
    const bool isRight = subImage == SubImage2 || subImage == SubImage4;
    const bool isLower = subImage == SubImage3 || subImage == SubImage4;
    switch (divisionOf(standard, forceDivision, division)) {
    case SubImageDivision_SquareDivision: {
        const PixelCoordinates size = quadrantSize(standard);
        return {position.x - (isRight ? size.x : 0), position.y - (isLower ? size.y : 0)};
    }
    case SubImageDivision_TwoSampleInterleave:
        return {(position.x - (isRight ? 2 : 0)) / 2 + position.x % 2, position.y / 2};
    default:
        return {};
    }
}

CursorPosition ActivePictureCursor::cursorPositionFromActivePicturePosition(
    qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
    bool forceDivision, SubImageDivision division)
{
    const auto convert = formOf(standard) == ActivePictureForm_LevelBli
                             ? cursorPositionFromActivePicturePositionLevelBli
                             : cursorPositionFromActivePicturePositionLevelA;
    return convert(line, sample, field, standard, forceDivision, division);
}

CursorPosition ActivePictureCursor::cursorPositionFromActivePicturePositionLevelA(
    qint32 line, qint32 sample, qint32 /*field*/, const StandardFromPayloadIdentifier& standard,
    bool forceDivision, SubImageDivision division)
{
    const ActivePictureRaster raster(standard, divisionOf(standard, forceDivision, division),
                                     ActivePictureForm_LevelA);
    const qint32 field = raster.getField(line);
    return positionOf({line, sample, field}, raster.toSource({line, sample, field}));
}

CursorPosition ActivePictureCursor::cursorPositionFromActivePicturePositionLevelBli(
    qint32 line, qint32 sample, qint32 field, const StandardFromPayloadIdentifier& standard,
    bool forceDivision, SubImageDivision division)
{
    const ActivePictureRaster raster(standard, divisionOf(standard, forceDivision, division),
                                     ActivePictureForm_LevelBli);
    return positionOf({line, sample, field}, raster.toSource({line, sample, field}));
}

namespace {

CursorPosition fromSource(qint32 line, qint32 sample, qint32 link,
                          const StandardFromPayloadIdentifier& standard, SubImageDivision division,
                          ActivePictureForm form)
{
    const ActivePictureRaster raster(standard, division, form);
    const ActivePictureRaster::Source source = {line, raster.getLineInOtherLevelBLink(line), sample,
                                                raster.getLink(link)};
    return positionOf(raster.toActive(source), source);
}

} // namespace

CursorPosition ActivePictureCursor::cursorPositionFromSourcePosition(
    qint32 line, qint32 lineInOtherLevelBLink, qint32 sample, qint32 link,
    const StandardFromPayloadIdentifier& standard, bool forceDivision, SubImageDivision division)
{
    const auto convert = formOf(standard) == ActivePictureForm_LevelBli
                             ? cursorPositionFromSourcePositionLevelBli
                             : cursorPositionFromSourcePositionLevelA;
    return convert(line, lineInOtherLevelBLink, sample, link, standard, forceDivision, division);
}

CursorPosition ActivePictureCursor::cursorPositionFromSourcePositionLevelA(
    qint32 line, qint32 /*lineInOtherLevelBLink*/, qint32 sample, qint32 link,
    const StandardFromPayloadIdentifier& standard, bool forceDivision, SubImageDivision division)
{
    return fromSource(line, sample, link, standard, divisionOf(standard, forceDivision, division),
                      ActivePictureForm_LevelA);
}

CursorPosition ActivePictureCursor::cursorPositionFromSourcePositionLevelBli(
    qint32 line, qint32 /*lineInOtherLevelBLink*/, qint32 sample, qint32 link,
    const StandardFromPayloadIdentifier& standard, bool forceDivision, SubImageDivision division)
{
    return fromSource(line, sample, link, standard, divisionOf(standard, forceDivision, division),
                      ActivePictureForm_LevelBli);
}

CursorPosition
ActivePictureCursor::getFirstCursorPosition(const StandardFromPayloadIdentifier& standard)
{
    return cursorPositionFromSourcePosition(1, 0, 0, 0, standard);
}

CursorPosition
ActivePictureCursor::getLastCursorPosition(const StandardFromPayloadIdentifier& standard)
{
    const std::vector<quint32> lines = standard.getPrimaryIdentifier()->getLinesPerField();
    const quint32 samples =
        standard.getSamplesPerLine() * (ActivePictureRaster::isLineInterleaved(standard) ? 2 : 1);
    return cursorPositionFromSourcePosition(
        static_cast<qint32>(std::accumulate(lines.begin(), lines.end(), 0u)), 0,
        static_cast<qint32>(samples) - 1, static_cast<qint32>(standard.getNumberOfSubImages()) - 1,
        standard);
}

bool ActivePictureCursor::areCursorPositionsEqual(const CursorPosition& a, const CursorPosition& b,
                                                  const StandardFromPayloadIdentifier& standard)
{
    const auto& activeA = a.activePosition;
    const auto& activeB = b.activePosition;
    const auto& sourceA = a.sourcePosition;
    const auto& sourceB = b.sourcePosition;
    const qint32 samplesAPixel = ActivePictureRaster::isExtended(standard) ? 2 : 1;
    return activeA.line == activeB.line && activeA.sample == activeB.sample &&
           sourceA.line == sourceB.line && sourceA.link == sourceB.link &&
           sourceA.sample / samplesAPixel == sourceB.sample / samplesAPixel;
}
