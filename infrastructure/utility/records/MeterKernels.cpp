#include "infrastructure/utility/records/MeterKernels_p.h"

namespace {
KERNELS_BEGIN

/// Through a reading of its own, which no byte of the payload can alias: so the compiler may take
/// the words of a reading together.
template <typename T>
void take(MeterReading<T>* readings, int count, WholeBigEndianReader reader)
{
    for (int i = 0; i < count; ++i) {
        MeterReading<T> reading;
        RecordLayout::takeParts(reading, reader);
        readings[i] = reading;
    }
}

KERNELS_END
} // namespace

const MeterKernels& MeterKernels::of(KERNEL_TAG)
{
    static constexpr MeterKernels KERNELS{take<float>, take<int>};
    return KERNELS;
}
