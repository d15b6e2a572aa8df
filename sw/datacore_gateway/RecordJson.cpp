#include "RecordJson.h"

#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "infrastructure/utility/records/MetersData.h"
#include "infrastructure/utility/records/RawSdiJitterSpectrumDataPacket.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cmath>

namespace {

constexpr int LEAST_PICTURE_BINS = 4096;

struct ShownType
{
    quint16 type;
    const char* name;
};

constexpr ShownType SHOWN_TYPES[] = {
    {RawPacketType_EyeVerticalHistogram, "EyeHistogram"},
    {RawPacketType_EyeHorizontalHistogram, "EyeHorizontalHistogram"},
    {RawPacketType_EyeWindowedVerticalHistogram, "EyeWindowedHistogram"},
    {RawPacketType_JitterVerticalHistogram, "JitterHistogram"},
    {RawPacketType_RawSdiJitterSpectrum, "JitterSpectrum"},
    {RawPacketType_PpmMeters, "Meters"},
    {RawPacketType_PeakHoldMeters, "Meters"}, // its peaks
    {RawPacketType_InstantPeakDbMeters, "InstantPeakMeters"},
    {RawPacketType_InstantPeakLinearMeters, "InstantPeakLinearMeters"},
    {RawPacketType_PhaseMeters, "PhaseMeters"},
    {RawPacketType_Captions608bytePairs, "Captions"},
};

QString findName(quint16 type)
{
    for (const ShownType& row : SHOWN_TYPES) {
        if (row.type == type) {
            return QString::fromLatin1(row.name);
        }
    }
    return QString();
}

/// The first elements of a list as JSON, each as `convert` gives it.
template <typename List, typename Convert>
QJsonArray toArray(const List& list, const Convert& convert)
{
    QJsonArray array;
    const auto count = std::min<qint64>(static_cast<qint64>(list.size()), RecordJson::MAX_ELEMENTS);
    std::for_each(list.begin(), list.begin() + static_cast<int>(count),
                  [&](const auto& element) { array.append(convert(element)); });
    return array;
}

/// Six digits are more than a display shows.
QJsonValue toValue(double number)
{
    return std::isfinite(number) ? QJsonValue(QString::number(number, 'g', 6).toDouble())
                                 : QJsonValue();
}

QJsonObject showHistogram(const EyeHistogramData& record)
{
    const int count = std::min(record.histogram.size(), RecordJson::MAX_ELEMENTS);
    const int side = static_cast<int>(std::lround(std::sqrt(count)));
    const bool isPicture = count >= LEAST_PICTURE_BINS && side * side == record.histogram.size();
    const bool isRow = record.getPacketType() == RawPacketType_EyeHorizontalHistogram;
    const auto end = record.histogram.begin() + count;
    const int most = count > 0 ? std::max(0, *std::max_element(record.histogram.begin(), end)) : 0;
    QByteArray pixels;
    std::for_each(record.histogram.begin(), end, [&](int bin) {
        const qint64 share = most > 0 ? qint64{std::max(0, bin)} * 255 / most : 0;
        pixels.append(static_cast<char>(static_cast<quint8>(share)));
    });
    return {{QStringLiteral("width"), isPicture ? side
                                      : isRow   ? count
                                                : 1},
            {QStringLiteral("height"), isPicture ? side
                                       : isRow   ? 1
                                                 : count},
            {QStringLiteral("most"), most},
            {QStringLiteral("pixels"), QString::fromLatin1(pixels.toBase64())}};
}

QJsonObject showSpectrum(const RawSdiJitterSpectrum& record)
{
    return {{QStringLiteral("frequencies"), toArray(record.spectrumVector1, toValue)},
            {QStringLiteral("values"), toArray(record.spectrumVector2, toValue)},
            {QStringLiteral("limits"), toArray(record.spectrumVector3, toValue)},
            {QStringLiteral("parameters"),
             QJsonArray{record.spectrumParameter1, record.spectrumParameter2}},
            {QStringLiteral("flag"), record.spectrumFlag}};
}

template <typename Level>
QJsonObject showMeters(const Meters<Level>& record, const QString& unit,
                       const QMap<int, double>& peaks)
{
    const auto toBar = [&peaks](const MeterReading<Level>& reading) {
        QJsonObject bar{{QStringLiteral("label"), QString::number(reading.meterIndex + 1)},
                        {QStringLiteral("level"), toValue(static_cast<double>(reading.level))}};
        if (const auto peak = peaks.find(reading.meterIndex); peak != peaks.end()) {
            bar.insert(QStringLiteral("peak"), toValue(*peak));
        }
        return bar;
    };
    return {{QStringLiteral("unit"), unit},
            {QStringLiteral("bars"), toArray(record.readings, toBar)}};
}

/// The cells of a row as runs of one look.
void appendRuns(const CaptionGrid608& grid, unsigned row, QJsonArray& runs)
{
    for (unsigned column = 0; column < CaptionGrid608::COLUMNS;) {
        const CaptionCell608 first = grid.cell(row, column);
        const unsigned start = column;
        QString text;
        for (; column < CaptionGrid608::COLUMNS; ++column) {
            const CaptionCell608 cell = grid.cell(row, column);
            if (!cell.valid || cell.colour != first.colour || cell.underline != first.underline) {
                break;
            }
            text += cell.glyph == 0 ? QStringLiteral(" ") : cell.text();
        }
        if (text.isEmpty()) {
            ++column; // blank
        } else {
            runs.append(QJsonArray{static_cast<int>(row), static_cast<int>(start), text,
                                   static_cast<int>(first.colour), first.underline ? 1 : 0});
        }
    }
}

QJsonObject showService(const CaptionGrid608& grid, const QString& service)
{
    QJsonArray lines, runs;
    for (unsigned row = 0; row < CaptionGrid608::ROWS; ++row) {
        QString text = grid.rowText(row);
        while (text.endsWith(QLatin1Char(' '))) {
            text.chop(1);
        }
        lines.append(text);
        appendRuns(grid, row, runs);
    }
    return {{QStringLiteral("service"), service},
            {QStringLiteral("rows"), static_cast<int>(CaptionGrid608::ROWS)},
            {QStringLiteral("columns"), static_cast<int>(CaptionGrid608::COLUMNS)},
            {QStringLiteral("lines"), lines},
            {QStringLiteral("runs"), runs}};
}

QJsonObject showCaptions(const std::array<CaptionField608, 2>& fields)
{
    QJsonArray services;
    for (unsigned index = 0; index < 4; ++index) {
        const CaptionField608& field = fields[index / 2];
        if (field.isPresent(index % 2)) {
            services.append(showService(field.service(index % 2).displayedGrid(),
                                        QStringLiteral("CC%1").arg(index + 1)));
        }
    }
    QJsonObject captions =
        services.isEmpty() ? showService({}, QStringLiteral("CC1")) : services.takeAt(0).toObject();
    captions.insert(QStringLiteral("more"), services);
    return captions;
}

} // namespace

QStringList RecordJson::getNames()
{
    QStringList names;
    for (const ShownType& row : SHOWN_TYPES) {
        names.append(QString::fromLatin1(row.name));
    }
    names.removeDuplicates();
    return names;
}

bool RecordJson::canShow(quint16 packetType)
{
    return !findName(packetType).isEmpty();
}

QString RecordJson::take(const std::shared_ptr<const RawDataPacket>& packet)
{
    const QString name = packet ? findName(packet->getPacketType()) : QString();
    if (name.isEmpty()) {
        return QString();
    }
    if (const auto* held = dynamic_cast<const PeakHoldMetersData*>(packet.get())) {
        for (const MeterReading<float>& reading : held->readings) {
            peaks[reading.meterIndex] = static_cast<double>(reading.level);
        }
        return newest.count(name) > 0 ? name : QString();
    }
    if (const auto* pairs = dynamic_cast<const Captions608bytePairsRawDataPacket*>(packet.get())) {
        for (const Caption608BytePair& pair : pairs->getBytePairs()) {
            captions[pair.isField1 ? 0 : 1].process(pair.code());
        }
    }
    newest[name] = packet;
    return name;
}

QByteArray RecordJson::toJson(const QString& name) const
{
    const auto found = newest.find(name);
    if (found == newest.end()) {
        return QByteArray();
    }
    const RawDataPacket* const packet = found->second.get();
    QJsonObject data;
    if (const auto* histogram = dynamic_cast<const EyeHistogramData*>(packet)) {
        data = showHistogram(*histogram);
    } else if (const auto* spectrum = dynamic_cast<const RawSdiJitterSpectrumDataPacket*>(packet)) {
        data = showSpectrum(*spectrum);
    } else if (const auto* linear = dynamic_cast<const MetersData<int>*>(packet)) {
        data = showMeters(*linear, QString(), {});
    } else if (const auto* meters = dynamic_cast<const MetersData<float>*>(packet)) {
        const quint16 type = meters->getPacketType();
        const bool isDb = type != RawPacketType_PhaseMeters;
        data = showMeters(*meters, isDb ? QStringLiteral("dB") : QString(),
                          type == RawPacketType_PpmMeters ? peaks : QMap<int, double>());
    } else {
        data = showCaptions(captions);
    }
    return QJsonDocument(data).toJson(QJsonDocument::Compact);
}

void RecordJson::clear()
{
    *this = RecordJson();
}
