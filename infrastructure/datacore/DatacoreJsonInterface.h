// The JSON operations of everything that lies in the state tree.
#pragma once

#include "infrastructure/datacore/DatacoreJsonMessage.h"

#include <QJsonObject>
#include <QString>

/// What can be written to JSON and read back from it by path. A path is relative to the object
/// asked: names joined by TREE_LEVEL_DELIMITER(), and empty for the object itself.
class DatacoreJsonInterface
{
public:
    DatacoreJsonInterface() = default;
    DatacoreJsonInterface(const DatacoreJsonInterface&) = delete;
    DatacoreJsonInterface& operator=(const DatacoreJsonInterface&) = delete;
    virtual ~DatacoreJsonInterface() = default;

    /// Writes what is at `path` into `json` under its name. `justData` leaves out class and status,
    /// `withChildren` takes in all that is below. False, with what is known of the cause appended
    /// to `messages`, where there is nothing at the path.
    virtual bool appendToJson(const QString& path, QJsonObject& json, bool justData,
                              bool withChildren, DatacoreJsonMessages& messages) const = 0;

    /// Reads what is at `path` from `json`, where it stands under its name. False, with what is
    /// known of the cause appended to `messages`, where there is nothing at the path or in `json`.
    virtual bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                                  DatacoreJsonMessages& messages) = 0;

    /// What stands between the names of a path.
    static constexpr QChar TREE_LEVEL_DELIMITER() { return u'/'; }
};
