#include "infrastructure/utility/captions/CaptionProcessor608.h"

#include "infrastructure/utility/captions/Caption608Characters_p.h"

#include <algorithm>

namespace {

constexpr uint16_t CHANNEL_BIT = 0x0800;
constexpr uint16_t FIELD_BIT = 0x0100; ///< of command codes
constexpr unsigned LAST_ROW = CaptionGrid608::ROWS - 1;
constexpr unsigned LAST_COLUMN = CaptionGrid608::COLUMNS - 1;

enum PairClass : uint8_t {
    PairClass_Ignored,
    PairClass_Special,
    PairClass_Extended,
    PairClass_MidRow,
    PairClass_Preamble,
    PairClass_Command,
};

/// The class of a pair whose first byte is 0x10 to 0x1F.
constexpr PairClass classifyControlPair(unsigned code)
{
    if ((code & 0x7770) == 0x1130) {
        return PairClass_Special;
    }
    if ((code & 0x7660) == 0x1220) {
        return PairClass_Extended;
    }
    if ((code & 0x7770) == 0x1120) {
        return PairClass_MidRow;
    }
    if ((code & 0x7040) == 0x1040) {
        return PairClass_Preamble;
    }
    if ((code & 0x7670) == 0x1420 || (code & 0x7770) == 0x1720) {
        return PairClass_Command;
    }
    return PairClass_Ignored;
}

/// The characters by byte, 0 for control bytes.
constexpr std::array<char16_t, 256> TEXT_CHARACTERS = [] {
    std::array<char16_t, 256> table{};
    for (std::size_t byte = 0x20; byte < table.size(); ++byte) {
        table[byte] = caption608Character(byte - 0x20);
    }
    return table;
}();

constexpr bool isXdsPair(unsigned code)
{
    return ((code & 0x7070) == 0) & ((code & 0x0F0F) != 0);
}

constexpr bool isControlClass(unsigned code)
{
    return (code & 0x7000) == 0x1000;
}

/// Index of a control pair in the table: bits 10 to 8 and 6 to 2 of its code, which are all that
/// the tests look at.
constexpr unsigned controlIndex(unsigned code)
{
    return (code >> 3 & 0xE0) | (code >> 2 & 0x1F);
}

constexpr std::array<PairClass, 256> CONTROL_CLASSES = [] {
    std::array<PairClass, 256> table{};
    for (unsigned code = 0x1000; code < 0x1800; code += 4) {
        table[controlIndex(code)] = classifyControlPair(code);
    }
    return table;
}();

/// Rows of preamble address codes, by the low three bits of the first byte and bit 5 of the second.
/// The unused entry gives the first row, like a row of -1 limited to the grid.
constexpr std::array<uint8_t, 16> PREAMBLE_ROWS{10, 0,  0, 1, 2, 3, 11, 12,
                                                13, 14, 4, 5, 6, 7, 8,  9};

/// Commands in their first-field form.
enum Command : uint16_t {
    Command_RCL = 0x1420, ///< resume caption loading
    Command_BS = 0x1421,  ///< backspace
    Command_DER = 0x1424, ///< delete to end of row
    Command_RU2 = 0x1425, ///< roll-up captions, 2 to 4 rows
    Command_RU3 = 0x1426,
    Command_RU4 = 0x1427,
    Command_RDC = 0x1429, ///< resume direct captioning
    Command_RTD = 0x142B, ///< resume text display
    Command_EDM = 0x142C, ///< erase displayed memory
    Command_CR = 0x142D,  ///< carriage return
    Command_ENM = 0x142E, ///< erase non-displayed memory
    Command_EOC = 0x142F, ///< end of caption: flip memories
    Command_TO1 = 0x1721, ///< tab offset by 1 to 3 columns
    Command_TO2 = 0x1722,
    Command_TO3 = 0x1723,
};

constexpr uint16_t firstFieldForm(unsigned code)
{
    code &= ~unsigned{CHANNEL_BIT};
    return static_cast<uint16_t>((code & 0x0200) != 0 ? code : code & ~unsigned{FIELD_BIT});
}

char16_t specialCharacter(unsigned code)
{
    return caption608Character((code & ~unsigned{CHANNEL_BIT}) - 0x10D0u);
}

char16_t extendedCharacter(unsigned code)
{
    const unsigned firstOfSet = (code & 0x0100) != 0 ? 0x1290u : 0x11B0u;
    return caption608Character((code & ~unsigned{CHANNEL_BIT}) - firstOfSet);
}

} // namespace

/// Writes the text between two control pairs, holding the part of the processor's state that it
/// works on; the processor gets it back when the run is destroyed.
class CaptionProcessor608::TextRun
{
public:
    explicit TextRun(CaptionProcessor608& owner)
        : processor(owner)
        , line(owner.targetRow())
        , look(u'\0', owner.colour, owner.underline)
        , column(owner.column)
        , isIgnoring(owner.ignoringText)
    {
    }
    TextRun(const TextRun&) = delete;
    TextRun& operator=(const TextRun&) = delete;
    ~TextRun()
    {
        line.setValid(writtenColumns);
        processor.column = static_cast<uint8_t>(column);
        processor.ignoringText = isIgnoring;
        if (writtenColumns != 0 && processor.mode != CaptionMode608_PopOn) {
            processor.pendingChange = true;
            ++processor.revision;
        }
    }

    /// Any pair but a control pair.
    void process(uint16_t code)
    {
        if ((code & 0x6000) == 0) {
            isIgnoring |= isXdsPair(code);
        } else if (!isIgnoring && processor.mode != CaptionMode608_Text) {
            write(TEXT_CHARACTERS[code >> 8]);
            write(TEXT_CHARACTERS[code & 0xFF]);
        }
    }

    void write(char16_t glyph)
    {
        if (glyph != 0) {
            line.write(column, look.withGlyph(glyph));
            writtenColumns |= uint32_t{1} << column;
            column += column < LAST_COLUMN ? 1 : 0;
        }
    }

private:
    CaptionProcessor608& processor;
    CaptionRow608& line;
    const CaptionLook608 look;
    unsigned column;
    uint32_t writtenColumns = 0; ///< bit n: column n
    bool isIgnoring;
};

// The functions that every pair passes through are inline: in position-independent code a compiler
// may not inline them by itself.

inline bool CaptionProcessor608::isSelected(const Caption608BytePair& record) const
{
    return fieldSelect ==
           (record.isField1 ? CaptionFieldSelect608_Field1 : CaptionFieldSelect608_Field2);
}

/// True for the second of two equal control pairs in a row. A first byte beyond 0x1F, as with the
/// parity bit set, is not a control pair for this rule.
inline bool CaptionProcessor608::isRepeated(uint16_t code)
{
    if (code >> 12 != 1) {
        lastControlCode = 0;
        return false;
    }
    ignoringText = false;
    const bool isSecond = code == lastControlCode;
    lastControlCode = isSecond ? 0 : code;
    return isSecond;
}

inline bool CaptionProcessor608::processControl(uint16_t code, int channel)
{
    if (isRepeated(code)) {
        return false;
    }
    const bool forThisChannel = ((code & CHANNEL_BIT) != 0 ? 1 : 0) == channel;
    switch (forThisChannel ? CONTROL_CLASSES[controlIndex(code)] : PairClass_Ignored) {
    case PairClass_Ignored:
        return false;
    case PairClass_Special:
        if (acceptsText()) {
            TextRun(*this).write(specialCharacter(code));
        }
        return false;
    case PairClass_Extended:
        if (acceptsText()) {
            writeExtendedCharacter(code);
        }
        return false;
    case PairClass_MidRow:
        setMidRowAttributes(code);
        return false;
    case PairClass_Preamble:
        setPreambleAddress(code);
        return false;
    case PairClass_Command:
        return processCommand(firstFieldForm(code));
    }
    return false;
}

inline bool CaptionProcessor608::processControlAndReport(uint16_t code, int channel)
{
    const bool changed = processControl(code, channel);
    pendingChange = pendingChange && !changed;
    revision += changed ? 1 : 0;
    return changed;
}

bool CaptionProcessor608::process(uint16_t code, int channel)
{
    if (isControlClass(code)) {
        return processControlAndReport(code, channel);
    }
    lastControlCode = 0;
    TextRun(*this).process(code);
    return false;
}

bool CaptionProcessor608::processRecord(const Caption608BytePair& record)
{
    return processPairs(&record, 1);
}

bool CaptionProcessor608::processPairs(const Caption608BytePair* records, std::size_t count)
{
    bool changed = false;
    for (std::size_t i = 0; i < count;) {
        for (TextRun run(*this); i < count && !isControlClass(records[i].code()); ++i) {
            if (isSelected(records[i])) {
                lastControlCode = 0;
                run.process(records[i].code());
            }
        }
        for (; i < count && isControlClass(records[i].code()); ++i) {
            changed |= isSelected(records[i]) && processControlAndReport(records[i].code(), 0);
        }
    }
    return changed;
}

bool CaptionProcessor608::processPairs(const std::vector<Caption608BytePair>& records)
{
    return processPairs(records.data(), records.size());
}

void CaptionProcessor608::writeExtendedCharacter(uint16_t code)
{
    if (column > 0) {
        --column; // replaces the character for receivers without the extended sets
    }
    TextRun(*this).write(extendedCharacter(code));
}

///  bit  3 to 1   0
///       colour   underline
void CaptionProcessor608::setMidRowAttributes(uint16_t code)
{
    colour = code >> 1 & 7;
    underline = (code & 1) != 0;
}

///  bit  10 to 8, 5   4   3 to 1            0
///       row          0   colour, column 0  underline
///                    1   column / 4        underline
void CaptionProcessor608::setPreambleAddress(uint16_t code)
{
    const bool isIndent = (code & 0x10) != 0;
    const unsigned field = code >> 1 & 7;
    row = PREAMBLE_ROWS[(code >> 7 & 0xE) | (code >> 5 & 1)];
    underline = (code & 1) != 0;
    colour = isIndent ? 0 : field;
    column = static_cast<uint8_t>(isIndent ? field * 4 : 0);
}

bool CaptionProcessor608::processCommand(uint16_t code)
{
    const bool isText = mode == CaptionMode608_Text;
    switch (code) {
    case Command_RCL:
        mode = CaptionMode608_PopOn;
        return false;
    case Command_BS:
        return backspace();
    case Command_DER:
        if (!isText) {
            targetRow().clear(column);
        }
        return !isText && showsTarget();
    case Command_RU2:
    case Command_RU3:
    case Command_RU4:
        startRollUp(static_cast<uint8_t>(code - Command_RU2 + 2));
        return false;
    case Command_RDC:
        mode = CaptionMode608_PaintOn;
        return false;
    case Command_RTD:
        mode = CaptionMode608_Text;
        return false;
    case Command_EDM:
        if (!isText) {
            displayed().clear();
        }
        return !isText;
    case Command_CR:
        return carriageReturn();
    case Command_ENM:
        if (!isText) {
            nonDisplayed().clear();
        }
        return false;
    case Command_EOC:
        mode = CaptionMode608_PopOn;
        gridsSwapped = !gridsSwapped;
        return true;
    case Command_TO1:
    case Command_TO2:
    case Command_TO3:
        if (!isText) {
            tab(code - Command_TO1 + 1u);
        }
        return false;
    default: // alarms, flash, text restart, character sets and backgrounds: no effect on a caption
        return false;
    }
}

bool CaptionProcessor608::backspace()
{
    if (column == 0) {
        return false;
    }
    if (mode != CaptionMode608_Text) {
        --column;
    }
    targetRow().clearCell(column);
    return showsTarget();
}

void CaptionProcessor608::startRollUp(uint8_t windowRows)
{
    if (mode != CaptionMode608_RollUp) {
        grids[0].clear();
        grids[1].clear();
        ++revision;
    }
    rollUpRows = windowRows;
    mode = CaptionMode608_RollUp;
}

/// In roll-up and text modes the window in the displayed grid rolls. In the others the cursor moves
/// down; at the bottom the whole grid moves up.
bool CaptionProcessor608::carriageReturn()
{
    if (mode == CaptionMode608_RollUp || mode == CaptionMode608_Text) {
        const unsigned top = row + 1u < rollUpRows ? 0u : row + 1u - rollUpRows;
        displayed().rollUp(top, row);
        return true;
    }
    if (row < LAST_ROW) {
        ++row;
        return false;
    }
    targetGrid().rollUp(0, LAST_ROW);
    return true;
}

void CaptionProcessor608::tab(unsigned columns)
{
    column = static_cast<uint8_t>(std::min<unsigned>(column + columns, LAST_COLUMN));
}
