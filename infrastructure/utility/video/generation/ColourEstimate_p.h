// The wide part of colour conversion: three results for each pixel of a block, as linear functions
// in floats. Says of each pixel whether a result is too close to the edge between two integers to
// be relied on. Pure functions over the caller's block.
#pragma once

#include <QtGlobal>

#include <cstddef>

/// Pixels that are worked on at a time, component by component, and what comes of them.
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
    float certain; ///< distance from the nearest integer up to which it is certain

    /// Makes results and doubts of a block. Results must be within 16 bits, with sign, before they
    /// are held to their limits.
    using Function = void (*)(const ColourEstimate& estimate, ColourBlock& block);

    /// The plain form of it.
    static void run(const ColourEstimate& estimate, ColourBlock& block);

    /// The fastest form on this machine. All give the same.
    static Function fastest();
};
