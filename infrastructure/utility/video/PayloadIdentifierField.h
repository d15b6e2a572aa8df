// Where the fields of a payload identifier are, and reading and writing them there. All constant
// expressions, no heap.
//
//              byte 0          byte 1          byte 2          byte 3
//   32 bits   31 ... 24       23 ... 16       15 ... 8        7 ... 0
//             first on the wire
//
// Bit b of byte n is bit (3 - n) * 8 + b of the 32 (SMPTE ST 352:2013, clause 5).
#pragma once

#include <QtGlobal>

#include <initializer_list>

/// The named fields, in the order in which they are walked.
enum PayloadIdentifierKey : quint32 {
    PayloadIdentifierKey_PayloadAndDigitalInterface = 0,
    PayloadIdentifierKey_SampleStructure = 1,
    PayloadIdentifierKey_PictureRate = 2,
    PayloadIdentifierKey_PictureInterlaced = 3,   ///< 1 is progressive
    PayloadIdentifierKey_TransportInterlaced = 4, ///< 1 is progressive
    PayloadIdentifierKey_BitDepth = 5,
    PayloadIdentifierKey_AspectRatio = 6,         ///< 1 is 16:9
    PayloadIdentifierKey_HorizontalArraySize = 7, ///< 1 is 2048 or 4096
    PayloadIdentifierKey_Colourimetry = 8,
    PayloadIdentifierKey_TransferCharacteristics = 9,
    PayloadIdentifierKey_LuminanceAndColourDifferenceSignal = 10,
    PayloadIdentifierKey_ChannelAssignment = 11,
    PayloadIdentifierKey_AudioCopyStatus = 12,
};

inline constexpr quint32 PAYLOAD_IDENTIFIER_KEY_COUNT = 13;

/// A field's address: a byte and up to eight of its bits, the one for the value's lowest bit first.
/// (4, 7) is a field of two bits, low in bit 4 and high in bit 7.
class PayloadIdentifierField
{
public:
    /// A field without bits, which reads as 0 and can't be written.
    constexpr PayloadIdentifierField() = default;

    /// Byte 0 to 3, bits 0 to 7; a ninth bit and a byte or bit that does not exist are left out.
    constexpr PayloadIdentifierField(quint32 byteIndex, std::initializer_list<quint32> bits)
        : packed((byteIndex & 3u) << BYTE_SHIFT)
    {
        for (const quint32 bit : bits) {
            const quint32 width = getWidth();
            if (byteIndex < 4 && bit < 8 && width < 8) {
                const bool breaksRun = width != 0 && bit != getBit(0) + width;
                packed += 1u << WIDTH_SHIFT;
                packed |= bit << (3 * width) | (breaksRun ? IS_SPLIT : 0);
            }
        }
    }

    constexpr quint32 getByteIndex() const { return (packed >> BYTE_SHIFT) & 3u; }
    /// Bits of the value.
    constexpr quint32 getWidth() const { return (packed >> WIDTH_SHIFT) & 15u; }
    /// The bit of the byte that holds bit `index` of the value, for an index below the width.
    constexpr quint32 getBit(quint32 index) const { return (packed >> (3 * index)) & 7u; }
    constexpr quint32 getMaximum() const { return (1u << getWidth()) - 1; }

    /// The field's bits among the 32.
    constexpr quint32 getMask() const
    {
        quint32 mask = 0;
        for (quint32 index = 0; index < getWidth(); ++index) {
            mask |= 1u << (getShift() + getBit(index));
        }
        return mask;
    }

    /// The field's value in the 32 bits; 0 for a field without bits.
    constexpr quint32 read(quint32 rawValue) const
    {
        const quint32 byte = rawValue >> getShift();
        if ((packed & IS_SPLIT) == 0) {
            return (byte >> getBit(0)) & getMaximum();
        }
        quint32 value = 0;
        for (quint32 index = 0; index < getWidth(); ++index) {
            value |= ((byte >> getBit(index)) & 1u) << index;
        }
        return value;
    }

    /// `rawValue` with this value in the field; unchanged if the value is wider than the field.
    constexpr quint32 write(quint32 rawValue, quint32 value) const
    {
        if (value > getMaximum()) {
            return rawValue;
        }
        quint32 result = rawValue & ~getMask();
        for (quint32 index = 0; index < getWidth(); ++index) {
            result |= ((value >> index) & 1u) << (getShift() + getBit(index));
        }
        return result;
    }

private:
    //   30    | 29 28 | 27 ... 24 | 23 22 21 | ... | 2 1 0
    //   split | byte  | width     | bit that holds the value's bit 7 ... 0
    static constexpr quint32 WIDTH_SHIFT = 24;
    static constexpr quint32 BYTE_SHIFT = 28;
    static constexpr quint32 IS_SPLIT = 1u << 30; ///< the bits do not follow one another

    constexpr quint32 getShift() const { return (3 - getByteIndex()) * 8; }

    quint32 packed = 0;
};

/// A key and its value.
struct PayloadIdentifierFieldValue
{
    PayloadIdentifierKey key;
    quint32 value;
};

/// The addresses of the fields of one kind of identifier, by key.
class PayloadIdentifierFieldMap
{
public:
    /// A field of the table.
    struct Entry
    {
        PayloadIdentifierKey key;
        PayloadIdentifierField field;
    };

    constexpr PayloadIdentifierFieldMap() = default;
    /// Of two entries with the same key the last stays.
    constexpr PayloadIdentifierFieldMap(std::initializer_list<Entry> entries)
    {
        for (const Entry& entry : entries) {
            if (entry.key < PAYLOAD_IDENTIFIER_KEY_COUNT) {
                fields[entry.key] = entry.field;
            }
        }
    }

    /// The field's address; one without bits if the table has no such key.
    constexpr PayloadIdentifierField get(PayloadIdentifierKey key) const
    {
        return key < PAYLOAD_IDENTIFIER_KEY_COUNT ? fields[key] : PayloadIdentifierField();
    }

    /// True if the table has a field with bits for this key.
    constexpr bool contains(PayloadIdentifierKey key) const { return get(key).getWidth() != 0; }

    /// The bits of all fields.
    constexpr quint32 getMask() const
    {
        quint32 mask = 0;
        for (const PayloadIdentifierField& field : fields) {
            mask |= field.getMask();
        }
        return mask;
    }

    /// True if no bit belongs to two fields.
    constexpr bool isFreeOfOverlaps() const
    {
        quint32 taken = 0;
        for (const PayloadIdentifierField& field : fields) {
            if ((taken & field.getMask()) != 0) {
                return false;
            }
            taken |= field.getMask();
        }
        return true;
    }

    /// `rawValue` with these values in their fields. A value that is wider than its field, or whose
    /// key is not in the table, is left out.
    constexpr quint32 compose(std::initializer_list<PayloadIdentifierFieldValue> values,
                              quint32 rawValue = 0) const
    {
        for (const PayloadIdentifierFieldValue& value : values) {
            rawValue = get(value.key).write(rawValue, value.value);
        }
        return rawValue;
    }

private:
    PayloadIdentifierField fields[PAYLOAD_IDENTIFIER_KEY_COUNT];
};
