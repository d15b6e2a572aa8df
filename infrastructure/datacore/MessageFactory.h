// From JSON to messages whose class is not known beforehand.
#pragma once

#include "infrastructure/datacore/MessageBase.h"

#include <QJsonArray>

#include <memory>
#include <vector>

/// The class of a serialised message, as its CLASSNAME(). Anything that is not a message, or not of
/// a class that the factory makes, is logged and gives an empty name.
QLatin1String identifyMessage(const QJsonValue& entry);

/// The messages of an array, in order. Entries that are not messages are logged and left out.
std::vector<std::unique_ptr<MessageBase>> deserialiseMessages(const QJsonArray& array);
