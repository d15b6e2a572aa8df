// The inner loops of the mapping modes: pixels of one form to the words of samples. Pure functions.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"
#include "infrastructure/utility/video/generation/PixelData.h"

/// A mode, or a link of one.
enum MappingMode { Mapping_1, Mapping_2, Mapping_3, Mapping_4, Mapping_IILinkA, Mapping_IILinkB };

struct MappingKernels
{
    static constexpr std::size_t MODES = 6;
    static constexpr std::size_t FORMATS = 4;

    /// Makes the samples of so many pixels, two words each; an even number of pixels where the mode
    /// takes them in pairs.
    using Function = void (*)(const quint16* words, std::size_t pixels, quint16* samples);

    /// By mode and format; null where the mode does not take the format.
    Function kernels[MODES][FORMATS];

    static const MappingKernels& of(PlainForm);
    static const MappingKernels& of(VectorForm);
};

/// Samples that the mode makes of a pixel.
constexpr std::size_t getSamplesOfPixel(MappingMode mode)
{
    return mode >= Mapping_2 && mode <= Mapping_4 ? 2 : 1;
}

/// Whether the mode takes R'G'B' as well as Y'CbCr.
constexpr bool takesRgb(MappingMode mode)
{
    return mode == Mapping_2 || mode == Mapping_3;
}
