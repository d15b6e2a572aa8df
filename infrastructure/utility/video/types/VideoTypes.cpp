#include "infrastructure/utility/video/types/VideoTypes.h"

#include <QTextStream>

#include <ostream>

namespace Tessorn {
namespace Types {

namespace {

template <typename Stream>
Stream& write(Stream& stream, const PixelCoordinates& coordinates)
{
    stream << "Pixel[x:" << coordinates.x << ", y:" << coordinates.y << "]";
    return stream;
}

template <typename Stream>
Stream& write(Stream& stream, const SampleLocation& location)
{
    stream << "Sample[sampleIndex:" << location.sampleIndex << ", lineIndex:" << location.lineIndex
           << "]";
    return stream;
}

template <typename Stream>
Stream& write(Stream& stream, const DigitalInterfaceSampleLocation& location)
{
    stream << "Sample[digital sample:" << location.sampleIndex << ", line:" << location.lineNumber
           << "]";
    return stream;
}

template <typename Stream>
Stream& write(Stream& stream, const Sdi20BitSample& sample)
{
    stream << "Sample[" << sample.channelOne << ", " << sample.channelTwo << "]";
    return stream;
}

} // namespace

QTextStream& operator<<(QTextStream& stream, const PixelCoordinates& coordinates)
{
    return write(stream, coordinates);
}

std::ostream& operator<<(std::ostream& stream, const PixelCoordinates& coordinates)
{
    return write(stream, coordinates);
}

QTextStream& operator<<(QTextStream& stream, const SampleLocation& location)
{
    return write(stream, location);
}

std::ostream& operator<<(std::ostream& stream, const SampleLocation& location)
{
    return write(stream, location);
}

QTextStream& operator<<(QTextStream& stream, const DigitalInterfaceSampleLocation& location)
{
    return write(stream, location);
}

std::ostream& operator<<(std::ostream& stream, const DigitalInterfaceSampleLocation& location)
{
    return write(stream, location);
}

QTextStream& operator<<(QTextStream& stream, const Sdi20BitSample& sample)
{
    return write(stream, sample);
}

std::ostream& operator<<(std::ostream& stream, const Sdi20BitSample& sample)
{
    return write(stream, sample);
}

} // namespace Types
} // namespace Tessorn
