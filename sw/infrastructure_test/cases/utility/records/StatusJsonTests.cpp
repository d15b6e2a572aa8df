#include "infrastructure/utility/records/InputStatusJsonData.h"
#include "sw/infrastructure_test/Catch.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <functional>

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
    struct Row
    {
        const char* key;
        std::function<QVariant(const Lane&)> member;
    };
    const auto text = [](QString Lane::*member) {
        return [member](const Lane& lane) { return QVariant(lane.*member); };
    };
    const auto flag = [](bool Lane::*member) {
        return [member](const Lane& lane) { return QVariant(lane.*member); };
    };
    const Row rows[] = {
        {"TotalHorizontalPixels", text(&Lane::totalHorizontalPixels)},
        {"TotalVerticalPixelsProgressiveOrField1",
         text(&Lane::totalVerticalPixelsProgressiveOrField1)},
        {"TotalVerticalPixelsField2", text(&Lane::totalVerticalPixelsField2)},
        {"ActiveHorizontalPixels", text(&Lane::activeHorizontalPixels)},
        {"ActiveVerticalPixelsProgressiveOrField1",
         text(&Lane::activeVerticalPixelsProgressiveOrField1)},
        {"ActiveVerticalPixelsField2", text(&Lane::activeVerticalPixelsField2)},
        {"IsProgressiveFlag", flag(&Lane::isProgressiveFlag)},
        {"IsLevelBFlag", flag(&Lane::isLevelBFlag)},
        {"IsStableFlag", flag(&Lane::isStableFlag)},
        {"Smpte352PacketLinkAchannelCpositionDetectedFlag",
         flag(&Lane::smpte352PacketLinkAchannelCpositionDetectedFlag)},
        {"Smpte352PacketLinkBchannelCpositionDetectedFlag",
         flag(&Lane::smpte352PacketLinkBchannelCpositionDetectedFlag)},
        {"Smpte352PacketLinkAchannelYpositionDetectedFlag",
         flag(&Lane::smpte352PacketLinkAchannelYpositionDetectedFlag)},
        {"Smpte352PacketLinkBchannelYpositionDetectedFlag",
         flag(&Lane::smpte352PacketLinkBchannelYpositionDetectedFlag)},
        {"Smpte352PacketLinkAchannelCPosition", text(&Lane::smpte352PacketLinkAchannelCPosition)},
        {"Smpte352PacketLinkBchannelCPosition", text(&Lane::smpte352PacketLinkBchannelCPosition)},
        {"Smpte352PacketLinkAchannelYPosition", text(&Lane::smpte352PacketLinkAchannelYPosition)},
        {"Smpte352PacketLinkBchannelYPosition", text(&Lane::smpte352PacketLinkBchannelYPosition)},
    };
    STATIC_REQUIRE(std::size(rows) == Lane::PROPERTY_COUNT);
    for (int i = 0; i < 17; ++i) {
        const Row& row = rows[i];
        CAPTURE(row.key);
        Lane lane;
        const QVariant value = row.member(lane).type() == QVariant::Bool
                                   ? QVariant(true)
                                   : QVariant(QStringLiteral("text"));
        CHECK(lane.setProperty(i, value));
        CHECK(row.member(lane) == value);
        CHECK(lane.getProperty(i) == value);
        CHECK(lane != Lane());

        QJsonObject json;
        lane.writeToJson(json);
        CHECK(json.size() == 17);
        CHECK(json.value(QLatin1String(row.key)).toVariant() == value);
        CHECK(QLatin1String(Lane::propertyNames[static_cast<std::size_t>(i)]) ==
              QLatin1String(row.key));
        Lane back;
        back.readFromJson(json);
        CHECK(back == lane);
        back.readFromJson(QJsonObject());
        CHECK(back == Lane());
    }
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
