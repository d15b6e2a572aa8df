#include "infrastructure/utility/ByteOrderKernels_p.h"

#include <cstring>

namespace {
KERNELS_BEGIN

inline quint16 reversed(quint16 number)
{
    return __builtin_bswap16(number);
}

inline quint32 reversed(quint32 number)
{
    return __builtin_bswap32(number);
}

inline quint64 reversed(quint64 number)
{
    return __builtin_bswap64(number);
}

/// The compiler makes vectors of it where the machine of the form can turn bytes around in them.
template <typename Number>
void reverse(const quint8* __restrict from, quint8* __restrict to, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        Number number;
        std::memcpy(&number, from + i * sizeof number, sizeof number);
        number = reversed(number);
        std::memcpy(to + i * sizeof number, &number, sizeof number);
    }
}

KERNELS_END
} // namespace

const ByteOrderKernels& ByteOrderKernels::of(KERNEL_TAG)
{
    static constexpr ByteOrderKernels KERNELS{reverse<quint16>, reverse<quint32>, reverse<quint64>};
    return KERNELS;
}
