#include "infrastructure/platform/MtdDevice.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

#include <unistd.h>

#include <random>

namespace {

constexpr uint32_t BLOCK = 0x10000;
constexpr uint32_t FLASH = 4 * BLOCK;
constexpr const char* DEVICE = "/dev/mtd2";

using Blocks = std::vector<uint64_t>;

QByteArray randomBytes(int size)
{
    QByteArray bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), std::mt19937(1));
    return bytes;
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
    CHECK((info.size == FLASH && info.erasesize == BLOCK));
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

    const std::pair<const char*, const char*> rows[] = {
        {"mtd1: 1 2 \"x\"", ""},
        {"header\nmtd1: 1 2 \"x\"", "mtd1"},
        {"header\n\nmtd1:\t1  2 x \nmtd2: 1 2 \"x\"\n", "mtd1"},
        {"header\nmtd1: 1 \"x\"\nmtd2: 1 2 \"x\"\n", "mtd2"},
        {"header\nmtd1 1 2 \"x\n", "mtd1"},
        {"header\n: 1 2 \"x\"\nmtd4: 1 2 \"x\"\n", "mtd4"},
    };
    for (const auto& [table, device] : rows) {
        CAPTURE(table);
        CHECK(mtdFindDeviceIn(table, "x") == device);
    }
}

TEST_CASE("An erase covers the blocks asked for", "[platform]")
{
    const auto [offset, size, blocks, err] = GENERATE(table<int64_t, int64_t, Blocks, std::string>({
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
    CHECK(mtdErase(DEVICE, offset, size) == 0);
    CHECK(flash.erased == blocks);
    CHECK(machine.takeErr() == err);
    CHECK_THAT(machine.takeOut(), Catch::EndsWith("Flash erased successfully\n"));
    const QByteArray content = machine.readFile(DEVICE);
    for (uint64_t block = 0; block < 4; ++block) {
        const bool erased = std::count(blocks.begin(), blocks.end(), block) != 0;
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
        CHECK(mtdSetOutput(before) == output);
        const std::string text = machine.takeOut();
        const std::size_t start = text.find("Erase");
        return text.substr(start == std::string::npos ? 0 : start);
    };
    const std::string percents = "\b\b\b033\b\b\b067\b\b\b100\n";
    CHECK(outputOf(MtdOutput_All) == "Erase in progress (3 sectors from offset 0x00000000): ...\n" +
                                         percents + "Flash erased successfully\n");
    CHECK(outputOf(MtdOutput_Percentage) == percents);
    CHECK(outputOf(MtdOutput_None).empty());
    CHECK(mtdCopy("/none", DEVICE, 0, MtdOutput_None) == -1);
    CHECK(machine.takeErr().empty());
    CHECK(mtdSetOutput(MtdOutput_All) == MtdOutput_All); // what was set before holds again
}

TEST_CASE("An erase that the device refuses is no success", "[platform]")
{
    MadeMachine machine;
    CHECK(mtdErase(DEVICE, 0, BLOCK) == -2);
    CHECK(machine.takeErr() == "Could not open mtd device at /dev/mtd2 for erasure\n");

    MadeMachine::Flash& flash = machine.addFlash(DEVICE, FLASH);
    CHECK(mtdErase(DEVICE, 0, FLASH + BLOCK) == -1); // goes on up to the end
    CHECK(flash.erased == Blocks{0, 1, 2, 3});
    CHECK(machine.takeErr() == "attempt to erase more than partition size \n"
                               "ERASE IOCTL failed\n: Invalid argument\n");
    CHECK(mtdErase(DEVICE, int64_t(1) << 32, BLOCK) == -1); // is not block 0
    CHECK(mtdErase(DEVICE, -1, BLOCK) == -1);
    CHECK(mtdErase(DEVICE, 0, -3) == -1);
    CHECK(flash.erased.size() == 4);

    flash.erased.clear();
    flash.badBlock = 2;
    machine.takeErr();
    CHECK(mtdErase(DEVICE, 0, MTD_WHOLE_PARTITION) == -1);
    CHECK(flash.erased == Blocks{0, 1});
    CHECK(machine.takeErr() == "ERASE IOCTL failed\n: Input/output error\n"
                               "Failure to erase whole partition of flash\n");
    CHECK_THAT(machine.takeOut(), !Catch::Contains("successfully"));

    flash.eraseBytes = 0;
    CHECK(mtdErase(DEVICE, 0, BLOCK) == -2);
}

TEST_CASE("After a copy the flash equals the source", "[platform]")
{
    const auto [fileBytes, size, copied, blocks] = GENERATE(table<int, int64_t, int, Blocks>({
        {100, 0, 100, {0}},
        {4096, 0, 4096, {0}},
        {BLOCK + 4097, 0, BLOCK + 4097, {0, 1}},
        {FLASH, 0, FLASH, {0, 1, 2, 3}},
        {FLASH, BLOCK, BLOCK, {0}},
        {0, 0, 0, {}},
    }));
    MadeMachine machine;
    const MadeMachine::Flash& flash = machine.addFlash(DEVICE, FLASH);
    const QByteArray source = randomBytes(fileBytes);
    machine.writeFile("/tmp/image.bit", source);
    CHECK(mtdCopy("/tmp/image.bit", DEVICE, size) == 0);
    const QByteArray content = machine.readFile(DEVICE);
    CHECK(content.left(copied) == source.left(copied));
    CHECK(flash.erased == blocks);
    const std::string count = std::to_string(copied);
    CHECK_THAT(machine.takeOut(), Catch::Contains(count + " bytes to transfer\n") &&
                                      Catch::Contains("Transfer in progress: ...") &&
                                      Catch::EndsWith("Success! Copied " + count +
                                                      " bytes from /tmp/image.bit to /dev/mtd2\n"));

    // And back again, into a new file.
    CHECK(mtdCopy(DEVICE, "/tmp/back", copied, MtdOutput_None) == 0);
    CHECK(machine.takeOut().empty());
    CHECK(machine.readFile("/tmp/back") == (copied > 0 ? source.left(copied) : content));
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

    SECTION("an end that is missing, can't be opened or is of another kind")
    {
        machine.writeFile("/tmp/locked", "");
        machine.failingOpens = {{"/tmp/locked", EACCES}, {DEVICE, EROFS}};
        const std::array<const char*, 4> rows[] = {
            {"/tmp/none", DEVICE, "/tmp/none", "No such file or directory"},
            {"/tmp", DEVICE, "/tmp", "Invalid source"},
            {"/tmp/locked", DEVICE, "/tmp/locked", "Permission denied"},
            {"/tmp/image", "/tmp", "/tmp", "Invalid destination"},
            {"/tmp/image", "/none/file", "/none/file", "No such file or directory"},
            {"/tmp/image", DEVICE, DEVICE, "Read-only file system"},
        };
        for (const auto& [source, destination, path, reason] : rows) {
            CHECK(failure(source, destination) ==
                  std::string("Could not open ") + path + "\nReason: " + reason + '\n');
        }
        CHECK(flash.erased.empty());
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
        const char* const tooMuch = "Size requested is 262145 bytes but mtd is only 262144 bytes\n";
        CHECK(failure("/tmp/image", DEVICE, FLASH + 1) == tooMuch);
        CHECK(failure(DEVICE, "/tmp/copy", FLASH + 1) == tooMuch);
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
    SECTION("a device that takes no more, at a block's edge or within one, or drops what it took")
    {
        flash.failWritesFrom = GENERATE(-1, 0, 4096, 70000);
        flash.losesHalfOfEachWrite = flash.failWritesFrom < 0;
        CHECK(failure("/tmp/image", DEVICE) == "Could not write to /dev/mtd2\n");
    }
    SECTION("a file system that is full")
    {
        machine.failingWrites = ENOSPC;
        CHECK(failure("/tmp/image", "/tmp/copy") == "Could not write to /tmp/copy\n");
    }
}
