#include "infrastructure/utility/video/generation/ColourEstimate_p.h"

#include <algorithm>
#include <cmath>

namespace {

/// Bits of a float behind its first.
constexpr int MANTISSA_BITS = 23;
constexpr int EXPONENT_BIAS = 127;

} // namespace

bool ColourEstimate::set(const Exact (&exact)[3], quint16 highest)
{
    double largest = 0; // no sum on the way to a result is larger
    double reach = 1;   // of the results on both sides of their middle
    double middles[3];
    for (std::size_t k = 0; k < 3; ++k) {
        double below = exact[k].offset;
        double above = exact[k].offset;
        double sum = std::fabs(exact[k].offset);
        for (const double factor : exact[k].factors) {
            below += std::min(factor, 0.0) * highest;
            above += std::max(factor, 0.0) * highest;
            sum += std::fabs(factor) * highest;
        }
        if (!(sum < 32767)) { // or not a number
            return false;
        }
        largest = std::max(largest, sum);
        middles[k] = std::round((below + above) / 2);
        reach = std::max({reach, above - middles[k], middles[k] - below});
    }

    // Between 2^22 and 2^23 on both sides of `large` a float counts in steps of 1, if all is scaled
    // by 2^fractionBits. The 2 leaves room for rounding.
    fractionBits = MANTISSA_BITS - 1 - static_cast<int>(std::ceil(std::log2(reach + 2)));
    const double step = std::ldexp(1, -fractionBits);
    const double large = std::ldexp(1.5, MANTISSA_BITS) * step;

    // What a sum can be off, in steps: half a step for the offset and for each of three additions;
    // and the rounding of factors and products, 2^-24 of all that is added up. The doubles' own
    // errors are a millionth of that.
    const auto error = static_cast<qint32>(2 + (2 + 1e-5) * largest * 0x1p-24 / step);
    doubtful = 2 * error + 1;

    constexpr quint32 HALF = 1u << (MANTISSA_BITS - 1);
    const quint32 bitsOfLarge =
        (static_cast<quint32>(EXPONENT_BIAS + MANTISSA_BITS - fractionBits) << MANTISSA_BITS) +
        HALF;
    for (std::size_t k = 0; k < 3; ++k) {
        for (std::size_t i = 0; i < 3; ++i) {
            rows[k].factors[i] = static_cast<float>(exact[k].factors[i]);
        }
        rows[k].offset =
            static_cast<float>(large + (exact[k].offset - middles[k]) + 0.5 + error * step);
        rows[k].correction = static_cast<quint16>(static_cast<qint32>(middles[k]) -
                                                  static_cast<qint32>(bitsOfLarge >> fractionBits));
        constexpr quint16 HIGHEST_LIMIT = 32767; // no result comes close to it
        rows[k].low = static_cast<qint16>(exact[k].low);
        rows[k].high = static_cast<qint16>(std::min(exact[k].high, HIGHEST_LIMIT));
    }
    return true;
}
