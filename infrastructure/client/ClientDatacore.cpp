#include "infrastructure/client/ClientDatacore.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/DatacorePacket.h"

#include <QMetaMethod>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace {

constexpr int MAX_LOGGED_CHARACTERS = 200; ///< of content from a peer

QString toText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

template <typename Number>
QString toText(Number number)
{
    if constexpr (std::is_floating_point_v<Number>) {
        return QString::number(double(number));
    } else if constexpr (std::is_signed_v<Number>) {
        return QString::number(qint64(number));
    } else {
        return QString::number(quint64(number));
    }
}

QString toText(int x, int y)
{
    return QStringLiteral("%1,%2").arg(x).arg(y);
}

QStringList valuesOf(const DatacoreBase& datacore)
{
    QStringList values;
    const int count = datacore.getDataCount();
    values.reserve(count);
    for (int i = 0; i < count; ++i) {
        values.append(datacore.getDataAt(i));
    }
    return values;
}

template <typename Value>
std::deque<QString> toTexts(const QList<Value>& values)
{
    std::deque<QString> texts;
    for (const Value& value : values) {
        texts.push_back(toText(value));
    }
    return texts;
}

/// The word in front of messages of a type.
QString prefixOf(MessageBase::MessageType type)
{
    switch (type) {
    case MessageBase::MessageType_Warning:
        return ClientDatacore::tr("Warning: ");
    case MessageBase::MessageType_Info:
        return ClientDatacore::tr("Info: ");
    case MessageBase::MessageType_Error:
        break;
    }
    return ClientDatacore::tr("Error: ");
}

} // namespace

/// Marks the time during which others are called: they may have the registry cleared.
class ClientDatacore::CallingOut
{
public:
    explicit CallingOut(ClientDatacore& caller)
        : datacore(caller)
    {
        ++datacore.callDepth;
    }
    CallingOut(const CallingOut&) = delete;
    CallingOut& operator=(const CallingOut&) = delete;
    ~CallingOut() { --datacore.callDepth; }

private:
    ClientDatacore& datacore;
};

ClientDatacore::ClientDatacore(const QString& className, const QString& name,
                               DatacoreBase* parentDatacore, const QString& fullPath)
    : DatacoreBase(className, name, parentDatacore)
    , path(fullPath)
{
    // Nothing has been written here yet, so there is nothing to tell the server when it is filled.
    clearOwnChangeState();
}

void ClientDatacore::populateFromPacket(const DatacorePacket& packet, bool isOwnUpdate)
{
    const CallingOut callingOut(*this);
    if (isOwnUpdate && packet.containsPacketID()) {
        acknowledge(packet);
        return;
    }
    if (pendingPacketIds.empty()) {
        Q_EMIT datacoreInSyncWithServer();
    }
    applyContent(packet);
}

void ClientDatacore::setData(const QString& value)
{
    if (isWritable()) {
        DatacoreBase::setData(value);
    } else {
        refuseWrite({value});
    }
}

void ClientDatacore::setData(const std::deque<QString>& values)
{
    if (isWritable()) {
        DatacoreBase::setData(values);
    } else {
        refuseWrite(QStringList(values.begin(), values.end()));
    }
}

/// Elements that show the mirror go back to what it holds.
void ClientDatacore::refuseWrite(const QStringList& values)
{
    if (values == valuesOf(*this)) {
        return;
    }
    const CallingOut callingOut(*this);
    populateConnectedGuiElements();
    if (refusedWrites != nullptr) {
        (*refusedWrites)({path, values, 1});
    }
}

void ClientDatacore::becomeStale()
{
    const CallingOut callingOut(*this);
    freshness = Freshness::Stale;
    Q_EMIT freshnessChanged(freshness);
}

LostWrite ClientDatacore::takePendingWrites()
{
    const int count = getPendingCount();
    pendingPacketIds.clear();
    return {path, overwritten ? *overwritten : valuesOf(*this), count};
}

void ClientDatacore::acknowledge(const DatacorePacket& packet)
{
    const auto find = [this, id = packet.getPacketID()] {
        const auto end = pendingPacketIds.end();
        const auto found = std::lower_bound(pendingPacketIds.begin(), end, id);
        return found != end && *found == id ? found : end;
    };
    auto found = find();
    if (found != pendingPacketIds.end() && found != pendingPacketIds.begin()) {
        const auto skipped = found - pendingPacketIds.begin();
        Q_EMIT lostPackets(static_cast<int>(skipped) + 1);
        found = find(); // a slot may have written
    }
    if (found == pendingPacketIds.end()) {
        return;
    }
    pendingPacketIds.erase(pendingPacketIds.begin(), found + 1);
    if (pendingPacketIds.empty()) {
        Q_EMIT datacoreInSyncWithServer();
        applyContent(packet);
    }
}

void ClientDatacore::applyContent(const DatacorePacket& packet)
{
    constexpr bool justData = false;
    if (!pendingPacketIds.empty() && !overwritten) {
        overwritten = valuesOf(*this);
    }
    const Freshness before = freshness;
    freshness = isWritable() ? Freshness::Current : Freshness::Stale; // a slot may lose the link
    if (!packet.populate(*this, justData)) {
        const QString text = packet.getDatacoreText();
        VELLOG_ERR() << "Content of the wrong shape for " << path << ": "
                     << (text.isEmpty() ? QStringLiteral("none")
                                        : text.left(MAX_LOGGED_CHARACTERS));
    }
    if (before != freshness) {
        Q_EMIT freshnessChanged(freshness);
    }
}

void ClientDatacore::onChanged()
{
    const CallingOut callingOut(*this);
    populateConnectedGuiElements();
    if (getChangeState() == 2 && refusedWrites != nullptr) {
        (*refusedWrites)({path, valuesOf(*this), 1}); // a slot has lost the link
    } else if (getChangeState() == 2) {
        const int packetId = takeNextPacketId();
        Q_EMIT clientDatacoreHasUpdateForServer(packetId, this);
    }
    clearOwnChangeState();
}

int ClientDatacore::takeNextPacketId()
{
    const int packetId = pendingPacketIds.empty() ? 0 : pendingPacketIds.back() + 1;
    pendingPacketIds.push_back(packetId);
    overwritten.reset();
    Q_EMIT datacoreOutOfSyncWithServer();
    return packetId;
}

void ClientDatacore::populateConnectedGuiElements()
{
    static const QMetaMethod updated = QMetaMethod::fromSignal(&ClientDatacore::datacoreUpdated);
    if (!isSignalConnected(updated)) {
        return; // nobody is listening
    }
    const CallingOut callingOut(*this);
    Q_EMIT datacoreUpdated(valuesOf(*this), makeValidationMessages(), isActive());
}

QStringList ClientDatacore::makeValidationMessages() const
{
    QStringList lines;
    DatacoreValidStatusMessages invalidReasons;
    isValid(invalidReasons);
    for (const DatacoreValidStatusMessage& message : invalidReasons) {
        lines.append(prefixOf(message.getType()) + message.getText());
    }
    DatacoreActiveStatusMessages inactiveReasons;
    isActive(inactiveReasons);
    for (const DatacoreActiveStatusMessage& message : inactiveReasons) {
        lines.append(prefixOf(message.getType()) + message.getText());
    }
    return lines;
}

QString ClientDatacore::joinValidationMessages(const QStringList& messages, bool* hasErrors,
                                               bool* hasWarnings)
{
    const auto anyStartsWith = [&messages](const QString& word) {
        return std::any_of(messages.begin(), messages.end(),
                           [&word](const QString& line) { return line.startsWith(word); });
    };
    if (hasErrors != nullptr) {
        *hasErrors = anyStartsWith(prefixOf(MessageBase::MessageType_Error));
    }
    if (hasWarnings != nullptr) {
        *hasWarnings = anyStartsWith(prefixOf(MessageBase::MessageType_Warning));
    }
    return messages.join(QLatin1Char('\n'));
}

void ClientDatacore::updateValidStatus(DatacoreValidStatusMessages&) {}

void ClientDatacore::updateActiveStatus(DatacoreActiveStatusMessages&) {}

void ClientDatacore::setDataString(QString data)
{
    setData(data);
}

void ClientDatacore::setDataStringList(QStringList data)
{
    setData(std::deque<QString>(data.begin(), data.end()));
}

void ClientDatacore::setDataBool(bool data)
{
    setData(toText(data));
}

void ClientDatacore::setDataBoolList(QList<bool> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataInt(int data)
{
    setData(toText(data));
}

void ClientDatacore::setDataIntList(QList<int> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataUint(uint data)
{
    setData(toText(data));
}

void ClientDatacore::setDataUintList(QList<uint> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataInt16(int16_t data)
{
    setData(toText(data));
}

void ClientDatacore::setDataInt16List(QList<int16_t> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataInt32(int32_t data)
{
    setData(toText(data));
}

void ClientDatacore::setDataInt32List(QList<int32_t> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataInt64(int64_t data)
{
    setData(toText(data));
}

void ClientDatacore::setDataInt64List(QList<int64_t> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataUint16(uint16_t data)
{
    setData(toText(data));
}

void ClientDatacore::setDataUint16List(QList<uint16_t> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataUint32(uint32_t data)
{
    setData(toText(data));
}

void ClientDatacore::setDataUint32List(QList<uint32_t> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataUint64(uint64_t data)
{
    setData(toText(data));
}

void ClientDatacore::setDataUint64List(QList<uint64_t> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataFloat(float data)
{
    setData(toText(data));
}

void ClientDatacore::setDataDouble(double data)
{
    setData(toText(data));
}

void ClientDatacore::setDataDoubleList(QList<double> data)
{
    setData(toTexts(data));
}

void ClientDatacore::setDataPoint(QPoint point)
{
    setData(toText(point.x(), point.y()));
}

void ClientDatacore::setDataSize(QSize size)
{
    setData(toText(size.width(), size.height()));
}
