#include "infrastructure/platform/SfpConfigFileHandler.h"
#include "infrastructure/platform/VelPlatformAbstraction.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QDir>
#include <QRegularExpression>

namespace {

using Texts = std::vector<QString>;

const QString DIRECTORY = QStringLiteral("/home/sfp/config");
const QString FILE_NAME = QStringLiteral("supportedSfpConfig.json");
const std::string PATH = "/home/sfp/config/supportedSfpConfig.json";
const QByteArray ONE_MODULE =
    R"({"configRevision": 3, "supportedSfps": [{"Vendor": "V", "PartNumber": "P", "Boards": {}}]})";

/// The versions of a made machine with these ids, -1 for none.
VersionInfo versions(int mainId, int mezzanineId = -1)
{
    Tessorn::Machine& machine = Tessorn::Machine::current();
    machine.hardwareIds[0] = mainId;
    machine.hardwareIds[1] = mezzanineId;
    Tessorn::VelPlatformAbstraction platform;
    return VersionInfo(platform);
}

SfpConfigFileHandler handler(int model = 0)
{
    return SfpConfigFileHandler(DIRECTORY, FILE_NAME, QStringLiteral("5"), versions(model));
}

Texts load(SfpConfigFileHandler& sfpHandler, bool hasList = true)
{
    Texts errors;
    CHECK(sfpHandler.loadSupportedSfps(errors) == hasList);
    CHECK(sfpHandler.supportedSfps().empty() != hasList);
    return errors;
}

QStringList filesIn(const MadeMachine& machine)
{
    return QDir(QString::fromStdString(machine.hostPath(DIRECTORY.toStdString())))
        .entryList(QDir::Files);
}

} // namespace

TEST_CASE("A fresh system gets its directory and its file from the program", "[platform]")
{
    const int model = GENERATE(0, 1, 2);
    MadeMachine machine;
    const LogCapture log;
    SfpConfigFileHandler sfpHandler = handler(model);
    CHECK(load(sfpHandler).empty());
    CHECK(machine.readFile(PATH) == sfpHandler.defaultConfig());
    CHECK(machine.ownerChanges == std::vector<std::string>{PATH + " 1000 100"});
    CHECK(filesIn(machine) == QStringList{FILE_NAME});
    CHECK(machine.syncs == std::vector<std::string>{PATH + ".tmp", DIRECTORY.toStdString()});
    CHECK(log.contains(QStringLiteral("info: Directory /home/sfp/config could not be found. "
                                      "Attempting to create it.")));
    CHECK(log.contains(QStringLiteral("info: Successfully created directory /home/sfp/config.")));
    CHECK(log.contains(
        QStringLiteral("info: Using default supported SFPs list from resources file")));
    CHECK(log.contains(QStringLiteral("info: Created file ") + QString::fromStdString(PATH)));

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
    CHECK(sfpHandler.findSfp(QStringLiteral("V"), QStringLiteral("P"), {}) ==
          &sfpHandler.supportedSfps().front());
    CHECK(sfpHandler.findSfp(QStringLiteral("V"), QStringLiteral("P"), QStringLiteral("1")) ==
          nullptr);
    CHECK(log.contains(QStringLiteral("info: Found supported SFPs JSON file")));
    CHECK(machine.readFile(PATH) == ONE_MODULE);
    CHECK(sfpHandler.fileRevision() == 3);
    CHECK_FALSE(sfpHandler.fileIsCurrent());

    CHECK_FALSE(sfpHandler.parseConfig("nothing"));
    CHECK(sfpHandler.supportedSfps().size() == 1);
}

TEST_CASE("A file that can't be used stays, and the program's list is taken", "[platform]")
{
    struct Row
    {
        QByteArray content;
        int openFailure;
        const char* error;
    };
    const auto row = GENERATE(values<Row>({
        {"{\"configRevision\"", 0,
         "Could not create list of supported SFPs from data in file. Using default list instead."},
        {ONE_MODULE.leftJustified(4 * 1024 * 1024 + 1, ' '), 0,
         "Supported SFPs file has 4194305 bytes, more than 4194304 are not read"},
        {"", 0, "No data read from supported SFPs file"},
        {ONE_MODULE, EACCES, "Could not open supported SFPs JSON file for reading"},
    }));
    MadeMachine machine;
    machine.writeFile(PATH, row.content);
    if (row.openFailure != 0) {
        machine.failingOpens[PATH] = row.openFailure;
    }
    const LogCapture log;
    SfpConfigFileHandler sfpHandler = handler();
    CHECK(load(sfpHandler) == Texts{QLatin1String(row.error)});
    CHECK(log.contains(QStringLiteral("error: ") + QLatin1String(row.error)));
    CHECK(sfpHandler.supportedSfps().size() > 1);
    CHECK(machine.readFile(PATH) == row.content);
    CHECK(machine.ownerChanges.empty());
    CHECK(sfpHandler.fileRevision() == -1);
}

TEST_CASE("Pipes in place of the file and of its making keep nobody waiting", "[platform]")
{
    MadeMachine machine;
    machine.writeFile(DIRECTORY.toStdString() + "/other", "");
    const auto makePipe = [&machine](const std::string& path) {
        REQUIRE(::mkfifo(machine.hostPath(path).c_str(), 0600) == 0);
    };
    SfpConfigFileHandler sfpHandler = handler();
    makePipe(PATH + ".tmp");
    CHECK(load(sfpHandler).empty());
    CHECK(sfpHandler.fileIsCurrent());
    machine.remove(PATH);
    makePipe(PATH);
    CHECK(sfpHandler.fileRevision() == -1);
    CHECK(load(sfpHandler) ==
          Texts{QStringLiteral("Could not open supported SFPs JSON file for reading")});
}

TEST_CASE("A directory that can't be made gives a list and no file", "[platform]")
{
    MadeMachine machine;
    machine.writeFile("/home", "a file where a directory should be");
    SfpConfigFileHandler sfpHandler = handler();
    CHECK(load(sfpHandler) ==
          Texts{QStringLiteral("Failed to create directory /home/sfp/config.")});
    CHECK(machine.readFile(PATH).isNull());
}

TEST_CASE("A file that can't be made whole is not made", "[platform]")
{
    MadeMachine machine;
    machine.writeFile("/home/sfp/config/other", "");
    SfpConfigFileHandler sfpHandler = handler();
    const Texts notCreated = {QStringLiteral("Could not create supported SFPs file for writing")};

    SECTION("it can't be opened")
    {
        machine.failingOpens[PATH + ".tmp"] = EROFS;
        CHECK(load(sfpHandler) == notCreated);
    }
    SECTION("it can't be written")
    {
        machine.failingWrites = ENOSPC;
        CHECK(load(sfpHandler) ==
              Texts{QStringLiteral("Did not write any data to supported SFPs file")});
    }
    SECTION("it can't be put in its place")
    {
        machine.failingRenames = EIO;
        CHECK(load(sfpHandler) == notCreated);
    }
    CHECK(filesIn(machine) == QStringList{QStringLiteral("other")});
    CHECK(machine.ownerChanges.empty());
}

TEST_CASE("A file without its owner is reported by the number of the error", "[platform]")
{
    MadeMachine machine;
    const QString text =
        QStringLiteral("Failed to change supported SFPs file ownership. Error code: %1");
    SfpConfigFileHandler sfpHandler = handler();
    machine.users.clear();
    CHECK(load(sfpHandler) == Texts{text.arg(ENOENT)});
    machine.users = {"veluser"};
    machine.ownerFailure = EPERM;
    machine.remove(PATH);
    CHECK(load(sfpHandler) == Texts{text.arg(EPERM)});
    CHECK_FALSE(machine.readFile(PATH).isNull());
}

TEST_CASE("Without the program's list there is none, and each reason is told", "[platform]")
{
    MadeMachine machine;
    machine.writeFile(PATH, "corrupt");
    SfpConfigFileHandler sfpHandler = handler();
    CHECK(sfpHandler.parseConfig(ONE_MODULE)); // goes with the load
    const QString corrupt = QStringLiteral("Could not create list of supported SFPs from data in "
                                           "file. Using default list instead.");
    machine.resourceMissing = true;
    CHECK(
        load(sfpHandler, false) ==
        Texts{corrupt, QStringLiteral("Could not open supported SFPs resource file for reading")});
    machine.resource = "";
    CHECK(load(sfpHandler, false) ==
          Texts{corrupt, QStringLiteral("No data read from resources file")});
    machine.resource = "{}";
    CHECK(load(sfpHandler, false) ==
          Texts{corrupt, QStringLiteral("Failed to create list of supported SFPs from data in "
                                        "resource file.")});
    machine.remove(PATH);
    load(sfpHandler, false);
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
    const QRegularExpression name(QStringLiteral(
        "^unused_\\d{4}-\\d\\d-\\d\\d-\\d\\d:\\d\\d:\\d\\d_supportedSfpConfig\\.json$"));
    CHECK(name.match(files[1]).hasMatch());
    CHECK(machine.readFile(DIRECTORY.toStdString() + "/" + files[1].toStdString()) == ONE_MODULE);

    machine.remove(PATH);
    CHECK(sfpHandler.archiveFile()); // nothing to rename
    CHECK(sfpHandler.fileIsCurrent());
}

TEST_CASE("The board id is the text given or the mezzanine's, within the table", "[platform]")
{
    struct Row
    {
        const char* text;
        int mezzanine;
        uint32_t firstPreCursor; ///< 10 for boards up to 9, 0 above
        bool warns;
    };
    const auto row = GENERATE(values<Row>({
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
    const VersionInfo info = versions(0, row.mezzanine);
    const LogCapture log;
    SfpConfigFileHandler sfpHandler(DIRECTORY, FILE_NAME, QLatin1String(row.text), info);
    CHECK(log.lines().isEmpty() != row.warns);
    if (row.warns) {
        CHECK(log.lines().first().startsWith(QStringLiteral("warning: BoardId ")));
        CHECK(log.lines().first().endsWith(QStringLiteral(" unknown, using 15 for defaults")));
    }
    REQUIRE(sfpHandler.parseConfig(ONE_MODULE));
    CHECK(sfpHandler.supportedSfps().front().transceiver.preCursorCode[0] == row.firstPreCursor);
}
