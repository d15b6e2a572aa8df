#include "infrastructure/utility/records/InputStatusJsonData.h"
#include "sw/infrastructure_test/Catch.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <map>

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
    CHECK(lane.activeVerticalPixelsProgressiveOrField1 == QStringLiteral("540"));
    CHECK(lane.totalVerticalPixelsField2 == QStringLiteral("562"));
    CHECK(lane.activeVerticalPixelsField2 == QStringLiteral("541"));
    CHECK(lane.isLevelBFlag);
    CHECK_FALSE(lane.isProgressiveFlag);
}

TEST_CASE("A property is reached by index and stands under its key", "[records]")
{
    using Lane = LaneStatusJsonData;
    const std::map<int, QString Lane::*> texts{{0, &Lane::totalHorizontalPixels},
                                               {1, &Lane::totalVerticalPixelsProgressiveOrField1},
                                               {2, &Lane::totalVerticalPixelsField2},
                                               {3, &Lane::activeHorizontalPixels},
                                               {4, &Lane::activeVerticalPixelsProgressiveOrField1},
                                               {5, &Lane::activeVerticalPixelsField2},
                                               {13, &Lane::smpte352PacketLinkAchannelCPosition},
                                               {14, &Lane::smpte352PacketLinkBchannelCPosition},
                                               {15, &Lane::smpte352PacketLinkAchannelYPosition},
                                               {16, &Lane::smpte352PacketLinkBchannelYPosition}};
    const std::map<int, bool Lane::*> flags{
        {6, &Lane::isProgressiveFlag},
        {7, &Lane::isLevelBFlag},
        {8, &Lane::isStableFlag},
        {9, &Lane::smpte352PacketLinkAchannelCpositionDetectedFlag},
        {10, &Lane::smpte352PacketLinkBchannelCpositionDetectedFlag},
        {11, &Lane::smpte352PacketLinkAchannelYpositionDetectedFlag},
        {12, &Lane::smpte352PacketLinkBchannelYpositionDetectedFlag}};
    QByteArray keys;
    for (int i = 0; i < 17; ++i) {
        const char* const key = Lane::propertyNames[static_cast<std::size_t>(i)];
        CAPTURE(key);
        keys += QByteArray(key) + '\n';
        const bool isText = texts.count(i) == 1;
        const QVariant value = isText ? QVariant(QStringLiteral("text")) : QVariant(true);
        Lane lane;
        CHECK(lane.setProperty(i, value));
        CHECK((isText ? QVariant(lane.*texts.at(i)) : QVariant(lane.*flags.at(i))) == value);
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
    CHECK(json.keys() == QStringList{QStringLiteral("LaneStatusArray")});
    InputStatusJsonData back;
    back.lanes.append(LaneStatusJsonData());
    back.readFromJson(QJsonDocument::fromJson(QJsonDocument(json).toJson()).object());
    CHECK(back == input);
    CHECK(QLatin1String(InputStatusJsonData::propertyNames[0]) == QLatin1String("LaneStatusArray"));
    std::swap(back.lanes[0], back.lanes[1]);
    CHECK(back != input);
    CHECK(back.getClassName() == QStringLiteral("InputStatusData"));
    CHECK(LaneStatusJsonData().getClassName() == QStringLiteral("LaneStatusData"));

    back.readFromJson(QJsonObject());
    CHECK(back.lanes.isEmpty());
    back.readFromJson(QJsonObject{{QStringLiteral("LaneStatusArray"), QJsonArray{1}}});
    CHECK(back.lanes == QList<LaneStatusJsonData>{LaneStatusJsonData()});
}
