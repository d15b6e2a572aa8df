#include "infrastructure/platform/JedFile.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

namespace {

int64_t parse(const QByteArray& bytes, bool quiet)
{
    std::FILE* stream = std::tmpfile();
    REQUIRE(stream);
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::rewind(stream);
    const int64_t result = parseJedFile(stream, quiet);
    std::fclose(stream);
    return result;
}

QByteArray rows(int count)
{
    return (QByteArray(128, '0') + '\n').repeated(count);
}

/// A file as the tool chain writes it.
QByteArray wholeFile()
{
    return "\x02*\n"
           "NOTE Diamond (64-bit) 3.10.3.144.3 JEDEC Compatible Fuse File.*\n"
           "NOTE Copyright (C), 1992-2010. All Rights Reserved.*\n"
           "NOTE DATE CREATED:\tTue Jun 16 09:05:07 2020*\n"
           "NOTE DESIGN NAME:\tmachxo_top.ncd*\n"
           "NOTE DEVICE NAME:\tMACHXO2-1200HC-4TQFP100 *\n"
           "QP100*\n"
           "QF1024*\n"
           "G0*\n"
           "F0*\n"
           "L000000\n" +
           rows(5) +
           "*\n"
           "NOTE END CONFIG DATA*\n"
           "L000640\n" +
           rows(2) +
           "*\n"
           "L000896\n" +
           rows(1) +
           "*\n"
           "C1A2F*\n"
           "E1000000000000001100000000000000000000000000000000000000000000011\n"
           "1000000000000010*\n"
           "NOTE User Electronic Signature Data*\n"
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
    CHECK(parse(file, false) == 8 * 16);
    CHECK(machine.takeOut() == "diamond: (64-bit) 3.10.3.144.3\n"
                               "date: 16/6/2020\n"
                               "time:  9:05:07\n"
                               "design: machxo_top.ncd\n"
                               "device: MACHXO2-1200HC-4TQFP100\n"
                               "size: 80\n"
                               "featurerow: 01 80 01 00 00 00 00 C0\n"
                               "featurebits: 01 40\n"
                               "usercode: 0A 0B 0C 0D\n");
    CHECK(machine.takeErr().empty());

    CHECK(parse(file, true) == 1024 / 8); // the fuse count is enough
    CHECK(machine.takeOut().empty());
    CHECK(machine.takeErr().empty());
}

TEST_CASE("A user code in binary is packed as far as it goes", "[platform]")
{
    struct Row
    {
        QByteArray line;
        const char* out;
    };
    const Row codes[] = {
        {"U10000001000000110000011100001111*", "usercode: 81 03 07 0F\n"},
        {"U1111*", "usercode: F0 00 00 00\n"},
        {"U", "usercode: 00 00 00 00\n"},
        {"U" + QByteArray(128, '1'), "usercode: FF FF FF FF\n"},
        {"UHxyz*", "usercode: 00 00 00 00\n"},
        {"UHF*", "usercode: 00 00 00 0F\n"},
    };
    MadeMachine machine;
    for (const Row& row : codes) {
        CHECK(parse("\x02*\n" + row.line + '\n', false) == 0);
        CHECK(machine.takeOut() == row.out);
    }
}

TEST_CASE("A date that is no date is reported and the reading goes on", "[platform]")
{
    struct Row
    {
        const char* date;
        const char* out;
        const char* err;
    };
    const Row dates[] = {
        {"", "", ""},
        {" Jan 2 3:4:5 1999", "date: 2/1/1999\ntime:  3:04:05\n", ""},
        {" Tue Foo 16 12:00:00 2020", "", "date parse failed 0 : \"Tue Foo 16 12:00:00 2020\"\n"},
        {" Tue Jun 32 12:00:00 2020", "", "date parse failed 1 : \"Tue Jun 32 12:00:00 2020\"\n"},
        {" Jun 1 12:00", "", "date parse failed 3 : \"Jun 1 12:00\"\n"},
        {" Jun 1 12:00:00", "", "date parse failed 5 : \"Jun 1 12:00:00\"\n"},
        {" 99999999999999999999", "", "date parse failed 0 : \"99999999999999999999\"\n"},
    };
    MadeMachine machine;
    for (const Row& row : dates) {
        const QByteArray file = "\x02*\nNOTE DATE CREATED:" + QByteArray(row.date) + "*\n";
        CHECK(parse(file, false) == 0);
        CHECK(machine.takeOut() == row.out);
        CHECK(machine.takeErr() == row.err);
    }
    const QByteArray months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    for (int month = 1; month <= 12; ++month) {
        parse("\x02*\nNOTE DATE CREATED: " + months.mid(3 * (month - 1), 3) +
                  " 31 23:59:60 9999*\n",
              false);
        CHECK(machine.takeOut() == "date: 31/" + std::to_string(month) + "/9999\ntime: 23:59:60\n");
    }
}

TEST_CASE("Each thing wrong in a fuse file has its number", "[platform]")
{
    struct Row
    {
        QByteArray file;
        int64_t result;
        const char* err;
    };
    const QByteArray start = "\x02*\n";
    const Row rows[] = {
        {"", -1, "No STX at start\n"},
        {"*\n", -1, "No STX at start\n"},
        {"\xff*\n", -1, "No STX at start\n"},
        {"\x02", -5, ""},
        {"\x02\n", -2, ""},
        {"\x02NOTE*\n", -2, ""},
        {start + "\x03*\n", -3, ""},
        {start + "x\n", -4, "unexpected line: x\n"},
        {start + "NOT\n", -4, "unexpected line: N\n"},
        {start + "V1\n", -4, "unexpected line: V\n"},
        {start + "*\n", -4, "unexpected line: *\n"},
        {start + "\n", -4, "unexpected line: \n\n"},
        {start + "C*\n", -6, ""},
        {start + "QF*\n", -6, ""},
        {start + "QF-8*\n", -6, ""},
        {start + "QF4294967296*\n", -6, ""},
        {start + "L*\n", -6, ""},
        {start + "L0\n0101\n", -5, ""},
        {start + "E01*\n", -5, ""},
        {start + "QP100*\nQ\n0\n1\nF0\nG0\nCffff\n\x03"
                 "ffff",
         0, ""},
        {start + "NOTE " + QByteArray(1000, 'x') + "*\nL0\n0*\n*\n", 16, ""},
        {start + "L0\n" + QByteArray(1000, '0') + "\n*", 16, ""},
    };
    MadeMachine machine;
    for (const Row& row : rows) {
        CAPTURE(row.file);
        CHECK(parse(row.file, false) == row.result);
        CHECK(machine.takeErr() == row.err);
    }
    CHECK(parse(start + "L0\n", true) == 0); // quiet, without a fuse count
}

TEST_CASE("A fuse file may end anywhere", "[platform]")
{
    MadeMachine machine;
    const QByteArray file = wholeFile();
    for (int size = 0; size < file.size(); ++size) {
        CAPTURE(size);
        const QByteArray cut = file.left(size);
        const QByteArray lastLine = cut.mid(cut.lastIndexOf('\n') + 1);
        const bool isCutNote = !lastLine.isEmpty() && lastLine.size() < 4 && lastLine[0] == 'N';
        const int64_t result = parse(cut, false);
        CHECK((result == -4) == isCutNote);
        CHECK((result >= -6 && result <= 8 * 16));
    }
}
