// A leaf of the state tree that holds MAC addresses.
// Normative: IEEE 802-2014, clause 8 (48-bit universal addresses and their hexadecimal form).
#pragma once

#include "infrastructure/datacore/DatacoreNumber.h"
#include "infrastructure/utility/NumberBase.h"

#include <array>

/// One MAC address or a list of them, each as one decimal number:
///
///   bits  47..40   39..32   31..24   23..16   15..8    7..0
///         first    second   third    fourth   fifth    last octet
///
/// Numbers from 1 to 0xFFFFFFFFFFFE are valid. Any other adds a message (Error, 32). If a text is
/// not a number, the only message is one (Error, 6).
class DatacoreMacAddress : public DatacoreNumber<unsigned long long>
{
public:
    /// An address, first octet first.
    using Octets = std::array<quint8, 6>;

    static QString CLASSNAME() { return QStringLiteral("DatacoreMacAddress"); }

    /// Without octets the address is all zero, which is invalid.
    DatacoreMacAddress(const QString& name, DatacoreBase* parentNode, const Octets& octets = {});

    /// The first value. `ok` is false if it is not a number of 48 bits or there is none.
    Octets getDataMacAddressSegments(bool& ok) const;
    /// All values. `ok` is false if one is not a number of 48 bits.
    std::deque<Octets> getDataMacAddressSegmentsArray(bool& ok) const;
    void setDataMacAddressSegments(const Octets& octets);
    void setDataMacAddressSegmentsArray(const std::deque<Octets>& addresses);

    /// The first value as text, in upper case. `ok` as for the segments.
    /// hexadecimal, ':' => "00:15:E9:2B:99:3C"; decimal, ':' => "0:21:233:43:153:60"
    QString getDataMacAddressString(bool& ok,
                                    Tessorn::Types::Base base = Tessorn::Types::Base_Hexadecimal,
                                    char separator = ':') const;
    /// The same for all values.
    std::deque<QString>
    getDataMacAddressStringArray(bool& ok,
                                 Tessorn::Types::Base base = Tessorn::Types::Base_Hexadecimal,
                                 char separator = ':') const;
    /// Sets the address from the text of its six octets, in upper or lower case. Text of another
    /// shape makes the leaf invalid: it is stored as it is, or as 0 if it reads as a number.
    void setDataMacAddressString(const QString& text,
                                 Tessorn::Types::Base base = Tessorn::Types::Base_Hexadecimal,
                                 char separator = ':');
    /// The same for a list.
    void setDataMacAddressStringArray(const std::deque<QString>& texts,
                                      Tessorn::Types::Base base = Tessorn::Types::Base_Hexadecimal,
                                      char separator = ':');

protected:
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void describe(DatacoreDescription& description) const override;
};
