// Reads numbers and words from the front of a text of known length. A value.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>

namespace Tessorn {

/// A view of the rest of a text. A step that fails leaves it as it was.
class TextScanner
{
public:
    explicit TextScanner(std::string_view text)
        : remaining(text)
    {
    }

    std::string_view rest() const { return remaining; }
    bool atEnd() const { return remaining.empty(); }

    /// Steps over blanks and TABs.
    void skipBlanks()
    {
        remaining.remove_prefix(std::min(remaining.find_first_not_of(" \t"), remaining.size()));
    }

    /// Steps over this text if it is next.
    bool skip(std::string_view text)
    {
        if (remaining.substr(0, text.size()) != text) {
            return false;
        }
        remaining.remove_prefix(text.size());
        return true;
    }

    /// Reads a number of at most that many characters; false if there is none or it does not fit.
    /// Only a signed type accepts a "-".
    template <typename Number>
    bool number(Number& value, int base = 10, std::size_t mostCharacters = std::string_view::npos)
    {
        const std::string_view field = remaining.substr(0, mostCharacters);
        Number parsed{};
        const auto [end, failure] =
            std::from_chars(field.data(), field.data() + field.size(), parsed, base);
        if (failure != std::errc()) {
            return false;
        }
        value = parsed;
        remaining.remove_prefix(static_cast<std::size_t>(end - field.data()));
        return true;
    }

    /// Reads up to the first of these characters, which is left, or to the end.
    std::string_view until(std::string_view characters)
    {
        const std::string_view word = remaining.substr(0, remaining.find_first_of(characters));
        remaining.remove_prefix(word.size());
        return word;
    }

private:
    std::string_view remaining;
};

} // namespace Tessorn
