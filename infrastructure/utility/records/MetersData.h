// Audio level meters. A `float` level travels as an 8-byte double.
#pragma once

#include "infrastructure/utility/records/RecordPacket.h"

#include <QVector>

/// The first three words of every payload of the audio meters, passed on as they are.
struct AudioMetersHeader
{
    qint32 metersField1 = 0;
    qint32 metersField2 = 0;
    qint32 metersField3 = 0;

    static constexpr auto LAYOUT = RecordLayout::layout(RecordLayout::fields<qint32>(
        &AudioMetersHeader::metersField1, &AudioMetersHeader::metersField2,
        &AudioMetersHeader::metersField3));
};

/// The base of everything the audio meters send, with the header words.
class AudioMetersDataPacket : public RecordPayload<AudioMetersHeader>
{
public:
    using RecordPayload::RecordPayload;
};

/// Deleted: only the packets' own classes know what follows the words, and so whether it is equal.
bool operator==(const AudioMetersDataPacket& a, const AudioMetersDataPacket& b) = delete;
bool operator!=(const AudioMetersDataPacket& a, const AudioMetersDataPacket& b) = delete;

/// One meter.
template <typename T>
struct MeterReading
{
    quint8 meterIndex = 0;
    qint32 meterValue1 = 0;
    qint32 meterValue2 = 0;
    qint32 meterValue3 = 0;
    T level = 0;

    /// A float travels as a double, an int as it is.
    using LevelOnWire = std::conditional_t<std::is_floating_point_v<T>, double, qint32>;
    static constexpr auto LAYOUT = RecordLayout::layout(
        RecordLayout::field<qint32>(&MeterReading::meterIndex),
        RecordLayout::fields<qint32>(&MeterReading::meterValue1, &MeterReading::meterValue2,
                                     &MeterReading::meterValue3),
        RecordLayout::field<LevelOnWire>(&MeterReading::level));
};

/// Zero bytes are a reading, and a list of them needs no more than cleared memory.
template <typename T>
Q_DECLARE_TYPEINFO_BODY(MeterReading<T>, Q_PRIMITIVE_TYPE);

template <>
void RecordLayout::takeAll(MeterReading<float>* readings, int count, WholeBigEndianReader reader);
template <>
void RecordLayout::takeAll(MeterReading<int>* readings, int count, WholeBigEndianReader reader);

/// The meters, after the header words.
template <typename T>
struct Meters
{
    QVector<MeterReading<T>> readings;

    static constexpr auto LAYOUT = RecordLayout::layout(RecordLayout::list(&Meters::readings));
};

/// The base of the meter packets with levels of one type.
template <typename T>
class MetersData : public RecordPayload<Meters<T>, AudioMetersDataPacket>
{
public:
    using RecordPayload<Meters<T>, AudioMetersDataPacket>::RecordPayload;
};

class PpmMetersData : public TypedPacket<MetersData<float>, RawPacketType_PpmMeters>
{
public:
    using TypedPacket::TypedPacket;
};

class PeakHoldMetersData : public TypedPacket<MetersData<float>, RawPacketType_PeakHoldMeters>
{
public:
    using TypedPacket::TypedPacket;
};

class PhaseMetersData : public TypedPacket<MetersData<float>, RawPacketType_PhaseMeters>
{
public:
    using TypedPacket::TypedPacket;
};

class InstantPeakDbMetersData
    : public TypedPacket<MetersData<float>, RawPacketType_InstantPeakDbMeters>
{
public:
    using TypedPacket::TypedPacket;
};

class InstantPeakLinearMetersData
    : public TypedPacket<MetersData<int>, RawPacketType_InstantPeakLinearMeters>
{
public:
    using TypedPacket::TypedPacket;
};

/// The header words alone tell whether AES audio is present.
class AesPresenceDataPacket : public TypedPacket<AudioMetersDataPacket, RawPacketType_AesPresence>
{
public:
    using TypedPacket::TypedPacket;
};
