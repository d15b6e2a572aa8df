#include "infrastructure/utility/video/generation/ColourEstimate_p.h"

#include <cmath>

namespace {
KERNELS_BEGIN

/// A float this large has no fraction bits, so adding it rounds to the nearest integer.
constexpr float ROUNDER = 0x1.8p23f;

void estimateBlock(const ColourEstimate& estimate, ColourBlock& block)
{
    const ColourEstimate e = estimate;
    for (std::size_t i = 0; i < ColourBlock::PIXELS; ++i) {
        const float in[3] = {float(block.components[0][i]), float(block.components[1][i]),
                             float(block.components[2][i])};
        float furthest = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            const ColourEstimate::Row& row = e.rows[k];
            const float sum = row.offset + row.factors[0] * in[0] + row.factors[1] * in[1] +
                              row.factors[2] * in[2];
            const float whole = (sum + ROUNDER) - ROUNDER;
            const float distance = std::fabs(sum - whole);
            furthest = k == 0 || distance > furthest ? distance : furthest;
            auto result = static_cast<qint16>(static_cast<qint32>(whole));
            result = result < row.low ? row.low : result;
            result = result > row.high ? row.high : result;
            block.results[k][i] = static_cast<quint16>(result);
        }
        block.doubts[i] = furthest > e.certain ? 1 : 0;
    }
}

KERNELS_END
} // namespace

const ColourKernels& ColourKernels::of(KERNEL_TAG)
{
    static constexpr ColourKernels KERNELS{estimateBlock};
    return KERNELS;
}
