// The client's mirror of one datacore of the server. Lives on the connection's thread.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"

#include <QList>
#include <QObject>
#include <QPoint>
#include <QSize>
#include <QStringList>

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

class DatacorePacket;

/// Writes to one mirror that were sent or wanted when there was no link to acknowledge them. The
/// server may have taken some of them.
struct LostWrite
{
    QString path;
    QStringList values; ///< of the newest
    int count = 0;      ///< how many writes, 1 or more
};
Q_DECLARE_METATYPE(LostWrite)

/// What user-interface code talks to: it emits its content as lists of strings and takes writes
/// through typed slots. A write goes to the server under a packet id and is confirmed by its echo;
/// until then the mirror is out of sync. What the server sends is taken as it is: the mirror does
/// not work out reasons itself, and sends nothing back.
class ClientDatacore : public QObject, public DatacoreBase
{
    Q_OBJECT

public:
    /// How far what the mirror holds is to be trusted.
    enum class Freshness {
        NeverReceived, ///< the server has not given a value yet
        Current,       ///< as the server gave it
        Stale,         ///< the link was lost since, and the server has not given the value again
    };
    Q_ENUM(Freshness)

    /// `fullPath` is the path in the server's tree. `parentDatacore` is null in a registry, where
    /// every mirror is a root.
    ClientDatacore(const QString& className, const QString& name, DatacoreBase* parentDatacore,
                   const QString& fullPath);

    /// The full path in the server's tree. Called through a DatacoreBase it is the path within this
    /// process instead, which for a root is just its name: the function is not virtual.
    QString getPath() const { return path; }
    /// The number of writes that the server has not acknowledged.
    int getPendingCount() const { return static_cast<int>(pendingPacketIds.size()); }
    Freshness getFreshness() const { return freshness; }
    /// False from the loss of the link until the server's names have come again. Writes are refused
    /// then: they are told of by ClientDatacoreRegistry::writesLost, and change nothing.
    bool isWritable() const { return refusedWrites == nullptr; }
    /// True while this object is calling others; it must not be deleted then.
    bool isCallingOut() const { return callDepth > 0; }

    /// Takes a packet from the server. With `isOwnUpdate` and a packet id it is an acknowledgement:
    /// its content is taken only once nothing is pending any more, and an id that is not pending is
    /// ignored. Any other packet is taken at once, even while writes are in flight. Content of the
    /// wrong shape is logged; see DatacorePacket::populate.
    void populateFromPacket(const DatacorePacket& packet, bool isOwnUpdate);

    /// Replaces all values and sends them to the server; see isWritable. Equal values are no write.
    /// The functions of DatacoreBase with these names are not virtual, and know of no link.
    void setData(const QString& value);
    void setData(const std::deque<QString>& values);

    /// The strings, one per line, without a final line end. `hasErrors` and `hasWarnings`, unless
    /// null, tell whether a line starts with the word for it.
    static QString joinValidationMessages(const QStringList& messages, bool* hasErrors,
                                          bool* hasWarnings);

Q_SIGNALS:
    /// The content has changed, or a refresh was asked for.
    void datacoreUpdated(QStringList data, QStringList validationMessages, bool isActive);
    /// A local write must go to the server.
    void clientDatacoreHasUpdateForServer(int packetID, ClientDatacore* datacore);
    /// A local write was made; always emitted before the signal above.
    void datacoreOutOfSyncWithServer();
    /// Nothing is pending any more. Emitted before the packet's content is taken: the mirror still
    /// holds its old content until datacoreUpdated, which follows if the content is new.
    void datacoreInSyncWithServer();
    /// An acknowledgement skipped earlier writes; the number includes the acknowledged one.
    void lostPackets(int numLostPackets);
    /// Emitted after the content that made the mirror current was taken.
    void freshnessChanged(ClientDatacore::Freshness now);

public Q_SLOTS:
    // Each writes its argument as text: whole numbers in decimal, floating-point ones with six
    // significant digits (use setDataString for more), bools as "true" and "false", points and
    // sizes as "x,y". Writing an equal value does nothing.
    void setDataString(QString data);
    void setDataStringList(QStringList data);
    void setDataBool(bool data);
    void setDataBoolList(QList<bool> data);
    void setDataInt(int data);
    void setDataUint(uint data);
    void setDataIntList(QList<int> data);
    void setDataUintList(QList<uint> data);
    void setDataInt16(int16_t data);
    void setDataInt32(int32_t data);
    void setDataInt64(int64_t data);
    void setDataInt16List(QList<int16_t> data);
    void setDataInt32List(QList<int32_t> data);
    void setDataInt64List(QList<int64_t> data);
    void setDataUint16(uint16_t data);
    void setDataUint32(uint32_t data);
    void setDataUint64(uint64_t data);
    void setDataUint16List(QList<uint16_t> data);
    void setDataUint32List(QList<uint32_t> data);
    void setDataUint64List(QList<uint64_t> data);
    void setDataFloat(float data);
    void setDataDouble(double data);
    void setDataDoubleList(QList<double> data);
    void setDataPoint(QPoint point);
    void setDataSize(QSize size);
    /// Emits datacoreUpdated again.
    void populateConnectedGuiElements();

protected:
    /// Does nothing: the reasons are the server's.
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void updateActiveStatus(DatacoreActiveStatusMessages& reasons) override;
    void onChanged() override;

private:
    friend class ClientDatacoreRegistry;
    class CallingOut;
    using WriteHandler = std::function<void(const LostWrite&)>;

    void refuseWrite(const QStringList& values);
    void becomeStale();
    /// The writes that nobody will acknowledge any more; count 0 if there are none.
    LostWrite takePendingWrites();
    int takeNextPacketId();
    void acknowledge(const DatacorePacket& packet);
    void applyContent(const DatacorePacket& packet);
    QStringList makeValidationMessages() const;

    QString path;
    std::deque<int> pendingPacketIds; ///< sent and not acknowledged, oldest and lowest first
    /// The newest of them, if the server's content has taken its place since.
    std::optional<QStringList> overwritten;
    const WriteHandler* refusedWrites = nullptr; ///< not null while there is no link
    int callDepth = 0;
    Freshness freshness = Freshness::NeverReceived;
    ClientDatacore* follower = nullptr; ///< whose packet came after this one's; the registry's note
    // The registry's notes for the fill under way or to come.
    bool isAwaited = false; ///< its value is waited for
    bool isChanged = false; ///< it has become another since the link was lost
    bool isAdded = false;   ///< it was not there before
};
