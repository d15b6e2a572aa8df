// The windows of one caption service of CEA-708, as far as their text. One thread.
#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>

/// A window: its size, whether it is seen, and its characters. Size and place of the window on the
/// screen, pens and colours are not kept.
class CaptionWindow708
{
public:
    static constexpr unsigned MAX_ROWS = 15;
    static constexpr unsigned MAX_COLUMNS = 42;

    bool isDefined() const { return rows != 0; }
    bool isVisible() const { return isDefined() && visible; }
    unsigned getRows() const { return rows; }
    unsigned getColumns() const { return columns; }
    /// 0, in front, to 7.
    unsigned getPriority() const { return priority; }
    /// The characters of a row from 0, without the blanks behind them; empty outside the window.
    QString rowText(unsigned row) const;
    /// The rows that are not blank, one per line.
    QString text() const;

private:
    friend class CaptionService708;

    void clear();
    void write(char16_t character);
    void newLine();
    void backspace();

    uint8_t rows = 0; ///< 0: not defined
    uint8_t columns = 0;
    uint8_t priority = 0;
    bool visible = false;
    uint8_t row = 0; ///< of the pen
    uint8_t column = 0;
    std::array<std::array<char16_t, MAX_COLUMNS>, MAX_ROWS> characters{}; ///< 0: blank
};

/// Obeys the codes of a service: text of all sets (characters without a Unicode equivalent are
/// "_"), and what defines, selects, shows, hides, clears and deletes windows and moves the pen. A
/// line that is full takes no more; lines that roll move up. Delays are not waited for, attributes
/// are passed over. Any bytes are valid. A size beyond 15 rows or 42 columns is limited to that.
class CaptionService708
{
public:
    static constexpr unsigned WINDOWS = 8;

    /// Obeys the codes of one service block. False if the last code is cut; it is dropped.
    bool processBlock(const uint8_t* bytes, std::size_t size);

    /// A window, 0 to 7; an undefined one for any other number.
    const CaptionWindow708& window(unsigned number) const;
    /// The text of the windows that are seen, in order of priority.
    QString text() const;
    /// Another number whenever what is seen may have changed.
    uint32_t getRevision() const { return revision; }

private:
    void processCode(const uint8_t* bytes);
    void processC0(uint8_t code);
    void processC1(const uint8_t* bytes);
    void processWindowSet(uint8_t code, uint8_t windowBits);
    void defineWindow(const uint8_t* bytes);
    void write(char16_t character);
    CaptionWindow708* current();
    void noteChange(const CaptionWindow708& changed) { revision += changed.isVisible() ? 1 : 0; }

    std::array<CaptionWindow708, WINDOWS> windows;
    unsigned currentWindow = WINDOWS; ///< WINDOWS: none
    uint32_t revision = 0;
};
