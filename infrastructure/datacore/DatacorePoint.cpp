#include "infrastructure/datacore/DatacorePoint.h"

#include "infrastructure/datacore/DatacoreDescription.h"

namespace {

constexpr QLatin1Char SEPARATOR(',');

QString toText(const QPoint& point)
{
    return QString::number(point.x()) + SEPARATOR + QString::number(point.y());
}

std::deque<QString> toTexts(const std::deque<QPoint>& points)
{
    std::deque<QString> texts;
    for (const QPoint& point : points) {
        texts.push_back(toText(point));
    }
    return texts;
}

/// Exactly two parts, both decimal numbers.
QPoint fromText(const QString& text, bool& ok)
{
    const int separator = text.indexOf(SEPARATOR);
    ok = separator >= 0;
    if (!ok) {
        return QPoint();
    }
    bool xOk = false;
    bool yOk = false;
    const qlonglong x = text.leftRef(separator).toLongLong(&xOk, 10);
    const qlonglong y = text.midRef(separator + 1).toLongLong(&yOk, 10); // a third part fails here
    ok = xOk && yOk;
    return ok ? QPoint(static_cast<int>(x), static_cast<int>(y)) : QPoint();
}

} // namespace

DatacorePoint::DatacorePoint(const QString& name, DatacoreBase* parentNode)
    : DatacorePoint(name, parentNode, 0, 0)
{
}

DatacorePoint::DatacorePoint(const QString& name, DatacoreBase* parentNode, int x, int y)
    : DatacoreBase(CLASSNAME(), name, parentNode, toText(QPoint(x, y)))
{
}

DatacorePoint::DatacorePoint(const QString& name, DatacoreBase* parentNode,
                             const std::deque<QPoint>& points)
    : DatacoreBase(CLASSNAME(), name, parentNode, toTexts(points))
{
}

QPoint DatacorePoint::getDataPoint(bool& ok) const
{
    return fromText(getData(), ok);
}

std::deque<QPoint> DatacorePoint::getDataPoints(bool& ok) const
{
    std::deque<QPoint> points;
    ok = true;
    for (int i = 0; i < getDataCount(); ++i) {
        bool pointOk = false;
        points.push_back(fromText(getDataAt(i), pointOk));
        ok = ok && pointOk;
    }
    return points;
}

void DatacorePoint::setDataPoint(int x, int y)
{
    setData(toText(QPoint(x, y)));
}

void DatacorePoint::setDataPoints(const std::deque<QPoint>& points)
{
    setData(toTexts(points));
}

void DatacorePoint::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    reasons.clear();
    for (int i = 0; i < getDataCount(); ++i) {
        bool ok = false;
        fromText(getDataAt(i), ok);
        if (!ok) {
            reasons.append(DatacoreValidStatusMessage(
                MessageBase::MessageType_Error,
                DatacoreValidStatusMessage::
                    MessageContent_DatacoreValueNotConvertableToDesiredType));
        }
    }
}

void DatacorePoint::describe(DatacoreDescription& description) const
{
    description.kind = QStringLiteral("Point");
}
