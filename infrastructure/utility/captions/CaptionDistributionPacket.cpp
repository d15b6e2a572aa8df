#include "infrastructure/utility/captions/CaptionDistributionPacket.h"

#include <QStringList>

#include <algorithm>
#include <tuple>

namespace {

/// By frame rate code; 0 is reserved.
constexpr std::array<unsigned, 9> FULL_COUNTS{0, 25, 25, 24, 20, 20, 12, 10, 10};
constexpr std::array<const char*, 9> RATES{"?",  "23.976", "24",    "25", "29.97",
                                           "30", "50",     "59.94", "60"};

constexpr uint8_t bit(bool isSet, unsigned number)
{
    return static_cast<uint8_t>(unsigned{isSet} << number);
}

/// Two digits, the tens limited to what their field holds.
constexpr uint8_t digits(int number, int mostTens)
{
    const int tens = std::clamp(number / 10, 0, mostTens);
    return static_cast<uint8_t>(tens << 4 | std::clamp(number - 10 * tens, 0, 15));
}

auto valuesOf(const CdpTimecode& code)
{
    return std::tie(code.hours, code.minutes, code.seconds, code.frames, code.isField2,
                    code.isDropFrame);
}

QString textOf(const CdpTimecode& code)
{
    return QString::asprintf("%02d:%02d:%02d%c%02d", code.hours, code.minutes, code.seconds,
                             code.isDropFrame ? ';' : ':', code.frames);
}

} // namespace

bool CaptionTriplet::operator==(const CaptionTriplet& other) const
{
    return isValid == other.isValid && type == other.type && bytes == other.bytes;
}

bool CdpTimecode::operator==(const CdpTimecode& other) const
{
    return valuesOf(*this) == valuesOf(other);
}

/// Bit 6 of the first byte tells a number of five bits from one of six.
unsigned CaptionServiceEntry::getNumber() const
{
    return bytes[0] & ((bytes[0] & 0x40) != 0 ? 0x1Fu : 0x3Fu);
}

QString CaptionServiceEntry::getLanguage() const
{
    QString language;
    for (std::size_t i = 1; i <= 3; ++i) {
        const bool isShown = bytes[i] > 0x20 && bytes[i] < 0x7F;
        language += QLatin1Char(isShown ? static_cast<char>(bytes[i]) : '?');
    }
    return language;
}

unsigned CaptionDistributionPacket::getFullCount(unsigned frameRateCode)
{
    return frameRateCode < FULL_COUNTS.size() ? FULL_COUNTS[frameRateCode] : 0;
}

bool CaptionDistributionPacket::append(const CaptionTriplet& triplet)
{
    hasTriplets = true;
    if (tripletCount >= MAX_TRIPLETS) {
        return false;
    }
    triplets[tripletCount++] = triplet;
    return true;
}

void CaptionDistributionPacket::pad()
{
    hasTriplets = true;
    while (tripletCount < getFullCount(frameRateCode)) {
        triplets[tripletCount++] = CaptionTriplet();
    }
}

std::vector<uint8_t> CaptionDistributionPacket::toBytes() const
{
    const auto high = static_cast<uint8_t>(sequence >> 8);
    const auto low = static_cast<uint8_t>(sequence);
    std::vector<uint8_t> bytes{
        0x96,
        0x69,
        0,
        static_cast<uint8_t>(frameRateCode << 4 | 0x0F),
        static_cast<uint8_t>(bit(hasTimecode, 7) | bit(hasTriplets, 6) | bit(hasServices, 5) |
                             bit(isServicesStart, 4) | bit(isServicesChange, 3) |
                             bit(isServicesComplete, 2) | bit(isServiceActive, 1) | 1),
        high,
        low};
    if (hasTimecode) {
        const uint8_t time[] = {
            0x71, static_cast<uint8_t>(digits(timecode.hours, 3) | 0xC0),
            static_cast<uint8_t>(digits(timecode.minutes, 7) | 0x80),
            static_cast<uint8_t>(digits(timecode.seconds, 7) | bit(timecode.isField2, 7)),
            static_cast<uint8_t>(digits(timecode.frames, 3) | bit(timecode.isDropFrame, 7))};
        bytes.insert(bytes.end(), std::begin(time), std::end(time));
    }
    if (hasTriplets) {
        const std::size_t count = std::min(tripletCount, MAX_TRIPLETS);
        bytes.insert(bytes.end(), {0x72, static_cast<uint8_t>(0xE0 | count)});
        for (std::size_t i = 0; i < count; ++i) {
            const CaptionTriplet& triplet = triplets[i];
            bytes.insert(bytes.end(),
                         {static_cast<uint8_t>(0xF8 | bit(triplet.isValid, 2) | triplet.type),
                          triplet.bytes[0], triplet.bytes[1]});
        }
    }
    if (hasServices) {
        const std::size_t count = std::min(serviceCount, MAX_SERVICES);
        bytes.insert(bytes.end(), {0x73, static_cast<uint8_t>(0x80 | bit(isServicesStart, 6) |
                                                              bit(isServicesChange, 5) |
                                                              bit(isServicesComplete, 4) | count)});
        for (std::size_t i = 0; i < count; ++i) {
            bytes.insert(bytes.end(), services[i].bytes.begin(), services[i].bytes.end());
        }
    }
    bytes.insert(bytes.end(), {0x74, high, low});
    bytes[2] = static_cast<uint8_t>(bytes.size() + 1);
    unsigned sum = 0;
    for (const uint8_t byte : bytes) {
        sum += byte;
    }
    bytes.push_back(static_cast<uint8_t>(0u - sum));
    return bytes;
}

QString CaptionDistributionPacket::toString() const
{
    QStringList parts{QStringLiteral("%1 Hz").arg(
                          QLatin1String(RATES[frameRateCode < RATES.size() ? frameRateCode : 0])),
                      QStringLiteral("sequence %1").arg(sequence)};
    if (hasTimecode) {
        parts.append(textOf(timecode));
    }
    if (hasTriplets) {
        const auto end = triplets.begin() + static_cast<std::ptrdiff_t>(tripletCount);
        parts.append(QStringLiteral("%1 triplets (%2 valid)")
                         .arg(tripletCount)
                         .arg(std::count_if(triplets.begin(), end,
                                            [](const CaptionTriplet& t) { return t.isValid; })));
    }
    if (hasServices) {
        QStringList names;
        for (std::size_t i = 0; i < serviceCount; ++i) {
            names.append(QStringLiteral("%1 %2").arg(
                services[i].isDigital()
                    ? QString::number(services[i].getNumber())
                    : QLatin1String(services[i].isField2() ? "field 2" : "field 1"),
                services[i].getLanguage()));
        }
        parts.append(QStringLiteral("services ") + names.join(QLatin1String("; ")));
    }
    return parts.join(QLatin1String(", "));
}
