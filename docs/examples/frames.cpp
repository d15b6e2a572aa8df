#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/analysis/ActivePictureCursor.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"

#include <cstdio>

using namespace Tessorn;

int main()
{
    const auto standard = createVideoStandard(0x89C98001); // 1920x1080p50, 3G level A
    const FieldMetrics metrics = standard->getTransmissionMetrics()[0][0];

    // A pixel's colour, and the luma words of a frame of it.
    const Types::PixelDataRGB red{940, 64, 64};
    std::vector<Types::PixelDataYCbCr> pixel;
    SdiColourConverter::convertRgbToYCbCr(&red, 1, Sdi::PayloadId::Colourimetry_Rec709,
                                          Sdi::PayloadId::BitDepth_10, pixel);
    std::printf("Y %d Cb %d Cr %d\n", pixel[0].y, pixel[0].cb, pixel[0].cr);

    // The same pixel for an image of 16 bits.
    Types::PixelDataARGB shown;
    SdiColourConverter::convertToRgba64(
        {pixel.data(), pixel.size()},
        SdiColourConverter::getInverseMatrix(Sdi::PayloadId::Colourimetry_Rec709),
        Sdi::PayloadId::BitDepth_10, &shown);
    std::printf("R %d G %d B %d\n", shown.r, shown.g, shown.b);

    FrameOperations::Frame luma(metrics.getTotalSamples(), pixel[0].y);

    FrameOperations::writeTimingReferences(luma, metrics, 0x2D8, 0x2AC); // of the first line
    FrameOperations::writeLineNumbers(luma, metrics, true, false);
    FrameOperations::writeCrcs(luma, metrics, FrameOperations::lastActiveLine(luma, metrics));
    for (int word = 0; word < 8; ++word) {
        std::printf("%03x%s", luma[word], word < 7 ? " " : "\n");
    }

    // Where the picture's pixel 100 of line 1 travels, and where that word is among tagged ones.
    const auto position =
        ActivePictureCursor::cursorPositionFromActivePicturePosition(1, 100, 0, *standard);
    const auto place = metrics.toSampleLocation(Types::DigitalInterfaceSampleLocation(
        quint32(position.sourcePosition.sample), quint32(position.sourcePosition.line)));
    const quint32 index = place.lineIndex * metrics.getWidth() + place.sampleIndex;
    std::printf("interface line %d sample %d, store word %u, tagged word %u of %llu\n",
                position.sourcePosition.line, position.sourcePosition.sample, index,
                ParcelTongue::getTaggedIndex(metrics, index), ParcelTongue::getTaggedSize(metrics));
}
