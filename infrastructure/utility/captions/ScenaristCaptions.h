// Caption files in the Scenarist form: a header line "Scenarist_SCC V1.0", then lines of a time
// code and four-digit hexadecimal words, each two bytes of line 21 with odd parity. Values.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <vector>

/// A time code at 30 frames a second (SMPTE ST 12-1), with or without drop frame counting.
struct ScenaristTimeCode
{
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    bool isDropFrame = false;

    /// The time code `count` frames later, 0 or more; it starts anew after 24 hours.
    ///     00:00:59;29 and 1 frame => 00:01:00;02
    ScenaristTimeCode advanced(int count) const;
    /// "01:02:03:04", with ";04" for drop frame.
    QString toString() const;
};

/// One line: a run of pairs, one for each frame from the time code on.
struct ScenaristLine
{
    int lineNumber = 0; ///< in the file, from 1
    ScenaristTimeCode timeCode;
    std::vector<std::array<uint8_t, 2>> pairs; ///< as received, parity included
};

/// True when the content begins with the header line.
bool isScenaristFile(const QByteArray& content);

/// The lines of a file that can be read, in order, without the header and the empty ones. Each line
/// that can't be read is left out and gives one of `errors`, which are appended to:
///     "line 12: \"94z0\" is no four-digit hexadecimal word"
std::vector<ScenaristLine> readScenaristFile(const QByteArray& content, QStringList& errors);
