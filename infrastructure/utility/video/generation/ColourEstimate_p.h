// The vectorised part of colour conversion: three results for each pixel of a block, as linear
// functions in floats. Also tells for each pixel whether a result is too close to the edge between
// two integers to be relied on. Pure functions over the caller's block.
#pragma once

#include "infrastructure/utility/KernelForm_p.h"

#include <QtGlobal>

#include <cstddef>

/// Pixels that are processed together, component by component, and their results.
struct ColourBlock
{
    static constexpr std::size_t PIXELS = 128;

    alignas(32) quint16 components[3][PIXELS];
    alignas(32) quint16 results[3][PIXELS];
    alignas(32) quint16 doubts[PIXELS]; ///< not 0: a result is too close to an edge
};

/// Three linear functions of a pixel's components, with the limits of their results.
struct ColourEstimate
{
    /// A result before it is rounded to the nearest integer and held to its limits.
    struct Row
    {
        float factors[3];
        float offset;
        qint16 low;
        qint16 high;
    };
    Row rows[3];
    float certain; ///< up to this distance from the nearest integer it is certain
};

struct ColourKernels
{
    /// Computes results and doubts of a block. Results must fit 16 bits, with sign, before they are
    /// held to their limits.
    void (*estimate)(const ColourEstimate& estimate, ColourBlock& block);

    static const ColourKernels& of(PlainForm);
    static const ColourKernels& of(VectorForm);
};
