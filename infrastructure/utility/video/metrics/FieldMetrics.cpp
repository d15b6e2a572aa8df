#include "infrastructure/utility/video/metrics/FieldMetrics.h"

#include <QTextStream>

#include <ostream>

namespace {

template <typename Stream>
Stream& write(Stream& stream, const FieldMetrics& metrics)
{
    stream << "Field Metrics[Whole field" << metrics.getWholeFieldRegion() << ", VB"
           << metrics.getPrePictureVerticalBlankingRegion() << ", HB"
           << metrics.getHorizontalBlankingRegion() << ", AP" << metrics.getActivePictureRegion()
           << ", VB" << metrics.getPostPictureVerticalBlankingRegion() << "]";
    return stream;
}

} // namespace

QTextStream& operator<<(QTextStream& stream, const FieldMetrics& metrics)
{
    return write(stream, metrics);
}

std::ostream& operator<<(std::ostream& stream, const FieldMetrics& metrics)
{
    return write(stream, metrics);
}
