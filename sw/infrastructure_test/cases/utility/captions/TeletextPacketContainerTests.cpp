#include "infrastructure/utility/captions/TeletextPacketContainer.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <numeric>
#include <utility>

namespace {

TeletextPacket record(uint8_t packetNumber, uint8_t length)
{
    return {0, packetNumber, false, length, nullptr, 0, 0, 0, false, false, false, 0};
}

/// Rows with data at 5 and 50, and between them one without.
TeletextPacketContainer threeRecords()
{
    std::vector<uint8_t> bytes(100);
    std::iota(bytes.begin(), bytes.end(), uint8_t(0));
    TeletextPacketContainer container(bytes);
    REQUIRE(container.append(record(1, 40), 5));
    REQUIRE(container.append(record(27, 0), 0));
    REQUIRE(container.append(record(2, 40), 50));
    return container;
}

/// Checks that a container has the three records, in its own bytes.
void checkThreeRecords(const TeletextPacketContainer& container)
{
    REQUIRE(container.bytes().size() == 100);
    const std::vector<TeletextPacket>& packets = container.teletextPackets();
    REQUIRE(packets.size() == 3);
    CHECK(packets[0].displayData == container.bytes().data() + 5);
    CHECK(packets[1].displayData == nullptr);
    CHECK(packets[2].displayData == container.bytes().data() + 50);
    CHECK(packets[2].displayData[0] == 50);
}

} // namespace

TEST_CASE("Records point into the bytes of the container that they are in", "[captions]")
{
    TeletextPacketContainer original = threeRecords();
    TeletextPacketContainer copied(original);
    TeletextPacketContainer assigned(std::vector<uint8_t>(3));
    assigned = original;
    {
        const TeletextPacketContainer dropped = std::move(original);
        checkThreeRecords(dropped);
    }
    checkThreeRecords(copied);
    checkThreeRecords(assigned);

    TeletextPacketContainer moved(std::move(copied));
    checkThreeRecords(moved);
    assigned = std::move(moved);
    checkThreeRecords(assigned);
    for (TeletextPacketContainer* emptied : {&original, &copied, &moved}) {
        CHECK(*emptied == TeletextPacketContainer());
    }

    TeletextPacketContainer& itself = assigned;
    assigned = itself;
    checkThreeRecords(assigned);
    assigned = std::move(itself);
    checkThreeRecords(assigned);

    std::vector<TeletextPacketContainer> many; // grows, and moves what it holds
    for (int i = 0; i < 20; ++i) {
        many.push_back(threeRecords());
    }
    for (const TeletextPacketContainer& container : many) {
        checkThreeRecords(container);
    }
}

TEST_CASE("A record's display data must lie in the bytes", "[captions]")
{
    TeletextPacketContainer container(std::vector<uint8_t>(60));
    CHECK(container.append(record(1, 40), 20));
    CHECK_FALSE(container.append(record(1, 40), 21));
    CHECK_FALSE(container.append(record(1, 40), 61));
    CHECK_FALSE(container.append(record(1, 1), static_cast<std::size_t>(-1)));
    CHECK(container.append(record(30, 0), 1000));
    REQUIRE(container.teletextPackets().size() == 2);
    CHECK(container.displayDataOffset(container.teletextPackets()[0]) == 20);
    CHECK(container.displayDataOffset(container.teletextPackets()[1]) == 0);

    const std::vector<uint8_t> other(10, 7);
    container.setBytes(other.data(), other.size());
    CHECK(container.bytes() == other);
    CHECK(container.teletextPackets().empty());
}

TEST_CASE("Containers are equal by bytes, fields and offsets", "[captions]")
{
    const TeletextPacketContainer container = threeRecords();
    CHECK(container == threeRecords());

    std::vector<uint8_t> bytes = container.bytes();
    CHECK(container != TeletextPacketContainer(bytes));
    TeletextPacketContainer fewer = threeRecords();
    fewer.clearTeletextPackets();
    CHECK(fewer == TeletextPacketContainer(bytes));

    // The same bytes and the same length at another offset.
    TeletextPacketContainer first(std::vector<uint8_t>(100));
    TeletextPacketContainer second = first;
    REQUIRE(first.append(record(1, 40), 0));
    REQUIRE(second.append(record(1, 40), 1));
    CHECK(first != second);

    const uint8_t byte = 0;
    TeletextPacket pointing;
    pointing.displayData = &byte;
    CHECK(pointing != TeletextPacket());
    using Packet = TeletextPacket;
    checkEachFieldCounts(&Packet::magazine, &Packet::packetNumber, &Packet::hasPageHeader,
                         &Packet::displayDataLength, &Packet::pageDecimal, &Packet::pageBcd,
                         &Packet::subcode, &Packet::erasePage, &Packet::subtitle,
                         &Packet::magazineSerial, &Packet::nationalOption);
}

TEST_CASE("Display text has a blank for what is no character", "[captions]")
{
    const uint8_t bytes[] = {0xC1, 0x1F, 0x20, 0x7E, 0x7F, 0x8D, 0x5A, 'x'};
    TeletextPacket packet = record(20, 7);
    CHECK(packet.displayText().isEmpty());
    packet.displayData = bytes;
    packet.magazine = 1;
    CHECK(packet.toString() == "magazine 1 row 20: A  ~  Z"_s);
}
