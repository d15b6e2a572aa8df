// Catch with the text forms of Qt's strings, so that a failed check shows them. Every case includes
// this in place of the framework's own header.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <catch2/catch.hpp>

#include <tuple>
#include <vector>

namespace Catch {

template <>
struct StringMaker<QString>
{
    static std::string convert(const QString& text)
    {
        return text.isNull() ? "(null)" : '"' + text.toStdString() + '"';
    }
};

template <>
struct StringMaker<QStringList>
{
    static std::string convert(const QStringList& strings)
    {
        return "{\"" + strings.join(QLatin1String("\", \"")).toStdString() + "\"}";
    }
};

template <>
struct StringMaker<QByteArray>
{
    static std::string convert(const QByteArray& bytes)
    {
        return '"' + bytes.toStdString() + "\" (hex " + bytes.toHex(' ').toStdString() + ")";
    }
};

} // namespace Catch

/// A string as in Qt 6: "text"_s, in UTF-8.
inline QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, static_cast<int>(size));
}

/// The rows that a case goes through, taken apart as [column, column].
template <typename... Columns>
using Table = std::vector<std::tuple<Columns...>>;
