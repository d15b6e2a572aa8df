#include "infrastructure/platform/BitFile.h"
#include "infrastructure/platform/BitHeader.h"
#include "infrastructure/platform/JedFile.h"
#include "infrastructure/platform/JedSummary.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include <numeric>

namespace {

const QByteArray BIT = QByteArray::fromHex("0009"
                                           "0ff00ff00ff00ff000"
                                           "0001") +
                       QByteArrayLiteral("a\0\x23n;UserID=0X81020304;Version=2019.1\0"
                                         "b\0\x05part\0c\0\x0b"
                                         "2020/06/16\0d\0\x09"
                                         "12:34:56\0e\x80\0\0\1bits");

/// Whole but for its first fuse and its checksums.
QByteArray fuseFile(char firstFuse, const QByteArray& fuseSum, const QByteArray& fileSum)
{
    return QByteArray("\x02*\n"
                      "NOTE Diamond (64-bit) 3.10 JEDEC Compatible Fuse File.*\n"
                      "NOTE DATE CREATED: Tue Jun 16 09:05:07 2020*\n"
                      "NOTE DESIGN NAME: top.ncd *\nNOTE DEVICE NAME: PART-1*\n"
                      "QF20*\nL000000\n") +
           firstFuse + "11100000\n*\nL000011\n110\n*\nC" + fuseSum +
           "*\nE1\n01*\nU00000001000000100000001100000100*\n\x03" + fileSum + "\n";
}

} // namespace

TEST_CASE("A bit file's header is a value, and the stream is left behind it", "[platform]")
{
    const auto stream = streamOf(BIT);
    BitHeader header;
    REQUIRE(header.read(stream.get()) == 0);
    const BitHeader wanted{"n;UserID=0X81020304;Version=2019.1",
                           "part",
                           "2020/06/16",
                           "12:34:56",
                           0x80000001,
                           uint32_t(BIT.size()) - 4};
    CHECK(header == wanted);
    char rest[5] = {};
    CHECK(std::fread(rest, 1, 5, stream.get()) == 4);
    CHECK(std::string(rest) == "bits");
    BitDesign design;
    CHECK(design.read(header.design) == 0);
    CHECK(design == BitDesign{"n", 0x81020304, "2019.1"});
    CHECK(design.getVersion() == "258-3.4(dev)");
    CHECK(design.read("m;C=1;UserID=1") == -8);
    CHECK(design == BitDesign{"m", 1, ""}); // nothing of the former is left
    CHECK(header.read(streamOf(BIT.left(50)).get()) == -5);
    CHECK(header == BitHeader());
    CHECK(header.read(streamOf(BIT.left(70)).get()) == -14);
    CHECK(header.device == "part");
    CHECK(BitDesign().getVersion().empty());
}

TEST_CASE("A fuse file's summary has its notes, counts, codes and both checksums", "[platform]")
{
    const QByteArray file = fuseFile('1', "0027", "");
    const int sum = std::accumulate(file.begin(), file.begin() + file.indexOf('\x03') + 1, 0);
    const QByteArray fileSum = QByteArray::number(sum, 16);
    MadeMachine machine;
    JedSummary summary;
    REQUIRE(summary.read(streamOf(fuseFile('1', "0027", fileSum)).get()) == 0);
    CHECK(summary.toolVersion == "(64-bit) 3.10");
    CHECK(summary.design == "top.ncd");
    CHECK(summary.device == "PART-1");
    CHECK(summary.date == JedDate{16, 6, 2020, 9, 5, 7});
    CHECK(summary.fuseCount == 20);
    CHECK(summary.fuseRows == 2);
    CHECK(summary.computedFuseChecksum == 0x0F + 0x18); // fuses 0 to 3; 11 and 12 of the next byte
    CHECK(summary.fuseChecksum == 0x27);
    CHECK(summary.fileChecksum == sum);
    CHECK(summary.userCode == std::array<uint8_t, 4>{1, 2, 3, 4});
    CHECK(summary.featureRow->front() == 1);
    CHECK(summary.featureBits->front() == 2);
    CHECK(summary.hasRightChecksums());
    CHECK((machine.takeOut().empty() && machine.takeErr().empty()));

    JedSummary other;
    for (const QByteArray& wrong :
         {fuseFile('0', "0027", "0"), fuseFile('1', "0026", "0000"), fuseFile('1', "0027", "1")}) {
        CHECK(other.read(streamOf(wrong).get()) == 0);
        CHECK_FALSE(other.hasRightChecksums());
        CHECK(other != summary);
    }
    CHECK(other.read(streamOf(fuseFile('1', "27", "0")).get()) == 0); // 0 states nothing
    CHECK(other.hasRightChecksums());
    CHECK(other.read(streamOf("\x02*\nV").get()) == -4);
    CHECK(other.device.empty());
    CHECK(machine.takeErr().empty());
}
