#include "infrastructure/utility/records/RecordLayout.h"

#include "infrastructure/utility/Log.h"

#include <algorithm>
#include <limits>

namespace RecordLayout {

Reader::~Reader()
{
    if (refused > 0) {
        VELLOG_ERR() << "Record counts " << refused
                     << " elements more than its payload holds, beyond the limit of "
                     << MAX_MISSING_ELEMENTS;
    }
}

int Reader::admit(qint64 count, int elementBytes)
{
    if (count <= 0) {
        return 0;
    }
    const qint64 begun = (qint64(getRemaining()) + elementBytes - 1) / elementBytes;
    const qint64 held = std::min(count, begun);
    const int missing = static_cast<int>(std::min<qint64>(count - held, missingAllowance));
    missingAllowance -= missing;
    refused += count - held - missing;
    return static_cast<int>(held) + missing;
}

QByteArray allocatePayload(qint64 sizeBytes)
{
    constexpr qint64 largest = std::numeric_limits<qint32>::max() - 64; // room for headers
    if (sizeBytes > largest) {
        VELLOG_ERR() << "Record of " << sizeBytes << " bytes exceeds the largest payload, "
                     << largest;
        return QByteArray();
    }
    return QByteArray(static_cast<int>(sizeBytes), Qt::Uninitialized);
}

} // namespace RecordLayout
