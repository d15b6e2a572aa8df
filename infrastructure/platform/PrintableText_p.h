// Text from a file, made fit to be shown on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace Tessorn {

/// The text up to a NUL, with "?" for control characters.
inline std::string printableText(std::string_view text)
{
    std::string shown(text.substr(0, text.find('\0')));
    for (char& character : shown) {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code == 0x7F) {
            character = '?';
        }
    }
    return shown;
}

} // namespace Tessorn
