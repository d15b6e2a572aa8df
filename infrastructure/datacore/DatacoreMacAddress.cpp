#include "infrastructure/datacore/DatacoreMacAddress.h"

#include "infrastructure/datacore/DatacoreDescription.h"

#include <QStringList>

#include <algorithm>

namespace {

using Octets = DatacoreMacAddress::Octets;
using Tessorn::Types::Base;

constexpr quint64 BROADCAST = 0xFFFFFFFFFFFF;
constexpr quint64 MINIMUM = 1;
constexpr quint64 MAXIMUM = BROADCAST - 1;

quint64 pack(const Octets& octets)
{
    quint64 number = 0;
    for (const quint8 octet : octets) {
        number = number << 8 | octet;
    }
    return number;
}

Octets unpack(quint64 number)
{
    Octets octets{};
    std::for_each(octets.rbegin(), octets.rend(), [&number](quint8& octet) {
        octet = static_cast<quint8>(number & 0xFF);
        number >>= 8;
    });
    return octets;
}

QString toText(const Octets& octets, Base base, char separator)
{
    const int digits = base == Tessorn::Types::Base_Hexadecimal ? 2 : 1;
    QString text;
    for (const quint8 octet : octets) {
        if (!text.isEmpty()) {
            text += QLatin1Char(separator);
        }
        text += QString::number(octet, base).rightJustified(digits, QLatin1Char('0'));
    }
    return text.toUpper();
}

/// One octet: only digits of the base, and at most 255.
bool readOctet(const QString& text, Base base, quint8& octet)
{
    const int maxDigits = base == Tessorn::Types::Base_Hexadecimal ? 2 : 3;
    const bool isDigits = std::all_of(text.begin(), text.end(), [](QChar digit) {
        return digit.unicode() < 128 && digit.isLetterOrNumber();
    });
    bool ok = false;
    const uint number = text.toUInt(&ok, base);
    octet = static_cast<quint8>(number);
    return ok && isDigits && text.size() <= maxDigits && number <= 0xFF;
}

/// The text that is stored for an address given as text.
QString toStoredText(const QString& text, Base base, char separator)
{
    // If the text was put in upper case, so was the separator.
    const QStringList parts =
        text.split(QLatin1Char(separator), Qt::KeepEmptyParts, Qt::CaseInsensitive);
    Octets octets{};
    bool ok = parts.size() == static_cast<int>(octets.size());
    for (int i = 0; ok && i < parts.size(); ++i) {
        ok = readOctet(parts[i], base, octets[static_cast<std::size_t>(i)]);
    }
    if (ok) {
        return QString::number(pack(octets));
    }
    bool isNumber = false;
    DatacoreMacAddress::deserialise(text, isNumber);
    return isNumber ? QString::number(0) : text;
}

} // namespace

DatacoreMacAddress::DatacoreMacAddress(const QString& name, DatacoreBase* parentNode,
                                       const Octets& octets)
    : DatacoreNumber(CLASSNAME(), name, parentNode, pack(octets))
{
    initialiseStatus();
}

DatacoreMacAddress::Octets DatacoreMacAddress::getDataMacAddressSegments(bool& ok) const
{
    const quint64 number = getDataNumber(ok);
    ok = ok && number <= BROADCAST;
    return unpack(number);
}

std::deque<DatacoreMacAddress::Octets>
DatacoreMacAddress::getDataMacAddressSegmentsArray(bool& ok) const
{
    std::deque<Octets> addresses;
    for (const quint64 number : getDataNumbers(ok)) {
        ok = ok && number <= BROADCAST;
        addresses.push_back(unpack(number));
    }
    return addresses;
}

void DatacoreMacAddress::setDataMacAddressSegments(const Octets& octets)
{
    setDataNumber(pack(octets));
}

void DatacoreMacAddress::setDataMacAddressSegmentsArray(const std::deque<Octets>& addresses)
{
    std::deque<unsigned long long> numbers;
    for (const Octets& octets : addresses) {
        numbers.push_back(pack(octets));
    }
    setDataNumbers(numbers);
}

QString DatacoreMacAddress::getDataMacAddressString(bool& ok, Base base, char separator) const
{
    return toText(getDataMacAddressSegments(ok), base, separator);
}

std::deque<QString> DatacoreMacAddress::getDataMacAddressStringArray(bool& ok, Base base,
                                                                     char separator) const
{
    std::deque<QString> texts;
    for (const Octets& octets : getDataMacAddressSegmentsArray(ok)) {
        texts.push_back(toText(octets, base, separator));
    }
    return texts;
}

void DatacoreMacAddress::setDataMacAddressString(const QString& text, Base base, char separator)
{
    setData(toStoredText(text, base, separator));
}

void DatacoreMacAddress::setDataMacAddressStringArray(const std::deque<QString>& texts, Base base,
                                                      char separator)
{
    std::deque<QString> stored;
    for (const QString& text : texts) {
        stored.push_back(toStoredText(text, base, separator));
    }
    setData(stored);
}

void DatacoreMacAddress::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    const Numbers numbers = convertAll(reasons);
    if (!reasons.isEmpty()) {
        return;
    }
    for (const quint64 number : numbers) {
        if (number < MINIMUM || number > MAXIMUM) {
            reasons.append(DatacoreValidStatusMessage(
                MessageBase::MessageType_Error,
                DatacoreValidStatusMessage::MessageContent_InvalidMacAddress));
        }
    }
}

void DatacoreMacAddress::describe(DatacoreDescription& description) const
{
    description.kind = QStringLiteral("MacAddress");
    description.minimum = serialise(MINIMUM);
    description.maximum = serialise(MAXIMUM);
}
