#include "infrastructure/utility/captions/CaptionGrid608.h"

#include <algorithm>

QString CaptionRow608::text() const
{
    QString text(int{COLUMNS}, QLatin1Char(' '));
    for (unsigned column = 0; column < COLUMNS; ++column) {
        const CaptionCell608 shown = cell(column);
        if (shown.valid && shown.glyph != 0) {
            text[column] = QChar(shown.glyph);
        }
    }
    return text;
}

void CaptionRow608::setCell(unsigned column, const CaptionCell608& cell)
{
    contents[column] = {CaptionLook608(cell.glyph, cell.colour, cell.underline), cell.extra};
    validColumns = (validColumns & ~(uint32_t{1} << column)) | uint32_t{cell.valid} << column;
}

bool operator==(const CaptionRow608& a, const CaptionRow608& b)
{
    return a.validColumns == b.validColumns &&
           std::equal(a.contents.begin(), a.contents.end(), b.contents.begin(),
                      [](const CaptionRow608::Content& mine, const CaptionRow608::Content& other) {
                          return mine.look == other.look && mine.extra == other.extra;
                      });
}

CaptionCell608 CaptionGrid608::cell(unsigned row, unsigned column) const
{
    return row < ROWS && column < COLUMNS ? rows[row].cell(column) : CaptionCell608();
}

QString CaptionGrid608::rowText(unsigned row) const
{
    return row < ROWS ? rows[row].text() : QString();
}

QString CaptionGrid608::toString() const
{
    QString text;
    for (const CaptionRow608& row : rows) {
        text += row.text();
        while (text.endsWith(QLatin1Char(' '))) {
            text.chop(1);
        }
        text += QLatin1Char('\n');
    }
    return text;
}

void CaptionGrid608::clear()
{
    for (CaptionRow608& row : rows) {
        row.clear();
    }
}

void CaptionGrid608::rollUp(unsigned top, unsigned bottom)
{
    std::copy(rows.begin() + top + 1, rows.begin() + bottom + 1, rows.begin() + top);
    rows[bottom].clear();
}
