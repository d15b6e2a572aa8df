// The list of supported SFP modules: from the user's file, or else from the copy in the program.
// One thread.
#pragma once

#include "infrastructure/platform/SfpConfigParser.h"
#include "infrastructure/platform/SupportedSfp.h"
#include "infrastructure/platform/VersionInfo.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

/// Loads the list, and keeps the user's file. There is a list after each load, unless the program's
/// own copy can't be used.
class SfpConfigFileHandler
{
public:
    /// The file is `fileName` in `directory`. An empty board id is taken from the "Mezzanine" entry
    /// of `versions`, which also tells the product model; text that is no number counts as 0, and
    /// 17 and above, however large, as 15.
    SfpConfigFileHandler(const QString& fileDirectory, const QString& configFileName,
                         const QString& boardIdText = QString(),
                         const VersionInfo& versions = VersionInfo::getInstance());

    /// The modules, in the order of the file.
    const std::vector<SupportedSfp>& supportedSfps() const { return sfps; }
    /// The module that these texts of an EEPROM belong to (the last of several in the file), null
    /// for none. It is valid until the next load.
    const SupportedSfp* findSfp(const QString& vendor, const QString& partNumber,
                                const QString& revision) const;
    /// The "configRevision" of the file, -1 for a file that has none or can't be read.
    int fileRevision() const;
    /// True when the file has the revision of this program.
    bool fileIsCurrent() const;
    /// The program's own copy, empty where that can't be read.
    QByteArray defaultConfig() const;

    /// Loads the file. Where that can't be used the program's copy is loaded, and, where there is
    /// no file, written to it; the directory is made if need be. What the user should know is
    /// appended to `errors`; all of it is in the log. False if there is no list at the end.
    bool loadSupportedSfps(std::vector<QString>& errors);
    /// Takes the list from the bytes of a file; false, with a log line, leaves the list as it was.
    bool parseConfig(const QByteArray& data);
    /// Renames the file to "unused_DATE-TIME_NAME", if there is one, and loads as for a missing
    /// file. False if the file could not be renamed, which is then left alone with the list, or if
    /// there is no list at the end.
    bool archiveFile();

private:
    enum FileState {
        FileState_Found,
        FileState_Missing,
        FileState_NoDirectory, ///< and none could be made
    };

    std::string filePath() const;
    bool exists(const std::string& path) const;
    FileState findFile(std::vector<QString>& errors) const;
    bool loadFile(std::vector<QString>& errors);
    bool loadDefault(FileState fileState, std::vector<QString>& errors);
    void createFile(const QByteArray& content, std::vector<QString>& errors) const;
    bool writeFile(const QByteArray& content, std::vector<QString>& errors) const;
    void giveFileToUser(std::vector<QString>& errors) const;

    QString directory;
    QString fileName;
    int model;
    SfpConfigParser parser;
    std::vector<SupportedSfp> sfps;
    QHash<QString, std::size_t> sfpsByKey; ///< indices into the list
};
