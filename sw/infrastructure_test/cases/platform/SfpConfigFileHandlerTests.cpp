#include "infrastructure/platform/SfpConfigFileHandler.h"
#include "infrastructure/platform/VelPlatformAbstraction.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QDir>
#include <QRegularExpression>

namespace {

const std::string DIRECTORY = "/home/sfp/config";
const std::string PATH = DIRECTORY + "/supportedSfpConfig.json";
const QString FILE_NAME = "supportedSfpConfig.json"_s;
const QByteArray ONE_MODULE =
    R"({"configRevision": 3, "supportedSfps": [{"Vendor": "V", "PartNumber": "P", "Boards": {}}]})";
constexpr const char* CORRUPT =
    "Could not create list of supported SFPs from data in file. Using default list instead.";

/// For the made machine's boards with these ids, -1 for none.
SfpConfigFileHandler handler(int model = 0, int mezzanine = -1, const char* boardId = "5")
{
    Tessorn::BoardState& board = Tessorn::BoardState::current();
    board.hardwareIds[0] = model;
    board.hardwareIds[1] = mezzanine;
    Tessorn::VelPlatformAbstraction platform;
    return SfpConfigFileHandler(QString::fromStdString(DIRECTORY), FILE_NAME,
                                QLatin1String(boardId), VersionInfo(platform));
}

/// The errors, each of which is in the log too, as lines.
std::string load(SfpConfigFileHandler& sfpHandler, bool hasList = true)
{
    const LogCapture log;
    std::vector<QString> errors;
    CHECK(sfpHandler.loadSupportedSfps(errors) == hasList);
    CHECK(sfpHandler.supportedSfps().empty() != hasList);
    std::string text;
    for (const QString& error : errors) {
        CHECK(log.contains("error: "_s + error));
        text += (text.empty() ? "" : "\n") + error.toStdString();
    }
    return text;
}

QStringList filesIn(const MadeMachine& machine)
{
    return QDir(QString::fromStdString(machine.hostPath(DIRECTORY))).entryList(QDir::Files);
}

void makePipe(const MadeMachine& machine, const std::string& path)
{
    REQUIRE(::mkfifo(machine.hostPath(path).c_str(), 0600) == 0);
}

} // namespace

TEST_CASE("A fresh system gets its directory and its file from the program", "[platform]")
{
    const int model = GENERATE(0, 1, 2);
    MadeMachine machine;
    SfpConfigFileHandler sfpHandler = handler(model);
    const LogCapture log;
    CHECK(load(sfpHandler).empty());
    CHECK(machine.readFile(PATH) == sfpHandler.defaultConfig());
    CHECK(machine.ownerChanges == std::vector<std::string>{PATH + " 1000 100"});
    CHECK(filesIn(machine) == QStringList{FILE_NAME});
    CHECK(machine.syncs == std::vector<std::string>{PATH + ".tmp", DIRECTORY});
    CHECK_THAT(
        log.lines().join(QLatin1Char('\n')).toStdString(),
        Catch::StartsWith("info: Directory /home/sfp/config could not be found. Attempting to "
                          "create it.\n"
                          "info: Successfully created directory /home/sfp/config.\n"
                          "info: Using default supported SFPs list from resources file\n") &&
            Catch::EndsWith("\ninfo: Created file " + PATH));

    CHECK(sfpHandler.fileRevision() == (model == 0 ? 4 : 1));
    CHECK(sfpHandler.fileIsCurrent() == (model < 2)); // of others none is
    bool hasSdi = false;
    for (const SupportedSfp& sfp : sfpHandler.supportedSfps()) {
        CAPTURE(sfp.key());
        CHECK(sfp.vendor.size() <= 16); // the sizes of an SFP's EEPROM fields (SFF-8472)
        CHECK(sfp.partNumber.size() <= 16);
        CHECK(sfp.oui.size() == 6);
        CHECK(sfp.rate != SfpRate_Invalid);
        CHECK(sfp.sdi == (sfp.rate == SfpRate_SDI));
        CHECK(sfpHandler.findSfp(sfp.vendor, sfp.partNumber, sfp.revision) == &sfp);
        hasSdi = hasSdi || sfp.sdi;
    }
    CHECK(hasSdi);
}

TEST_CASE("The file that is there is what counts", "[platform]")
{
    MadeMachine machine;
    machine.writeFile(PATH, ONE_MODULE);
    const LogCapture log;
    SfpConfigFileHandler sfpHandler = handler();
    CHECK(load(sfpHandler).empty());
    REQUIRE(sfpHandler.supportedSfps().size() == 1);
    CHECK(sfpHandler.findSfp("V"_s, "P"_s, {}) == &sfpHandler.supportedSfps().front());
    CHECK(sfpHandler.findSfp("V"_s, "P"_s, "1"_s) == nullptr);
    CHECK(log.contains("info: Found supported SFPs JSON file"_s));
    CHECK(machine.readFile(PATH) == ONE_MODULE);
    CHECK(sfpHandler.fileRevision() == 3);
    CHECK_FALSE(sfpHandler.fileIsCurrent());

    CHECK_FALSE(sfpHandler.parseConfig("nothing"));
    CHECK(sfpHandler.supportedSfps().size() == 1);
}

TEST_CASE("A file that can't be used stays, and the program's list is taken", "[platform]")
{
    const auto [content, openFailure, error] = GENERATE(table<QByteArray, int, const char*>({
        {"{\"configRevision\"", 0, CORRUPT},
        {ONE_MODULE.leftJustified(4 * 1024 * 1024 + 1, ' '), 0,
         "Supported SFPs file has 4194305 bytes, more than 4194304 are not read"},
        {"", 0, "No data read from supported SFPs file"},
        {ONE_MODULE, EACCES, "Could not open supported SFPs JSON file for reading"},
    }));
    MadeMachine machine;
    machine.writeFile(PATH, content);
    if (openFailure != 0) {
        machine.failingOpens[PATH] = openFailure;
    }
    SfpConfigFileHandler sfpHandler = handler();
    CHECK(load(sfpHandler) == error);
    CHECK(sfpHandler.supportedSfps().size() > 1);
    CHECK(machine.readFile(PATH) == content);
    CHECK(machine.ownerChanges.empty());
    CHECK(sfpHandler.fileRevision() == -1);
}

TEST_CASE("Pipes in place of the file and of its making keep nobody waiting", "[platform]")
{
    MadeMachine machine;
    machine.writeFile(DIRECTORY + "/other", "");
    SfpConfigFileHandler sfpHandler = handler();
    makePipe(machine, PATH + ".tmp");
    CHECK(load(sfpHandler).empty());
    CHECK(sfpHandler.fileIsCurrent());
    machine.remove(PATH);
    makePipe(machine, PATH);
    CHECK(sfpHandler.fileRevision() == -1);
    CHECK(load(sfpHandler) == "Could not open supported SFPs JSON file for reading");
}

TEST_CASE("A file that can't be made whole is not made, and the list is there", "[platform]")
{
    MadeMachine machine;
    SfpConfigFileHandler sfpHandler = handler();
    SECTION("a directory")
    {
        machine.writeFile("/home", "a file where a directory should be");
        CHECK(load(sfpHandler) == "Failed to create directory /home/sfp/config.");
        CHECK(machine.readFile(PATH).isNull());
    }
    SECTION("a file that can't be opened, written or put in its place")
    {
        machine.writeFile(DIRECTORY + "/other", "");
        machine.failingOpens[PATH + ".tmp"] = EROFS;
        CHECK(load(sfpHandler) == "Could not create supported SFPs file for writing");
        machine.failingOpens.clear();
        machine.failingWrites = ENOSPC;
        CHECK(load(sfpHandler) == "Did not write any data to supported SFPs file");
        machine.failingWrites = 0;
        machine.failingRenames = EIO;
        CHECK(load(sfpHandler) == "Could not create supported SFPs file for writing");
        CHECK(filesIn(machine) == QStringList{"other"_s});
    }
    CHECK(machine.ownerChanges.empty());
}

TEST_CASE("A file without its owner is reported by the number of the error", "[platform]")
{
    MadeMachine machine;
    const std::string text = "Failed to change supported SFPs file ownership. Error code: ";
    SfpConfigFileHandler sfpHandler = handler();
    machine.users.clear();
    CHECK(load(sfpHandler) == text + std::to_string(ENOENT));
    machine.users = {"veluser"};
    machine.ownerFailure = EPERM;
    machine.remove(PATH);
    CHECK(load(sfpHandler) == text + std::to_string(EPERM));
    CHECK_FALSE(machine.readFile(PATH).isNull());
}

TEST_CASE("Without the program's list there is none, and each reason is told", "[platform]")
{
    const auto [resource, error] = GENERATE(table<QByteArray, const char*>({
        {QByteArray(), "Could not open supported SFPs resource file for reading"},
        {"", "No data read from resources file"},
        {"{}", "Failed to create list of supported SFPs from data in resource file."},
    }));
    MadeMachine machine;
    machine.writeFile(PATH, "corrupt");
    SfpConfigFileHandler sfpHandler = handler();
    CHECK(sfpHandler.parseConfig(ONE_MODULE)); // goes with the load
    machine.resource = resource;
    machine.resourceMissing = resource.isNull();
    CHECK(load(sfpHandler, false) == CORRUPT + ('\n' + std::string(error)));
    machine.remove(PATH);
    CHECK(load(sfpHandler, false) == error);
    CHECK(machine.readFile(PATH).isNull()); // nothing is made of a list that can't be used
}

TEST_CASE("An archived file makes room for the program's", "[platform]")
{
    MadeMachine machine;
    machine.writeFile(PATH, ONE_MODULE);
    SfpConfigFileHandler sfpHandler = handler();

    machine.failingRenames = EIO;
    CHECK_FALSE(sfpHandler.archiveFile());
    CHECK(machine.readFile(PATH) == ONE_MODULE);
    machine.failingRenames = 0;

    CHECK(sfpHandler.archiveFile());
    CHECK(sfpHandler.fileIsCurrent());
    CHECK(sfpHandler.supportedSfps().size() > 1);
    const QStringList files = filesIn(machine);
    REQUIRE(files.size() == 2);
    const QRegularExpression name(
        "^unused_\\d{4}-\\d\\d-\\d\\d-\\d\\d:\\d\\d:\\d\\d_supportedSfpConfig\\.json$"_s);
    CHECK(name.match(files[1]).hasMatch());
    CHECK(machine.readFile(DIRECTORY + "/" + files[1].toStdString()) == ONE_MODULE);

    machine.remove(PATH);
    CHECK(sfpHandler.archiveFile()); // nothing to rename
    CHECK(sfpHandler.fileIsCurrent());
}

TEST_CASE("The board id is the text given or the mezzanine's, within the table", "[platform]")
{
    // The first pre-cursor is 10 for boards up to 9, 0 above.
    const auto [text, mezzanine, preCursor, warns] =
        GENERATE(table<const char*, int, uint32_t, bool>({
            {"9", 12, 10, false},
            {"10", 3, 0, false},
            {"", 12, 0, false},
            {"", 3, 10, false},
            {"", -1, 10, false}, // "Unknown"
            {"-5", 12, 10, false},
            {"16", 3, 0, false},
            {"17", 3, 0, true},
            {"18446744073709551616", 3, 0, true}, // does not fit 64 bits
            {"1844674407370955161x", 12, 10, false},
            {"", 31, 0, true},
        }));
    const MadeMachine machine;
    const LogCapture log;
    SfpConfigFileHandler sfpHandler = handler(0, mezzanine, text);
    CHECK(log.lines().size() == (warns ? 1 : 0));
    const QRegularExpression warning("^warning: BoardId \\d+ unknown, using 15 for defaults$"_s);
    CHECK(log.lines().filter(warning) == log.lines());
    REQUIRE(sfpHandler.parseConfig(ONE_MODULE));
    CHECK(sfpHandler.supportedSfps().front().transceiver.preCursorCode[0] == preCursor);
}
