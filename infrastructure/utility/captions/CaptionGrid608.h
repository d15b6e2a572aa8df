// A picture of caption characters: 16 rows of 32 cells. A value of plain memory, about 4 KiB.
#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

/// One character position, as handed out.
struct CaptionCell608
{
    uint32_t colour = 0; ///< CEA-608 number: 0 white to 6 magenta, 7 italics
    bool underline = false;
    char16_t glyph = 0; ///< one character, 0 for none
    bool valid = false; ///< false: blank, whatever the other fields hold
    uint32_t extra = 0; ///< moves with the cell; otherwise untouched

    /// The glyph as text; empty if there is none.
    QString text() const { return glyph == 0 ? QString() : QString(QChar(glyph)); }

    auto values() const { return std::tie(colour, underline, glyph, valid, extra); }
};

inline bool operator==(const CaptionCell608& a, const CaptionCell608& b)
{
    return a.values() == b.values();
}
inline bool operator!=(const CaptionCell608& a, const CaptionCell608& b)
{
    return !(a == b);
}

/// What a cell shows, in one word:
///
///   bit  24         18 to 16  15 to 0
///        underline  colour    glyph
class CaptionLook608
{
public:
    CaptionLook608() = default;
    constexpr CaptionLook608(char16_t glyph, uint32_t colour, bool underline)
        : word(uint32_t{glyph} | (colour & 7) << 16 | uint32_t{underline} << 24)
    {
    }

    constexpr char16_t glyph() const { return static_cast<char16_t>(word); }
    constexpr uint32_t colour() const { return word >> 16 & 7; }
    constexpr bool underline() const { return word >> 24 != 0; }

    /// The same with another glyph.
    constexpr CaptionLook608 withGlyph(char16_t newGlyph) const
    {
        CaptionLook608 look;
        look.word = (word & 0xFFFF0000) | newGlyph;
        return look;
    }

    friend constexpr bool operator==(CaptionLook608 a, CaptionLook608 b)
    {
        return a.word == b.word;
    }

    friend constexpr bool operator!=(CaptionLook608 a, CaptionLook608 b) { return !(a == b); }

private:
    uint32_t word = 0;
};

/// The cells of one row. Their validity is kept in a separate word, so that clearing is one store.
class CaptionRow608
{
public:
    static constexpr unsigned COLUMNS = 32;

    /// The cell of a column from 0 to 31.
    CaptionCell608 cell(unsigned column) const
    {
        const Content& content = contents[column];
        return {content.look.colour(), content.look.underline(), content.look.glyph(),
                (validColumns >> column & 1) != 0, content.extra};
    }
    /// The 32 characters, with a blank for each blank cell.
    QString text() const;

    /// Sets a cell, including its validity, at a column from 0 to 31.
    void setCell(unsigned column, const CaptionCell608& cell);
    /// Writes into a cell without changing its validity: see setValid.
    void write(unsigned column, CaptionLook608 look) { contents[column].look = look; }
    /// Makes the cells of the columns whose bits are set valid.
    void setValid(uint32_t columnBits) { validColumns |= columnBits; }
    /// Makes the cells from `column` to the end invalid and leaves their content.
    void clear(unsigned column = 0) { validColumns &= (uint32_t{1} << column) - 1; }
    /// Makes one cell invalid and leaves its content.
    void clearCell(unsigned column) { validColumns &= ~(uint32_t{1} << column); }

    friend bool operator==(const CaptionRow608& a, const CaptionRow608& b);

private:
    struct Content
    {
        CaptionLook608 look;
        uint32_t extra = 0;
    };

    std::array<Content, COLUMNS> contents{};
    uint32_t validColumns = 0; ///< bit n: column n
};

inline bool operator!=(const CaptionRow608& a, const CaptionRow608& b)
{
    return !(a == b);
}

static_assert(sizeof(CaptionRow608) == 32 * 8 + 4 && std::is_trivially_copyable_v<CaptionRow608>,
              "rows move as plain memory");

/// The rows, numbered from 0 at the top.
class CaptionGrid608
{
public:
    static constexpr unsigned ROWS = 16;
    static constexpr unsigned COLUMNS = CaptionRow608::COLUMNS;

    /// The cell at a row and column, both from 0; a blank one outside the grid.
    CaptionCell608 cell(unsigned row, unsigned column) const;
    /// The 32 characters of a row, with a blank for each blank cell; empty for a row outside the
    /// grid.
    QString rowText(unsigned row) const;
    /// All rows, one per line, without trailing blanks.
    QString toString() const;

    /// The row at an index from 0 to 15.
    CaptionRow608& row(unsigned index) { return rows[index]; }
    const CaptionRow608& row(unsigned index) const { return rows[index]; }
    /// Makes all cells invalid and leaves their content.
    void clear();
    /// Moves the rows below `top` up by one, down to `bottom`, whose cells become invalid.
    void rollUp(unsigned top, unsigned bottom);

    friend bool operator==(const CaptionGrid608& a, const CaptionGrid608& b)
    {
        return a.rows == b.rows;
    }

private:
    std::array<CaptionRow608, ROWS> rows{};
};

inline bool operator!=(const CaptionGrid608& a, const CaptionGrid608& b)
{
    return !(a == b);
}
