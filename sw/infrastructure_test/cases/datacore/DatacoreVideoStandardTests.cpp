// A leaf of video standards.
#include "infrastructure/datacore/DatacoreVideoStandard.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

namespace {

using Standards = DatacoreVideoStandard::Standards;

const QString NAME = "standard"_s;

DatacoreVideoStandard::Standard supported(const char* description)
{
    const auto standard =
        SupportedVideoStandards::getInstance().findByDescription(QLatin1String(description));
    REQUIRE(standard);
    return standard;
}

const char* const P50 = "1920x1080p50 YCbCr:422:10 3G A Rec.709";
const char* const QUAD_P60 = "3840x2160p60 YCbCr:422:10 QL 3G A 2-SI Rec.709";

} // namespace

TEST_CASE("A leaf without a video standard is valid and gives null", "[datacore][video]")
{
    DatacoreVideoStandard leaf(NAME, nullptr);
    CHECK(leaf.getClassName() == "DatacoreVideoStandard"_s);
    CHECK(leaf.getDataCount() == 0);
    CHECK(leaf.isValid());
    CHECK(leaf.getDataVideoStandard() == nullptr);
    leaf.setDataVideoStandard(supported(P50));
    leaf.setDataVideoStandard(nullptr);
    CHECK(leaf.getDataCount() == 0);
    CHECK(leaf.isValid());
    CHECK(leaf.getDataVideoStandard() == nullptr);
    CHECK(leaf.getDataVideoStandards().empty());
    CHECK(DatacoreVideoStandard(NAME, nullptr, nullptr).getDataCount() == 0);
}

TEST_CASE("A video standard is the four bytes of its first link", "[datacore][video]")
{
    DatacoreVideoStandard leaf(NAME, nullptr, supported(P50));
    CHECK(leaf.getData() == "137 201 128 1"_s);
    CHECK(leaf.isValid());
    const auto first = leaf.getDataVideoStandard();
    REQUIRE(first);
    CHECK(*first == *supported(P50));
    CHECK(leaf.getDataVideoStandard() == first); // the same record

    leaf.setDataVideoStandard(supported(QUAD_P60));
    CHECK(leaf.getData() == "151 203 128 1"_s);
    CHECK(*leaf.getDataVideoStandard() == *supported(QUAD_P60));
    CHECK(leaf.getDataVideoStandard()->getPayloadIdentifiers().size() == 4);
    CHECK(*first == *supported(P50)); // still the reader's own

    // The bytes that were written are the ones that are read, another link's too.
    leaf.setData("151 203 128 129"_s);
    CHECK(leaf.getDataVideoStandard()->getPrimaryIdentifier()->getRawValue() == 0x97CB8081);
}

TEST_CASE("Supported video standards come back from a leaf through JSON", "[datacore][video]")
{
    Standards written;
    for (const auto& standard : SupportedVideoStandards::getInstance().getStandards()) {
        if (!standard->isSquareDivision()) {
            written.push_back(standard);
        }
    }
    const DatacoreVideoStandard sender(NAME, nullptr, written);
    DatacoreVideoStandard receiver(NAME, nullptr);
    transfer(sender, receiver);
    const Standards read = receiver.getDataVideoStandards();
    REQUIRE(receiver.isValid());
    REQUIRE(read.size() == written.size());
    for (std::size_t i = 0; i < read.size(); ++i) {
        REQUIRE(*read[i] == *written[i]);
    }
    REQUIRE(sender.getDataVideoStandards().size() == written.size());
}

TEST_CASE("Text that is no payload identifier makes a message and gives null", "[datacore][video]")
{
    DatacoreVideoStandard leaf(NAME, nullptr, supported(P50));
    for (const char* bad : {"", "137 201 128", "137 201 128 1 0", "137 201 128 256",
                            " 137 201 128 1", "1 201 128 1", "0x89 201 128 1", P50}) {
        CAPTURE(bad);
        leaf.setData(QLatin1String(bad));
        CHECK(reasons(leaf) == std::vector<int>{29});
        CHECK(leaf.getDataVideoStandard() == nullptr);
        CHECK(leaf.getDataVideoStandards() == Standards{nullptr});
        leaf.setDataVideoStandard(supported(P50));
        CHECK(leaf.isValid());
        CHECK(*leaf.getDataVideoStandard() == *supported(P50));
    }

    leaf.setDataVideoStandards({supported(QUAD_P60), nullptr, supported(P50), nullptr});
    CHECK(reasons(leaf) == std::vector<int>{29, 29});
    const Standards read = leaf.getDataVideoStandards();
    REQUIRE(read.size() == 4);
    CHECK(*read[0] == *supported(QUAD_P60));
    CHECK(read[1] == nullptr);
    CHECK(leaf.getDataVideoStandard() == read[0]); // the same record while the value stays
    CHECK(*read[2] == *supported(P50));
    CHECK(*leaf.getDataVideoStandard() == *supported(QUAD_P60));

    const DatacoreVideoStandard unknown(NAME, nullptr,
                                        std::make_shared<StandardFromPayloadIdentifier>(
                                            StandardFromPayloadIdentifier::Identifiers()));
    CHECK(reasons(unknown) == std::vector<int>{29});
    CHECK(unknown.getDataVideoStandard() == nullptr);
}

TEST_CASE("A square division is stored as its quadrant, and the log says so", "[datacore][video]")
{
    const auto division = createVideoStandard(0x89C98001, true);
    const LogCapture log;
    DatacoreVideoStandard leaf(NAME, nullptr, division);
    leaf.setDataVideoStandards({supported(P50), division});
    const QString line = "error: Video standard 3840x2160p50 YCbCr:422:10 QL 3G A SQ Rec.709 is "
                         "held as 137 201 128 1, 1920x1080p50 YCbCr:422:10 3G A Rec.709"_s;
    CHECK(log.lines() == QStringList{line, line});
    CHECK(leaf.getDataAt(1) == "137 201 128 1"_s);
    CHECK(leaf.isValid());
    CHECK(*leaf.getDataVideoStandards()[1] == *supported(P50));
}
