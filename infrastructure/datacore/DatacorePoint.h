// A leaf of the state tree that holds points.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

#include <QPoint>

/// One point or a list of them, as the text "x,y" in decimal. Text of another shape is kept and
/// makes the leaf invalid, with one message (Error, 20) for each. A coordinate too large for an int
/// is cut to its low bits.
class DatacorePoint : public DatacoreBase
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacorePoint"); }

    /// Starts with the point 0,0.
    DatacorePoint(const QString& name, DatacoreBase* parentNode);
    DatacorePoint(const QString& name, DatacoreBase* parentNode, int x, int y);
    DatacorePoint(const QString& name, DatacoreBase* parentNode, const std::deque<QPoint>& points);

    /// The first value. If it is not a point or there is none, `ok` is false and the result is 0,0.
    QPoint getDataPoint(bool& ok) const;
    /// All values. If one is not a point, `ok` is false and it becomes 0,0.
    std::deque<QPoint> getDataPoints(bool& ok) const;

    /// Replace all values, with one point or with a list. Equal values are no change.
    void setDataPoint(int x, int y);
    void setDataPoints(const std::deque<QPoint>& points);

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
};
