// Caption files in the Scenarist format: a header line "Scenarist_SCC V1.0", then lines of a time
// code and four-digit hexadecimal words, each two bytes of line 21 with odd parity. Values.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <array>
#include <cstdint>
#include <vector>

/// A time code at 30 frames a second (SMPTE ST 12-1), with or without drop frame counting, which
/// skips frames 00 and 01 of every minute except each tenth. There both are taken as frame 02, the
/// minute's first.
struct ScenaristTimeCode
{
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    bool isDropFrame = false;

    /// The number of frames from 00:00:00:00 to this one.
    ///     00:01:00:00 => 1800    00:00:59;29 => 1799    00:01:00;00 and ;02 => 1800
    int frameNumber() const;
    /// The time code `count` frames later, 0 or more; it wraps around after 24 hours.
    ///     00:00:59;29 and 1 frame => 00:01:00;02    00:01:00;00 and 0 frames => 00:01:00;02
    ScenaristTimeCode advanced(int count) const;
    /// "01:02:03:04", with ";04" for drop frame.
    QString toString() const;
};

/// The two bytes of a word, parity included.
using ScenaristPair = std::array<uint8_t, 2>;

/// One line: a run of pairs, one per frame from the time code on.
struct ScenaristLine
{
    int lineNumber = 0; ///< in the file, from 1
    ScenaristTimeCode timeCode;
    std::vector<ScenaristPair> pairs;
};

/// True when the content begins with the header line.
bool isScenaristFile(const QByteArray& content);

/// The readable lines of a file, in order, without the header and empty lines; their time codes are
/// those of frames that exist. A line that can't be read is left out. Of a word in which a byte has
/// even parity only the pair is lost: filler, 80 80, keeps its frame. Each case appends a text to
/// `errors`:
///     "line 12: \"94z0\" is no four-digit hexadecimal word"
///     "line 13, word 2: \"94a0\" has a byte of even parity"
std::vector<ScenaristLine> readScenaristFile(const QByteArray& content, QStringList& errors);
