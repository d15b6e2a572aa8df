// The list of standards: that each entry is sound, and that it is found.
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>
#include <QSet>

#include <malloc.h>
#include <numeric>

using namespace Tessorn::Sdi;

namespace {

const std::vector<SupportedVideoStandards::Standard>& listed()
{
    return SupportedVideoStandards::getInstance().getStandards();
}

} // namespace

TEST_CASE("Every supported standard has a description of its own and is found by it", "[video]")
{
    const auto& standards = SupportedVideoStandards::getInstance();
    QSet<QString> descriptions;
    for (const auto& standard : listed()) {
        const QString description = standard->getDescription();
        CAPTURE(description);
        REQUIRE_FALSE(descriptions.contains(description));
        descriptions.insert(description);
        REQUIRE(standards.findByDescription(description) == standard);
        REQUIRE(standards.findByDescription(description + QLatin1Char(' ')) == nullptr);
    }
    CHECK(standards.findByDescription(QString()) == nullptr);
    CHECK(&standards == &SupportedVideoStandards::getInstance());
}

TEST_CASE("Every supported standard is found by the bytes of each of its links", "[video]")
{
    const auto& standards = SupportedVideoStandards::getInstance();
    for (const auto& standard : listed()) {
        CAPTURE(standard->getDescription());
        const bool square = standard->isSquareDivision();
        for (const auto& identifier : standard->getPayloadIdentifiers()) {
            REQUIRE(standards.findByPayloadIdentifier(identifier->getRawValue(), square) ==
                    standard);
        }
        // As a leaf would read it back.
        const quint32 rawValue = standard->getPrimaryIdentifier()->getRawValue();
        REQUIRE(*createVideoStandard(rawValue, square) == *standard);
    }
    // Aspect ratio is no part of the standard; another rate is, and so is the division.
    const auto found = standards.findByPayloadIdentifier(0x89C98001);
    REQUIRE(found);
    CHECK(found->getDescription() == "1920x1080p50 YCbCr:422:10 3G A Rec.709"_s);
    CHECK(standards.findByPayloadIdentifier(0x89C90001) == found);
    CHECK(standards.findByPayloadIdentifier(0x89C98001, true)->getDescription() ==
          "3840x2160p50 YCbCr:422:10 QL 3G A SQ Rec.709"_s);
    for (const quint32 unknown :
         {0x89C08001u, 0x00000000u, 0xFFFFFFFFu, 0x01C98001u, 0x8BC98001u}) {
        CHECK(standards.findByPayloadIdentifier(unknown) == nullptr);
        CHECK(standards.findByPayloadIdentifier(unknown, true) == nullptr);
    }
    CHECK(standards.findByPayloadIdentifier(0xCECB8001, true) == nullptr);
}

TEST_CASE("Every supported standard has metrics whose picture fits, or a reason why not", "[video]")
{
    const LogCapture log;
    int withoutMetrics = 0;
    for (const auto& standard : listed()) {
        CAPTURE(standard->getDescription());
        bool succeeded = false;
        const auto metrics = standard->getTransmissionMetrics(&succeeded);
        REQUIRE(succeeded == standard->getReasonWithoutMetrics().empty());
        withoutMetrics += succeeded ? 0 : 1;
        quint32 pictureLines = 0;
        quint32 totalLines = 0;
        for (const auto& field : metrics) {
            REQUIRE(field.size() >= standard->getNumberOfSubImages());
            const FieldMetrics& first = field.front();
            const FieldRegion active = first.getActivePictureRegion();
            REQUIRE(first.contains(active));
            // At least the two timing references, line number and CRC.
            REQUIRE(first.getHorizontalBlankingRegion().getWidth() >= 12);
            REQUIRE(first.getPrePictureVerticalBlankingRegion().getHeight() + active.getHeight() +
                        first.getPostPictureVerticalBlankingRegion().getHeight() ==
                    first.getHeight());
            REQUIRE(first.getFirstLineNumber() == totalLines + 1);
            pictureLines += active.getHeight();
            totalLines += first.getHeight();
        }
        if (succeeded) {
            const bool divided = standard->getSubImageDivision() != SubImageDivision_None;
            REQUIRE(static_cast<int>(pictureLines) ==
                    standard->getPictureSize().height() / (divided ? 2 : 1));
            REQUIRE((totalLines == 1125 || totalLines == 750));
        }
    }
    // One log line each and no other.
    CHECK(withoutMetrics > 0);
    CHECK(log.lines().size() == withoutMetrics);
}

TEST_CASE("Every supported standard fills the clock of its links", "[video]")
{
    for (const auto& standard : listed()) {
        CAPTURE(standard->getDescription());
        const std::vector<quint32> lines = standard->getPrimaryIdentifier()->getLinesPerField();
        const PayloadId::FrameRateRow& rate = PayloadId::FRAME_RATES[standard->getFrameRate()];
        const quint64 samples = quint64(standard->getSamplesPerLine()) *
                                std::accumulate(lines.begin(), lines.end(), 0u) *
                                standard->getNumberOfSubImages();
        // The clock and the rate are both divided by 1.001, or neither is.
        REQUIRE(samples * rate.nominalHz == getSampleClockHz(standard->getAggregateDataRate()));
        // The sum of the links is the aggregate.
        quint64 linkClocksHz = 0;
        for (const SdiDataRate link : standard->getSdiDataRates()) {
            linkClocksHz += getSampleClockHz(link);
        }
        REQUIRE(linkClocksHz == getSampleClockHz(standard->getAggregateDataRate()));
    }
}

TEST_CASE("The list has what links carry, with the bytes of each link", "[video]")
{
    // The sum is that of a list made outside this program, from SMPTE ST 292-1, 352, 372, 425-1,
    // 425-5, 2081-10, 2081-11 and 2082-10, taken with sha256sum. A line, without metrics:
    // 1920x1080i50 YCbCr:444:10 DL 1.5G Rec.709|87052101 87052141|Metrics of two ... alone
    QByteArray list;
    for (const auto& standard : listed()) {
        QByteArrayList links;
        for (const auto& identifier : standard->getPayloadIdentifiers()) {
            links << QByteArray::number(identifier->getRawValue(), 16);
        }
        const std::string_view reason = standard->getReasonWithoutMetrics();
        list += standard->getDescription().toLatin1() + '|' + links.join(' ') + '|' +
                QByteArray(reason.data(), static_cast<int>(reason.size())) + '\n';
    }
    CHECK(listed().size() == 5408);
    CHECK(QCryptographicHash::hash(list, QCryptographicHash::Sha256).toHex() ==
          "ae1064dbfcde0e2261de706b11a06b5b793e6c16ee2d261aa3bd1b45664cc0b3");
}

TEST_CASE("The list is small, and a standard outlives it", "[video]")
{
    const auto taken = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    SupportedVideoStandards::Standard held;
    {
        const std::size_t before = taken();
        const SupportedVideoStandards standards;
        CHECK(taken() - before < 600000); // 0 where a sanitizer allocates
        held = standards.getStandards().back();
    }
    CHECK(held->getPayloadIdentifiers()[3] == held->getPrimaryIdentifier());
    CHECK(held->getPrimaryIdentifier()->getRawValue() != 0);
}

TEST_CASE("One link's bytes make the standard of all links", "[video]")
{
    const Table<quint32, std::vector<quint32>> rows{
        {0x89C98001, {0x89C98001}},
        {0x8A492041, {0x8A492041}}, // one link, its second stream
        {0x87492001, {0x87492001, 0x87492041}},
        {0x87492041, {0x87492041, 0x87492001}}, // the given one stays the first
        {0x97CB8081, {0x97CB8081, 0x97CB8001, 0x97CB8041, 0x97CB80C1}},
        {0x984B2001, {0x984B2001, 0x984B2041, 0x984B2081, 0x984B20C1}}, // two streams each
        {0xC2CB8001, {0xC2CB8001, 0xC2CB8021}},
        {0xC2CB80E1, {0xC2CB80E1, 0xC2CB8021}}, // no such link: taken for the first
    };
    for (const auto& [given, links] : rows) {
        std::vector<quint32> found;
        for (const auto& identifier : createVideoStandard(given)->getPayloadIdentifiers()) {
            found.push_back(identifier->getRawValue());
        }
        CHECK(found == links);
    }
    // A reserved bit is the given link's, and logged once.
    const LogCapture log;
    const auto withReservedBit = createVideoStandard(0x97CB8009);
    CHECK(withReservedBit->getPayloadIdentifiers()[0]->getRawValue() == 0x97CB8009);
    CHECK(withReservedBit->getPayloadIdentifiers()[1]->getRawValue() == 0x97CB8041);
    CHECK(log.lines() == QStringList{"error: Reserved bit not 0, Byte 0, Bit 3"_s});
    CHECK(createVideoStandard(0x01000000) == nullptr);
    CHECK(createVideoStandard(0x01000000, true) == nullptr);
    CHECK(createVideoStandard(0x87492001, true)->getNumberOfLinks() == 8);
}
