// What a node of the state tree keeps for its elements.
#pragma once

#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"

#include <QString>
#include <QVector>

#include <memory>

struct DatacoreNotes;

/// The values, class name and reasons of one node, which its elements read and write. Nearly every
/// node has one value, no reasons and no notes; only the others take memory for more.
struct DatacoreElementState
{
    /// What few nodes have.
    struct Rare
    {
        Rare();
        ~Rare();

        QVector<QString> values; ///< where there is not exactly one
        DatacoreValidStatusMessages invalidReasons;
        DatacoreActiveStatusMessages inactiveReasons;
        std::unique_ptr<DatacoreNotes> notes; ///< of the node itself; null without
    };

    /// A part of `rare`, or an empty one if that is not there.
    template <typename Part>
    Part getRare(Part Rare::*part) const
    {
        return rare ? (*rare).*part : Part();
    }
    /// Replaces a part of `rare`. An empty one takes no memory.
    template <typename Part>
    void setRare(Part Rare::*part, const Part& content)
    {
        if (rare || !content.isEmpty()) {
            makeRare().*part = content;
        }
    }
    Rare& makeRare();

    QString value; ///< where there is exactly one, never null; null otherwise
    QString className;
    std::unique_ptr<Rare> rare; ///< null until there is something in it
};
