#include "infrastructure/server/DatacoreDescriptionAnswers_p.h"

#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/packets/NetworkConnection.h"

#include <algorithm>

namespace {

constexpr int NODES_A_TURN = 500; ///< after which the event loop turns

} // namespace

/// One answer, sent packet by packet.
class DatacoreDescriptionAnswers::Answer
{
public:
    Answer(NetworkConnection& receiver, const QString& receiversId, qint64 maxUnsentBytes)
        : connection(receiver)
        , clientID(receiversId)
        , maxUnsent(maxUnsentBytes)
    {
    }

    /// False once the client has too much left to read.
    bool add(const DatacoreBase& node, const QString& path)
    {
        content.add(node.getDescription(), path);
        ++nodeCount;
        if (content.isFull()) {
            send(false);
        }
        return connection.getUnsentBytes() <= maxUnsent;
    }
    /// The same for a node and all below it. `path` is the node's, and is unchanged on return.
    bool addTree(const DatacoreBase& node, QString& path)
    {
        bool isRead = add(node, path);
        const int size = path.size();
        for (const DatacoreBase* child : node.getChildren()) {
            path += DatacoreJsonInterface::TREE_LEVEL_DELIMITER();
            path += child->getInstanceName();
            isRead = isRead && addTree(*child, path);
            path.truncate(size);
        }
        return isRead;
    }
    void finish() { send(true); }
    int getNodeCount() const { return nodeCount; }

private:
    void send(bool isLast)
    {
        connection.acceptPacket(DatacoreDescriptionPacket(clientID, content, isLast));
        content = DatacoreDescriptionPacket::Content();
    }

    NetworkConnection& connection;
    QString clientID;
    qint64 maxUnsent;
    DatacoreDescriptionPacket::Content content;
    int nodeCount = 0;
};

DatacoreDescriptionAnswers::DatacoreDescriptionAnswers(NetworkConnection& clientConnection,
                                                       const Trees& serverTrees,
                                                       qint64 maxUnsentBytes,
                                                       const std::function<void()>& giveUp)
    : connection(&clientConnection)
    , trees(serverTrees)
    , maxUnsent(maxUnsentBytes)
    , giveUpClient(giveUp)
{
    QObject::connect(&turn, &QTimer::timeout, [this] { answerWaiting(); });
}

void DatacoreDescriptionAnswers::add(const DatacoreDescriptionRequestPacket& request)
{
    if (waiting.size() == MAX_WAITING) {
        VELLOG_ERR() << "Client " << connection->getPeerIdentifier()
                     << " asks for more descriptions than can be sent";
        stop();
        giveUpClient();
        return;
    }
    waiting.push_back(request);
    turn.start(0);
}

void DatacoreDescriptionAnswers::stop()
{
    waiting.clear();
    turn.stop();
}

void DatacoreDescriptionAnswers::answerWaiting()
{
    for (int nodesLeft = NODES_A_TURN; nodesLeft > 0 && !waiting.empty();) {
        const DatacoreDescriptionRequestPacket request = waiting.front();
        waiting.pop_front();
        if (!answer(request, nodesLeft)) {
            stop();
            giveUpClient();
        }
    }
    if (waiting.empty()) {
        turn.stop();
    }
}

/// False if the client does not read.
bool DatacoreDescriptionAnswers::answer(const DatacoreDescriptionRequestPacket& request,
                                        int& nodesLeft)
{
    Answer answer(*connection, request.getClientID(), maxUnsent);
    const QStringList paths = request.getPaths();
    bool isRead = true;
    if (paths.isEmpty()) {
        for (const DatacoreBase* root : trees.roots) {
            QString path = root->getInstanceName();
            isRead = isRead && answer.addTree(*root, path);
        }
    }
    QStringList unknown;
    for (auto path = paths.begin(); isRead && path != paths.end(); ++path) {
        if (const DatacoreBase* node = trees.find(*path)) {
            isRead = answer.add(*node, *path);
        } else {
            unknown.append(*path);
        }
    }
    if (!unknown.isEmpty()) {
        VELLOG_ERR() << "Descriptions of unknown paths were requested: " << unknown.first()
                     << " and " << unknown.size() - 1 << " others";
    }
    if (isRead) {
        answer.finish();
    }
    nodesLeft -= 1 + unknown.size() + answer.getNodeCount();
    return isRead;
}
