// The loops that read the meters of a payload.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"
#include "infrastructure/utility/records/MetersData.h"

struct MeterKernels
{
    /// Reads `count` readings, whose bytes are all there.
    template <typename T>
    using Take = void (*)(MeterReading<T>* readings, int count, WholeBigEndianReader reader);
    Take<float> takeFloats;
    Take<int> takeInts;

    static const MeterKernels& of(PlainForm);
    static const MeterKernels& of(VectorForm);
};
