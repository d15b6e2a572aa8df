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

class DatacorePacket;

/// What user-interface code talks to: it tells what it holds as lists of strings, and takes writes
/// through typed slots. A write goes to the server under a packet id and is confirmed by its echo;
/// until then the mirror is out of sync. What the server sends is taken as it is: reasons are not
/// found anew here, and nothing goes back.
class ClientDatacore : public QObject, public DatacoreBase
{
    Q_OBJECT

public:
    /// `fullPath` is the path in the server's tree. `parentDatacore` is null in a registry, whose
    /// mirrors are roots each.
    ClientDatacore(const QString& className, const QString& name, DatacoreBase* parentDatacore,
                   const QString& fullPath);

    /// The full path in the server's tree. By way of a DatacoreBase it is that within this process
    /// instead, which for a root is its name alone: the operation is not virtual.
    QString getPath() const { return path; }
    /// How many writes the server has not acknowledged.
    int getPendingCount() const { return static_cast<int>(pendingPacketIds.size()); }
    /// True while this object calls others: it must not be deleted then.
    bool isCallingOut() const { return callDepth > 0; }

    /// Takes a packet from the server. With `isOwnUpdate` and a packet id it is an acknowledgement:
    /// its content is taken only when nothing is pending any more, and an id that is not pending is
    /// ignored. Any other packet is taken at once, even while writes are in flight. Content of the
    /// wrong shape is logged; see DatacorePacket::populate.
    void populateFromPacket(const DatacorePacket& packet, bool isOwnUpdate);

    /// The strings, a line each, without a line end at the end. `hasErrors` and `hasWarnings`,
    /// where given, tell whether a line starts with the word for it.
    static QString joinValidationMessages(const QStringList& messages, bool* hasErrors,
                                          bool* hasWarnings);

Q_SIGNALS:
    /// The content has changed, or a refresh was asked for.
    void datacoreUpdated(QStringList data, QStringList validationMessages, bool isActive);
    /// A local write must go to the server.
    void clientDatacoreHasUpdateForServer(int packetID, ClientDatacore* datacore);
    /// A local write was made; always ahead of the signal above.
    void datacoreOutOfSyncWithServer();
    /// Nothing is pending any more. It comes ahead of the packet's content: until datacoreUpdated,
    /// which follows where that is new, the mirror holds what it held before.
    void datacoreInSyncWithServer();
    /// An acknowledgement skipped earlier writes; the number counts the acknowledged one as well.
    void lostPackets(int numLostPackets);

public Q_SLOTS:
    // Each writes its argument as text: whole numbers in decimal, floating point ones with six
    // significant digits (setDataString takes more), bools as "true" and "false", points and sizes
    // as "x,y". An equal value is no write.
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
    /// Tells datacoreUpdated again.
    void populateConnectedGuiElements();

protected:
    /// The reasons are the server's.
    void updateValidStatus(DatacoreValidStatusMessages& reasons) override;
    void updateActiveStatus(DatacoreActiveStatusMessages& reasons) override;
    void onChanged() override;

private:
    class CallingOut;

    int takeNextPacketId();
    void acknowledge(const DatacorePacket& packet);
    void applyContent(const DatacorePacket& packet);
    QStringList makeValidationMessages() const;

    QString path;
    std::deque<int> pendingPacketIds; ///< sent and not acknowledged, oldest and lowest first
    int callDepth = 0;
};
