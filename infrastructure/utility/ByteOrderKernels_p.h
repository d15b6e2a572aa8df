// The loops that turn the bytes of numbers around.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"

#include <QtGlobal>

#include <cstddef>

struct ByteOrderKernels
{
    /// Copies `count` numbers of so many bits, the bytes of each in the opposite order.
    using Reverse = void (*)(const quint8* from, quint8* to, std::size_t count);
    Reverse reverse16;
    Reverse reverse32;
    Reverse reverse64;

    static const ByteOrderKernels& of(PlainForm);
    static const ByteOrderKernels& of(VectorForm);
};
