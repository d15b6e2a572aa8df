#include "infrastructure/platform/SfpConfigFileHandler.h"

#include "infrastructure/platform/AtomicFile_p.h"
#include "infrastructure/platform/Machine_p.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/ParseJson.h"

#include <QDateTime>
#include <QDir>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <limits>

using namespace Tessorn;

namespace {

constexpr int MOST_FILE_BYTES = 4 * 1024 * 1024;
constexpr const char* FILE_OWNER = "veluser";

/// What belongs to a product model.
struct ModelFile
{
    const char* resource;
    int revision; ///< of an up-to-date file
};

constexpr ModelFile MODEL_0 = {":/supportedSfpConfig.json", 4};
constexpr ModelFile MODEL_1 = {":/supportedSfpConfigVelM.json", 1};
constexpr ModelFile OTHER_MODELS = {":/supportedSfpConfigVelM.json", 0};

const ModelFile& fileOfModel(int model)
{
    return model == 0 ? MODEL_0 : model == 1 ? MODEL_1 : OTHER_MODELS;
}

/// Logs an error that the user should see too.
void report(std::vector<QString>& errors, const QString& text)
{
    VELLOG_ERR() << text;
    errors.push_back(text);
}

QString boardIdOrMezzanine(const QString& boardIdText, const VersionInfo& versions)
{
    return boardIdText.isEmpty() ? versions.value(QStringLiteral("Mezzanine")) : boardIdText;
}

/// The text as a number: the largest one if its digits mean more, 0 if it is not a number.
qulonglong numberOrLargest(const QString& text)
{
    bool fits = false;
    const qulonglong number = text.toULongLong(&fits);
    const QString digits = text.trimmed();
    const bool isNumber =
        !digits.isEmpty() && std::all_of(digits.begin(), digits.end(), [](QChar c) {
            return c >= QLatin1Char('0') && c <= QLatin1Char('9');
        });
    return fits || !isNumber ? number : std::numeric_limits<qulonglong>::max();
}

unsigned boardNumber(const QString& boardId)
{
    const qulonglong number = numberOrLargest(boardId);
    if (number <= SFP_BOARDS) {
        return static_cast<unsigned>(number);
    }
    constexpr unsigned fallback = SFP_BOARDS - 1;
    VELLOG_WARN() << "BoardId " << boardId << " unknown, using " << fallback << " for defaults";
    return fallback;
}

SfpConfigParser makeParser(const QString& boardId, int model)
{
    return SfpConfigParser(boardId, boardNumber(boardId), model);
}

} // namespace

SfpConfigFileHandler::SfpConfigFileHandler(const QString& fileDirectory,
                                           const QString& configFileName,
                                           const QString& boardIdText, const VersionInfo& versions)
    : directory(fileDirectory)
    , fileName(configFileName)
    , model(versions.boardModel())
    , parser(makeParser(boardIdOrMezzanine(boardIdText, versions), model))
{
}

const SupportedSfp* SfpConfigFileHandler::findSfp(const QString& vendor, const QString& partNumber,
                                                  const QString& revision) const
{
    const auto found = sfpsByKey.find(SupportedSfp::unpaddedKey(vendor, partNumber, revision));
    return found == sfpsByKey.end() ? nullptr : &sfps[*found];
}

int SfpConfigFileHandler::fileRevision() const
{
    Machine& machine = Machine::current();
    MachineFile file(machine, machine.openRegular(filePath()));
    QByteArray data;
    if (!file.isOpen() || !file.readAll(data, MOST_FILE_BYTES)) {
        return -1;
    }
    const QJsonObject root = parseJson(data).object();
    return root.value(QLatin1String("configRevision")).toInt(-1);
}

bool SfpConfigFileHandler::fileIsCurrent() const
{
    return fileRevision() == fileOfModel(model).revision;
}

QByteArray SfpConfigFileHandler::defaultConfig() const
{
    QByteArray data;
    Machine::current().readResource(QLatin1String(fileOfModel(model).resource), data);
    return data;
}

bool SfpConfigFileHandler::loadSupportedSfps(std::vector<QString>& errors)
{
    sfps.clear();
    sfpsByKey.clear();
    const FileState state = findFile(errors);
    return (state == FileState_Found && loadFile(errors)) || loadDefault(state, errors);
}

bool SfpConfigFileHandler::parseConfig(const QByteArray& data)
{
    if (!parser.parse(data, sfps)) {
        return false;
    }
    sfpsByKey.clear();
    for (std::size_t i = 0; i < sfps.size(); ++i) {
        const SupportedSfp& sfp = sfps[i];
        const QString key = SupportedSfp::unpaddedKey(sfp.vendor, sfp.partNumber, sfp.revision);
        if (sfpsByKey.contains(key)) {
            VELLOG_WARN() << "SFP " << key << " is listed twice, the later entry counts";
        }
        sfpsByKey.insert(key, i);
    }
    return true;
}

std::vector<const SupportedSfp*> SfpConfigFileHandler::sfpsForThisBoard() const
{
    std::vector<const SupportedSfp*> usable;
    for (const SupportedSfp& sfp : sfps) {
        if (sfp.isForBoard(parser.getBoard())) {
            usable.push_back(&sfp);
        }
    }
    return usable;
}

bool SfpConfigFileHandler::archiveFile()
{
    const std::string path = filePath();
    if (exists(path)) {
        const QDateTime now = QDateTime::currentDateTime();
        const QString archive = QStringLiteral("%1/unused_%2-%3_%4")
                                    .arg(directory, now.date().toString(Qt::ISODate),
                                         now.time().toString(Qt::ISODate), fileName);
        if (exists(archive.toStdString()) ||
            Machine::current().rename(path, archive.toStdString()) != 0) {
            VELLOG_ERR() << "Could not rename " << path << " to " << archive;
            return false;
        }
    }
    std::vector<QString> errors; // they are logged
    return loadSupportedSfps(errors);
}

std::string SfpConfigFileHandler::filePath() const
{
    return (directory + QLatin1Char('/') + fileName).toStdString();
}

bool SfpConfigFileHandler::exists(const std::string& path) const
{
    struct stat status
    {
    };
    return Machine::current().status(path, status) == 0;
}

SfpConfigFileHandler::FileState SfpConfigFileHandler::findFile(std::vector<QString>& errors) const
{
    const QString hostDirectory =
        QString::fromStdString(Machine::current().hostPath(directory.toStdString()));
    if (QDir(hostDirectory).exists()) {
        return exists(filePath()) ? FileState_Found : FileState_Missing;
    }
    VELLOG_INFO() << "Directory " << directory << " could not be found. Attempting to create it.";
    if (!QDir().mkpath(hostDirectory)) {
        report(errors, QStringLiteral("Failed to create directory %1.").arg(directory));
        return FileState_NoDirectory;
    }
    VELLOG_INFO() << "Successfully created directory " << directory << ".";
    return FileState_Missing;
}

bool SfpConfigFileHandler::loadFile(std::vector<QString>& errors)
{
    VELLOG_INFO() << "Found supported SFPs JSON file";
    Machine& machine = Machine::current();
    MachineFile file(machine, machine.openRegular(filePath()));
    if (!file.isOpen()) {
        report(errors, QStringLiteral("Could not open supported SFPs JSON file for reading"));
        return false;
    }
    QByteArray data;
    const bool isRead = file.readAll(data, MOST_FILE_BYTES);
    if (!isRead && errno == EFBIG) {
        struct stat status
        {
        };
        machine.status(filePath(), status);
        report(errors, QStringLiteral("Supported SFPs file has %1 bytes, more than %2 are not read")
                           .arg(status.st_size)
                           .arg(MOST_FILE_BYTES));
        return false;
    }
    if (!isRead || data.isEmpty()) {
        report(errors, QStringLiteral("No data read from supported SFPs file"));
        return false;
    }
    if (!parseConfig(data)) {
        report(errors, QStringLiteral("Could not create list of supported SFPs from data in file. "
                                      "Using default list instead."));
        return false;
    }
    return true;
}

bool SfpConfigFileHandler::loadDefault(FileState fileState, std::vector<QString>& errors)
{
    VELLOG_INFO() << "Using default supported SFPs list from resources file";
    QByteArray data;
    if (!Machine::current().readResource(QLatin1String(fileOfModel(model).resource), data)) {
        report(errors, QStringLiteral("Could not open supported SFPs resource file for reading"));
        return false;
    }
    if (data.isEmpty()) {
        report(errors, QStringLiteral("No data read from resources file"));
        return false;
    }
    if (!parseConfig(data)) {
        report(errors, QStringLiteral("Failed to create list of supported SFPs from data in "
                                      "resource file."));
        return false;
    }
    if (fileState == FileState_Missing) {
        createFile(data, errors);
    }
    return true;
}

void SfpConfigFileHandler::createFile(const QByteArray& content, std::vector<QString>& errors) const
{
    if (writeFile(content, errors)) {
        VELLOG_INFO() << QStringLiteral("Created file %1").arg(QString::fromStdString(filePath()));
        giveFileToUser(errors);
    }
}

bool SfpConfigFileHandler::writeFile(const QByteArray& content, std::vector<QString>& errors) const
{
    switch (writeAtomically(Machine::current(), filePath(), content)) {
    case AtomicWrite_NotOpened:
    case AtomicWrite_NotRenamed:
        report(errors, QStringLiteral("Could not create supported SFPs file for writing"));
        return false;
    case AtomicWrite_NotWritten:
        report(errors, QStringLiteral("Did not write any data to supported SFPs file"));
        return false;
    default:
        return true;
    }
}

void SfpConfigFileHandler::giveFileToUser(std::vector<QString>& errors) const
{
    Machine& machine = Machine::current();
    uid_t user = 0;
    gid_t group = 0;
    if (machine.findUser(FILE_OWNER, user, group) != 0 ||
        machine.changeOwner(filePath(), user, group) != 0) {
        const int code = errno;
        report(errors,
               QStringLiteral("Failed to change supported SFPs file ownership. Error code: ") +
                   QString::number(code));
    }
}
