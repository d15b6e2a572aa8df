#include "infrastructure/utility/captions/CaptionService708.h"

#include <QStringList>

#include <algorithm>

namespace {

constexpr char16_t NO_EQUIVALENT = u'_';
constexpr uint8_t EXTENSION = 0x10; ///< the next byte is of the second half of the code space

/// The characters of the second set (G2) that have a meaning.
struct ExtendedCharacter
{
    uint8_t code;
    char16_t character;
};
constexpr ExtendedCharacter EXTENDED_CHARACTERS[] = {
    {0x20, u' '}, {0x21, u'\u00A0'}, {0x25, u'…'}, {0x2A, u'Š'}, {0x2C, u'Œ'}, {0x30, u'█'},
    {0x31, u'‘'}, {0x32, u'’'},      {0x33, u'“'}, {0x34, u'”'}, {0x35, u'•'}, {0x39, u'™'},
    {0x3A, u'š'}, {0x3C, u'œ'},      {0x3D, u'℠'}, {0x3F, u'Ÿ'}, {0x76, u'⅛'}, {0x77, u'⅜'},
    {0x78, u'⅝'}, {0x79, u'⅞'},      {0x7A, u'│'}, {0x7B, u'┐'}, {0x7C, u'└'}, {0x7D, u'─'},
    {0x7E, u'┘'}, {0x7F, u'┌'},
};

char16_t extendedCharacter(uint8_t code)
{
    const auto row =
        std::find_if(std::begin(EXTENDED_CHARACTERS), std::end(EXTENDED_CHARACTERS),
                     [code](const ExtendedCharacter& candidate) { return candidate.code == code; });
    return row == std::end(EXTENDED_CHARACTERS) ? NO_EQUIVALENT : row->character;
}

enum Control : uint8_t {
    Control_BS = 0x08,  ///< backspace
    Control_FF = 0x0C,  ///< form feed: clear the window
    Control_CR = 0x0D,  ///< carriage return
    Control_HCR = 0x0E, ///< horizontal carriage return: clear the row
    Control_P16 = 0x18, ///< a character of 16 bits
    Control_CW0 = 0x80, ///< set the current window, 0 to 7
    Control_CLW = 0x88, ///< clear windows
    Control_DSW = 0x89, ///< display windows
    Control_HDW = 0x8A, ///< hide windows
    Control_TGW = 0x8B, ///< toggle windows
    Control_DLW = 0x8C, ///< delete windows
    Control_RST = 0x8F, ///< reset
    Control_SPL = 0x92, ///< set the pen's location
    Control_DF0 = 0x98, ///< define a window, 0 to 7
    Control_LAST = 0x9F,
};

/// Bytes of the codes 0x80 to 0x9F.
constexpr uint8_t CONTROL_BYTES[32] = {1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2, 1, 1,
                                       3, 4, 3, 1, 1, 1, 1, 5, 7, 7, 7, 7, 7, 7, 7, 7};

/// Bytes of the code that begins here; more than `size` if it is cut.
std::size_t codeBytes(const uint8_t* bytes, std::size_t size)
{
    const uint8_t code = bytes[0];
    if (code != EXTENSION) {
        if (code < EXTENSION) {
            return 1;
        }
        if (code < 0x20) {
            return code < Control_P16 ? 2 : 3;
        }
        return code >= Control_CW0 && code <= Control_LAST ? CONTROL_BYTES[code - Control_CW0] : 1;
    }
    if (size < 2) {
        return 2;
    }
    const uint8_t extended = bytes[1];
    if (extended < 0x20) {
        return 2u + extended / 8;
    }
    if (extended >= 0x80 && extended < 0x90) {
        return extended < 0x88 ? 6 : 7;
    }
    if (extended >= 0x90 && extended < 0xA0) { // with its length
        return size < 3 ? 3 : 3u + (bytes[2] & 0x1F);
    }
    return 2;
}

} // namespace

QString CaptionWindow708::rowText(unsigned index) const
{
    QString text;
    if (index < rows) {
        for (unsigned i = 0; i < columns; ++i) {
            const char16_t character = characters[index][i];
            text += QChar(character == 0 ? u' ' : character);
        }
    }
    while (text.endsWith(QLatin1Char(' '))) {
        text.chop(1);
    }
    return text;
}

QString CaptionWindow708::text() const
{
    QStringList lines;
    for (unsigned i = 0; i < rows; ++i) {
        lines.append(rowText(i));
    }
    lines.removeAll(QString());
    return lines.join(QLatin1Char('\n'));
}

void CaptionWindow708::clear()
{
    characters = {};
}

void CaptionWindow708::write(char16_t character)
{
    if (column < columns) {
        characters[row][column++] = character;
    }
}

void CaptionWindow708::newLine()
{
    column = 0;
    if (row + 1u < rows) {
        ++row;
        return;
    }
    std::copy(characters.begin() + 1, characters.begin() + rows, characters.begin());
    characters[row] = {};
}

void CaptionWindow708::backspace()
{
    if (column > 0) {
        characters[row][--column] = 0;
    }
}

bool CaptionService708::processBlock(const uint8_t* bytes, std::size_t size)
{
    while (size > 0) {
        const std::size_t length = codeBytes(bytes, size);
        if (length > size) {
            return false;
        }
        processCode(bytes);
        bytes += length;
        size -= length;
    }
    return true;
}

/// Obeys a code that is whole.
void CaptionService708::processCode(const uint8_t* bytes)
{
    const uint8_t code = bytes[0];
    if (code == EXTENSION) {
        if (bytes[1] >= 0x20 && (bytes[1] < 0x80 || bytes[1] >= 0xA0)) {
            write(bytes[1] < 0x80 ? extendedCharacter(bytes[1]) : NO_EQUIVALENT);
        }
    } else if (code == Control_P16) {
        write(NO_EQUIVALENT);
    } else if (code < 0x20) {
        processC0(code);
    } else if (code >= Control_CW0 && code <= Control_LAST) {
        processC1(bytes);
    } else {
        write(code == 0x7F ? u'♪' : char16_t{code}); // ASCII and Latin 1
    }
}

void CaptionService708::processC0(uint8_t code)
{
    CaptionWindow708* const window = current();
    if (window == nullptr) {
        return;
    }
    switch (code) {
    case Control_BS:
        window->backspace();
        break;
    case Control_FF:
        window->clear();
        window->row = 0;
        window->column = 0;
        break;
    case Control_CR:
        window->newLine();
        break;
    case Control_HCR:
        window->characters[window->row] = {};
        window->column = 0;
        break;
    default: // nothing that is seen
        return;
    }
    noteChange(*window);
}

void CaptionService708::processC1(const uint8_t* bytes)
{
    const uint8_t code = bytes[0];
    if (code < Control_CLW) {
        const unsigned number = code - Control_CW0;
        currentWindow = windows[number].isDefined() ? number : currentWindow;
    } else if (code <= Control_DLW) {
        processWindowSet(code, bytes[1]);
    } else if (code == Control_RST) {
        processWindowSet(Control_DLW, 0xFF);
    } else if (code == Control_SPL) {
        if (CaptionWindow708* const window = current()) {
            window->row =
                static_cast<uint8_t>(std::min<unsigned>(bytes[1] & 0x0F, window->rows - 1u));
            window->column =
                static_cast<uint8_t>(std::min<unsigned>(bytes[2] & 0x3F, window->columns - 1u));
        }
    } else if (code >= Control_DF0) {
        defineWindow(bytes);
    }
}

void CaptionService708::processWindowSet(uint8_t code, uint8_t windowBits)
{
    for (unsigned number = 0; number < WINDOWS; ++number) {
        CaptionWindow708& window = windows[number];
        if ((windowBits >> number & 1) == 0 || !window.isDefined()) {
            continue;
        }
        const bool wasVisible = window.visible;
        if (code == Control_CLW) {
            window.clear();
        } else if (code == Control_DLW) {
            window = CaptionWindow708();
            currentWindow = currentWindow == number ? WINDOWS : currentWindow;
        } else {
            window.visible = code == Control_DSW || (code == Control_TGW && !wasVisible);
        }
        revision += wasVisible || window.visible ? 1 : 0;
    }
}

///  byte  1                               2       3       4             5            6
///        00, visible, locks, priority    anchor  anchor  anchor, rows  00, columns  styles
///
/// A window that is there keeps the text that it still has room for.
void CaptionService708::defineWindow(const uint8_t* bytes)
{
    currentWindow = bytes[0] - Control_DF0;
    CaptionWindow708& window = windows[currentWindow];
    const bool wasVisible = window.isVisible();
    const auto limited = [](unsigned count, unsigned most) {
        return static_cast<uint8_t>(std::min(count + 1, most));
    };
    window.rows = limited(bytes[4] & 0x0F, CaptionWindow708::MAX_ROWS);
    window.columns = limited(bytes[5] & 0x3F, CaptionWindow708::MAX_COLUMNS);
    window.visible = (bytes[1] & 0x20) != 0;
    window.priority = bytes[1] & 0x07;
    window.row = std::min<uint8_t>(window.row, static_cast<uint8_t>(window.rows - 1));
    window.column = std::min(window.column, window.columns);
    for (unsigned row = 0; row < CaptionWindow708::MAX_ROWS; ++row) {
        auto& characters = window.characters[row];
        std::fill(characters.begin() + (row < window.rows ? window.columns : 0), characters.end(),
                  char16_t{0});
    }
    revision += wasVisible || window.visible ? 1 : 0;
}

void CaptionService708::write(char16_t character)
{
    if (CaptionWindow708* const window = current()) {
        window->write(character);
        noteChange(*window);
    }
}

CaptionWindow708* CaptionService708::current()
{
    return currentWindow < WINDOWS ? &windows[currentWindow] : nullptr;
}

const CaptionWindow708& CaptionService708::window(unsigned number) const
{
    static const CaptionWindow708 undefined;
    return number < WINDOWS ? windows[number] : undefined;
}

QString CaptionService708::text() const
{
    QStringList texts;
    for (unsigned priority = 0; priority < 8; ++priority) {
        for (const CaptionWindow708& window : windows) {
            if (window.isVisible() && window.priority == priority) {
                texts.append(window.text());
            }
        }
    }
    texts.removeAll(QString());
    return texts.join(QLatin1Char('\n'));
}
