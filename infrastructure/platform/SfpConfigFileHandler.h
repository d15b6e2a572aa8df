// The list of supported SFP modules: from the user's file or, failing that, from the copy in the
// program. One thread.
#pragma once

#include "infrastructure/platform/SfpConfigParser.h"
#include "infrastructure/platform/SupportedSfp.h"
#include "infrastructure/platform/VersionInfo.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <vector>

/// Loads the list, and maintains the user's file. There is a list after every load, unless the
/// program's own copy can't be used.
class SfpConfigFileHandler
{
public:
    /// The file is `configFileName` in `fileDirectory`. An empty board id is replaced by the
    /// "Mezzanine" entry of `versions`, which also supplies the product model. Text that is not a
    /// number counts as 0, and 17 and above, however large, as 15.
    SfpConfigFileHandler(const QString& fileDirectory, const QString& configFileName,
                         const QString& boardIdText = QString(),
                         const VersionInfo& versions = VersionInfo::getInstance());

    /// The modules, in the order of the file.
    const std::vector<SupportedSfp>& supportedSfps() const { return sfps; }
    /// Those of them that may be used on this board, by its group. They are valid until the next
    /// load.
    std::vector<const SupportedSfp*> sfpsForThisBoard() const;
    /// The module with these EEPROM texts, padded with blanks or not (the last, if the file has
    /// several), or null; it may be one for the other group of boards. It is valid until the next
    /// load.
    const SupportedSfp* findSfp(const QString& vendor, const QString& partNumber,
                                const QString& revision) const;
    /// The "configRevision" of the file; -1 if it has none or can't be read.
    int fileRevision() const;
    /// True if the file has the revision of this program.
    bool fileIsCurrent() const;
    /// The program's own copy; empty if it can't be read.
    QByteArray defaultConfig() const;

    /// Loads the file. If that can't be used, loads the program's copy, and if there is no file,
    /// writes the copy to it, making the directory if necessary. What the user should know is
    /// appended to `errors`; everything is logged. False if there is no list in the end.
    bool loadSupportedSfps(std::vector<QString>& errors);
    /// Replaces the list with one from the bytes of a file. If that fails, a log line says why and
    /// the list stays.
    bool parseConfig(const QByteArray& data);
    /// Renames the file, if there is one, to "unused_DATE-TIME_NAME", and loads as for a missing
    /// file. False if the file could not be renamed, in which case file and list are left alone, or
    /// if there is no list in the end.
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
