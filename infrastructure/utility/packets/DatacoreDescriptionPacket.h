// What datacores take: a server's answer to a client's question.
#pragma once

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"

#include <QHash>
#include <QStringList>

#include <vector>

/// Keys: "ClientID"; "Descriptions", an array; "Last", true in the last packet of an answer. Each
/// element of the array has "Is", a description, and "Paths", the full paths of the datacores that
/// it describes:
///
///   {"Is": {"kind": "Int32", "max": "15", "min": "0"}, "Paths": ["configCoreRouter/gain"]}
class DatacoreDescriptionPacket : public SerialisableDataPacket
{
public:
    /// A packet is full from here on, counted in bytes of text.
    static constexpr int FULL_BYTES = 64 << 10;

    static QString CLASSNAME() { return QStringLiteral("DatacoreDescriptionPacket"); }

    /// One description and whose it is.
    struct Entry
    {
        DatacoreDescription description;
        QStringList paths;
    };

    /// The content of a packet while it is being collected. What is equal is stated once.
    class Content
    {
    public:
        /// Says of one more path what it is.
        void add(const DatacoreDescription& description, const QString& path);
        /// True when it is time to send what is there.
        bool isFull() const { return bytes >= FULL_BYTES; }

    private:
        friend class DatacoreDescriptionPacket;

        struct Text
        {
            QByteArray description;
            QByteArray paths; ///< with a comma behind each
        };

        std::vector<Text> texts;
        QHash<QByteArray, int> places; ///< of the descriptions in `texts`
        int bytes = 0;
    };

    DatacoreDescriptionPacket(const QString& clientID, const Content& content, bool isLast);
    /// The packet that `source` carries; `ok` is false, and the packet empty, for another class.
    DatacoreDescriptionPacket(const SerialisableDataPacket& source, bool& ok);

    QString getClientID() const; ///< empty if absent
    bool isLast() const;         ///< false if absent

    /// What can be read. Appends to `complaints` a text for each element that is left out, because
    /// of its shape or because its description is bad, with the first path that it names.
    std::vector<Entry> getDescriptions(QStringList& complaints) const;
};
