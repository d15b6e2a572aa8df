#include "infrastructure/platform/FirmwareUpdate.h"
#include "infrastructure/platform/PlatformAbstractionInterface.h"
#include "infrastructure/platform/VersionInfo.h"
#include "sw/infrastructure_test/BitFileBytes.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/CutMachine.h"
#include "sw/infrastructure_test/MadeMachine.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>

#include <sys/sysmacros.h>

#include <cerrno>

namespace {

std::string sha256(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString();
}

const QByteArray OLD = bitFile(5 * CutMachine::BLOCK, 1);
const QByteArray NEW = bitFile(5 * CutMachine::BLOCK - 100, 2);

/// A machine with images on its medium, and a target of one bank or two, which hold nothing.
struct Fixture
{
    Fixture(bool isNand, bool isPair)
    {
        machine.writeFile("/old.bit", OLD);
        machine.writeFile("/new.bit", NEW);
        target = {"fpga", {{"fpga", "/dev/mtd2"}}, "part-1", "top", 0x11, "/records"};
        machine.addFlash("/dev/mtd2", isNand, 8);
        if (isPair) {
            target.banks = {{"fpga_a", "/dev/mtd2"}, {"fpga_b", "/dev/mtd4"}};
            machine.addFlash("/dev/mtd4", isNand, 7);
        }
        for (auto& [path, flash] : machine.medium.flashes) {
            flash.bad = isNand ? std::set<uint32_t>{0, 3} : std::set<uint32_t>{};
        }
    }

    FirmwareResult run(const std::string& path, const FirmwareListener& listener = nullptr) const
    {
        return FirmwareUpdate(target).run(path, listener);
    }
    FirmwareStatus status() const { return FirmwareUpdate(target).readStatus(); }
    QByteArray held(std::size_t bank) const { return machine.readFlash(target.banks[bank].path); }

    CutMachine machine;
    FirmwareTarget target;
};

/// What a start after a power cut finds.
enum Found { Found_Old, Found_New, Found_Repeat };

/// Checks that nothing is called good that is not, and that two banks always have a whole one.
Found start(const Fixture& fixture)
{
    static const std::string OLD_SUM = sha256(OLD), NEW_SUM = sha256(NEW);
    const FirmwareStatus status = fixture.status();
    bool isTrue = !status.isRecordDamaged;
    for (std::size_t i = 0; i < status.banks.size(); ++i) {
        const std::string& sum = status.banks[i].sha256;
        isTrue = isTrue && (status.banks[i].state != FirmwareState_Good ||
                            (sum == OLD_SUM && fixture.held(i).startsWith(OLD)) ||
                            (sum == NEW_SUM && fixture.held(i).startsWith(NEW)));
    }
    const QByteArray held = fixture.held(status.active);
    const bool isWhole = held.startsWith(OLD) || held.startsWith(NEW);
    REQUIRE((isTrue && (isWhole || (status.banks.size() == 1 && status.mustRepeat()))));
    if (status.banks[status.active].state == FirmwareState_CutOff) {
        return Found_Repeat;
    }
    return held.startsWith(NEW) ? Found_New : Found_Old;
}

std::string wholeText(const Fixture& fixture, std::size_t bank)
{
    return fixture.target.banks[bank].name + " holds top 17-2.3 of 2026/11/22 12:34:56";
}

/// Runs an update in which the power may be cut, and starts again. False if it was cut.
bool runAndStart(Fixture& fixture, const std::string& path, int call, unsigned seed)
{
    fixture.machine.cutAt(call, seed);
    try {
        const FirmwareResult result = fixture.run(path);
        REQUIRE_THAT(result.text, Catch::StartsWith(wholeText(fixture, fixture.status().active)));
        REQUIRE(result.isDone());
        for (const auto& [device, flash] : fixture.machine.medium.flashes) {
            REQUIRE(std::all_of(flash.erases.begin(), flash.erases.end(),
                                [](const auto& each) { return each.second == 1; }));
        }
        return true;
    } catch (const CutMachine::PowerCut&) {
        fixture.machine.powerUp();
        return false;
    }
}

} // namespace

TEST_CASE(
    "Power that is cut at any call of an update leaves the old image, the new one, or an update "
    "to repeat",
    "[platform]")
{
    const bool isNand = GENERATE(false, true);
    const bool isPair = GENERATE(false, true);
    const LogCapture log;
    Fixture fixture(isNand, isPair);
    REQUIRE(runAndStart(fixture, "/old.bit", 0, 1));
    const CutMachine::Medium before = fixture.machine.medium;
    std::set<Found> found;
    int call = 1;
    for (bool cut = true; cut; ++call) {
        for (unsigned seed = 0; seed < 12; ++seed) {
            CAPTURE(isNand, isPair, call, seed);
            fixture.machine.medium = before;
            cut = !runAndStart(fixture, "/new.bit", call, seed);
            found.insert(start(fixture));
            if (cut && start(fixture) != Found_New) {
                REQUIRE(runAndStart(fixture, "/new.bit", 0, 1));
            }
            REQUIRE(start(fixture) == Found_New);
            REQUIRE_FALSE(fixture.status().mustRepeat());
        }
    }
    CHECK(call > 2 * 5 + 8); // five blocks, two records of an open, a write, two syncs, a rename
    CHECK(found.size() == (isPair ? 2 : 3));
    CHECK(log.lines().isEmpty());
}

/// So many times in all, on NOR and NAND, with one bank and two.
void cutAtRandom(int count)
{
    std::mt19937 random(20261122);
    for (int kind = 0; kind < 4; ++kind) {
        Fixture fixture((kind & 1) != 0, (kind & 2) != 0);
        REQUIRE(runAndStart(fixture, "/old.bit", 0, 1));
        bool wantsNew = true;
        for (int cuts = 0; cuts < count / 4;) {
            const int call = 1 + static_cast<int>(random() % 40);
            const auto seed = static_cast<unsigned>(random());
            CAPTURE(kind, cuts, call, seed);
            const bool isCut =
                !runAndStart(fixture, wantsNew ? "/new.bit" : "/old.bit", call, seed);
            cuts += isCut ? 1 : 0;
            const Found found = start(fixture);
            if (!isCut) {
                REQUIRE(found == (wantsNew ? Found_New : Found_Old));
                REQUIRE_FALSE(fixture.status().mustRepeat());
            }
            if (found == (wantsNew ? Found_New : Found_Old)) {
                wantsNew = !wantsNew;
            }
        }
    }
}

TEST_CASE("Power that is cut at random, also while an update is repeated, does no harm",
          "[platform]")
{
    cutAtRandom(800);
}

TEST_CASE("Power that is cut ten thousand times does no harm", "[platform][.][long]")
{
    cutAtRandom(10'000);
}

TEST_CASE("An update that does not fit is refused before anything is written", "[platform]")
{
    using Change = void (*)(Fixture&);
    const auto [change, outcome, text] = GENERATE(table<Change, FirmwareOutcome, std::string>({
        {[](Fixture& f) { f.target.banks.clear(); }, FirmwareOutcome_NoTarget,
         "There is no partition fpga, nor a pair"},
        {[](Fixture& f) { f.target.banks.push_back(f.target.banks[0]); }, FirmwareOutcome_NoTarget,
         "There is no partition fpga, nor a pair"},
        {[](Fixture& f) { f.machine.failing["open /dev/mtd4"] = EACCES; }, FirmwareOutcome_NoTarget,
         "/dev/mtd4: Permission denied"},
        {[](Fixture& f) { f.machine.medium.names.erase("/image"); }, FirmwareOutcome_NoImage,
         "/image: No such file or directory"},
        {[](Fixture& f) { f.machine.writeFile("/image", ""); }, FirmwareOutcome_NoImage,
         "/image: an empty file"},
        {[](Fixture& f) { f.machine.writeFile("/image", "PK\3\4"); }, FirmwareOutcome_NoImage,
         "/image: no image, error -1"},
        {[](Fixture& f) { f.machine.writeFile("/image", "\2*\nV"); }, FirmwareOutcome_NoImage,
         "/image: no fuse file, error -4"},
        {[](Fixture& f) {
             f.machine.writeFile("/image", "\2*\nC1\n\3"
                                           "0");
         },
         FirmwareOutcome_NoImage, "/image: a fuse file with wrong checksums"},
        {[](Fixture& f) { f.machine.writeFile("/image", "\2*\nC0\n"); }, FirmwareOutcome_NoImage,
         "/image: a fuse file with wrong checksums"}, // it is cut off
        {[](Fixture& f) { f.machine.writeFile("/image", NEW.chopped(1)); }, FirmwareOutcome_NoImage,
         "/image: 1179 bytes, but 1180 by its header"},
        {[](Fixture& f) { f.machine.writeFile("/image", NEW + '\0'); }, FirmwareOutcome_NoImage,
         "/image: 1181 bytes, but 1180 by its header"},
        {[](Fixture& f) { f.machine.writeFile("/image", bitFile(999, 1, "part-\x1b\xff")); },
         FirmwareOutcome_WrongDevice, "The image is for part-??, the board has part-1"},
        {[](Fixture& f) { f.target.device.clear(); }, FirmwareOutcome_WrongDevice,
         "The image is for part-1, the board has "},
        {[](Fixture& f) { f.target.design = "other"; }, FirmwareOutcome_WrongDesign,
         "The image has design top, the board wants other"},
        {[](Fixture& f) { f.target.designId = 18; }, FirmwareOutcome_WrongDesign,
         "The image has design 17, the board has 18"},
        {[](Fixture& f) { f.machine.devOfFiles = makedev(31, 4); }, FirmwareOutcome_OwnSource,
         "/image is on fpga_b"},
        {[](Fixture& f) { f.machine.devOfFiles = makedev(31, 2); }, FirmwareOutcome_OwnSource,
         "/image is on fpga_a"},
        {[](Fixture& f) { f.machine.writeFile("/image", bitFile(5 * CutMachine::BLOCK + 1, 3)); },
         FirmwareOutcome_TooLarge, "The image has 1281 bytes, fpga_b has room for 1280"},
        {[](Fixture& f) { f.machine.writeFile("/image", OLD); }, FirmwareOutcome_AlreadyThere,
         "fpga_a already holds this image"},
        {[](Fixture& f) { f.machine.failing["sync /records"] = EIO; }, FirmwareOutcome_NoRecord,
         "Could not record the update in /records: Input/output error"},
    }));
    Fixture fixture(true, true);
    fixture.machine.writeFile("/image", NEW);
    REQUIRE(fixture.run("/new.bit").isDone());
    REQUIRE(fixture.run("/old.bit").isDone()); // bank a, so that b is next
    change(fixture);
    const CutMachine::Medium before = fixture.machine.medium;
    fixture.machine.cutAt(0);
    const FirmwareResult result = fixture.run("/image");
    CHECK(result.text == text);
    CHECK(result.outcome == outcome);
    CHECK(fixture.machine.medium.flashes.at("/dev/mtd2").erases.empty());
    CHECK(fixture.machine.medium.flashes.at("/dev/mtd4").erases.empty());
    CHECK((fixture.machine.getCalls() == 0 || outcome == FirmwareOutcome_NoRecord));
    fixture.machine.addFlash("/dev/mtd4ro", true, 1); // another name of the second bank
    for (const char* device : {"/dev/mtd2", "/dev/mtd4ro"}) {
        const FirmwareOutcome refused = fixture.run(device).outcome;
        CHECK((refused == FirmwareOutcome_OwnSource || fixture.target.banks.size() != 2));
    }
}

TEST_CASE("An update that fails while it writes must be repeated, and goes on where it was",
          "[platform]")
{
    const auto [call, text] = GENERATE(table<std::string, std::string>({
        {"erase", "Could not erase block 0 of fpga: Input/output error"},
        {"write", "Could not record the update in /records: Input/output error"},
        {"read /new.bit", "Could not read /new.bit: Input/output error"},
        {"", "Block 2 of fpga reads back differently"},
    }));
    Fixture fixture(true, false);
    REQUIRE(fixture.run("/old.bit").isDone());
    CutMachine::Flash& flash = fixture.machine.medium.flashes.at("/dev/mtd2");
    if (call.empty()) {
        flash.stuckByte = 4 * CutMachine::BLOCK + 9; // the third good block
    } else {
        fixture.machine.failing[call] = EIO;
    }
    const FirmwareResult result = fixture.run("/new.bit");
    CHECK(result.text == text);
    const bool isRefused = call == "write";
    CHECK(result.outcome == (isRefused ? FirmwareOutcome_NoRecord : FirmwareOutcome_Failed));
    CHECK(fixture.status().mustRepeat() == !isRefused);

    flash.stuckByte = -1;
    fixture.machine.failing.clear();
    std::vector<int> percents;
    const FirmwareResult again = fixture.run("/new.bit", [&](const FirmwareProgress& progress) {
        CHECK(progress.canCancel == (progress.step == FirmwareStep_Check));
        percents.push_back(progress.getPercent());
        return progress.step == FirmwareStep_Check; // later it has no effect
    });
    CHECK(again.isDone());
    CHECK(again.text ==
          wholeText(fixture, 0) + (call.empty() ? ", resumed at 256 of 1180 bytes" : ""));
    CHECK(again.resumedBytes == (call.empty() ? CutMachine::BLOCK : 0)); // not the last of the two
    CHECK(percents == std::vector<int>{0, 0, 21, 43, 65, 86, 100});
    CHECK(fixture.held(0).startsWith(NEW + QByteArray(100, '\xFF'))); // up to a whole unit
    const FirmwareStatus status = fixture.status();
    CHECK_FALSE(status.mustRepeat());
    CHECK(status.banks[0].sha256 == sha256(NEW));
    CHECK(status.banks[0].image.date == "2026/11/22 12:34:56");
}

TEST_CASE("A cancelled update leaves the active bank, and the same image goes on", "[platform]")
{
    Fixture fixture(false, true);
    const auto cancelAt = [](uint64_t doneBytes, FirmwareStep step) {
        return [=](const FirmwareProgress& progress) {
            return progress.step != step || progress.doneBytes < doneBytes;
        };
    };
    REQUIRE(fixture.run("/old.bit").isDone());
    FirmwareResult result = fixture.run("/new.bit", cancelAt(0, FirmwareStep_Check));
    CHECK(result.outcome == FirmwareOutcome_Cancelled);
    CHECK_FALSE(fixture.status().mustRepeat());
    result = fixture.run("/new.bit", cancelAt(700, FirmwareStep_Write));
    CHECK(result.outcome == FirmwareOutcome_Cancelled);
    CHECK(result.text == "Cancelled after 768 of 1180 bytes");
    FirmwareStatus status = fixture.status();
    CHECK(status.active == 1);
    CHECK(status.banks[1].state == FirmwareState_Good);
    CHECK(status.banks[0].state == FirmwareState_CutOff);
    CHECK(status.mustRepeat());

    fixture.machine.cutAt(0);
    result = fixture.run("/new.bit");
    CHECK(result.isDone());
    CHECK(result.resumedBytes == 2 * CutMachine::BLOCK);
    CHECK(fixture.machine.medium.flashes.at("/dev/mtd4").erases.empty()); // was the active one
    // The way back: the other bank is whole, nothing is written.
    fixture.machine.cutAt(0);
    CHECK(fixture.run("/old.bit").text == wholeText(fixture, 1));
    CHECK(fixture.status().active == 1);
    CHECK(fixture.machine.medium.flashes.at("/dev/mtd4").erases.empty());
}

TEST_CASE("A record or a bank that is not whole is never called good", "[platform]")
{
    Fixture fixture(false, true);
    CHECK_FALSE(fixture.status().mustRepeat());
    CHECK(fixture.status().banks[1].state == FirmwareState_Unknown);
    REQUIRE(fixture.run("/old.bit").isDone());
    const CutMachine::Medium good = fixture.machine.medium;
    CutMachine::Medium& medium = fixture.machine.medium;
    std::string& record = medium.files.at(medium.names.at("/records/fpga.record")).now;
    for (std::size_t i = 0; i < record.size(); ++i) {
        record[i] = static_cast<char>(record[i] ^ 1);
        REQUIRE(fixture.status().isRecordDamaged);
        record[i] = static_cast<char>(record[i] ^ 1);
    }
    const std::string whole = record;
    record.replace(record.find("\"active\":1"), 10, "\"active\":2");
    record.replace(record.find('\n') + 1, 64,
                   sha256(QByteArray::fromStdString(record.substr(0, record.find('\n')))));
    CHECK(fixture.status().isRecordDamaged); // nobody can tell what wrote it
    record = whole.substr(0, whole.size() - 1);
    const FirmwareStatus damaged = fixture.status();
    CHECK((damaged.isRecordDamaged && damaged.mustRepeat() && damaged.active == 0));
    CHECK(fixture.run("/old.bit").isDone()); // which writes the bank that is not active then
    CHECK(fixture.status().active == 1);

    medium = good;
    medium.flashes.at("/dev/mtd4").bytes[OLD.size() - 1] ^= 1;
    CHECK(fixture.status().banks[1].state == FirmwareState_Damaged);
    CHECK(fixture.status().mustRepeat());
    CHECK(fixture.run("/old.bit").isDone());
    CHECK(fixture.status().active == 0);
    CHECK_FALSE(fixture.status().banks[0].state == FirmwareState_Damaged);
    fixture.machine.failing["open /dev/mtd2"] = EIO;
    CHECK(fixture.status().banks[0].state == FirmwareState_Unreadable);

    // A record of other banks.
    fixture.target.banks[0].name = "other";
    CHECK(fixture.status().isRecordDamaged);
    fixture.target.banks.pop_back();
    CHECK(fixture.status().isRecordDamaged);
}

TEST_CASE("The states have their texts", "[platform]")
{
    CHECK(firmwareStateText(FirmwareState_Unknown) == std::string("Not recorded"));
    CHECK(firmwareStateText(FirmwareState_Good) == std::string("Good"));
    CHECK(firmwareStateText(FirmwareState_CutOff) == std::string("Cut off, repeat the update"));
    CHECK(firmwareStateText(FirmwareState_Damaged) == std::string("Damaged, repeat the update"));
    CHECK(firmwareStateText(FirmwareState_Unreadable) == std::string("Can't be read"));
}

TEST_CASE("A target is found by its partition's name, alone or in a pair", "[platform]")
{
    struct Board : Tessorn::PlatformAbstractionInterface
    {
        void setFanSpeeds(uint32_t, bool) override {}
        bool isHardwareIdValid(int) override { return false; }
        int getHardwareId(int) override { return -1; }
        bool readFpgaInfo(uint32_t&, uint32_t&, uint32_t&, uint32_t&, uint32_t& designId) override
        {
            designId = id;
            return id != 0;
        }
        void watchdogStart(int) override {}
        void watchdogKick() override {}
        void watchdogStop() override {}
        int readDeviceNumber() override { return -1; }
        uint32_t id = 0;
    };
    MadeMachine machine;
    machine.writeFile("/proc/mtd",
                      "dev: size erasesize name\nmtd0: 1 1 \"fpga_b\"\n"
                      "mtd1: 1 1 \"fpga\"\nmtd2: 1 1 \"fpga_a\"\nmtd3: 1 1 \"cpld_a\"\n"
                      "mtd4: 1 1 \"cpld\"\n");
    Board board;
    const auto find = [&board](const char* name) {
        return FirmwareTarget::find(name, "part-1", "/records", VersionInfo(board));
    };
    const FirmwareTarget pair = find("fpga");
    REQUIRE(pair.banks.size() == 2);
    CHECK(pair.banks[0].name + pair.banks[0].path == "fpga_a/dev/mtd2");
    CHECK(pair.banks[1].name + pair.banks[1].path == "fpga_b/dev/mtd0");
    CHECK(pair.name + pair.device + pair.recordFolder == "fpgapart-1/records");
    CHECK_FALSE(pair.designId);
    board.id = 17;
    const FirmwareTarget one = find("cpld");
    REQUIRE(one.banks.size() == 1);
    CHECK(one.banks[0].name + one.banks[0].path == "cpld/dev/mtd4");
    CHECK(one.designId == 17);
    CHECK(find("none").banks.empty());
}

TEST_CASE("A file may stand for flash, and a fuse file is an image too", "[platform]")
{
    MadeMachine machine;
    machine.writeFile("/records/.keep", "");
    machine.writeFile("/flash", QByteArray(0x30007, '\x5A')); // three blocks
    machine.writeFile("/large.bit", bitFile(0x30001, 1));
    QByteArray fuses = "\2*\nNOTE DATE CREATED: Jun 6 9:05:07 2020*\nNOTE DESIGN NAME: top*\n"
                       "NOTE DEVICE NAME: part-1*\nQF8*\nL0\n" +
                       QByteArray("01000000\n").repeated(9000) + "*\nC";
    fuses += QByteArray::number(9000 * 2 % 0x10000, 16) + "*\nUHA0B0C0D*\n\3"
                                                          "0\n";
    machine.writeFile("/image.jed", fuses);
    FirmwareUpdate update({"cpld", {{"cpld", "/flash"}}, "part-1", "", {}, "/records"});
    const FirmwareResult result = update.run("/image.jed");
    CHECK(result.text == "cpld holds top 0A0B0C0D of 2020/06/06 09:05:07");
    CHECK(result.isDone());
    CHECK(machine.readFile("/flash").startsWith(fuses + '\xFF'));
    CHECK(machine.readFile("/flash").size() == 0x30007);
    CHECK(update.run("/large.bit").outcome == FirmwareOutcome_TooLarge);
    CHECK(machine.syncs == std::vector<std::string>{"/records/cpld.record.tmp", "/records",
                                                    "/flash", "/records/cpld.record.tmp",
                                                    "/records"});
    CHECK(update.run("/flash").outcome == FirmwareOutcome_OwnSource);
    CHECK(update.run("/image.jed").outcome == FirmwareOutcome_AlreadyThere);
    CHECK(update.readStatus().banks[0].sha256 == sha256(fuses));
}
