#include "sw/datacore_gateway/RecordJson.h"

#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "infrastructure/utility/records/MetersData.h"
#include "infrastructure/utility/records/RawSdiJitterSpectrumDataPacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <limits>

namespace {

/// A histogram's name, and its JSON.
template <typename Packet>
QByteArray showHistogram(const QVector<int>& bins)
{
    RecordJson json;
    const QString name = json.take(std::make_shared<Packet>(EyeHistogram{bins}));
    return name.toUtf8() + ' ' + json.toJson(name);
}

template <typename Packet>
QByteArray showMeters(RecordJson& json, float level)
{
    auto meters = std::make_shared<Packet>();
    meters->readings.resize(1);
    meters->readings[0].meterIndex = 4;
    meters->readings[0].level = static_cast<decltype(meters->readings[0].level)>(level);
    const QString name = json.take(meters);
    return name.toUtf8() + ' ' + json.toJson(name);
}

} // namespace

TEST_CASE("Histograms become pictures, columns or rows", "[gateway]")
{
    const QVector<int> bins{0, 5, 10, -3};
    CHECK(showHistogram<EyeVerticalHistogramData>(bins) ==
          R"(EyeHistogram {"height":4,"most":10,"pixels":"AH//AA==","width":1})");
    CHECK(showHistogram<EyeHorizontalHistogramData>(bins) ==
          R"(EyeHorizontalHistogram {"height":1,"most":10,"pixels":"AH//AA==","width":4})");
    CHECK(showHistogram<EyeWindowedVerticalHistogramData>({}) ==
          R"(EyeWindowedHistogram {"height":0,"most":0,"pixels":"","width":1})");
    CHECK(showHistogram<JitterVerticalHistogramData>({std::numeric_limits<int>::max(), -1}) ==
          R"(JitterHistogram {"height":2,"most":2147483647,"pixels":"/wA=","width":1})");

    for (const auto& [count, height, width] : Table<int, const char*, int>{
             {4095, R"("height":4095,)", 1},
             {4096, R"("height":64,)", 64},
             {4097, R"("height":4097,)", 1},
             {3969, R"("height":3969,)", 1},
             {1 << 16, R"("height":256,)", 256},
             {(1 << 16) + 1, R"("height":65536,)", 1},
             {257 * 257, R"("height":65536,)", 1},
         }) {
        const QByteArray shown = showHistogram<EyeVerticalHistogramData>(QVector<int>(count));
        CHECK(shown.contains(height));
        CHECK(shown.endsWith("\"width\":" + QByteArray::number(width) + "}"));
    }
}

TEST_CASE("Spectra and meters show what the record has", "[gateway]")
{
    RecordJson json;
    CHECK(json.toJson("JitterSpectrum"_s).isEmpty());
    RawSdiJitterSpectrum spectrum;
    spectrum.spectrumVector1 = {10, 1e6, 0.123456789};
    spectrum.spectrumVector2 = {-0.5, std::numeric_limits<double>::quiet_NaN()};
    spectrum.spectrumParameter1 = 7;
    spectrum.spectrumFlag = true;
    spectrum.spectrumParameter2 = -8;
    CHECK(json.take(std::make_shared<RawSdiJitterSpectrumDataPacket>(spectrum)) ==
          "JitterSpectrum"_s);
    CHECK(json.toJson("JitterSpectrum"_s) ==
          R"({"flag":true,"frequencies":[10,1000000,0.123457],"limits":[],"parameters":[7,-8],)"
          R"("values":[-0.5,null]})");

    CHECK(showMeters<PeakHoldMetersData>(json, -1.5f) == " "); // no bars yet
    CHECK(showMeters<PpmMetersData>(json, -18.3f) ==
          R"(Meters {"bars":[{"label":"5","level":-18.3,"peak":-1.5}],"unit":"dB"})");
    CHECK(showMeters<PeakHoldMetersData>(json, -2) ==
          R"(Meters {"bars":[{"label":"5","level":-18.3,"peak":-2}],"unit":"dB"})");
    CHECK(showMeters<InstantPeakDbMetersData>(json, -3) ==
          R"(InstantPeakMeters {"bars":[{"label":"5","level":-3}],"unit":"dB"})");
    CHECK(showMeters<InstantPeakLinearMetersData>(json, 8388607) ==
          R"(InstantPeakLinearMeters {"bars":[{"label":"5","level":8388610}],"unit":""})");
    CHECK(showMeters<PhaseMetersData>(json, 0.5f) ==
          R"(PhaseMeters {"bars":[{"label":"5","level":0.5}],"unit":""})");

    json.clear();
    CHECK(json.toJson("JitterSpectrum"_s).isEmpty());
    CHECK(showMeters<PpmMetersData>(json, -18) ==
          R"(Meters {"bars":[{"label":"5","level":-18}],"unit":"dB"})");

    CHECK(json.take(nullptr).isEmpty());
    CHECK(json.take(std::make_shared<AesPresenceDataPacket>()).isEmpty());
    QStringList names;
    for (quint16 type = 0; type < 0x1100; ++type) {
        names += RecordJson::canShow(type) ? QString::number(type, 16) : QString();
    }
    names.removeAll(QString());
    CHECK(names.join(u' ') == "1011 1012 1013 1014 1015 1016 1017 101a 101b 1023 1026"_s);
    CHECK(RecordJson::getNames().join(u' ') ==
          "EyeHistogram EyeHorizontalHistogram EyeWindowedHistogram JitterHistogram JitterSpectrum "
          "Meters InstantPeakMeters InstantPeakLinearMeters PhaseMeters Captions"_s);
}

TEST_CASE("Captions are shown by service, with their looks", "[gateway]")
{
    RecordJson json;
    const auto take = [&json](bool isField1, const std::vector<int>& codes) {
        std::vector<Caption608BytePair> pairs;
        for (const int code : codes) {
            pairs.push_back(Caption608BytePair::fromRaw(static_cast<quint8>(code >> 8),
                                                        static_cast<quint8>(code), isField1));
        }
        return json.take(std::make_shared<Captions608bytePairsRawDataPacket>(pairs));
    };
    CHECK(take(true, {0}) == "Captions"_s);
    const auto show = [&json] {
        return QJsonDocument::fromJson(json.toJson("Captions"_s)).object();
    };
    CHECK(show()["service"_s] == "CC1"_s);
    CHECK(show()["runs"_s].toArray().isEmpty());

    // Paint-on in CC1: yellow "Ab", underlined white " c" in row 15. Roll-up in CC3: "x".
    CHECK(take(true, {0x1429, 0x146A, 0x4162, 0x1121, 0x6300}) == "Captions"_s);
    CHECK(take(false, {0x1425, 0x142D, 0x1460, 0x7800}) == "Captions"_s);
    const QJsonObject captions = show();
    CHECK(captions["rows"_s] == 16);
    CHECK(captions["columns"_s] == 32);
    CHECK(captions["lines"_s].toArray().size() == 16);
    const QJsonArray more = captions["more"_s].toArray();
    REQUIRE(more.size() == 1);
    CHECK(more[0].toObject()["service"_s] == "CC3"_s);
    CHECK(more[0].toObject()["lines"_s].toArray()[14] == "x"_s);
    CHECK(captions["lines"_s].toArray()[14] == "Abc"_s);
    CHECK(QJsonDocument(captions["runs"_s].toArray()).toJson(QJsonDocument::Compact) ==
          R"([[14,0,"Ab",5,0],[14,2,"c",0,1]])");
}
