#include "infrastructure/platform/JedFile.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

namespace {

const QByteArray START = "\x02*\n";

int64_t parse(const QByteArray& bytes, bool quiet = false)
{
    return parseJedFile(streamOf(bytes).get(), quiet);
}

QByteArray rows(int count)
{
    return (QByteArray(128, '0') + '\n').repeated(count);
}

/// A file as the tool chain writes it.
QByteArray wholeFile()
{
    return START +
           "NOTE Diamond (64-bit) 3.10.3.144.3 JEDEC Compatible Fuse File.*\n"
           "NOTE DATE CREATED:\tTue Jun 16 09:05:07 2020*\n"
           "NOTE DESIGN NAME:\tmachxo_top.ncd*\n"
           "NOTE DEVICE NAME:\tMACHXO2-1200HC-4TQFP100 *\n"
           "QP100*\n"
           "QF1024*\n"
           "G0*\n"
           "F0*\n"
           "L000000\n" +
           rows(5) + "*\nNOTE END CONFIG DATA*\nL000640\n" + rows(2) + "*\nL000896\n" + rows(1) +
           "*\n"
           "C1A2F*\n"
           "E1000000000000001100000000000000000000000000000000000000000000011\n"
           "1000000000000010*\n"
           "UH0A0B0C0D*\n"
           "\x03"
           "4D5E\n";
}

} // namespace

TEST_CASE("A fuse file gives the size of its rows and tells of itself", "[platform]")
{
    const QByteArray file =
        GENERATE(as<QByteArray>(), wholeFile(), wholeFile().replace("\n", "\r\n"));
    MadeMachine machine;
    CHECK(parse(file) == 8 * 16);
    CHECK(machine.takeOut() == "diamond: (64-bit) 3.10.3.144.3\n"
                               "date: 16/6/2020\n"
                               "time:  9:05:07\n"
                               "design: machxo_top.ncd\n"
                               "device: MACHXO2-1200HC-4TQFP100\n"
                               "size: 80\n"
                               "featurerow: 01 80 01 00 00 00 00 C0\n"
                               "featurebits: 01 40\n"
                               "usercode: 0A 0B 0C 0D\n");
    CHECK(parse(file, true) == 1024 / 8); // the fuse count is enough
    CHECK(machine.takeOut().empty());
    CHECK(machine.takeErr().empty());
}

TEST_CASE("Lines of a fuse file that can't be read whole give what they hold", "[platform]")
{
    const auto [line, out, err] = GENERATE(table<QByteArray, const char*, std::string>({
        {"U10000001000000110000011100001111*", "usercode: 81 03 07 0F\n", ""},
        {"U1111*", "usercode: F0 00 00 00\n", ""},
        {"U", "usercode: 00 00 00 00\n", ""},
        {"U" + QByteArray(128, '1'), "usercode: FF FF FF FF\n", ""},
        {"UHxyz*", "usercode: 00 00 00 00\n", ""},
        {"UHF*", "usercode: 00 00 00 0F\n", ""},
        {"NOTE DATE CREATED:*", "", ""},
        {"NOTE DATE CREATED: Jan 2 3:4:5 1999*", "date: 2/1/1999\ntime:  3:04:05\n", ""},
        {"NOTE DATE CREATED: Foo 16*", "", "date parse failed 0 : \"Foo 16\"\n"},
        {"NOTE DATE CREATED: Tue Jun 32 12*", "", "date parse failed 1 : \"Tue Jun 32 12\"\n"},
        {"NOTE DATE CREATED: Jun 1 24:0*", "", "date parse failed 2 : \"Jun 1 24:0\"\n"},
        {"NOTE DATE CREATED: Jun 1 12:00*", "", "date parse failed 3 : \"Jun 1 12:00\"\n"},
        {"NOTE DATE CREATED: Jun 1 1:2:61*", "", "date parse failed 4 : \"Jun 1 1:2:61\"\n"},
        {"NOTE DATE CREATED: Jun 1 1:2:3*", "", "date parse failed 5 : \"Jun 1 1:2:3\"\n"},
    }));
    MadeMachine machine;
    CHECK(parse(START + line + '\n') == 0);
    CHECK(machine.takeOut() == out);
    CHECK(machine.takeErr() == err);
}

TEST_CASE("A fuse file's date takes each month and the edges of its numbers", "[platform]")
{
    MadeMachine machine;
    const QByteArray months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    for (int month = 1; month <= 12; ++month) {
        const QByteArray name = months.mid(3 * (month - 1), 3);
        parse(START + "NOTE DATE CREATED: " + name + " 31 23:59:60 9999*\n");
        CHECK(machine.takeOut() == "date: 31/" + std::to_string(month) + "/9999\ntime: 23:59:60\n");
    }
}

TEST_CASE("Each thing wrong in a fuse file has its number", "[platform]")
{
    const auto [file, result, err] = GENERATE(table<QByteArray, int64_t, const char*>({
        {"", -1, "No STX at start\n"},
        {"\xff*\n", -1, "No STX at start\n"},
        {"\x02", -5, ""},
        {"\x02\n", -2, ""},
        {"\x02NOTE*\n", -2, ""},
        {START + "\x03*\n", -3, ""},
        {START + "NOT\n", -4, "unexpected line: N\n"},
        {START + "V1\n", -4, "unexpected line: V\n"},
        {START + "*\n", -4, "unexpected line: *\n"},
        {START + "\n", -4, "unexpected line: \n\n"},
        {START + "C*\n", -6, ""},
        {START + "QF-8*\n", -6, ""},
        {START + "QF4294967296*\n", -6, ""},
        {START + "L*\n", -6, ""},
        {START + "L0\n0101\n", -5, ""},
        {START + "E01*\n", -5, ""},
        {START + "QP100*\nQ\n0\n1\nF0\nG0\nCffff\n\x03" + "ffff", 0, ""},
        {START + "NOTE " + QByteArray(1000, 'x') + "*\nL0\n0*\n*\n", 16, ""},
        {START + "L0\n" + QByteArray(1000, '0') + "\n*", 16, ""},
    }));
    CAPTURE(file);
    MadeMachine machine;
    CHECK(parse(file) == result);
    CHECK(machine.takeErr() == err);
    CHECK(parse(START + "L0\n", true) == 0); // quiet, without a fuse count
}

TEST_CASE("A fuse file may end anywhere", "[platform]")
{
    const MadeMachine machine;
    const QByteArray file = wholeFile();
    for (int size = 0; size < file.size(); ++size) {
        CAPTURE(size);
        const QByteArray cut = file.left(size);
        const QByteArray lastLine = cut.mid(cut.lastIndexOf('\n') + 1);
        const bool isCutNote = !lastLine.isEmpty() && lastLine.size() < 4 && lastLine[0] == 'N';
        const int64_t result = parse(cut);
        CHECK((result == -4) == isCutNote);
        CHECK((result >= -6 && result <= 8 * 16));
    }
}
