// What the state tree's cases share: JSON text in and out, and the reasons of a node.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "sw/infrastructure_test/Catch.h"

#include <QJsonDocument>

#include <deque>
#include <vector>

inline QJsonObject parseObject(const QByteArray& text)
{
    QJsonParseError error;
    const QJsonObject json = QJsonDocument::fromJson(text, &error).object();
    REQUIRE(error.error == QJsonParseError::NoError);
    return json;
}

inline QByteArray toText(const QJsonObject& json)
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

/// The JSON form of the node at the path.
inline QJsonObject write(const DatacoreBase& node, const char* path = "", bool justData = false,
                         bool withChildren = true)
{
    QJsonObject json;
    DatacoreJsonMessages messages;
    REQUIRE(node.appendToJson(QLatin1String(path), json, justData, withChildren, messages));
    REQUIRE(messages.isEmpty());
    return json;
}

/// Writes one node to JSON text and reads another from it.
inline void transfer(const DatacoreBase& from, DatacoreBase& to, bool justData = true)
{
    DatacoreJsonMessages messages;
    REQUIRE(to.populateFromJson(QString(), parseObject(toText(write(from, "", justData))), justData,
                                messages));
}

/// The numbers of the reasons why a node is invalid; each must be an error.
inline std::vector<int> reasons(const DatacoreBase& node)
{
    DatacoreValidStatusMessages messages;
    const bool isValid = node.isValid(messages);
    CHECK(isValid == messages.isEmpty());
    std::vector<int> identifiers;
    for (const auto& message : messages) {
        CHECK(message.getType() == MessageBase::MessageType_Error);
        identifiers.push_back(message.getIdentifier());
    }
    return identifiers;
}

/// A node that keeps the reasons that it receives.
struct KeepingNode : DatacoreBase
{
    using DatacoreBase::DatacoreBase;
    void updateValidStatus(DatacoreValidStatusMessages&) override {}
    void updateActiveStatus(DatacoreActiveStatusMessages&) override {}
};

/// The four trees of a server, without leaves.
struct Roots
{
    DatacoreBase config{"configCoreRouter"_s, nullptr};
    DatacoreBase status{"statusCoreRouter"_s, nullptr};
    DatacoreBase command{"commandCoreRouter"_s, nullptr};
    DatacoreBase persistent{"persistentConfigCoreRouter"_s, nullptr};
};

inline std::deque<QString> strings(std::initializer_list<const char*> texts)
{
    std::deque<QString> list;
    for (const char* text : texts) {
        list.push_back(QLatin1String(text));
    }
    return list;
}
