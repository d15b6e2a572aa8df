// The records that are packed by hand: sample grids, ancillary status, teletext, caption pairs.
#include "infrastructure/utility/records/AncillaryStatusDataPacket.h"
#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"
#include "infrastructure/utility/records/RawSdiSampleGridPacket.h"
#include "infrastructure/utility/records/TeletextRawDataPacket.h"
#include "sw/infrastructure_test/cases/utility/records/RecordTesting.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <numeric>

using namespace RecordTesting;
using Tessorn::Types::RawSdiSampleGrid;
using Tessorn::Types::RawSdiSampleGridRow;

TEST_CASE("A sample grid has these bytes", "[records]")
{
    const RawSdiSampleGridRow row{{{0x3FF, 0x001}, {0x000, 0x3FF}}, {-1}, 1, 2, 3, 4, 5, 6, -7};
    RawSdiSampleGrid grid;
    grid.rows = {row, row};
    grid.rows[1].lineSamples = {{2, 1}, {4, 3}, {6, 5}}; // longer than the first: cut
    const QByteArray fields = hex("00000001 00000002 00000003 00000004 00000005 00000006 fffffff9");
    CHECK(RawSdiSampleGridPacket(grid).serialisePayload() ==
          hex("00000002 00000002 00000001 ffffffff") + fields + hex("000007ff 000ffc00") + fields +
              hex("00000402 00000c04"));
    grid.rows[1].lineSamples.resize(1); // shorter: filled up
    CHECK(RawSdiSampleGridPacket(grid).serialisePayload().endsWith(hex("00000402 00000000")));
}

TEST_CASE("A grid that is cut or lies stays small", "[records]")
{
    // Four rows of nine samples, with a descriptor of three words.
    const QByteArray whole =
        hex("00000004 00000009 00000003") + QByteArray(4 * (3 + 4 * (7 + 9)), 'w');
    for (int size = 0; size < whole.size(); ++size) {
        const auto received = receive<RawSdiSampleGridPacket>(whole.left(size));
        REQUIRE(received->getSdiGridData().rows.size() == (size < 4 ? 0u : 4u));
    }
    constexpr std::size_t limit = RecordLayout::Reader::MAX_MISSING_ELEMENTS;
    const LogCapture log;
    const auto samplesOf = [](const char* digits) {
        std::size_t count = 0;
        const auto received = receive<RawSdiSampleGridPacket>(hex(digits));
        for (const RawSdiSampleGridRow& row : received->getSdiGridData().rows) {
            count += 1 + row.lineSamples.size() +
                     static_cast<std::size_t>(row.rowDescriptor.size()) / 1000;
        }
        return count;
    };
    CHECK(samplesOf("7fffffff 7fffffff 00000000") == limit);
    CHECK(samplesOf("7fffffff 00000000 00000000") == limit);
    CHECK(samplesOf("00000001 7fffffff 00000000") == limit);
    CHECK(samplesOf("ffffffff 7fffffff 00000000") == 0);
    CHECK(samplesOf("7fffffff 7fffffff 7fffffff") == 0); // the descriptor has taken it all
    CHECK(log.lines().size() == 4);
}

TEST_CASE("The detail of an ancillary status travels and counts for its kind alone", "[records]")
{
    for (const int kind : {0, 1, 2, 255}) {
        AncPacketStatus status;
        status.kind = static_cast<quint8>(kind);
        status.detail = 0x42;
        status.entries[1][1] = AncStatusGroup{1, 2, 3, 4, 5, 6};
        const auto received = receive<AncillaryStatusDataPacket>(
            AncillaryStatusDataPacket(status).serialisePayload());
        CHECK(received->getStatus() == status);
        CHECK(received->getStatus().detail == (kind == 2 ? 0x42 : 0));
        status.detail = 0x43;
        CHECK((received->getStatus() == status) == (kind != 2));
        status.detail = 0x42;
        ++status.entries[1][1]->groupField1;
        CHECK(received->getStatus() != status);
    }
}

TEST_CASE("The status of ancillary packets has these bytes", "[records]")
{
    AncPacketStatus status{2, 1, 9, 0x0102, 0, 3, {}};
    status.entries[7][1] = AncStatusGroup{1, 2, 3, 4, 5, 6};
    CHECK(AncillaryStatusDataPacket(status).serialisePayload() ==
          hex("02 01 09 0102 0000 03 07 00"
              "01 00000001 00000002 0000000000000003"
              "00000004 00000005 0000000000000006 00"));
    status.kind = 1;
    status.entries.clear();
    CHECK(AncillaryStatusDataPacket(status).serialisePayload() == hex("01 01 0102 0000 03"));

    // Of a kind that is there twice, the first counts.
    const auto twice =
        receive<AncillaryStatusDataPacket>(hex("00 00 0000 0000 00 05 00 00 00 05 01 00000001"));
    REQUIRE(twice->getStatus().entries.size() == 1);
    CHECK_FALSE(twice->getStatus().entries.at(5)[0].has_value());
}

namespace {

/// A container of 60 bytes with a row, a page header and a row without display data.
TeletextPacketContainer makeTeletext()
{
    std::vector<quint8> bytes(60);
    std::iota(bytes.begin(), bytes.end(), quint8(0));
    TeletextPacketContainer teletext(bytes);
    REQUIRE(teletext.append({7, 20, false, 40, nullptr, 0, 0, 0, false, true, false, 0}, 20));
    REQUIRE(
        teletext.append({0, 0, true, 32, nullptr, 88, 0x88, 0x1234, true, false, false, 5}, 28));
    REQUIRE(teletext.append({0, 26, false, 0, nullptr, 0, 0, 0, false, false, true, 0}, 0));
    return teletext;
}

} // namespace

TEST_CASE("Teletext comes back with its pointers in its own bytes", "[records]")
{
    const LogCapture log;
    TeletextPacketContainer full(std::vector<quint8>(255, 7)); // 255 bytes and records are whole
    for (int i = 0; i < 255; ++i) {
        REQUIRE(full.append(TeletextPacket(), 0));
    }
    for (const TeletextPacketContainer& teletext :
         {TeletextPacketContainer(), TeletextPacketContainer({1, 2, 3}), makeTeletext(), full}) {
        const QByteArray payload = TeletextRawDataPacket(teletext).serialisePayload();
        CHECK(payload.size() == static_cast<int>(teletext.bytes().size() + 2 +
                                                 13 * teletext.teletextPackets().size()));
        const auto received = receive<TeletextRawDataPacket>(payload);
        REQUIRE(received != nullptr);
        const TeletextPacketContainer& back = received->getTeletextData();
        CHECK(back == teletext);
        CHECK(received->serialisePayload() == payload);
        for (const TeletextPacket& packet : back.teletextPackets()) {
            const bool isHidden = packet.displayDataLength == 0;
            CHECK((packet.displayData == nullptr) == isHidden);
            CHECK((isHidden || back.displayDataOffset(packet) <=
                                   back.bytes().size() - packet.displayDataLength));
        }
    }
    CHECK(log.lines().isEmpty());
    const QByteArray payload = TeletextRawDataPacket(makeTeletext()).serialisePayload();
    CHECK(payload[0] == 60);
    CHECK(payload.mid(61) == hex("03"
                                 "07 14 00 28 14 00 00 0000 00 01 00 00"
                                 "00 00 01 20 1c 58 88 3412 01 00 00 05"
                                 "00 1a 00 00 00 00 00 0000 00 00 01 00"));
}

TEST_CASE("Teletext that is cut, lies or is too long is read and sent as far as it goes",
          "[records]")
{
    const QByteArray whole = TeletextRawDataPacket(makeTeletext()).serialisePayload();
    for (int size = 0; size < whole.size(); ++size) {
        const auto received = receive<TeletextRawDataPacket>(whole.left(size));
        REQUIRE(received->getTeletextData().bytes().size() == (size == 0 ? 0u : 60u));
        REQUIRE(received->getTeletextData().teletextPackets().size() == (size < 62 ? 0u : 3u));
    }
    // Three bytes, and a row whose 40 display bytes would begin at the second of them.
    const auto lying =
        receive<TeletextRawDataPacket>(hex("03 010203 01 07 14 00 28 01 00 00 0000 00 00 00 00"));
    REQUIRE(lying->getTeletextData().teletextPackets().size() == 1);
    CHECK(lying->getTeletextData().teletextPackets()[0].displayData == nullptr);

    TeletextPacketContainer large{std::vector<quint8>(300, 7)};
    TeletextPacket row;
    row.displayDataLength = 40;
    REQUIRE(large.append(row, 250));
    for (int i = 0; i < 300; ++i) {
        REQUIRE(large.append(TeletextPacket(), 0));
    }
    const LogCapture log;
    const auto cut =
        receive<TeletextRawDataPacket>(TeletextRawDataPacket(large).serialisePayload());
    CHECK(cut->getTeletextData().bytes().size() == 255);
    CHECK(cut->getTeletextData().teletextPackets().size() == 255);
    CHECK(cut->getTeletextData().teletextPackets()[0].displayData == nullptr);
    CHECK(log.lines() ==
          lines({"error: Teletext of 300 bytes and 301 records is cut to 255 of each"}));
}

TEST_CASE("Caption pairs keep their parity on the wire and lose it in the data", "[records]")
{
    const auto received = receive<Captions608bytePairsRawDataPacket>(hex("94ad01 c1ff02 80"));
    const std::vector<Caption608BytePair> expected{{0x14, 0x2D, 0x94, 0xAD, true, 0},
                                                   {0x41, 0x7F, 0xC1, 0xFF, false, 0}};
    CHECK(received->getBytePairs() == expected);
    CHECK(Captions608bytePairsRawDataPacket(expected).serialisePayload() == hex("94ad01 c1ff00"));
    CHECK(receive<Captions608bytePairsRawDataPacket>("ab")->getBytePairs().empty());
    CHECK(receive<Captions608bytePairsRawDataPacket>("")->serialisePayload().isEmpty());
}
