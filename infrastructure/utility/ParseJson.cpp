#include "infrastructure/utility/ParseJson.h"

#include "infrastructure/utility/Log.h"

#include <QJsonParseError>
#include <QVarLengthArray>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

namespace {

using Text = std::string_view;

constexpr std::size_t NONE = Text::npos;
constexpr int MAX_DEPTH = 1024; ///< the parser goes no deeper

/// The next character in the escape that begins at `at`, which moves past it. Like the parser, it
/// lets a character without a meaning after a backslash stand for itself. The digits may be bad;
/// the parser refuses them.
uint readEscape(Text text, std::size_t& at)
{
    static constexpr Text letters = "bfnrt";
    static constexpr Text meanings = "\b\f\n\r\t";
    const char letter = text[at + 1];
    at += 2;
    if (letter == 'u') {
        const Text digits = text.substr(at, 4);
        at += digits.size();
        uint character = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), character, 16);
        return character;
    }
    const std::size_t found = letters.find(letter);
    return static_cast<unsigned char>(found == NONE ? letter : meanings[found]);
}

void appendUtf8(std::string& bytes, uint character)
{
    const auto append = [&bytes](uint byte) { bytes += static_cast<char>(byte); };
    if (character < 0x80) {
        append(character);
        return;
    }
    if (character < 0x800) {
        append(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            append(0xE0 | character >> 12);
        } else {
            append(0xF0 | character >> 18);
            append(0x80 | (character >> 12 & 0x3F));
        }
        append(0x80 | (character >> 6 & 0x3F));
    }
    append(0x80 | (character & 0x3F));
}

/// Walks the structure of a text and compares the keys of each object when it ends. It need not
/// tell good text from bad: where it can't go on, the parser can't either, and all objects that end
/// before that have been checked.
class RepeatedKeySearch
{
public:
    explicit RepeatedKeySearch(Text jsonText)
        : text(jsonText)
    {
    }

    /// The position of the second of two equal keys; NONE if all differ.
    std::size_t run()
    {
        bool isKeyNext = false;
        for (std::size_t at = 0; at < text.size(); ++at) {
            const char character = text[at];
            if (character == '"') {
                const std::size_t start = at + 1;
                at = endOfString(start);
                if (isKeyNext && at < text.size()) {
                    keys.push_back({decoded(text.substr(start, at - start)), start});
                }
                isKeyNext = false;
            } else if (character == '{' || character == '[') {
                if (open.size() == MAX_DEPTH) {
                    return NONE;
                }
                isKeyNext = character == '{';
                open.push_back({isKeyNext, keys.size()});
            } else if (character == '}' || character == ']') {
                if (open.empty() || open.back().isObject != (character == '}')) {
                    return NONE;
                }
                const std::size_t found = findRepeated(open.back().firstKey);
                keys.resize(open.back().firstKey);
                open.pop_back();
                if (found != NONE || open.empty()) {
                    return found;
                }
                isKeyNext = false;
            } else if (character == ',') {
                isKeyNext = !open.empty() && open.back().isObject;
            }
        }
        return NONE;
    }

private:
    struct Key
    {
        Text name;
        std::size_t start = 0; ///< in the text
    };
    struct Container
    {
        bool isObject = false;
        int firstKey = 0; ///< in keys
    };

    std::size_t endOfString(std::size_t at) const
    {
        while (at < text.size() && text[at] != '"') {
            at += text[at] == '\\' ? 2 : 1;
        }
        return at;
    }

    /// A key as UTF-8, in which each unpaired half of a surrogate pair takes three bytes.
    Text decoded(Text key)
    {
        std::size_t at = key.find('\\');
        if (at == NONE) {
            return key;
        }
        unescaped.reserve(text.size()); // the most it can grow to: its content must not move
        const std::size_t start = unescaped.size();
        unescaped += key.substr(0, at);
        while (at < key.size()) {
            if (key[at] != '\\') {
                unescaped += key[at++];
                continue;
            }
            const uint character = readEscape(key, at);
            std::size_t next = at;
            const bool mayBePair = QChar::isHighSurrogate(character) && key.substr(at, 2) == "\\u";
            const uint low = mayBePair ? readEscape(key, next) : 0;
            if (QChar::isLowSurrogate(low)) {
                at = next;
                appendUtf8(unescaped, QChar::surrogateToUcs4(static_cast<ushort>(character),
                                                             static_cast<ushort>(low)));
            } else {
                appendUtf8(unescaped, character);
            }
        }
        return Text(unescaped).substr(start);
    }

    /// Checks the keys from `first` on, which all belong to one object.
    std::size_t findRepeated(int first)
    {
        const auto begin = keys.begin() + first;
        std::sort(begin, keys.end(), [](const Key& a, const Key& b) { return a.name < b.name; });
        const auto found = std::adjacent_find(
            begin, keys.end(), [](const Key& a, const Key& b) { return a.name == b.name; });
        return found == keys.end() ? NONE : std::max(found->start, (found + 1)->start);
    }

    Text text;
    QVarLengthArray<Key, 32> keys; ///< of the open objects, outermost first
    QVarLengthArray<Container, 16> open;
    std::string unescaped;
};

} // namespace

QJsonDocument parseJson(const QByteArray& text, QJsonParseError* error)
{
    const Text view(text.constData(), static_cast<std::size_t>(text.size()));
    const auto refuse = [error](const char* reason, std::size_t at) {
        VELLOG_ERR() << reason << at;
        if (error != nullptr) {
            error->error = QJsonParseError::IllegalValue;
            error->offset = static_cast<int>(at);
        }
        return QJsonDocument();
    };
    const std::size_t repeated = RepeatedKeySearch(view).run();
    if (repeated != NONE) {
        return refuse("JSON object has a key twice, the second at: ", repeated);
    }
    // Keys that differ only behind such a byte are one key to the parser, too.
    const std::size_t zero = view.find('\0');
    if (zero != NONE) {
        return refuse("JSON text has a zero byte at: ", zero);
    }
    return QJsonDocument::fromJson(text, error);
}
