#include "infrastructure/utility/video/ancillary/AncillaryContents.h"

#include <QStringList>

#include <algorithm>
#include <tuple>

namespace {

constexpr std::size_t MAX_USER_WORDS = 255;

/// The user words of a packet of this kind and size, otherwise null.
const uint8_t* userWordsOf(const AncillaryCollectorPacket& packet, AncillaryDidSdid kind,
                           std::size_t count)
{
    return isAncillaryPacket(packet, kind) && packet.getDataCount() == count
               ? packet.firstUserDataWord()
               : nullptr;
}

auto valuesOf(const AncillaryTimecode& code)
{
    return std::tie(code.hours, code.minutes, code.seconds, code.frames, code.isDropFrame,
                    code.isColourFrame, code.flag27, code.flag43, code.flag58, code.flag59,
                    code.userBits, code.payloadType, code.distributedBinaryBits, code.isLawful);
}

/// Formats (ETSI TS 101 154, annex B), by code.
constexpr const char* ACTIVE_FORMATS[16] = {
    "undefined",
    "reserved",
    "16:9 (top)",
    "14:9 (top)",
    "wider than 16:9 (centre)",
    "reserved",
    "reserved",
    "reserved",
    "as the coded frame",
    "4:3 (centre)",
    "16:9 (centre)",
    "14:9 (centre)",
    "reserved",
    "4:3 with 14:9 protected",
    "16:9 with 14:9 protected",
    "16:9 with 4:3 protected",
};

/// Bars from bit 3 of the flags down.
constexpr const char* BARS[4] = {"top", "bottom", "left", "right"};

} // namespace

AncillaryCollectorPacket makeAncillaryPacket(AncillaryDidSdid kind, const uint8_t* userWords,
                                             std::size_t count)
{
    AncillaryCollectorPacket packet;
    const std::size_t kept = std::min(count, MAX_USER_WORDS);
    uint8_t* next = packet.buffer.data() + AncillaryCollectorPacket::PAYLOAD_START_INDEX;
    *next++ = kind.did;
    *next++ = kind.sdid;
    *next++ = static_cast<uint8_t>(kept);
    *std::copy_n(userWords, kept, next) = AncillaryCollectorPacket::END_MARKER;
    return packet;
}

bool isAncillaryPacket(const AncillaryCollectorPacket& packet, AncillaryDidSdid kind)
{
    return packet.getDidSdid() == kind && packet.verifyPacketDataCount();
}

std::optional<quint32> readPayloadWord(const AncillaryCollectorPacket& packet)
{
    const uint8_t* const words = userWordsOf(packet, ANCILLARY_PAYLOAD_IDENTIFIER, 4);
    if (words == nullptr) {
        return std::nullopt;
    }
    return quint32{words[0]} << 24 | quint32{words[1]} << 16 | quint32{words[2]} << 8 | words[3];
}

bool AncillaryTimecode::operator==(const AncillaryTimecode& other) const
{
    return valuesOf(*this) == valuesOf(other);
}

QString AncillaryTimecode::toString() const
{
    constexpr const char* kinds[] = {"LTC", "VITC 1", "VITC 2"};
    const QString kind = payloadType < 3 ? QString::fromLatin1(kinds[payloadType])
                                         : QString::asprintf("type 0x%02X", payloadType);
    return kind + QString::asprintf(" %02d:%02d:%02d%c%02d", hours, minutes, seconds,
                                    isDropFrame ? ';' : ':', frames);
}

/// Of the user words, four bits each are the code; bit 3 of the first eight is one distributed
/// byte, of the others the second, the lowest bit first:
///
///   bit  0  units of frames   4  user   8  tens, 10 drop, 11 colour frame   12  user
///        16 units of seconds  20 user   24 tens, 27 flag                    28  user
///        32 units of minutes  36 user   40 tens, 43 flag                    44  user
///        48 units of hours    52 user   56 tens, 58 and 59 flags            60  user
std::optional<AncillaryTimecode> readTimecode(const AncillaryCollectorPacket& packet)
{
    const uint8_t* const words = userWordsOf(packet, ANCILLARY_TIMECODE, 16);
    if (words == nullptr) {
        return std::nullopt;
    }
    quint64 bits = 0;
    quint32 distributed = 0;
    AncillaryTimecode code;
    for (unsigned i = 0; i < 16; ++i) {
        const unsigned nibble = words[i] >> 4;
        bits |= quint64{nibble} << 4 * i;
        distributed |= (words[i] >> 3 & 1u) << i;
        code.userBits |= i % 2 == 1 ? nibble << 2 * (i - 1) : 0;
    }
    const auto flag = [bits](unsigned bit) { return (bits >> bit & 1) != 0; };
    code.isLawful = true;
    const auto number = [&](unsigned bit, unsigned tensMask, int last) {
        const auto units = static_cast<int>(bits >> bit & 15);
        const int value = units + 10 * static_cast<int>(bits >> (bit + 8) & tensMask);
        code.isLawful = code.isLawful && units <= 9 && value <= last;
        return value;
    };
    code.frames = number(0, 3, 39);
    code.seconds = number(16, 7, 59);
    code.minutes = number(32, 7, 59);
    code.hours = number(48, 3, 23);
    code.isDropFrame = flag(10);
    code.isColourFrame = flag(11);
    code.flag27 = flag(27);
    code.flag43 = flag(43);
    code.flag58 = flag(58);
    code.flag59 = flag(59);
    code.payloadType = static_cast<quint8>(distributed);
    code.distributedBinaryBits = static_cast<quint8>(distributed >> 8);
    return code;
}

bool ActiveFormat::operator==(const ActiveFormat& other) const
{
    return code == other.code && isWide == other.isWide && barFlags == other.barFlags &&
           barValues[0] == other.barValues[0] && barValues[1] == other.barValues[1];
}

QString ActiveFormat::toString() const
{
    QStringList parts{
        QStringLiteral("AFD %1 in %2: %3")
            .arg(code & 15, 4, 2, QLatin1Char('0'))
            .arg(QLatin1String(isWide ? "16:9" : "4:3"), QLatin1String(ACTIVE_FORMATS[code & 15]))};
    for (unsigned bar = 0; bar < 4; ++bar) {
        if ((barFlags >> (3 - bar) & 1) != 0) {
            parts.append(
                QStringLiteral("%1%2 %3")
                    .arg(QLatin1String(parts.size() == 1 ? "bars " : ""), QLatin1String(BARS[bar]))
                    .arg(barValues[bar % 2]));
        }
    }
    return parts.join(QLatin1String(", "));
}

/// Of the user words, the first is 0, code (4 bits), wide, 00; the fourth is four bar flags, 0000;
/// the fifth to eighth are two numbers.
std::optional<ActiveFormat> readActiveFormat(const AncillaryCollectorPacket& packet)
{
    const uint8_t* const words = userWordsOf(packet, ANCILLARY_ACTIVE_FORMAT, 8);
    if (words == nullptr) {
        return std::nullopt;
    }
    ActiveFormat format;
    format.code = words[0] >> 3 & 15;
    format.isWide = (words[0] & 4) != 0;
    format.barFlags = words[3] >> 4;
    format.barValues[0] = static_cast<quint16>(words[4] << 8 | words[5]);
    format.barValues[1] = static_cast<quint16>(words[6] << 8 | words[7]);
    return format;
}
