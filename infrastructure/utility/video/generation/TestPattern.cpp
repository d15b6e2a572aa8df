#include "infrastructure/utility/video/generation/TestPattern.h"

#include <tuple>

bool operator==(const TestPattern& a, const TestPattern& b)
{
    const auto fields = [](const TestPattern& pattern) {
        return std::tie(pattern.title, pattern.imageSize, pattern.depth, pattern.colour,
                        pattern.matrix, pattern.curve, pattern.proxy, pattern.image,
                        pattern.generate, pattern.sampling, pattern.alpha);
    };
    return fields(a) == fields(b);
}
