#include "infrastructure/utility/captions/TeletextPacket.h"

QString TeletextPacket::displayText() const
{
    const int length = displayData != nullptr ? displayDataLength : 0;
    QString text(length, QLatin1Char(' '));
    for (int i = 0; i < length; ++i) {
        const char character = static_cast<char>(displayData[i] & 0x7F);
        if (character >= ' ' && character < 0x7F) {
            text[i] = QLatin1Char(character);
        }
    }
    return text;
}

QString TeletextPacket::toString() const
{
    const QString page =
        hasPageHeader ? QString::asprintf(" page %02X subcode %X", pageBcd, subcode) : QString();
    return QString::asprintf("magazine %d row %d", magazine == 0 ? 8 : magazine, packetNumber) +
           page + QLatin1String(": ") + displayText();
}
