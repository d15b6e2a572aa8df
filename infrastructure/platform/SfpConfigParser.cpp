#include "infrastructure/platform/SfpConfigParser.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/ParseJson.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

bool invalid(const char* what)
{
    VELLOG_ERR() << "Invalid JSON file: " << what;
    return false;
}

/// A whole number in the range of the type.
template <typename Number>
bool readNumber(const QJsonValue& value, Number& out)
{
    const double number = value.toDouble();
    if (!value.isDouble() || !(number >= double(std::numeric_limits<Number>::min())) ||
        !(number <= double(std::numeric_limits<Number>::max())) ||
        number != double(static_cast<Number>(number))) {
        return false;
    }
    out = static_cast<Number>(number);
    return true;
}

/// Exactly one number for each rate.
bool readArray(const QJsonValue& value, SfpTransceiverConfig::Values& out)
{
    const QJsonArray array = value.toArray();
    if (array.size() != static_cast<int>(out.size())) {
        return false;
    }
    return std::all_of(array.begin(), array.end(), [next = out.begin()](const auto& item) mutable {
        return readNumber(item, *next++);
    });
}

/// The same, or a single number for all rates.
bool readArrayOrNumber(const QJsonValue& value, SfpTransceiverConfig::Values& out)
{
    uint32_t number = 0;
    if (readNumber(value, number)) {
        out.fill(number);
        return true;
    }
    return readArray(value, out);
}

bool readTransceiver(const QJsonObject& object, SfpTransceiverConfig& config)
{
    if (!readArrayOrNumber(object.value(QLatin1String("VoltageSwingCode")),
                           config.voltageSwingCode)) {
        return invalid("does not contain valid voltage swing code");
    }
    if (!readArrayOrNumber(object.value(QLatin1String("PreCursorCode")), config.preCursorCode)) {
        return invalid("does not contain valid precursor code");
    }
    if (!readArrayOrNumber(object.value(QLatin1String("PostCursorCode")), config.postCursorCode)) {
        return invalid("does not contain valid post cursor code");
    }
    if (!readArray(object.value(QLatin1String("ReclockerSettings")), config.reclockerSettings)) {
        return invalid("does not contain valid reclocker settings array");
    }
    return true;
}

/// Clears the flags of the named groups; false if anything else is named.
bool readExcludedBoards(const QJsonArray& groups, SupportedSfp& sfp)
{
    bool allKnown = true;
    for (const auto& group : groups) {
        if (group.toString() == QLatin1String("rel_a")) {
            sfp.boardGroupA = false;
        } else if (group.toString() == QLatin1String("rel_b")) {
            sfp.boardGroupB = false;
        } else {
            allKnown = false;
        }
    }
    return allKnown;
}

bool readSdiConfig(const QJsonObject& object, SfpSdiConfig& config)
{
    const QJsonValue msa = object.value(QLatin1String("MSA"));
    const QJsonValue io = object.value(QLatin1String("IO"));
    const QJsonValue connector = object.value(QLatin1String("ConnectorTypeOverride"));
    if (msa.isUndefined()) {
        return invalid("MSA flag is missing from SDIConfig object");
    }
    if (!msa.isBool()) {
        return invalid("MSA flag is not a boolean");
    }
    if (io.isUndefined()) {
        return invalid("IO field is missing from SDIConfig object");
    }
    if (!io.isString()) {
        return invalid("IO field is not a string");
    }
    config.msa = msa.toBool();
    config.io = io.toString();
    if (connector.isUndefined()) {
        VELLOG_INFO() << "ConnectorTypeOverride field is not present in SDIConfig object - "
                         "no override will be used";
        return true;
    }
    int type = 0;
    if (!readNumber(connector, type)) {
        return invalid("ConnectorTypeOverride flag is not a number");
    }
    config.connectorTypeOverride = type;
    return true;
}

void readFields(const QJsonObject& object, SupportedSfp& sfp)
{
    sfp.vendor = object.value(QLatin1String("Vendor")).toString();
    sfp.oui = object.value(QLatin1String("OUI")).toString();
    sfp.partNumber = object.value(QLatin1String("PartNumber")).toString();
    sfp.revision = object.value(QLatin1String("Revision")).toString();

    const QJsonValue sdi = object.value(QLatin1String("SDI"));
    if (!sdi.isBool()) {
        VELLOG_INFO() << "Cannot find valid SDI entry, using default";
    }
    sfp.sdi = sdi.toBool();

    sfp.rate = sfpRateFromText(object.value(QLatin1String("Rate")).toString());
    if (sfp.rate == SfpRate_Invalid) {
        VELLOG_INFO() << "Cannot find valid rate entry, using default";
    }
}

} // namespace

SfpConfigParser::SfpConfigParser(const QString& boardIdText, unsigned boardNumber, int boardModel)
    : boardId(boardIdText)
    , board(boardNumber)
    , model(boardModel)
{
}

bool SfpConfigParser::parse(const QByteArray& data, std::vector<SupportedSfp>& sfps) const
{
    const QJsonDocument document = parseJson(data);
    if (!document.isObject()) {
        VELLOG_ERR() << "Invalid JSON file for supported sfps";
        return false;
    }
    const QJsonObject root = document.object();
    int revision = 0;
    if (!readNumber(root.value(QLatin1String("configRevision")), revision)) {
        return invalid("does not contain config revision");
    }
    VELLOG_INFO() << "SFP configuration file is rev: " << revision;
    const QJsonValue list = root.value(QLatin1String("supportedSfps"));
    if (list.isUndefined()) {
        return invalid("does not contain supported sfps");
    }
    if (!list.isArray()) {
        return invalid("does not contain supported sfps array");
    }

    std::vector<SupportedSfp> read;
    for (const auto& value : list.toArray()) {
        SupportedSfp sfp;
        if (!readSfp(value, sfp)) {
            VELLOG_ERR() << "The error is in entry " << read.size() + 1
                         << " of supportedSfps: " << sfp.vendor << "(" << sfp.partNumber << ")";
            return false;
        }
        VELLOG_INFO() << "Adding support for SFP: " << sfp.vendor << "(" << sfp.partNumber << ")";
        read.push_back(std::move(sfp));
    }
    if (read.empty()) {
        return invalid("No valid SFP objects found");
    }
    sfps = std::move(read);
    return true;
}

bool SfpConfigParser::readSfp(const QJsonValue& value, SupportedSfp& sfp) const
{
    if (!value.isObject()) {
        return invalid("sfp value not an object");
    }
    const QJsonObject object = value.toObject();
    readFields(object, sfp);

    const QJsonValue boards = object.value(QLatin1String("Boards"));
    if (!boards.isObject()) {
        return invalid("Boards not an object");
    }
    if (!readBoards(boards.toObject(), sfp.transceiver)) {
        return false;
    }
    const QJsonValue excluded = object.value(QLatin1String("ExcludeBoards"));
    if (!excluded.isUndefined() && !excluded.isArray()) {
        return invalid("ExcludeBoards not an array");
    }
    if (!readExcludedBoards(excluded.toArray(), sfp)) {
        VELLOG_WARN() << "ExcludeBoards holds something other than rel_a and rel_b: "
                      << QJsonObject{{QStringLiteral("ExcludeBoards"), excluded}};
    }
    if (!sfp.sdi) {
        return true;
    }
    const QJsonValue sdiConfig = object.value(QLatin1String("SDIConfig"));
    if (sdiConfig.isUndefined()) {
        return invalid("SDIConfig missing for SDI SFP.");
    }
    if (!sdiConfig.isObject()) {
        return invalid("SDIConfig not an object");
    }
    return readSdiConfig(sdiConfig.toObject(), sfp.sdiConfig);
}

bool SfpConfigParser::readBoards(const QJsonObject& boards, SfpTransceiverConfig& config) const
{
    const QJsonValue exact = boards.value(boardId);
    const QJsonValue groupA = boards.value(QLatin1String("rel_a_default"));
    const QJsonValue groupB = boards.value(QLatin1String("rel_b_default"));
    config = defaults(); // stays if the file has nothing for this board
    if (exact.isObject()) {
        VELLOG_INFO() << "Using configuration for board ID: " << boardId;
        return readTransceiver(exact.toObject(), config);
    }
    if (!groupA.isObject() && !groupB.isObject()) {
        VELLOG_INFO()
            << "No matching board data or config, falling back to internal defaults - ID: "
            << boardId;
        return true;
    }
    const QJsonValue& group = board <= SFP_LAST_BOARD_OF_GROUP_A ? groupA : groupB;
    return !group.isObject() || readTransceiver(group.toObject(), config);
}

const SfpTransceiverConfig& SfpConfigParser::defaults() const
{
    const auto& table = model == 0 ? SFP_DEFAULT_CONFIGS_VEL : SFP_DEFAULT_CONFIGS_VELM;
    return table[std::min(board, SFP_BOARDS - 1)];
}
