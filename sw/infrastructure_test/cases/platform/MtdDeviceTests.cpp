#include "infrastructure/platform/MtdDevice.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include <unistd.h>

#include <random>

namespace {

constexpr uint32_t BLOCK = 0x10000;
constexpr uint32_t FLASH = 4 * BLOCK;
constexpr const char* DEVICE = "/dev/mtd2";

QByteArray randomBytes(int size)
{
    std::mt19937 random(1);
    QByteArray bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

std::vector<uint64_t> blocks(uint64_t count)
{
    std::vector<uint64_t> list;
    for (uint64_t i = 0; i < count; ++i) {
        list.push_back(i);
    }
    return list;
}

} // namespace

TEST_CASE("Opening a flash device tells its sizes", "[platform]")
{
    MadeMachine machine;
    machine.addFlash(DEVICE, FLASH);
    mtd_info_user info{};
    const int descriptor = mtdOpen(DEVICE, &info);
    REQUIRE(descriptor >= 0);
    machine.close(descriptor);
    CHECK(info.size == FLASH);
    CHECK(info.erasesize == BLOCK);
    CHECK(machine.takeOut() == "MTD type: 3\n"
                               "MTD total size : 262144 bytes\n"
                               "MTD write size : 1 bytes\n"
                               "MTD erase size : 65536 bytes\n"
                               "MTD overhead / block : 0 bytes\n"
                               "MTD Flags : 0x00000C00\n");
    CHECK(mtdOpen("/dev/mtd9", &info) == -1);
    machine.writeFile("/dev/null", "");
    CHECK(mtdOpen("/dev/null", &info) == -1); // is no flash
    CHECK(info.size == FLASH);
    const int bare = mtdOpen("/dev/null", nullptr);
    REQUIRE(bare >= 0);
    machine.close(bare);
}

TEST_CASE("A partition is found by its name", "[platform]")
{
    MadeMachine machine;
    CHECK(mtdFindDevice("ident").empty());
    CHECK(machine.takeErr() == "Failed to get mtp parts\n");
    machine.addProcMtd();
    CHECK(mtdFindDevice("ident") == "mtd3");
    CHECK(machine.takeErr() == "Could not find enough tokens (found: 5 wanted: 4)\n");
    CHECK(mtdFindDevice("u-boot") == "mtd0");
    CHECK(mtdFindDevice("User FS").empty());
    CHECK(mtdFindDevice("name").empty()); // the header is no partition

    struct Row
    {
        const char* table;
        const char* device;
    };
    const Row rows[] = {
        {"", ""},
        {"mtd1: 1 2 \"x\"", ""},
        {"header\nmtd1: 1 2 \"x\"", "mtd1"},
        {"header\n\nmtd1:\t1  2 x \nmtd2: 1 2 \"x\"\n", "mtd1"},
        {"header\nmtd1: 1 \"x\"\nmtd2: 1 2 \"x\"\n", "mtd2"},
        {"header\nmtd1 1 2 \"x\n", "mtd1"},
        {"header\n: 1 2 \"x\"\nmtd4: 1 2 \"x\"\n", "mtd4"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.table);
        CHECK(mtdFindDeviceIn(row.table, "x") == row.device);
    }
}

TEST_CASE("An erase covers the blocks asked for", "[platform]")
{
    struct Row
    {
        int64_t offset;
        int64_t size;
        std::vector<uint64_t> erased;
        std::string err;
    };
    const auto row = GENERATE(values<Row>({
        {0, -1, {0, 1, 2, 3}, ""},
        {BLOCK, -2, {0, 1, 2, 3}, ""},
        {0, 0, {}, ""},
        {BLOCK, 2 * BLOCK, {1, 2}, ""},
        {0, BLOCK + 1, {0, 1}, "Size not a multiple of erase size\n"},
        {2 * BLOCK + 5,
         BLOCK,
         {2},
         "Moving device start offset to erase boundary, new start offset: 131072\n"},
    }));
    MadeMachine machine;
    const MadeMachine::Flash& flash = machine.addFlash(DEVICE, FLASH);
    CHECK(mtdErase(DEVICE, row.offset, row.size) == 0);
    CHECK(flash.erased == row.erased);
    CHECK(machine.takeErr() == row.err);
    CHECK_THAT(machine.takeOut(), Catch::EndsWith("Flash erased successfully\n"));
    const QByteArray content = machine.readFile(DEVICE);
    for (uint64_t block = 0; block < 4; ++block) {
        const bool erased =
            std::find(row.erased.begin(), row.erased.end(), block) != row.erased.end();
        CHECK(content.mid(static_cast<int>(block * BLOCK), BLOCK) ==
              QByteArray(BLOCK, erased ? '\xFF' : '\x5A'));
    }
}

TEST_CASE("An erase shows its progress, as far as it is asked to", "[platform]")
{
    MadeMachine machine;
    machine.addFlash(DEVICE, FLASH);
    const auto outputOf = [&machine](unsigned output) {
        const unsigned before = mtdSetOutput(output);
        CHECK(mtdErase(DEVICE, 0, 3 * BLOCK) == 0);
        mtdSetOutput(before);
        const std::string text = machine.takeOut();
        const auto start = text.find("Erase");
        return start == std::string::npos ? text : text.substr(start);
    };
    const std::string percents = "\b\b\b033\b\b\b067\b\b\b100\n";
    CHECK(outputOf(MtdOutput_All) == "Erase in progress (3 sectors from offset 0x00000000): ...\n" +
                                         percents + "Flash erased successfully\n");
    CHECK(outputOf(MtdOutput_Percentage) == percents);
    CHECK(outputOf(MtdOutput_None).empty());
}

TEST_CASE("An erase that the device refuses is no success", "[platform]")
{
    MadeMachine machine;
    CHECK(mtdErase(DEVICE, 0, BLOCK) == -2);
    CHECK(machine.takeErr() == "Could not open mtd device at /dev/mtd2 for erasure\n");

    MadeMachine::Flash& flash = machine.addFlash(DEVICE, FLASH);
    CHECK(mtdErase(DEVICE, 0, FLASH + BLOCK) == -1); // goes on up to the end
    CHECK(flash.erased == blocks(4));
    CHECK(machine.takeErr() == "attempt to erase more than partition size \n"
                               "ERASE IOCTL failed\n: Invalid argument\n");
    CHECK(mtdErase(DEVICE, int64_t(1) << 32, BLOCK) == -1); // is not block 0
    CHECK(mtdErase(DEVICE, -1, BLOCK) == -1);
    CHECK(mtdErase(DEVICE, 0, -3) == -1);
    CHECK(flash.erased == blocks(4));

    flash.erased.clear();
    flash.badBlock = 2;
    machine.takeErr();
    CHECK(mtdErase(DEVICE, 0, MTD_WHOLE_PARTITION) == -1);
    CHECK(flash.erased == blocks(2));
    CHECK(machine.takeErr() == "ERASE IOCTL failed\n: Input/output error\n"
                               "Failure to erase whole partition of flash\n");
    CHECK_THAT(machine.takeOut(), !Catch::Contains("successfully"));

    flash.eraseBytes = 0;
    CHECK(mtdErase(DEVICE, 0, BLOCK) == -2);
}

TEST_CASE("After a copy the flash equals the source", "[platform]")
{
    struct Row
    {
        int fileBytes;
        int64_t size;
        int copied;
        uint64_t erased;
    };
    const auto row = GENERATE(values<Row>({
        {100, 0, 100, 1},
        {4096, 0, 4096, 1},
        {BLOCK + 4097, 0, BLOCK + 4097, 2},
        {FLASH, 0, FLASH, 4},
        {FLASH, BLOCK, BLOCK, 1},
        {0, 0, 0, 0},
    }));
    MadeMachine machine;
    const MadeMachine::Flash& flash = machine.addFlash(DEVICE, FLASH);
    const QByteArray source = randomBytes(row.fileBytes);
    machine.writeFile("/tmp/image.bit", source);
    CHECK(mtdCopy("/tmp/image.bit", DEVICE, row.size) == 0);
    const QByteArray expected = source.left(row.copied);
    const QByteArray content = machine.readFile(DEVICE);
    CHECK(content.left(row.copied) == expected);
    CHECK(flash.erased == blocks(row.erased));
    const std::string text = machine.takeOut();
    const std::string size = std::to_string(row.copied);
    CHECK_THAT(text, Catch::Contains(size + " bytes to transfer\n") &&
                         Catch::Contains("Transfer in progress: ...") &&
                         Catch::EndsWith("Success! Copied " + size +
                                         " bytes from /tmp/image.bit to /dev/mtd2\n"));

    // And back again, into a new file.
    CHECK(mtdCopy(DEVICE, "/tmp/back", row.copied, MtdOutput_None) == 0);
    CHECK(machine.takeOut().empty());
    CHECK(machine.readFile("/tmp/back") == (row.copied > 0 ? expected : content));
}

TEST_CASE("A copy that fails or stops half-way is never a success", "[platform]")
{
    MadeMachine machine;
    MadeMachine::Flash& flash = machine.addFlash(DEVICE, FLASH);
    machine.writeFile("/tmp/image", randomBytes(2 * BLOCK));
    const auto failure = [&machine](const char* source, const char* destination, int64_t size = 0) {
        machine.takeErr();
        CHECK(mtdCopy(source, destination, size) == -1);
        CHECK_THAT(machine.takeOut(), !Catch::Contains("Success!"));
        return machine.takeErr();
    };

    SECTION("a source that is missing, can't be opened or is of another kind")
    {
        CHECK(failure("/tmp/none", DEVICE) ==
              "Could not open /tmp/none\nReason: No such file or directory\n");
        CHECK(failure("/tmp", DEVICE) == "Could not open /tmp\nReason: Invalid source\n");
        machine.failingOpens["/tmp/image"] = EACCES;
        CHECK(failure("/tmp/image", DEVICE) ==
              "Could not open /tmp/image\nReason: Permission denied\n");
        CHECK(flash.erased.empty());
    }
    SECTION("a destination that can't be opened or is of another kind")
    {
        CHECK(failure("/tmp/image", "/tmp") ==
              "Could not open /tmp\nReason: Invalid destination\n");
        CHECK(failure("/tmp/image", "/none/file") ==
              "Could not open /none/file\nReason: No such file or directory\n");
        machine.failingOpens[DEVICE] = EROFS;
        CHECK(failure("/tmp/image", DEVICE) ==
              "Could not open /dev/mtd2\nReason: Read-only file system\n");
    }
    SECTION("a destination that is the source, by whatever name")
    {
        machine.addFlash("/dev/mtd2ro", FLASH);
        REQUIRE(::link(machine.hostPath("/tmp/image").c_str(),
                       machine.hostPath("/tmp/same").c_str()) == 0);
        for (const auto& [source, destination] :
             {std::pair(DEVICE, DEVICE), {"/dev/mtd2ro", DEVICE}, {"/tmp/same", "/tmp/image"}}) {
            CHECK(failure(source, destination) ==
                  "Could not open " + std::string(destination) + "\nReason: It is the source\n");
        }
        CHECK(flash.erased.empty());
        machine.addFlash("/dev/mtd3", FLASH); // is another one
        CHECK(mtdCopy("/dev/mtd3", DEVICE, 0) == 0);
    }
    SECTION("a size that does not fit")
    {
        CHECK(failure("/tmp/image", DEVICE, FLASH + 1) ==
              "Size requested is 262145 bytes but mtd is only 262144 bytes\n");
        CHECK(failure(DEVICE, "/tmp/copy", FLASH + 1) ==
              "Size requested is 262145 bytes but mtd is only 262144 bytes\n");
        CHECK(failure("/tmp/image", DEVICE, -1) == "Invalid size -1\n");
        CHECK(failure("/tmp/image", DEVICE, 3 * BLOCK) == "Could not read from /tmp/image\n");
        CHECK(flash.erased.empty());
    }
    SECTION("a device that can't be erased")
    {
        flash.badBlock = 1;
        CHECK_THAT(failure("/tmp/image", DEVICE),
                   Catch::EndsWith("Write failed, could not erase device /dev/mtd2 first\n"));
        CHECK(machine.readFile(DEVICE).mid(2 * BLOCK) == QByteArray(2 * BLOCK, '\x5A'));
    }
    SECTION("a device that takes no more, at a block's edge or within one")
    {
        flash.failWritesFrom = GENERATE(0, 4096, 70000);
        CHECK(failure("/tmp/image", DEVICE) == "Could not write to /dev/mtd2\n");
    }
    SECTION("a device that drops what it says it has written")
    {
        flash.losesHalfOfEachWrite = true;
        CHECK(failure("/tmp/image", DEVICE) == "Could not write to /dev/mtd2\n");
    }
    SECTION("a file system that is full")
    {
        machine.failingWrites = ENOSPC;
        CHECK(failure("/tmp/image", "/tmp/copy") == "Could not write to /tmp/copy\n");
    }
}
