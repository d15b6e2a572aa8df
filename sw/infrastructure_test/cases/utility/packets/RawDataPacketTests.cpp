#include "infrastructure/utility/packets/PtpEventPacket.h"
#include "infrastructure/utility/packets/RawDataPacketFactory.h"
#include "infrastructure/utility/packets/RawDataPacketReceiverInterface.h"
#include "infrastructure/utility/packets/SerialisableDataPacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <QBuffer>
#include <QDateTime>

TEST_CASE("A header is read as the bytes stand and bad ones are told apart", "[packets]")
{
    constexpr quint16 none = RawDataPacketHeader::NO_PACKET;
    constexpr quint16 incomplete = RawDataPacketHeader::INCOMPLETE_PACKET;
    const Table<QByteArray, int, quint16> rows{
        // header, bytes behind it, type
        {"1010000000000000", 0, 0x1010},
        {"1029000300000004", 4, 0x1029},
        {"1010000000000004", 5, 0x1010},
        {"1010000000000004", 3, incomplete},
        {"100f000000000000", 0, none},
        {QByteArray::number(RawPacketType_Last + 1, 16) + "000000000000", 8, none},
        {"0000000000000000", 0, none},
        {"1110000000000000", 0, none},
        {"101000007fffffff", 0, incomplete},
        {"1010000080000000", 64, none},
        {"10100000ffffffff", 64, none},
        {"10100000fffffff8", 64, none},
        {"10100000000000", 0, incomplete},
        {"1010", 0, incomplete},
        {"100f", 0, none},
        {"", 0, none},
    };
    for (const auto& [hex, payloadBytes, type] : rows) {
        CAPTURE(hex, payloadBytes);
        const QByteArray view = QByteArray::fromHex(hex) + QByteArray(payloadBytes, 'p');
        CHECK(RawDataPacket::parseHeader(view).packetType == type);
    }
    const auto header = RawDataPacket::parseHeader(QByteArray::fromHex("1029ab0300000001ff"));
    CHECK(header.packetSubType == 0xab03);
    CHECK(header.payloadSize == 1);
}

TEST_CASE("A JSON packet has these bytes on the wire", "[packets]")
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    REQUIRE(SerialisableDataPacket("BasicTestPacket"_s).serialiseTo(buffer));
    CHECK(buffer.data() ==
          QByteArray::fromHex("101000000000001f0000001b") + R"({"Class":"BasicTestPacket"})");

    QBuffer readOnly;
    readOnly.open(QIODevice::ReadOnly);
    CHECK_FALSE(SerialisableDataPacket("X"_s).serialiseTo(readOnly));
}

TEST_CASE("The factory makes packets of known types, and copies what it keeps", "[packets]")
{
    QByteArray view = QByteArray::fromHex("101000000000000d00000000") + R"({"a":1}xx)";
    auto header = RawDataPacket::parseHeader(view);
    REQUIRE(header.packetType == 0x1010);
    const auto packet = createRawDataPacket(view, header);
    REQUIRE(packet != nullptr);
    view.fill('?');
    CHECK(packet->getHeader() == header);
    CHECK(packet->getPayload() == QByteArray(4, '\0') + R"({"a":1}xx)");

    for (const int type : {0, 1, 0x100F, RawPacketType_Last + 1, 0xFFFF}) {
        header.packetType = static_cast<quint16>(type);
        CHECK(createRawDataPacket(view, header) == nullptr);
    }
}

TEST_CASE("A packet built from a view that is too short keeps what is there", "[packets]")
{
    const QByteArray whole = QByteArray::fromHex("101000000000000b00000007") + R"({"a":1})";
    RawDataPacketHeader header;
    header.packetType = 0x1010;
    header.payloadSize = 11;
    for (int size = 0; size <= whole.size(); ++size) {
        const SerialisableDataPacket packet(whole.left(size), header);
        CHECK(packet.getPayload() == whole.left(size).mid(8));
        CHECK(packet.getJsonObject().contains("a"_s) == (size == whole.size()));
    }
}

TEST_CASE("Receivers are registered as long as they exist, the newest first", "[packets]")
{
    struct Receiver : RawDataPacketReceiverInterface<SerialisableDataPacket>
    {
        std::vector<std::shared_ptr<SerialisableDataPacket>> received;
        void receivePacket(std::shared_ptr<SerialisableDataPacket> packet) override
        {
            received.push_back(packet);
        }
    };
    struct OtherPacket : RawDataPacket
    {
        QByteArray serialisePayload() const override { return {}; }
        quint16 getPacketType() const override { return 0x1011; }
    };
    auto& registry = RawDataPacketReceiverInterfaceBase::registry;
    const int before = registry.count(0x1010);
    {
        Receiver first;
        Receiver second;
        REQUIRE(registry.count(0x1010) == before + 2);
        CHECK(*registry.constFind(0x1010) == &second);
        {
            const Receiver third;
            CHECK(*registry.constFind(0x1010) == &third);
        }
        CHECK(*registry.constFind(0x1010) == &second);

        first.receiveRawPacket(std::make_shared<SerialisableDataPacket>("X"_s));
        first.receiveRawPacket(std::make_shared<OtherPacket>());
        first.receiveRawPacket(nullptr);
        first.receiveRawPacket(std::make_shared<PtpEventPacket>());
        REQUIRE(first.received.size() == 4);
        CHECK(first.received[0]->getPacketClassName() == "X"_s);
        CHECK((first.received[1] == nullptr && first.received[2] == nullptr));
        CHECK(first.received[3]->getPacketClassName() == PtpEventPacket::CLASSNAME());
    }
    CHECK(registry.count(0x1010) == before);
}

TEST_CASE("A PTP event carries its time and its text", "[packets]")
{
    const QString text = "Locked to grandmaster"_s;
    // Julian day 2461003 is 23 November 2025 (US Naval Observatory's calendar converter).
    const QDateTime when(QDate(2025, 11, 23), QTime(1, 2, 3, 4), Qt::UTC);
    const PtpEventPacket packet(text, when);
    CHECK(packet.toJson() == QByteArray(R"({"Class":"PtpEventPacket","julianDate":2461003,)"
                                        R"("msecsSinceStartOfDay":3723004,)"
                                        R"("ptp_event":"Locked to grandmaster"})"));
    CHECK(packet.getLogLine() == text);

    const PtpEventPacket invalid(text, QDateTime());
    CHECK(invalid.getJsonObject().value("msecsSinceStartOfDay"_s) == QJsonValue(0));
    CHECK(PtpEventPacket().getLogLine().isNull());
    CHECK(PtpEventPacket().getJsonObject().size() == 1);

    bool ok = false;
    CHECK(PtpEventPacket(SerialisableDataPacket(packet.getJsonObject()), ok) == packet);
    CHECK(ok);
}
