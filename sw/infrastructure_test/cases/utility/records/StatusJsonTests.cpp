#include "infrastructure/utility/records/InputStatusJsonData.h"
#include "sw/infrastructure_test/Catch.h"

#include <QJsonArray>
#include <QJsonDocument>

TEST_CASE("Raster properties are ready-formatted text", "[records]")
{
    LaneStatusJsonData lane;
    lane.setRasterProperties(2200, 1125, 7, 1920, 1080, 8, false, true);
    QStringList texts;
    for (int i = 0; i < 6; ++i) {
        texts.append(lane.getProperty(i).toString());
    }
    CHECK(texts == QStringList{QStringLiteral("2200"), QStringLiteral("1125"),
                               QStringLiteral("progressive"), QStringLiteral("1920"),
                               QStringLiteral("1080"), QStringLiteral("progressive")});
    CHECK(lane.isProgressiveFlag);
    CHECK_FALSE(lane.isLevelBFlag);

    lane.setRasterProperties(2200, 563, 562, 1920, 540, 541, true, false);
    CHECK(lane.totalHorizontalPixels == QStringLiteral("2200 (B mux)"));
    CHECK(lane.activeHorizontalPixels == QStringLiteral("1920 (B mux)"));
    CHECK(lane.totalVerticalPixelsProgressiveOrField1 == QStringLiteral("563"));
    CHECK(lane.totalVerticalPixelsField2 == QStringLiteral("562"));
    CHECK(lane.activeVerticalPixelsField2 == QStringLiteral("541"));
    CHECK(lane.isLevelBFlag);
    CHECK_FALSE(lane.isProgressiveFlag);
}

TEST_CASE("A property is reached by index and stands under its key", "[records]")
{
    for (int i = 0; i < LaneStatusJsonData::PROPERTY_COUNT; ++i) {
        LaneStatusJsonData lane;
        const bool isFlag = i >= 6 && i <= 12;
        const QVariant value = isFlag ? QVariant(true) : QVariant(QStringLiteral("text"));
        CHECK(lane.setProperty(i, value));
        CHECK(lane.getProperty(i) == value);
        CHECK(lane != LaneStatusJsonData());

        QJsonObject json;
        lane.writeToJson(json);
        CHECK(json.size() == LaneStatusJsonData::PROPERTY_COUNT);
        const auto key = LaneStatusJsonData::propertyNames[static_cast<std::size_t>(i)];
        CHECK(json.value(QLatin1String(key)).toVariant() == value);
        LaneStatusJsonData back;
        back.readFromJson(json);
        CHECK(back == lane);
    }
    LaneStatusJsonData lane;
    for (const int index : {-1, 17, 18}) {
        CHECK_FALSE(lane.getProperty(index).isValid());
        CHECK(lane.setProperty(index, true));
    }
    CHECK_FALSE(lane.setProperty(0, QVariant()));
    CHECK(lane == LaneStatusJsonData());
    CHECK(QLatin1String(LaneStatusJsonData::propertyNames[12]) ==
          QLatin1String("Smpte352PacketLinkBchannelYpositionDetectedFlag"));
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
    CHECK(json.keys() == QStringList{QStringLiteral("LaneStatusArray")});
    InputStatusJsonData back;
    back.lanes.append(LaneStatusJsonData());
    back.readFromJson(QJsonDocument::fromJson(QJsonDocument(json).toJson()).object());
    CHECK(back.lanes == input.lanes);
    CHECK(back.getClassName() == QStringLiteral("InputStatusData"));
    CHECK(LaneStatusJsonData().getClassName() == QStringLiteral("LaneStatusData"));

    back.readFromJson(QJsonObject());
    CHECK(back.lanes.isEmpty());
    back.readFromJson(QJsonObject{{QStringLiteral("LaneStatusArray"), QJsonArray{1}}});
    CHECK(back.lanes == QList<LaneStatusJsonData>{LaneStatusJsonData()});
}
