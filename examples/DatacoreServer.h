// The server's side of the datacore protocol, for any trees. Lives on one thread.
#pragma once

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "infrastructure/utility/packets/NetworkConnection.h"
#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"

#include <QTcpServer>

#include <vector>

/// The roots of the four trees. They are not owned.
struct DatacoreTrees
{
    DatacoreBase* config;
    DatacoreBase* status;
    DatacoreBase* command;
    DatacoreBase* persistentConfig;
};

/// Accepts any number of clients, gives each the names and values that it asks for, applies their
/// writes, and tells all of them what has changed. A client is known by its end of the connection,
/// which every packet of its own names.
class DatacoreServer : public QObject, public SerialisableDataPacketAcceptorInterface
{
    Q_OBJECT

public:
    /// A client for which this much waits to be sent has stopped reading, and is dropped.
    static constexpr qint64 MAX_UNSENT_BYTES = 64 << 20;

    explicit DatacoreServer(const DatacoreTrees& datacoreTrees, QObject* parent = nullptr);
    ~DatacoreServer() override;

    /// Port 0 lets the system choose. False where the port can't be had.
    bool listen(const QHostAddress& address, quint16 port);
    quint16 getPort() const { return listener.serverPort(); }
    int getClientCount() const { return static_cast<int>(clients.size()); }

    /// Tells all clients of what the server has changed in its trees since the last time.
    void publishChanges();

    bool canAcceptPacket(QString className) override;
    void acceptPacket(const SerialisableDataPacket& packet) override;

private:
    class Dump;

    void acceptClient();
    void dropClient(NetworkConnection* client);
    void dropClientThatDoesNotRead(NetworkConnection* client);
    NetworkConnection* findClient(const QString& clientId) const;
    void sendDump(const SerialisableDataPacket& request);
    void applyWrite(const SerialisableDataPacket& packet);
    void sendToAll(const std::vector<SerialisableDataPacket>& packets);
    std::vector<DatacoreBase*> getRoots() const;
    DatacoreBase* findDatacore(const QString& fullPath) const;

    DatacoreTrees trees;
    QTcpServer listener;
    SerialisableDataPacketDistributor distributor;
    std::vector<NetworkConnection*> clients;
};
