#include "infrastructure/utility/video/analysis/PictureReader.h"

#include "infrastructure/utility/video/analysis/SdiSampleToPixelConverter.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;
using namespace Tessorn::Types;

using Converter = SdiSampleToPixelConverter;

namespace {

/// Pixels that are converted together.
constexpr std::size_t CHUNK = 256;

/// So many samples of the store, `stride` words apart. A sample is written as one number, which
/// compilers vectorise where they know the stride.
inline void unpack(const quint32* words, std::size_t stride, std::size_t count,
                   Sdi20BitSample* samples)
{
    constexpr int FIRST = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 0 : 16;
    for (std::size_t i = 0; i < count; ++i) {
        const quint32 word = words[i * stride];
        const quint32 sample = (word & 0x3FF) << FIRST | (word >> 10 & 0x3FF) << (16 - FIRST);
        std::memcpy(static_cast<void*>(samples + i), &sample, sizeof sample);
    }
}

/// 10-bit 4:4:4:4 of two links, sample by sample.
std::size_t convertLevelB(SampleRun samples, PixelSpan pixels)
{
    Sdi20BitSample links[2][CHUNK];
    const std::size_t count = std::min(samples.count / 2, CHUNK);
    for (std::size_t i = 0; i < count; ++i) {
        links[0][i] = samples.samples[2 * i];
        links[1][i] = samples.samples[2 * i + 1];
    }
    return Converter::convertFromMappingModeII({links[0], count}, {links[1], count}, pixels);
}

struct Mapping
{
    quint32 mode; ///< of StandardFromPayloadIdentifier
    std::size_t samplesAPixel;
    std::size_t (*convert)(SampleRun, PixelSpan);
};

constexpr Mapping MAPPINGS[] = {
    {0, 1, Converter::convertFromYCbCr422_10},  {1, 2, Converter::convertFrom444_4},
    {2, 2, Converter::convertFromMappingMode3}, {3, 2, Converter::convertFromMappingMode4},
    {4, 1, Converter::convertFromYCbCr422_10},  {5, 2, convertLevelB},
};

const Mapping* findMapping(quint32 mode)
{
    const auto* found = std::find_if(std::begin(MAPPINGS), std::end(MAPPINGS),
                                     [mode](const Mapping& row) { return row.mode == mode; });
    return found != std::end(MAPPINGS) ? found : nullptr;
}

struct Structure
{
    SampleStructure structure;
    PixelFormat format;
};

/// All others are Y'CbCr.
constexpr Structure STRUCTURES[] = {
    {SampleStructure_444Rgb, PixelFormat_RGB},
    {SampleStructure_444Xyz, PixelFormat_RGB},
    {SampleStructure_4444RgbA, PixelFormat_ARGB},
    {SampleStructure_4444RgbD, PixelFormat_ARGB},
    {SampleStructure_4224YCbCrA, PixelFormat_AYCrCb},
    {SampleStructure_4224YCbCrD, PixelFormat_AYCrCb},
    {SampleStructure_4444YCbCrA, PixelFormat_AYCrCb},
    {SampleStructure_4444YCbCrD, PixelFormat_AYCrCb},
};

PixelFormat formatOf(quint32 structure)
{
    for (const Structure& row : STRUCTURES) {
        if (row.structure == structure) {
            return row.format;
        }
    }
    return PixelFormat_YCbCr;
}

/// The words of some pixels, of which a run fills every other pair from `column` on.
void scatterPairs(const quint16* run, std::size_t pairs, std::size_t wordsOfPixel, quint16* words)
{
    const std::size_t pair = 2 * wordsOfPixel;
    for (std::size_t i = 0; i < pairs; ++i) {
        std::copy_n(run + i * pair, pair, words + 2 * i * pair);
    }
}

} // namespace

/// The first of a run of samples.
struct PictureReader::Piece
{
    const quint32* words; ///< null if it is not there
    std::size_t stride;
};

PictureReader::PictureReader(const StandardFromPayloadIdentifier& standard)
    : reason(standard.getReasonWithoutMetrics())
{
    const std::optional<quint32> mode = standard.findMappingMode();
    if (reason.empty() && !mode) {
        reason = "No mapping mode is known for these samples";
    } else if (reason.empty() && findMapping(*mode) == nullptr) {
        reason = "No mapping of 12 bits on two streams is known";
    }
    if (!reason.empty()) {
        return;
    }
    mappingMode = *mode;
    size = standard.getPictureSize();
    format = formatOf(standard.getSampleStructure());
    division = standard.getSubImageDivision();
    metrics = standard.getTransmissionMetrics();
    isOnTwoLinks = standard.getNumberOfLinks() == 2 && standard.getNumberOfSubImages() == 1;
    isLineInterleaved = ActivePictureRaster::isLineInterleaved(standard);
    pictures = isOnTwoLinks || isLineInterleaved ? 2 : 1;
    raster.emplace(standard, division,
                   isLineInterleaved ? ActivePictureForm_LevelBli : ActivePictureForm_LevelA);
}

/// Of the picture's line, from this pixel on.
PictureReader::Piece PictureReader::findPiece(const Frame& frame, quint32 picture, quint32 line,
                                              quint32 pixel, std::size_t samples) const
{
    quint64 number = 0;
    std::size_t field = 0;
    std::size_t image = 0;
    quint32 sample = 0;
    if (isOnTwoLinks) {
        field = picture;
        image = line % 2;
        number = metrics[field].at(0).getFirstActiveLineNumber() + line / 2;
    } else {
        const auto source = raster->toSource({qint64(line) + 1, pixel, 0});
        number = static_cast<quint64>(picture == 0 ? source.line : source.lineInOtherLevelBLink);
        image = static_cast<std::size_t>(source.link);
        sample = static_cast<quint32>(source.sample);
        while (field + 1 < metrics.size() && number > metrics[field].at(0).getLastLineNumber()) {
            ++field;
        }
    }
    if (field >= frame.size() || image >= frame[field].size()) {
        return {nullptr, 1};
    }
    // All sub-images are laid out alike.
    const FieldMetrics& layout = metrics[field].at(0);
    const StoreWords& store = frame[field][image];
    const std::size_t stride = store.step * (isLineInterleaved ? 2 : 1);
    const quint64 first = ((number - layout.getFirstLineNumber()) * layout.getWidth() +
                           (layout.getWidth() - layout.getActiveWidth()) + sample) *
                          store.step;
    const bool isThere = store.words != nullptr && number >= layout.getFirstLineNumber() &&
                         first + (samples - 1) * stride < store.count;
    return {isThere ? store.words + first : nullptr, stride};
}

bool PictureReader::readLine(const Frame& frame, quint32 picture, quint32 line,
                             PixelSpan pixels) const
{
    const auto width = static_cast<std::size_t>(size.width());
    if (!raster || picture >= pictures || line >= static_cast<quint32>(size.height()) ||
        pixels.count != width || getWordsOfPixel(pixels.format) == 0 ||
        isYCbCr(pixels.format) != isYCbCr(format)) {
        return false;
    }
    const Mapping& mapping = *findMapping(mappingMode);
    const std::size_t wordsOfPixel = getWordsOfPixel(pixels.format);
    const bool isInPairs = division == SubImageDivision_TwoSampleInterleave;
    const std::size_t pieceCount = division == SubImageDivision_None ? 1 : 2;
    const std::size_t length = width / pieceCount;
    const std::size_t step = isInPairs ? 2 : length;

    Piece pieces[2] = {};
    for (std::size_t i = 0; i < pieceCount; ++i) {
        pieces[i] = findPiece(frame, picture, line, static_cast<quint32>(i * step),
                              length * mapping.samplesAPixel);
        if (pieces[i].words == nullptr) {
            return false;
        }
    }
    for (std::size_t i = 0; i < pieceCount; ++i) {
        const Piece& piece = pieces[i];
        quint16* const target = pixels.words + i * step * wordsOfPixel;
        Sdi20BitSample unpacked[2 * CHUNK];
        for (std::size_t done = 0; done < length; done += CHUNK) {
            const std::size_t count = std::min(CHUNK, length - done);
            const std::size_t samples = count * mapping.samplesAPixel;
            const quint32* from = piece.words + done * mapping.samplesAPixel * piece.stride;
            switch (piece.stride) {
            case 1:
                unpack(from, 1, samples, unpacked);
                break;
            case 2:
                unpack(from, 2, samples, unpacked);
                break;
            default:
                unpack(from, piece.stride, samples, unpacked);
            }
            PixelSpan part = pixels;
            part.count = count;
            if (isInPairs) {
                quint16 converted[4 * CHUNK];
                part.words = converted;
                mapping.convert({unpacked, samples}, part);
                scatterPairs(converted, count / 2, wordsOfPixel, target + 2 * done * wordsOfPixel);
            } else {
                part.words = target + done * wordsOfPixel;
                mapping.convert({unpacked, samples}, part);
            }
        }
    }
    return true;
}

bool PictureReader::readPicture(const Frame& frame, quint32 picture,
                                const PictureBuffer& pixels) const
{
    if (!raster || pixels.words == nullptr ||
        QSize(static_cast<int>(pixels.width), static_cast<int>(pixels.height)) != size) {
        return false;
    }
    PixelSpan line = pixels;
    line.count = pixels.width;
    for (quint32 y = 0; y < pixels.height; ++y) {
        if (!readLine(frame, picture, y, line)) {
            return false;
        }
        line.words += line.count * getWordsOfPixel(line.format);
    }
    return true;
}
