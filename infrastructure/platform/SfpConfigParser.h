// The JSON form of the list of supported SFP modules.
//
//   {"configRevision": 4,
//    "supportedSfps": [{"Vendor": "...", "OUI": "...", "PartNumber": "...", "Revision": "...",
//      "SDI": true, "Rate": "SDI", "ExcludeBoards": ["rel_a"],
//      "SDIConfig": {"MSA": true, "IO": "...", "ConnectorTypeOverride": 3},
//      "Boards": {"rel_a_default": {...}, "rel_b_default": {...}, "7": {
//        "VoltageSwingCode": [13, 13, 13, 13], "PreCursorCode": 10, "PostCursorCode": 20,
//        "ReclockerSettings": [0, 0, 0, 0]}}}]}
#pragma once

#include "infrastructure/platform/SupportedSfp.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>

#include <array>
#include <vector>

/// Reads configuration files for one board. A value.
class SfpConfigParser
{
public:
    /// `boardIdText` is looked up among a module's boards. `boardNumber` selects its default entry
    /// (up to 9 "rel_a_default", above that "rel_b_default") and the row of the default table, of
    /// which there are two: one for model 0 and one for all others.
    SfpConfigParser(const QString& boardIdText, unsigned boardNumber, int boardModel);

    /// Reads a whole file. The first error is logged with the entry that it is in, counted from 1,
    /// and gives false; `sfps` then stays as it was.
    bool parse(const QByteArray& data, std::vector<SupportedSfp>& sfps) const;

    /// The number of the board that it reads for.
    unsigned getBoard() const { return board; }

private:
    bool readSfp(const QJsonValue& value, SupportedSfp& sfp) const;
    bool readBoards(const QJsonObject& boards, SfpTransceiverConfig& config) const;
    const SfpTransceiverConfig& defaults() const;

    QString boardId;
    unsigned board;
    int model;
};
