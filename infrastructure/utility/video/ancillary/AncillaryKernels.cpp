#include "infrastructure/utility/video/ancillary/AncillaryKernels_p.h"

#include <type_traits>

namespace {
KERNELS_BEGIN

/// The compiler makes vectors of it: nothing under the mask is larger than all of it. Numbers with
/// a sign, whose highest bit no mask has: even the oldest vectors can compare these.
template <typename Word>
bool hasPairOfOnes(const Word* words, std::size_t count, std::size_t step, Word mask)
{
    using Number = std::make_signed_t<Word>;
    Number most = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto both = static_cast<Number>(words[i] & words[i + step] & mask);
        most = both > most ? both : most;
    }
    return static_cast<Word>(most) == mask;
}

KERNELS_END
} // namespace

const AncillaryKernels& AncillaryKernels::of(KERNEL_TAG)
{
    static constexpr AncillaryKernels KERNELS{hasPairOfOnes<quint16>, hasPairOfOnes<quint32>};
    return KERNELS;
}
