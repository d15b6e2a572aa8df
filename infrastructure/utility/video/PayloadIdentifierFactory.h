// Makes identifiers from four bytes, with the kind chosen by byte 0, and converts the bytes to and
// from text.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierVariant.h"

#include <QString>
#include <QStringView>

#include <memory>
#include <optional>

/// The facts of the interface that this byte 0 stands for, or null.
const PayloadIdentifierFacts* findPayloadIdentifierFacts(quint32 payloadByte);

/// The identifier of the kind that byte 0, the top byte, selects; null if it selects none. It tells
/// its kind by its facts, not by a class of its own.
std::shared_ptr<const PayloadIdentifierVariant> createPayloadIdentifier(quint32 rawValue);

/// Four decimal numbers from 0 to 255, byte 0 first, with one blank between; nothing for any other
/// text.
///
///   "137 201 0 1" => 0x89C90001
std::optional<quint32> parsePayloadIdentifierBytes(QStringView text);

/// 0x89C90001 => "137 201 0 1"
QString getPayloadIdentifierText(quint32 rawValue);

/// What the value of a field stands for: "59.94", "progressive"; the number itself where it has no
/// name. The picture rate is that of fields where the picture is interlaced.
QString getPayloadIdentifierFieldText(const PayloadIdentifierBase& identifier,
                                      PayloadIdentifierKey key);
