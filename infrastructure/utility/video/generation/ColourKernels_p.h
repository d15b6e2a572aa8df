// The inner loops of colour conversion: pixels to blocks of components, three estimated results for
// each pixel of a block, and results to pixels. An estimate is a linear function in floats; it also
// tells for each pixel whether a result is too close to the edge between two integers to be relied
// on. Pure functions over the caller's memory.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"
#include "infrastructure/utility/video/generation/ColourEstimate_p.h"
#include "infrastructure/utility/video/generation/PixelData.h"

#include <QtGlobal>

/// Pixels that are processed together, component by component, and their results.
struct ColourBlock
{
    static constexpr std::size_t PIXELS = 128;

    alignas(32) quint16 components[3][PIXELS]; ///< R, G, B or Y, Cb, Cr
    alignas(32) quint16 results[3][PIXELS];    ///< the others
    alignas(32) quint16 fourth[PIXELS];        ///< of forms with four words
    alignas(32) quint16 doubts[PIXELS];        ///< not 0: a result is too close to an edge
};

struct ColourKernels
{
    static constexpr std::size_t FORMATS = 4;

    /// Fills the components and, if there is one, the fourth word of a whole block from pixels of
    /// that format, whose components have so many unused bits below them. Gives the bits of all
    /// components together.
    quint16 (*take[FORMATS])(const quint16* words, int unusedBits, ColourBlock& block);

    /// Computes results and doubts.
    void (*estimate)(const ColourEstimate& estimate, ColourBlock& block);

    /// Writes the results of a whole block, and the fourth word if the format has one, as pixels.
    /// Results of `bitsToWiden` bits are brought to 16, the upper ones again below the lower ones,
    /// so that all ones stay all ones; 0 leaves them.
    void (*give[FORMATS])(const ColourBlock& block, int bitsToWiden, quint16* words);

    static const ColourKernels& of(PlainForm);
    static const ColourKernels& of(VectorForm);
};
