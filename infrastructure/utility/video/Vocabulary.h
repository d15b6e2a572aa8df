// Look-ups in a vocabulary: a constexpr table whose rows each hold one value with all its texts.
// The tables are short, and a look-up walks them. Pure functions, usable in constants.
//
// A row holds its texts themselves rather than pointers to them: pointers would be set each time a
// library is loaded, and the table's memory would be each process's own.
#pragma once

#include <QLatin1String>
#include <QStringView>

#include <cstddef>
#include <string_view>

namespace Tessorn {
namespace Vocabulary {

/// One word: a value and the text that is shown for it.
template <typename Value>
struct Row
{
    Value value;
    char text[24]; ///< ASCII
};

/// A view of ASCII text, which must outlive it.
constexpr QLatin1String latin1(std::string_view text)
{
    return QLatin1String(text.data(), static_cast<int>(text.size()));
}

/// The row of a value, or null.
template <typename TableRow, std::size_t count, typename Value>
constexpr const TableRow* find(const TableRow (&table)[count], Value value)
{
    for (const TableRow& row : table) {
        if (row.value == value) {
            return &row;
        }
    }
    return nullptr;
}

/// The text of a value, or `otherwise` if the table has no such value.
template <typename TableRow, std::size_t count, typename Value>
constexpr QLatin1String text(const TableRow (&table)[count], Value value,
                             std::string_view otherwise = {})
{
    const TableRow* row = find(table, value);
    return latin1(row != nullptr ? row->text : otherwise);
}

/// The first row with exactly this text, or null.
template <typename TableRow, std::size_t count>
const TableRow* findText(const TableRow (&table)[count], QStringView wanted)
{
    for (const TableRow& row : table) {
        if (wanted == latin1(row.text)) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace Vocabulary
} // namespace Tessorn
