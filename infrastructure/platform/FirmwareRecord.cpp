#include "infrastructure/platform/FirmwareRecord_p.h"

#include "infrastructure/platform/AtomicFile_p.h"
#include "infrastructure/utility/ParseJson.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace Tessorn {

namespace {

constexpr int MOST_RECORD_BYTES = 64 * 1024;
constexpr double MOST_IMAGE_BYTES = 0xFFFFFFFF; ///< of a flash device

struct TextKey
{
    const char* key;
    std::string FirmwareImage::*text;
};

constexpr TextKey IMAGE_TEXTS[] = {
    {"device", &FirmwareImage::device},
    {"design", &FirmwareImage::design},
    {"version", &FirmwareImage::version},
    {"date", &FirmwareImage::date},
};

struct StateKey
{
    FirmwareState state;
    const char* text;
};

constexpr StateKey STATES[] = {
    {FirmwareState_Unknown, "unknown"},
    {FirmwareState_Good, "good"},
    {FirmwareState_CutOff, "writing"},
};

std::string recordPath(const FirmwareTarget& target)
{
    return target.recordFolder + '/' + target.name + ".record";
}

/// The whole file for its first line.
QByteArray withDigest(const QByteArray& line)
{
    return line + '\n' + QCryptographicHash::hash(line, QCryptographicHash::Sha256).toHex() + '\n';
}

QJsonObject toJson(const FirmwareBank& bank)
{
    QJsonObject object{{QStringLiteral("name"), QString::fromStdString(bank.name)},
                       {QStringLiteral("bytes"), static_cast<double>(bank.image.sizeBytes)},
                       {QStringLiteral("sha256"), QString::fromStdString(bank.sha256)}};
    for (const StateKey& row : STATES) {
        if (row.state == bank.state) {
            object.insert(QStringLiteral("state"), QLatin1String(row.text));
        }
    }
    for (const TextKey& row : IMAGE_TEXTS) {
        object.insert(QLatin1String(row.key), QString::fromStdString(bank.image.*row.text));
    }
    return object;
}

bool fromJson(const QJsonObject& object, FirmwareBank& bank)
{
    const auto text = [&object](const char* key) {
        return object.value(QLatin1String(key)).toString().toStdString();
    };
    const std::string state = text("state");
    const double bytes = object.value(QLatin1String("bytes")).toDouble(-1);
    const auto* row = std::find_if(std::begin(STATES), std::end(STATES),
                                   [&state](const StateKey& each) { return state == each.text; });
    if (row == std::end(STATES) || text("name") != bank.name || !(bytes >= 0) ||
        bytes > MOST_IMAGE_BYTES) {
        return false;
    }
    bank.state = row->state;
    bank.image.sizeBytes = static_cast<uint64_t>(bytes);
    bank.sha256 = text("sha256");
    for (const TextKey& each : IMAGE_TEXTS) {
        bank.image.*each.text = text(each.key);
    }
    return true;
}

bool parse(const QByteArray& content, FirmwareStatus& status)
{
    const QByteArray line = content.left(content.indexOf('\n'));
    if (content != withDigest(line)) {
        return false;
    }
    const QJsonObject object = parseJson(line).object();
    const QJsonArray banks = object.value(QLatin1String("banks")).toArray();
    const int active = object.value(QLatin1String("active")).toInt(-1);
    if (active < 0 || active >= banks.size() ||
        banks.size() != static_cast<int>(status.banks.size())) {
        return false;
    }
    status.active = static_cast<uint32_t>(active);
    for (int i = 0; i < banks.size(); ++i) {
        if (!fromJson(banks[i].toObject(), status.banks[static_cast<std::size_t>(i)])) {
            return false;
        }
    }
    return true;
}

} // namespace

FirmwareStatus readFirmwareRecord(const FirmwareTarget& target)
{
    FirmwareStatus unknown;
    for (const FirmwareTarget::Bank& bank : target.banks) {
        unknown.banks.push_back({bank.name, FirmwareState_Unknown, {}, {}});
    }
    Machine& machine = Machine::current();
    MachineFile file(machine, machine.openRegular(recordPath(target)));
    if (!file.isOpen() && errno == ENOENT) {
        return unknown;
    }
    QByteArray content;
    FirmwareStatus status = unknown;
    if (file.isOpen() && file.readAll(content, MOST_RECORD_BYTES) && parse(content, status)) {
        return status;
    }
    unknown.isRecordDamaged = true;
    return unknown;
}

bool writeFirmwareRecord(const FirmwareTarget& target, const FirmwareStatus& status)
{
    QJsonArray banks;
    for (const FirmwareBank& bank : status.banks) {
        banks.append(toJson(bank));
    }
    const QByteArray line =
        QJsonDocument(QJsonObject{{QStringLiteral("active"), static_cast<int>(status.active)},
                                  {QStringLiteral("banks"), banks}})
            .toJson(QJsonDocument::Compact);
    return writeAtomically(Machine::current(), recordPath(target), withDigest(line)) ==
           AtomicWrite_Done;
}

} // namespace Tessorn
