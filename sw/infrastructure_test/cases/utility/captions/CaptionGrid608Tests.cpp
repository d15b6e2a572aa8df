#include "infrastructure/utility/captions/CaptionGrid608.h"
#include "sw/infrastructure_test/Catch.h"

namespace {

CaptionCell608 cellOf(char16_t glyph, uint32_t extra)
{
    return {6, true, glyph, true, extra};
}

} // namespace

TEST_CASE("A cleared cell keeps all but its validity", "[captions]")
{
    CaptionGrid608 grid;
    CHECK(grid.cell(3, 0) == CaptionCell608{0, false, u'\0', false, 0});
    CHECK(grid.cell(3, 0).text().isEmpty());
    for (unsigned column = 0; column < 32; ++column) {
        grid.row(3).setCell(column, cellOf(u'♪', column));
    }
    CHECK(grid.cell(3, 31) == cellOf(u'♪', 31));
    CHECK(grid.cell(3, 31).text() == "♪"_s);
    CHECK(grid.rowText(3) == QString(32, QChar(u'♪')));
    CHECK(grid.cell(16, 0) == CaptionCell608());
    CHECK(grid.cell(3, 32) == CaptionCell608());
    CHECK(grid.rowText(16).isNull());

    for (unsigned from = 32; from-- > 0;) {
        CaptionGrid608 cleared = grid;
        cleared.row(3).clear(from);
        const int kept = static_cast<int>(from);
        CHECK(cleared.rowText(3) == QString(kept, QChar(u'♪')) + QString(32 - kept, QChar(u' ')));
        CHECK(cleared != grid);
    }
    for (const CaptionCell608& other :
         {CaptionCell608{5, true, u'♪', true, 7}, CaptionCell608{6, false, u'♪', true, 7},
          CaptionCell608{6, true, u'a', true, 7}, CaptionCell608{6, true, u'♪', false, 7},
          CaptionCell608{6, true, u'♪', true, 8}}) {
        CaptionGrid608 changed = grid;
        changed.row(3).setCell(7, other);
        CHECK(changed != grid);
        CHECK(changed.cell(3, 7) == other);
        CHECK(other != cellOf(u'♪', 7));
    }
    grid.clear();
    CaptionCell608 cleared = cellOf(u'♪', 7);
    cleared.valid = false;
    CHECK(grid.cell(3, 7) == cleared);
    CHECK(grid.toString() == QString(16, QLatin1Char('\n')));
    CHECK(grid != CaptionGrid608());
}

TEST_CASE("Rows roll up with all that is in their cells", "[captions]")
{
    for (unsigned top = 0; top < 16; ++top) {
        for (unsigned bottom = top; bottom < 16; ++bottom) {
            CaptionGrid608 grid;
            for (unsigned row = 0; row < 16; ++row) {
                grid.row(row).setCell(5, cellOf(static_cast<char16_t>('A' + row), row));
            }
            grid.rollUp(top, bottom);
            for (unsigned row = 0; row < 16; ++row) {
                CAPTURE(top, bottom, row);
                const unsigned from = row >= top && row < bottom ? row + 1 : row;
                CaptionCell608 expected = cellOf(static_cast<char16_t>('A' + from), from);
                expected.valid = row != bottom;
                CHECK(grid.cell(row, 5) == expected);
            }
        }
    }
}
