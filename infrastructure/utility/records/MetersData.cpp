#include "infrastructure/utility/records/MetersData.h"

#include "infrastructure/utility/records/MeterKernels_p.h"

template <>
void RecordLayout::takeAll(MeterReading<float>* readings, int count, WholeBigEndianReader reader)
{
    getKernels<MeterKernels>().takeFloats(readings, count, reader);
}

template <>
void RecordLayout::takeAll(MeterReading<int>* readings, int count, WholeBigEndianReader reader)
{
    getKernels<MeterKernels>().takeInts(readings, count, reader);
}
