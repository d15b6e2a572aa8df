#include "infrastructure/utility/captions/ScenaristCaptions.h"

#include "infrastructure/utility/BitTwiddles.h"

#include <QList>

#include <algorithm>

namespace {

constexpr char HEADER[] = "Scenarist_SCC V1.0";
constexpr ScenaristPair FILLER{0x80, 0x80};
constexpr int FRAMES_PER_SECOND = 30;
constexpr int FRAMES_PER_DAY = 24 * 60 * 60 * FRAMES_PER_SECOND;

// Drop frame counting skips two numbers in every minute except each tenth.
constexpr int DROPPED_PER_MINUTE = 2;
constexpr int DROP_FRAMES_PER_MINUTE = 60 * FRAMES_PER_SECOND - DROPPED_PER_MINUTE;
constexpr int DROP_FRAMES_PER_TEN_MINUTES = 10 * DROP_FRAMES_PER_MINUTE + DROPPED_PER_MINUTE;
constexpr int DROP_FRAMES_PER_DAY = 24 * 6 * DROP_FRAMES_PER_TEN_MINUTES;

/// The number of a frame when none are skipped.
int countingNumber(int frame)
{
    const int tens = frame / DROP_FRAMES_PER_TEN_MINUTES;
    const int rest = frame % DROP_FRAMES_PER_TEN_MINUTES;
    const int minutes = std::max(rest - DROPPED_PER_MINUTE, 0) / DROP_FRAMES_PER_MINUTE;
    return frame + DROPPED_PER_MINUTE * (9 * tens + minutes);
}

/// A number of exactly two decimal digits, -1 for anything else.
int twoDigits(const char* text)
{
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    return isDigit(text[0]) && isDigit(text[1]) ? (text[0] - '0') * 10 + (text[1] - '0') : -1;
}

bool parseTimeCode(const QByteArray& text, ScenaristTimeCode& time)
{
    constexpr int length = 11;
    if (text.size() != length || text[2] != ':' || text[5] != ':' ||
        (text[8] != ':' && text[8] != ';')) {
        return false;
    }
    const auto field = [&text](int at) { return twoDigits(text.constData() + at); };
    time = {field(0), field(3), field(6), field(9), text[8] == ';'};
    const auto isIn = [](int value, int limit) { return value >= 0 && value < limit; };
    return isIn(time.hours, 24) && isIn(time.minutes, 60) && isIn(time.seconds, 60) &&
           isIn(time.frames, FRAMES_PER_SECOND);
}

bool hasOddParity(uint8_t byte)
{
    return Tessorn::BitTwiddles::getOddParityBit(byte) == 0;
}

QString quoted(const QByteArray& word)
{
    return QLatin1Char('"') + QString::fromLatin1(word.left(16)) + QLatin1Char('"');
}

/// False if the word is not four hexadecimal digits.
bool parseWord(const QByteArray& word, ScenaristPair& pair)
{
    constexpr int digits = 4;
    const auto isHexDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    };
    if (word.size() != digits || !std::all_of(word.begin(), word.end(), isHexDigit)) {
        return false;
    }
    const unsigned value = word.toUInt(nullptr, 16);
    pair = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    return true;
}

/// Reads a line; false if it can't be read, with the reason as the last of `complaints`.
bool parseLine(const QByteArray& text, ScenaristLine& line, QStringList& complaints)
{
    const QList<QByteArray> words = text.split(' ');
    const QString place = QStringLiteral("line %1").arg(line.lineNumber);
    if (!parseTimeCode(words.first(), line.timeCode)) {
        complaints.append(place + QLatin1String(": ") + quoted(words.first()) +
                          QLatin1String(" is no time code"));
        return false;
    }
    line.timeCode = line.timeCode.advanced(0); // of a frame that exists
    for (int i = 1; i < words.size(); ++i) {
        ScenaristPair pair{};
        if (!parseWord(words[i], pair)) {
            complaints.append(place + QLatin1String(": ") + quoted(words[i]) +
                              QLatin1String(" is no four-digit hexadecimal word"));
            return false;
        }
        if (!hasOddParity(pair[0]) || !hasOddParity(pair[1])) {
            complaints.append(QStringLiteral("%1, word %2: ").arg(place).arg(i) + quoted(words[i]) +
                              QLatin1String(" has a byte of even parity"));
            pair = FILLER;
        }
        line.pairs.push_back(pair);
    }
    return true;
}

/// The content without the byte order mark that some editors put at the front.
QByteArray withoutMark(const QByteArray& content)
{
    const QByteArray mark = QByteArray::fromRawData("\xEF\xBB\xBF", 3);
    return content.startsWith(mark) ? content.mid(mark.size()) : content;
}

} // namespace

int ScenaristTimeCode::frameNumber() const
{
    const int totalMinutes = hours * 60 + minutes;
    const int number = (totalMinutes * 60 + seconds) * FRAMES_PER_SECOND + frames;
    if (!isDropFrame) {
        return number;
    }
    const bool isLeftOut = frames < DROPPED_PER_MINUTE && seconds == 0 && minutes % 10 != 0;
    return number - DROPPED_PER_MINUTE * (totalMinutes - totalMinutes / 10) +
           (isLeftOut ? DROPPED_PER_MINUTE - frames : 0);
}

ScenaristTimeCode ScenaristTimeCode::advanced(int count) const
{
    const int framesPerDay = isDropFrame ? DROP_FRAMES_PER_DAY : FRAMES_PER_DAY;
    const int frame = (frameNumber() + count % framesPerDay) % framesPerDay;
    const int number = isDropFrame ? countingNumber(frame) : frame;
    const int totalSeconds = number / FRAMES_PER_SECOND;
    return {totalSeconds / 3600, totalSeconds / 60 % 60, totalSeconds % 60,
            number % FRAMES_PER_SECOND, isDropFrame};
}

QString ScenaristTimeCode::toString() const
{
    return QString::asprintf("%02d:%02d:%02d%c%02d", hours, minutes, seconds,
                             isDropFrame ? ';' : ':', frames);
}

bool isScenaristFile(const QByteArray& content)
{
    const QByteArray text = withoutMark(content);
    const int end = text.indexOf('\n');
    return text.mid(0, end).trimmed() == HEADER; // -1 means all of it
}

std::vector<ScenaristLine> readScenaristFile(const QByteArray& content, QStringList& errors)
{
    std::vector<ScenaristLine> lines;
    int lineNumber = 0;
    for (const QByteArray& text : withoutMark(content).split('\n')) {
        ++lineNumber;
        const QByteArray simplified = text.simplified();
        if (simplified.isEmpty() || (lineNumber == 1 && simplified == HEADER)) {
            continue;
        }
        ScenaristLine line;
        line.lineNumber = lineNumber;
        if (parseLine(simplified, line, errors)) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}
