// Leaves of records: video on IP, and a PTP grandmaster.
#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/leaves/DatacoreGrandmasterInfo.h"
#include "infrastructure/datacore/leaves/DatacoreVideoStandard2110.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

using namespace Tessorn::IpTypes;

namespace {

const QString NAME = "leaf"_s;

const VideoStandard2110Params P59(3840, 2160, Sampling2110_422YCbCr, BitDepth2110_12,
                                  Colourimetry2110_Bt2020, {60, 1001}, TransferCurve2110_Hlg, false,
                                  false);
const VideoStandard2110Params NONE(400, 300, Sampling2110_Key, BitDepth2110_8, Colourimetry2110_Xyz,
                                   {24, 1000}, TransferCurve2110_Pq, true, true);

/// A leaf that holds `first` and then both, its JSON forms, and texts that it can't read.
template <typename Leaf, typename Record>
void checkLeaf(const Record& first, const Record& second, const QByteArray& className,
               const QByteArray& firstText, const QByteArray& secondText, int unreadable)
{
    const LogCapture log;
    Leaf leaf(NAME, nullptr);
    CHECK(leaf.getDataCount() == 0);
    CHECK(leaf.isValid());
    CHECK(leaf.getDataRecord() == std::nullopt);
    leaf.setDataRecord(first);
    CHECK(toText(write(leaf)) == "{\"leaf\":{\"class\":\"" + className + "\",\"data\":\"" +
                                     firstText + "\",\"reasonsForBeingInactive\":[]," +
                                     "\"reasonsForBeingInvalid\":[]}}");
    CHECK(leaf.getDataRecord() == first);
    CHECK("Datacore" + leaf.getDescription().kind.toLatin1() == className);

    transfer(Leaf(NAME, nullptr, {first, second}), leaf);
    CHECK(toText(write(leaf, "", true)) ==
          "{\"leaf\":{\"data\":[\"" + firstText + "\",\"" + secondText + "\"]}}");
    CHECK(leaf.getDataRecords() == typename Leaf::Records{first, second});
    leaf.setDataRecords({second, std::nullopt, first});
    CHECK(leaf.getDataRecord() == second);
    CHECK(leaf.getDataRecords() == typename Leaf::Records{second, std::nullopt, first});
    CHECK((leaf.getDataAt(1).isEmpty() && log.lines().isEmpty()));

    for (const QByteArray& bad : {QByteArray(), firstText + ',', firstText.left(20),
                                  ' ' + firstText, firstText.toUpper(), QByteArray("x")}) {
        CAPTURE(bad);
        leaf.setData({QString::fromLatin1(bad), QString::fromLatin1(firstText)});
        CHECK(leaf.getDataAt(0) == QString::fromLatin1(bad));
        CHECK(reasons(leaf) == std::vector<int>{unreadable});
        CHECK(leaf.getDataRecord() == std::nullopt);
        CHECK(leaf.getDataRecords() == typename Leaf::Records{std::nullopt, first});
    }
    CHECK(reasons(Leaf(NAME, nullptr, {std::nullopt, first, std::nullopt})) ==
          std::vector<int>{unreadable, unreadable});
    leaf.setDataRecord(std::nullopt);
    CHECK(leaf.getDataCount() == 0);
    CHECK((leaf.isValid() && leaf.getDataRecords().empty()));
}

} // namespace

TEST_CASE("A leaf holds what a grandmaster says of itself", "[datacore][ptp]")
{
    const char* const text =
        "8376079548036182,128,6,33,20061,127,1,32,37,true,false,false,true,false,true";
    bool ok = false;
    const GrandmasterInfo info = GrandmasterInfo::deserialise(QString::fromLatin1(text), ok);
    REQUIRE(info.clockIdentity == 0x001DC1FFFE123456);
    checkLeaf<DatacoreGrandmasterInfo>(info, GrandmasterInfo(), "DatacoreGrandmasterInfo", text,
                                       "0,0,0,0,0,0,0,0,0,false,false,false,false,false,false", 15);
}

TEST_CASE("A leaf holds the parameters of video on IP", "[datacore][ip]")
{
    checkLeaf<DatacoreVideoStandard2110>(
        P59, VideoStandard2110Params(), "DatacoreVideoStandard2110",
        "3840,2160,0,1,1,60/1001,2,false,false", "1920,1080,0,0,0,25/1000,0,true,false", 30);

    // Parameters that no instrument carries are read, and reported in their place.
    DatacoreVideoStandard2110 leaf(NAME, nullptr, {NONE, std::nullopt, P59, NONE});
    CHECK(reasons(leaf) == std::vector<int>{43, 30, 43});
    CHECK(leaf.getDataRecord() == NONE);
    CHECK(leaf.getData() == "400,300,11,2,7,24/1000,1,true,true"_s);

    CHECK(leaf.isMarkerSpacingStable());
    leaf.takeChangedList();
    leaf.setMarkerSpacingStable(true);
    CHECK(leaf.takeChangedList().empty());
    leaf.setMarkerSpacingStable(false);
    CHECK_FALSE(leaf.isMarkerSpacingStable());
    CHECK(reasons(leaf) == std::vector<int>{43, 30, 43, 44});
    CHECK(leaf.takeChangedList() == std::vector<DatacoreBase*>{&leaf});
    leaf.setDataRecord(P59);
    CHECK(reasons(leaf) == std::vector<int>{44});
    leaf.setMarkerSpacingStable(true);
    CHECK(leaf.isValid());
}
