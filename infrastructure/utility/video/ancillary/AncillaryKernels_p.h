// The loop that looks for ancillary data flags.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"

#include <QtGlobal>

#include <cstddef>

struct AncillaryKernels
{
    /// True if the mask's bits are ones in one of `count` words and in the word `step` further on.
    template <typename Word>
    using HasPairOfOnes = bool (*)(const Word* words, std::size_t count, std::size_t step,
                                   Word mask);
    HasPairOfOnes<quint16> inWords;
    HasPairOfOnes<quint32> inSamples;

    static const AncillaryKernels& of(PlainForm);
    static const AncillaryKernels& of(VectorForm);
};
