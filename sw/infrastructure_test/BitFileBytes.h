// FPGA images for cases.
#pragma once

#include <QByteArray>

#include <algorithm>
#include <random>

inline QByteArray bitField(char tag, const QByteArray& text)
{
    return QByteArray(1, tag) + '\0' + static_cast<char>(text.size() + 1) + text + '\0';
}

/// A whole bit file of this size; the seed fills its stream.
inline QByteArray bitFile(int sizeBytes, unsigned seed, const QByteArray& device = "part-1",
                          const QByteArray& design = "top;UserID=0X00110203;Version=2019.1")
{
    const QByteArray head = QByteArray::fromHex("0009"
                                                "0ff00ff00ff00ff000"
                                                "0001") +
                            bitField('a', design) + bitField('b', device) +
                            bitField('c', "2026/11/22") + bitField('d', "12:34:56") + 'e';
    QByteArray stream(sizeBytes - head.size() - 4, '\0');
    std::generate(stream.begin(), stream.end(), std::mt19937(seed));
    const int size = stream.size();
    return head + '\0' + static_cast<char>(size >> 16) + static_cast<char>(size >> 8) +
           static_cast<char>(size) + stream;
}
