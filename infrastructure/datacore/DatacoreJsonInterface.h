// The JSON operations of everything in the state tree.
#pragma once

#include "infrastructure/datacore/DatacoreJsonMessage.h"

#include <QJsonObject>
#include <QString>

/// Something that can be written to JSON and read back from it by path. A path is relative to the
/// object asked: names joined by TREE_LEVEL_DELIMITER(). The empty path is the object itself.
class DatacoreJsonInterface
{
public:
    DatacoreJsonInterface() = default;
    DatacoreJsonInterface(const DatacoreJsonInterface&) = delete;
    DatacoreJsonInterface& operator=(const DatacoreJsonInterface&) = delete;
    virtual ~DatacoreJsonInterface() = default;

    /// Writes what is at `path` into `json` under its name. `justData` leaves out class and status;
    /// `withChildren` includes everything below. If there is nothing at the path, returns false and
    /// appends what is known of the cause to `messages`.
    virtual bool appendToJson(const QString& path, QJsonObject& json, bool justData,
                              bool withChildren, DatacoreJsonMessages& messages) const = 0;

    /// Reads what is at `path` from `json`, where it stands under its name. If there is nothing at
    /// the path or in `json`, returns false and appends what is known of the cause to `messages`.
    virtual bool populateFromJson(const QString& path, const QJsonObject& json, bool justData,
                                  DatacoreJsonMessages& messages) = 0;

    /// The separator between the names of a path.
    static constexpr QChar TREE_LEVEL_DELIMITER() { return u'/'; }
};
