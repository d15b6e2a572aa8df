#include "infrastructure/utility/video/analysis/ActivePictureRaster.h"

#include <algorithm>
#include <numeric>

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

namespace {

// Rounds down, so that positions left of and above the picture continue those inside.

constexpr qint64 floorDivide(qint64 value, qint64 by)
{
    return value / by - (value % by < 0 ? 1 : 0);
}

constexpr qint64 floorModulo(qint64 value, qint64 by)
{
    return value - floorDivide(value, by) * by;
}

constexpr quint32 LEVEL_B_STREAMS = 2; ///< counted together in its figure of blanking

} // namespace

bool ActivePictureRaster::isLineInterleaved(const StandardFromPayloadIdentifier& standard)
{
    return standard.getLevel() == Level_B &&
           isNarrow(SampleStructure(standard.getSampleStructure())) &&
           is10Bit(BitDepth(standard.getBitDepth()));
}

bool ActivePictureRaster::isExtended(const StandardFromPayloadIdentifier& standard)
{
    const quint32 mode = standard.findMappingMode().value_or(0);
    return mode != 0 && mode != 4;
}

QSize ActivePictureRaster::getSubImageSize(const StandardFromPayloadIdentifier& standard)
{
    const QSize size = standard.getPictureSize();
    return standard.getNumberOfSubImages() > 1 ? QSize(size.width() / 2, size.height() / 2) : size;
}

ActivePictureRaster::ActivePictureRaster(const StandardFromPayloadIdentifier& standard,
                                         SubImageDivision subImageDivision,
                                         ActivePictureForm pictureForm)
    : division(subImageDivision)
    , lineInterleaved(pictureForm == ActivePictureForm_LevelBli || isLineInterleaved(standard))
    , samplesAPixel(lineInterleaved || isExtended(standard) ? 2 : 1)
{
    const bool isInterleave = division == SubImageDivision_TwoSampleInterleave;
    const bool linesArePaired =
        lineInterleaved && (pictureForm == ActivePictureForm_LevelBli || !isInterleave);
    if (!lineInterleaved && !isInterleave &&
        standard.getPicutreInterlacedProgressivePsf() != PictureFormat_Progressive) {
        fields = 2;
    }
    linesAStep = linesArePaired ? 2 : fields;

    const std::vector<quint32> first =
        standard.getPrimaryIdentifier()->getFirstActivePictureLines();
    const std::vector<quint32> lines = standard.getPrimaryIdentifier()->getLinesPerField();
    firstLines[0] = first.at(0);
    if (lineInterleaved) {
        otherLinkOffset = qint64(first.at(1)) - first.at(0);
    }
    if (fields == 2) {
        firstLines[1] = first.at(1);
        fieldLines[1] = lines.at(1);
    }
    frameLines = std::accumulate(lines.begin(), lines.end(), qint64(0));
    fieldLines[0] = fields == 2 || linesArePaired ? qint64(lines.at(0)) : frameLines;

    const QSize subImage = getSubImageSize(standard);
    width = subImage.width();
    height = subImage.height();
    const qint64 lineSamples = standard.getSamplesPerLine();
    lineWidth = std::max(lineInterleaved ? lineSamples : lineSamples / samplesAPixel, width);
    const quint32 frontPorch = standard.getHorizontalBlankingSamples() /
                               (standard.getLevel() == Level_B ? LEVEL_B_STREAMS : 1);
    frontPorchEnd = std::min(width + frontPorch, lineWidth);
}

ActivePictureRaster::Source ActivePictureRaster::toSource(const Active& active) const
{
    const qint64 y = active.line - 1;
    const Place place = split(active.sample, y);
    const qint64 parity = floorModulo(linesAStep == 2 ? place.y : y, 2);

    Source source;
    source.line = lineOf(place.y);
    qint64 x = place.x;
    if (x < 0) {
        x += lineWidth;
        source.line = wrapped(source.line - 1);
    }
    source.sample = samplesAPixel * x + (lineInterleaved ? parity : 0);
    source.link = place.link;
    source.lineInOtherLevelBLink = getLineInOtherLevelBLink(source.line);
    return source;
}

ActivePictureRaster::Active ActivePictureRaster::toActive(const Source& source) const
{
    const qint64 link = getLink(source.link);
    qint64 line = source.line;
    if (lineInterleaved && line > fieldLines[0]) {
        line -= otherLinkOffset;
    }
    qint64 x = floorDivide(source.sample, samplesAPixel);
    if (isLeftOfPicture(x, link)) {
        x -= lineWidth;
        line = wrapped(line + 1);
    }
    const qint64 parity = lineInterleaved ? floorModulo(source.sample, 2) : 0;
    return join({x, placeLineOf(line, parity, link), link});
}

qint64 ActivePictureRaster::getLineInOtherLevelBLink(qint64 line) const
{
    if (!lineInterleaved) {
        return 0;
    }
    const qint64 other = line > fieldLines[0] ? line - otherLinkOffset : line + otherLinkOffset;
    return other >= 1 && other <= frameLines ? other : 0;
}

qint32 ActivePictureRaster::getField(qint64 line) const
{
    return fields == 2 ? static_cast<qint32>(1 + floorModulo(line - 1, 2)) : 0;
}

qint64 ActivePictureRaster::getLink(qint64 link) const
{
    const bool isDivided = isSquare() || division == SubImageDivision_TwoSampleInterleave;
    return isDivided ? floorModulo(link, 4) : 0;
}

bool ActivePictureRaster::isSquare() const
{
    return division == SubImageDivision_SquareDivision;
}

ActivePictureRaster::Place ActivePictureRaster::split(qint64 x, qint64 y) const
{
    if (isSquare()) {
        const qint64 column = x >= width ? 1 : 0;
        const qint64 row = y >= height ? 1 : 0;
        return {x - column * width, y - row * height, 2 * row + column};
    }
    if (division == SubImageDivision_TwoSampleInterleave) {
        const qint64 column = floorModulo(x, 4) / 2;
        const qint64 row = floorModulo(y, 2);
        return {2 * floorDivide(x, 4) + floorModulo(x, 2), floorDivide(y, 2), 2 * row + column};
    }
    return {x, y, 0};
}

ActivePictureRaster::Active ActivePictureRaster::join(const Place& place) const
{
    const qint64 column = place.link % 2;
    const qint64 row = place.link / 2;
    qint64 x = place.x;
    qint64 y = place.y;
    if (isSquare()) {
        x += column * width;
        y += row * height;
    } else if (division == SubImageDivision_TwoSampleInterleave) {
        x = 4 * floorDivide(x, 2) + floorModulo(x, 2) + 2 * column;
        y = 2 * y + row;
    }
    return {y + 1, x, getField(y + 1)};
}

/// The stream's line for a line of a sub-image.
qint64 ActivePictureRaster::lineOf(qint64 y) const
{
    const qint64 field = floorModulo(y, fields);
    const qint64 line = firstLines[field] + floorDivide(y, linesAStep);
    if (!isSquare()) {
        return line;
    }
    const qint64 before = field == 1 ? fieldLines[0] : 0;
    return before + 1 + floorModulo(line - before - 1, fieldLines[field]);
}

/// The inverse. `parity` distinguishes two lines of a sub-image that share one of the stream.
qint64 ActivePictureRaster::placeLineOf(qint64 line, qint64 parity, qint64 link) const
{
    const qint64 field = fields == 2 && line > fieldLines[0] ? 1 : 0;
    const qint64 within = field + (linesAStep == 2 && fields == 1 ? parity : 0);
    const qint64 lines = line - firstLines[field];
    if (!isSquare()) {
        return linesAStep * lines + within;
    }
    const qint64 y = linesAStep * floorModulo(lines, fieldLines[field]) + within;
    const bool isUpper = link < 2;
    return isUpper && y >= height ? y - linesAStep * fieldLines[field] : y;
}

/// The lines of a quadrant wrap around; others do not.
qint64 ActivePictureRaster::wrapped(qint64 line) const
{
    return isSquare() ? 1 + floorModulo(line - 1, fieldLines[0] + fieldLines[1]) : line;
}

bool ActivePictureRaster::isLeftOfPicture(qint64 x, qint64 link) const
{
    return isSquare() ? link % 2 == 0 && x >= width : x >= frontPorchEnd;
}
