// Sends local writes to the server. Lives on the connection's thread.
#pragma once

#include <QObject>

class ClientDatacore;
class NetworkConnection;

/// Turns each write of a mirror into a packet on the connection, before the write returns.
class ClientDatacoreMonitor : public QObject
{
    Q_OBJECT

public:
    explicit ClientDatacoreMonitor(NetworkConnection& serverConnection, QObject* parent = nullptr);

public Q_SLOTS:
    /// Sends the mirror's values under the packet id; nothing if nothing was written.
    void onClientDatacoreUpdated(int packetIdentifier, ClientDatacore* datacore);

private:
    NetworkConnection* connection;
};
