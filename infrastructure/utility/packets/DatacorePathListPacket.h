// A client's list of the datacores it wants.
#pragma once

#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QStringList>

#include <deque>

/// Keys: "ClientID" and "DatacoreRequestList", full paths. The class name on the wire differs from
/// the name of the C++ class.
class DatacorePathListPacket : public SerialisableDataPacket
{
public:
    static QString CLASSNAME() { return QStringLiteral("DatacoreRequestListPacket"); }

    DatacorePathListPacket(const QString& clientID, const std::deque<QString>& paths);
    DatacorePathListPacket(const QString& clientID, const QStringList& paths);
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacorePathListPacket(const SerialisableDataPacket& source, bool& ok);

    bool containsClientID() const;
    QString getClientID() const; ///< empty if absent

    bool containsDatacorePaths() const;
    std::deque<QString> getDatacorePaths() const; ///< in order; empty if absent
};
