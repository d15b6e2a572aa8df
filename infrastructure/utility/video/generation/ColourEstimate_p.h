// Linear functions of a pixel's components as kernels compute them: in floats, and with a bound for
// what these are off. A value.
#pragma once

#include <QtGlobal>

/// Three linear functions of a pixel's components, with the limits of their results.
///
/// The offset contains a number so large that the sum, a float, counts in steps of 2^-fractionBits:
/// its bits are an integer with that many bits behind the point. Half a step between two integers
/// is in the offset too, so that cutting the fraction off rounds.
struct ColourEstimate
{
    struct Row
    {
        float factors[3];
        float offset;
        quint16 correction; ///< what is to be added to the bits above the point
        qint16 low;
        qint16 high;
    };
    Row rows[3];
    int fractionBits;
    qint32 doubtful; ///< fractions below it are too close to an edge

    /// One function before it is put into floats.
    struct Exact
    {
        double factors[3];
        double offset;
        quint16 low;
        quint16 high;
    };

    /// For components from 0 to `highest`. False if the results before their limits don't fit 16
    /// bits with sign.
    bool set(const Exact (&exact)[3], quint16 highest);
};
