// The wire layout of a record, stated once, in wire order. Size, writing, reading and equality all
// come from it:
//
//   struct Timing
//   {
//       quint64 referenceTime = 0;
//       quint8 channel = 0;
//       std::vector<double> values;
//       static constexpr auto LAYOUT = RecordLayout::layout(
//           RecordLayout::field<quint64>(&Timing::referenceTime),
//           RecordLayout::field<qint32>(&Timing::channel),    // 32 bits on the wire
//           RecordLayout::list<double>(&Timing::values));     // a count and that many
//   };
//
// Integers are big-endian; a list is a signed 32-bit count and its elements. If a payload ends
// early, the missing values are zero.
#pragma once

#include "infrastructure/utility/BigEndianReader.h"
#include "infrastructure/utility/BigEndianWriter.h"

#include <QByteArray>
#include <QHostAddress>

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

namespace RecordLayout {

/// Reads one payload, and limits how much a count in it can make grow.
class Reader : public BigEndianReader
{
public:
    /// The maximum number of list elements beyond the end of a payload, which are made as zeros.
    static constexpr int MAX_MISSING_ELEMENTS = 65536;

    explicit Reader(const QByteArray& payload)
        : BigEndianReader(payload.constData(), payload.size())
    {
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader();

    /// The length that a list of `count` elements of `elementBytes` each gets. A negative count
    /// gives an empty list. Elements that the payload does not hold count against the limit; at the
    /// limit the list ends, which is logged.
    int admit(qint64 count, int elementBytes);

private:
    int missingAllowance = MAX_MISSING_ELEMENTS;
    qint64 refused = 0;
};

template <typename Record>
constexpr int fixedSize();
template <typename Record>
qint64 sizeOf(const Record& record);
template <typename Record>
void put(const Record& record, BigEndianWriter& writer);
template <typename Record, typename From>
void takeParts(Record& record, From& reader);
template <typename Record>
void takeAll(Record* records, int count, WholeBigEndianReader reader);
template <typename Record, typename From>
void take(Record& record, From& reader);
template <typename Record>
bool areEqual(const Record& a, const Record& b);

// The parts of a layout. Each tells how many bytes it takes on the wire (FIXED_SIZE, -1 if that
// depends on the record; `size`), writes and reads its member (`put`, `take`), and compares it
// (`isEqual`).

/// A number: `Wire` is its type on the wire; the member may have another.
template <typename Wire, typename Owner, typename Held>
struct Field
{
    Held Owner::*member;

    static constexpr int FIXED_SIZE = std::is_same_v<Wire, bool> ? 1 : int(sizeof(Wire));
    qint64 size(const Owner&) const { return FIXED_SIZE; }
    void put(const Owner& owner, BigEndianWriter& writer) const
    {
        writer.put(static_cast<Wire>(owner.*member));
    }
    template <typename From>
    void take(Owner& owner, From& reader) const
    {
        owner.*member = static_cast<Held>(reader.template take<Wire>());
    }
    bool isEqual(const Owner& a, const Owner& b) const { return a.*member == b.*member; }
};

/// A value that is always written and ignored when read.
template <typename Wire>
struct Placeholder
{
    Wire value;

    static constexpr int FIXED_SIZE = sizeof(Wire);
    template <typename Owner>
    qint64 size(const Owner&) const
    {
        return FIXED_SIZE;
    }
    template <typename Owner>
    void put(const Owner&, BigEndianWriter& writer) const
    {
        writer.put(value);
    }
    template <typename Owner, typename From>
    void take(Owner&, From& reader) const
    {
        reader.template take<Wire>();
    }
    template <typename Owner>
    bool isEqual(const Owner&, const Owner&) const
    {
        return true;
    }
};

/// A fixed number of numbers: the member is a `std::array`.
template <typename Wire, typename Owner, typename Array>
struct Run
{
    Array Owner::*member;

    static constexpr int COUNT = static_cast<int>(std::tuple_size_v<Array>);
    static constexpr int FIXED_SIZE = COUNT * static_cast<int>(sizeof(Wire));
    static_assert(std::is_same_v<Wire, typename Array::value_type>, "held as it travels");
    qint64 size(const Owner&) const { return FIXED_SIZE; }
    void put(const Owner& owner, BigEndianWriter& writer) const
    {
        writer.putRun((owner.*member).data(), COUNT);
    }
    template <typename From>
    void take(Owner& owner, From& reader) const
    {
        owner.*member = Array{};
        reader.takeRun((owner.*member).data(), COUNT);
    }
    bool isEqual(const Owner& a, const Owner& b) const { return a.*member == b.*member; }
};

/// An IPv4 address: a bool that is false for a null address, then 32 bits.
template <typename Owner>
struct Address
{
    QHostAddress Owner::*member;

    static constexpr int FIXED_SIZE = 5;
    qint64 size(const Owner&) const { return FIXED_SIZE; }
    void put(const Owner& owner, BigEndianWriter& writer) const
    {
        const QHostAddress& address = owner.*member;
        writer.put(!address.isNull());
        writer.put(address.isNull() ? quint32(0) : address.toIPv4Address());
    }
    template <typename From>
    void take(Owner& owner, From& reader) const
    {
        const bool isValid = reader.template take<bool>();
        const quint32 address = reader.template take<quint32>();
        owner.*member = isValid ? QHostAddress(address) : QHostAddress();
    }
    bool isEqual(const Owner& a, const Owner& b) const { return a.*member == b.*member; }
};

/// A count and that many numbers.
template <typename Wire, typename Owner, typename List>
struct NumberList
{
    List Owner::*member;

    static constexpr int FIXED_SIZE = -1;
    static_assert(std::is_same_v<Wire, typename List::value_type>, "held as it travels");
    qint64 size(const Owner& owner) const
    {
        return 4 + qint64((owner.*member).size()) * qint64(sizeof(Wire));
    }
    void put(const Owner& owner, BigEndianWriter& writer) const
    {
        const List& list = owner.*member;
        writer.put(static_cast<qint32>(list.size()));
        writer.putRun(list.data(), static_cast<int>(list.size()));
    }
    void take(Owner& owner, Reader& reader) const
    {
        const int count = reader.admit(reader.take<qint32>(), sizeof(Wire));
        List list(static_cast<typename List::size_type>(count));
        reader.takeRun(list.data(), count);
        owner.*member = std::move(list);
    }
    bool isEqual(const Owner& a, const Owner& b) const { return a.*member == b.*member; }
};

/// A count and that many records of a fixed size.
template <typename Owner, typename List>
struct RecordList
{
    List Owner::*member;

    using Element = typename List::value_type; ///< the record
    static constexpr int FIXED_SIZE = -1;
    static_assert(fixedSize<Element>() > 0, "a list's records have one size");
    qint64 size(const Owner& owner) const
    {
        return 4 + qint64((owner.*member).size()) * fixedSize<Element>();
    }
    void put(const Owner& owner, BigEndianWriter& writer) const
    {
        writer.put(static_cast<qint32>((owner.*member).size()));
        BigEndianWriter local = writer; // in registers, whatever the bytes may alias
        for (const Element& element : owner.*member) {
            RecordLayout::put(element, local);
        }
        writer = local;
    }
    void take(Owner& owner, Reader& reader) const
    {
        const int count = reader.admit(reader.take<qint32>(), fixedSize<Element>());
        List list(static_cast<typename List::size_type>(count));
        const int whole = qMin(count, reader.getRemaining() / fixedSize<Element>());
        Element* const elements = list.data();
        takeAll(elements, whole, reader.takeWhole(whole * fixedSize<Element>()));
        for (int i = whole; i < count; ++i) {
            RecordLayout::takeParts(elements[i], reader); // the first may be there in part
        }
        owner.*member = std::move(list);
    }
    bool isEqual(const Owner& a, const Owner& b) const
    {
        const List& left = a.*member;
        const List& right = b.*member;
        return left.size() == right.size() &&
               std::equal(left.begin(), left.end(), right.begin(),
                          [](const Element& x, const Element& y) { return areEqual(x, y); });
    }
};

// The functions that a layout is written with.

/// A number that is `Wire` on the wire.
template <typename Wire, typename Owner, typename Held>
constexpr Field<Wire, Owner, Held> field(Held Owner::*member)
{
    return {member};
}

/// A number without a member: written as `value`, skipped when read.
template <typename Wire>
constexpr Placeholder<Wire> placeholder(Wire value)
{
    return {value};
}

/// The elements of a std::array, without a count.
template <typename Wire, typename Owner, typename Array>
constexpr Run<Wire, Owner, Array> run(Array Owner::*member)
{
    return {member};
}

/// An IPv4 address, null or not, in 5 bytes.
template <typename Owner>
constexpr Address<Owner> address(QHostAddress Owner::*member)
{
    return {member};
}

/// A count and the numbers of a vector, of the same type on the wire.
template <typename Wire, typename Owner, typename List>
constexpr NumberList<Wire, Owner, List> list(List Owner::*member)
{
    return {member};
}

/// A count and the records of a vector, each by its own layout of a fixed size.
template <typename Owner, typename List>
constexpr RecordList<Owner, List> list(List Owner::*member)
{
    return {member};
}

/// Several numbers of one kind in a row.
template <typename Wire, typename... Members>
constexpr auto fields(Members... members)
{
    return std::make_tuple(field<Wire>(members)...);
}

namespace detail {

template <typename T>
constexpr std::tuple<T> asTuple(T part)
{
    return std::tuple<T>(part);
}

template <typename... T>
constexpr std::tuple<T...> asTuple(std::tuple<T...> parts)
{
    return parts;
}

template <typename... Parts>
constexpr int sumOfFixed(const std::tuple<Parts...>*)
{
    constexpr bool allFixed = ((Parts::FIXED_SIZE >= 0) && ...);
    return allFixed ? (0 + ... + Parts::FIXED_SIZE) : -1;
}

} // namespace detail

/// A record's parts in wire order, from the functions above.
template <typename... Parts>
constexpr auto layout(Parts... parts)
{
    return std::tuple_cat(detail::asTuple(parts)...);
}

/// The bytes that every record of the class takes on the wire; -1 if they differ.
template <typename Record>
constexpr int fixedSize()
{
    return detail::sumOfFixed(static_cast<decltype(&Record::LAYOUT)>(nullptr));
}

/// The bytes that the record takes on the wire.
template <typename Record>
qint64 sizeOf(const Record& record)
{
    return std::apply([&](const auto&... part) { return (qint64(0) + ... + part.size(record)); },
                      Record::LAYOUT);
}

/// Writes the record's parts in their order; the writer must have room for sizeOf bytes.
template <typename Record>
void put(const Record& record, BigEndianWriter& writer)
{
    std::apply([&](const auto&... part) { (part.put(record, writer), ...); }, Record::LAYOUT);
}

/// Reads the record's parts in their order.
template <typename Record, typename From>
void takeParts(Record& record, From& reader)
{
    std::apply([&](const auto&... part) { (part.take(record, reader), ...); }, Record::LAYOUT);
}

/// Reads `count` records of a fixed size, whose bytes are all there. A record of which there are
/// many may have a specialisation that is faster.
template <typename Record>
void takeAll(Record* records, int count, WholeBigEndianReader reader)
{
    for (int i = 0; i < count; ++i) {
        takeParts(records[i], reader);
    }
}

/// Reads the record's parts in their order; what is missing is zero. The bytes of a record of a
/// fixed size are counted once for all of them.
template <typename Record, typename From>
void take(Record& record, From& reader)
{
    if constexpr (fixedSize<Record>() > 0) {
        if (reader.getRemaining() >= fixedSize<Record>()) {
            WholeBigEndianReader whole = reader.takeWhole(fixedSize<Record>());
            return takeParts(record, whole);
        }
    }
    takeParts(record, reader);
}

/// True when all fields of the layout are equal.
template <typename Record>
bool areEqual(const Record& a, const Record& b)
{
    return std::apply([&](const auto&... part) { return (part.isEqual(a, b) && ...); },
                      Record::LAYOUT);
}

/// A payload of that many bytes, to be overwritten; null, with a log line, for a size that no
/// payload can have (2 GiB and above).
QByteArray allocatePayload(qint64 sizeBytes);

/// The record as payload bytes, of exactly its size; null if that is too large.
template <typename Record>
QByteArray serialise(const Record& record)
{
    QByteArray payload = allocatePayload(sizeOf(record));
    if (!payload.isNull()) {
        BigEndianWriter writer(payload);
        put(record, writer);
    }
    return payload;
}

/// Records with a layout compare by its fields. A namespace with records of its own, other than the
/// global one, takes the operators in once; so vectors of its records have == too:
///
///   namespace Measurements {
///   using RecordLayout::operator==;
///   using RecordLayout::operator!=;
///   struct Timing ...
template <typename Record, typename = decltype(Record::LAYOUT)>
bool operator==(const Record& a, const Record& b)
{
    return RecordLayout::areEqual(a, b);
}
template <typename Record, typename = decltype(Record::LAYOUT)>
bool operator!=(const Record& a, const Record& b)
{
    return !RecordLayout::areEqual(a, b);
}

} // namespace RecordLayout

using RecordLayout::operator==;
using RecordLayout::operator!=;
