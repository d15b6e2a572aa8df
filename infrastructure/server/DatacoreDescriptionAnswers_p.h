// A server's answers to one client's questions what datacores take. Lives on the server's thread.
#pragma once

#include "infrastructure/utility/packets/DatacoreDescriptionPacket.h"
#include "infrastructure/utility/packets/DatacoreDescriptionRequestPacket.h"

#include <QTimer>

#include <deque>
#include <functional>
#include <vector>

class DatacoreBase;
class NetworkConnection;

/// Answers requests in their order, and lets the event loop turn after each that took its time. So
/// a client that asks in a loop delays the others by no more than one answer.
class DatacoreDescriptionAnswers
{
public:
    /// The server's trees.
    struct Trees
    {
        std::vector<DatacoreBase*> roots;
        std::function<const DatacoreBase*(const QString& fullPath)> find; ///< null for none
    };

    static constexpr std::size_t MAX_WAITING = 1000; ///< requests of a client

    /// `giveUp` is called, once, if more requests wait than MAX_WAITING, or more bytes are unsent
    /// than `maxUnsentBytes`.
    DatacoreDescriptionAnswers(NetworkConnection& clientConnection, const Trees& serverTrees,
                               qint64 maxUnsentBytes, const std::function<void()>& giveUp);

    /// Puts a request behind those that wait.
    void add(const DatacoreDescriptionRequestPacket& request);
    /// Forgets what is waiting.
    void stop();

private:
    class Answer;

    void answerWaiting();
    bool answer(const DatacoreDescriptionRequestPacket& request, int& nodesLeft);

    NetworkConnection* connection;
    Trees trees;
    qint64 maxUnsent;
    std::function<void()> giveUpClient;
    std::deque<DatacoreDescriptionRequestPacket> waiting;
    QTimer turn;
};
