#include "infrastructure/utility/BigEndianRun.h"

#include "infrastructure/utility/ByteOrderKernels_p.h"

#include <cstring>

void copyBigEndianRun(const void* from, void* to, std::size_t count, std::size_t bytesEach)
{
    const auto* const source = static_cast<const quint8*>(from);
    auto* const target = static_cast<quint8*>(to);
    if (count == 0) {
        return;
    }
    if (bytesEach == 1 || Q_BYTE_ORDER == Q_BIG_ENDIAN) {
        std::memcpy(target, source, count * bytesEach);
    } else if (bytesEach == 2) {
        getKernels<ByteOrderKernels>().reverse16(source, target, count);
    } else if (bytesEach == 4) {
        getKernels<ByteOrderKernels>().reverse32(source, target, count);
    } else if (bytesEach == 8) {
        getKernels<ByteOrderKernels>().reverse64(source, target, count);
    }
}
