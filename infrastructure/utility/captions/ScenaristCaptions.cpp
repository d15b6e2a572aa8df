#include "infrastructure/utility/captions/ScenaristCaptions.h"

#include "infrastructure/utility/BitTwiddles.h"

#include <QList>

#include <algorithm>

namespace {

constexpr char HEADER[] = "Scenarist_SCC V1.0";
constexpr int FRAMES_PER_SECOND = 30;
constexpr int FRAMES_PER_DAY = 24 * 60 * 60 * FRAMES_PER_SECOND;

// Drop frame counting leaves out two numbers in each minute but the tenth ones.
constexpr int DROPPED_PER_MINUTE = 2;
constexpr int DROP_FRAMES_PER_MINUTE = 60 * FRAMES_PER_SECOND - DROPPED_PER_MINUTE;
constexpr int DROP_FRAMES_PER_TEN_MINUTES = 10 * DROP_FRAMES_PER_MINUTE + DROPPED_PER_MINUTE;
constexpr int DROP_FRAMES_PER_DAY = 24 * 6 * DROP_FRAMES_PER_TEN_MINUTES;

int frameNumber(const ScenaristTimeCode& time)
{
    const int totalMinutes = time.hours * 60 + time.minutes;
    const int number = (totalMinutes * 60 + time.seconds) * FRAMES_PER_SECOND + time.frames;
    return time.isDropFrame ? number - DROPPED_PER_MINUTE * (totalMinutes - totalMinutes / 10)
                            : number;
}

/// The number that a frame has where none are left out.
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

/// What is wrong with a word, empty where it gives a pair.
QString parseWord(const QByteArray& word, std::array<uint8_t, 2>& pair)
{
    constexpr int digits = 4;
    const auto isHexDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    };
    const QString quoted = QLatin1Char('"') + QString::fromLatin1(word.left(16)) + QLatin1Char('"');
    if (word.size() != digits || !std::all_of(word.begin(), word.end(), isHexDigit)) {
        return quoted + QLatin1String(" is no four-digit hexadecimal word");
    }
    const unsigned value = word.toUInt(nullptr, 16);
    pair = {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
    if (!hasOddParity(pair[0]) || !hasOddParity(pair[1])) {
        return quoted + QLatin1String(" has a byte of even parity");
    }
    return {};
}

/// What is wrong with a line, empty where it could be read.
QString parseLine(const QByteArray& text, ScenaristLine& line)
{
    const QList<QByteArray> words = text.split(' ');
    if (!parseTimeCode(words.first(), line.timeCode)) {
        return QLatin1Char('"') + QString::fromLatin1(words.first().left(16)) +
               QLatin1String("\" is no time code");
    }
    for (int i = 1; i < words.size(); ++i) {
        std::array<uint8_t, 2> pair{};
        const QString complaint = parseWord(words[i], pair);
        if (!complaint.isEmpty()) {
            return complaint;
        }
        line.pairs.push_back(pair);
    }
    return {};
}

/// The content without the byte order mark that some editors put before it.
QByteArray withoutMark(const QByteArray& content)
{
    const QByteArray mark = QByteArray::fromRawData("\xEF\xBB\xBF", 3);
    return content.startsWith(mark) ? content.mid(mark.size()) : content;
}

} // namespace

ScenaristTimeCode ScenaristTimeCode::advanced(int count) const
{
    const int framesPerDay = isDropFrame ? DROP_FRAMES_PER_DAY : FRAMES_PER_DAY;
    const int frame = (frameNumber(*this) + count % framesPerDay) % framesPerDay;
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
    return text.left(end).trimmed() == HEADER;
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
        const QString complaint = parseLine(simplified, line);
        if (complaint.isEmpty()) {
            lines.push_back(std::move(line));
        } else {
            errors.append(QStringLiteral("line %1: %2").arg(lineNumber).arg(complaint));
        }
    }
    return lines;
}
