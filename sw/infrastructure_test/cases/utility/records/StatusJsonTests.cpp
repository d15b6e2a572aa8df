#include "infrastructure/utility/records/InputStatusJsonData.h"
#include "sw/infrastructure_test/Catch.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <variant>

TEST_CASE("Raster properties are ready-formatted text", "[records]")
{
    LaneStatusJsonData lane;
    const auto texts = [&lane] {
        QStringList list;
        for (int i = 0; i < 6; ++i) {
            list.append(lane.getProperty(i).toString());
        }
        return list.join(QLatin1Char('|'));
    };
    lane.setRasterProperties(2200, 1125, 7, 1920, 1080, 8, false, true);
    CHECK(texts() == "2200|1125|progressive|1920|1080|progressive"_s);
    CHECK((lane.isProgressiveFlag && !lane.isLevelBFlag));
    lane.setRasterProperties(2200, 563, 562, 1920, 540, 541, true, false);
    CHECK(texts() == "2200 (B mux)|563|562|1920 (B mux)|540|541"_s);
    CHECK((lane.isLevelBFlag && !lane.isProgressiveFlag));
}

TEST_CASE("A property is reached by index and stands under its key", "[records]")
{
    using Lane = LaneStatusJsonData;
    using Text = QString Lane::*;
    using Flag = bool Lane::*;
    const std::variant<Text, Flag> members[17] = {
        &Lane::totalHorizontalPixels,
        &Lane::totalVerticalPixelsProgressiveOrField1,
        &Lane::totalVerticalPixelsField2,
        &Lane::activeHorizontalPixels,
        &Lane::activeVerticalPixelsProgressiveOrField1,
        &Lane::activeVerticalPixelsField2,
        &Lane::isProgressiveFlag,
        &Lane::isLevelBFlag,
        &Lane::isStableFlag,
        &Lane::smpte352PacketLinkAchannelCpositionDetectedFlag,
        &Lane::smpte352PacketLinkBchannelCpositionDetectedFlag,
        &Lane::smpte352PacketLinkAchannelYpositionDetectedFlag,
        &Lane::smpte352PacketLinkBchannelYpositionDetectedFlag,
        &Lane::smpte352PacketLinkAchannelCPosition,
        &Lane::smpte352PacketLinkBchannelCPosition,
        &Lane::smpte352PacketLinkAchannelYPosition,
        &Lane::smpte352PacketLinkBchannelYPosition};
    QByteArray keys;
    for (int i = 0; i < 17; ++i) {
        const char* const key = Lane::propertyNames[static_cast<std::size_t>(i)];
        CAPTURE(key);
        keys += QByteArray(key) + '\n';
        const bool isText = std::holds_alternative<Text>(members[i]);
        const QVariant value = isText ? QVariant("text"_s) : QVariant(true);
        Lane lane;
        CHECK(lane.setProperty(i, value));
        CHECK(std::visit([&lane](auto member) { return QVariant(lane.*member); }, members[i]) ==
              value);
        CHECK(lane.getProperty(i) == value);
        CHECK(lane != Lane());

        QJsonObject json;
        lane.writeToJson(json);
        CHECK(json.size() == 17);
        CHECK(json.value(QLatin1String(key)).toVariant() == value);
        Lane back;
        back.readFromJson(json);
        CHECK(back == lane);
        back.readFromJson(QJsonObject());
        CHECK(back == Lane());
    }
    // "TotalHorizontalPixels\n" and so on to "Smpte352PacketLinkBchannelYPosition\n"
    CHECK(QCryptographicHash::hash(keys, QCryptographicHash::Md5).toHex() ==
          "19eb36b57dba9c95066fd26e111ec15a");
    Lane lane;
    for (const int index : {-1, 17, 18}) {
        CHECK_FALSE(lane.getProperty(index).isValid());
        CHECK(lane.setProperty(index, true));
    }
    CHECK_FALSE(lane.setProperty(0, QVariant()));
    CHECK(lane == Lane());
}

TEST_CASE("An input's lanes keep their order in JSON", "[records]")
{
    InputStatusJsonData input;
    for (const char* position : {"A", "B", "C"}) {
        LaneStatusJsonData lane;
        lane.smpte352PacketLinkBchannelYPosition = QLatin1String(position);
        input.lanes.append(lane);
    }
    QJsonObject json;
    input.writeToJson(json);
    CHECK(json.keys() == QStringList{"LaneStatusArray"_s});
    InputStatusJsonData back;
    back.lanes.append(LaneStatusJsonData());
    back.readFromJson(QJsonDocument::fromJson(QJsonDocument(json).toJson()).object());
    CHECK(back == input);
    CHECK(QLatin1String(InputStatusJsonData::propertyNames[0]) == QLatin1String("LaneStatusArray"));
    std::swap(back.lanes[0], back.lanes[1]);
    CHECK(back != input);
    CHECK(back.getClassName() == "InputStatusData"_s);
    CHECK(LaneStatusJsonData().getClassName() == "LaneStatusData"_s);

    back.readFromJson(QJsonObject());
    CHECK(back.lanes.isEmpty());
    back.readFromJson(QJsonObject{{"LaneStatusArray"_s, QJsonArray{1}}});
    CHECK(back.lanes == QList<LaneStatusJsonData>{LaneStatusJsonData()});
}
