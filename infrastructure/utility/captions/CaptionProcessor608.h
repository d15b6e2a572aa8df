// What a receiver shows of a CEA-608 caption service, worked out from line 21 pairs. One thread.
#pragma once

#include "infrastructure/utility/captions/Caption608BytePair.h"
#include "infrastructure/utility/captions/CaptionGrid608.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Which records a processor accepts.
enum CaptionFieldSelect608 : uint8_t {
    CaptionFieldSelect608_Field1, ///< those with the field flag set
    CaptionFieldSelect608_Field2, ///< those with it clear
    CaptionFieldSelect608_None,
};

/// How text reaches the displayed picture.
enum CaptionMode608 : uint8_t {
    CaptionMode608_PaintOn, ///< written where it is seen
    CaptionMode608_PopOn,   ///< written unseen, shown at once
    CaptionMode608_RollUp,  ///< written at the foot of a window that rolls
    CaptionMode608_Text,    ///< text service: discarded
};

/// Keeps the displayed and the non-displayed picture of one data channel: control pairs, special
/// and extended characters of the other are ignored. Printable pairs name no channel, so the text
/// of either is written. Any input is accepted; what has no meaning is ignored. A control pair that
/// comes twice in a row, as is usual, acts once. Mid-row codes change the attributes of what
/// follows and take up no column.
class CaptionProcessor608
{
public:
    /// The picture that is seen.
    const CaptionGrid608& displayedGrid() const { return grids[gridsSwapped ? 1 : 0]; }
    /// The picture that pop-on text is written to.
    const CaptionGrid608& nonDisplayedGrid() const { return grids[gridsSwapped ? 0 : 1]; }
    CaptionMode608 getMode() const { return mode; }
    /// True if characters have been written to the displayed picture since the last change was
    /// reported. Text by itself reports no change.
    bool hasPendingChange() const { return pendingChange; }
    /// Another number whenever the displayed picture may have changed, by text or otherwise: who
    /// shows it copies it only then.
    uint32_t getRevision() const { return revision; }

    /// Initially none.
    void setFieldSelect(CaptionFieldSelect608 value) { fieldSelect = value; }

    /// Processes all records in order. True if the displayed picture should be drawn again.
    bool processPairs(const std::vector<Caption608BytePair>& records);
    /// The same for records given by pointer and count.
    bool processPairs(const Caption608BytePair* records, std::size_t count);
    /// Processes one record of the selected field for the first data channel.
    bool processRecord(const Caption608BytePair& record);
    /// Processes one pair, with the first byte in the high byte, and obeys the control pairs of
    /// data channel 0 or 1: CC1 and CC2 of field 1, CC3 and CC4 of field 2. True if the displayed
    /// picture should be drawn again.
    bool process(uint16_t code, int channel);

private:
    /// The row of the cursor in the grid that commands and text work on.
    CaptionRow608& targetRow() { return targetGrid().row(row); }
    CaptionGrid608& targetGrid() { return grids[gridsSwapped == showsTarget() ? 1 : 0]; }
    CaptionGrid608& displayed() { return grids[gridsSwapped ? 1 : 0]; }
    CaptionGrid608& nonDisplayed() { return grids[gridsSwapped ? 0 : 1]; }
    bool showsTarget() const { return (mode & 1) == 0; }
    bool acceptsText() const { return !ignoringText && (mode != CaptionMode608_Text); }

    class TextRun;

    bool isSelected(const Caption608BytePair& record) const;
    bool processControlAndReport(uint16_t code, int channel);
    bool processControl(uint16_t code, int channel);
    bool isRepeated(uint16_t code);
    void writeExtendedCharacter(uint16_t code);
    void setMidRowAttributes(uint16_t code);
    void setPreambleAddress(uint16_t code);
    bool processCommand(uint16_t code);
    bool backspace();
    void startRollUp(uint8_t windowRows);
    bool carriageReturn();
    void tab(unsigned columns);

    uint8_t row = 15;
    uint8_t column = 0;
    uint8_t rollUpRows = 2;
    CaptionMode608 mode = CaptionMode608_PaintOn;
    bool pendingChange = false;
    CaptionFieldSelect608 fieldSelect = CaptionFieldSelect608_None;
    bool underline = false;
    bool ignoringText = false; ///< since an XDS pair
    bool gridsSwapped = false;
    uint32_t colour = 0;
    uint32_t revision = 0;
    uint16_t lastControlCode = 0;
    std::array<CaptionGrid608, 2> grids{};
};
