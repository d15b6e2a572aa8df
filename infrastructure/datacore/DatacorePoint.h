// A leaf of the state tree that holds points.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

#include <QPoint>

/// One point or a list of them, as the text "x,y" in decimal. A text of another shape is kept and
/// makes the leaf invalid, with one message (Error, 20) for each. A coordinate beyond an int is cut
/// to its low bits.
class DatacorePoint : public DatacoreBase
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacorePoint"); }

    /// The point 0,0.
    DatacorePoint(const QString& name, DatacoreBase* parentNode);
    DatacorePoint(const QString& name, DatacoreBase* parentNode, int x, int y);
    DatacorePoint(const QString& name, DatacoreBase* parentNode, const std::deque<QPoint>& points);

    /// The first value. `ok` is false, and the point 0,0, where it is no point or there is none.
    QPoint getDataPoint(bool& ok) const;
    /// All values. `ok` is false where one is no point; 0,0 stands in its place.
    std::deque<QPoint> getDataPoints(bool& ok) const;

    /// Take one point, or a list, in place of all. Equal values are no change.
    void setDataPoint(int x, int y);
    void setDataPoints(const std::deque<QPoint>& points);

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
};
