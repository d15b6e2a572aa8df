#include "infrastructure/utility/video/metrics/FieldRegion.h"

#include <QTextStream>

#include <ostream>

namespace {

template <typename Stream>
Stream& write(Stream& stream, const FieldRegion& region)
{
    stream << "Region[sampleIndex:" << region.getFirstSampleIndex()
           << ", lineIndex:" << region.getFirstLineIndex() << ", samples:" << region.getWidth()
           << ", lines:" << region.getHeight() << "]";
    return stream;
}

} // namespace

QTextStream& operator<<(QTextStream& stream, const FieldRegion& region)
{
    return write(stream, region);
}

std::ostream& operator<<(std::ostream& stream, const FieldRegion& region)
{
    return write(stream, region);
}
