// What is served over HTTP: the page's files, the tree, events, metrics. Lives on the tree's
// thread.
#pragma once

#include "GatewayTree.h"
#include "HttpServer.h"
#include "Metrics.h"

#include <QObject>
#include <QTimer>
#include <QUrlQuery>

#include <map>
#include <memory>
#include <vector>

class Guard;
class LivePages;

/// Answers each request. docs/areas/gateway.md says what there is, openapi.json in full.
class WebApi : public QObject
{
    Q_OBJECT

public:
    static constexpr int MAX_LISTENERS = 64;
    static constexpr int EVENT_PERIOD_MS = 50;
    static constexpr int EVENT_BYTES = 64 << 10;          ///< at once, or a little more
    static constexpr quint64 MAX_UNSENT_BYTES = 64 << 20; ///< beyond it no tree is written
    static constexpr int SILENCE_MS = 15'000; ///< before a listener is told that there is life
    static constexpr int MAX_FILES = 500;
    static constexpr qint64 MAX_FILE_BYTES = 8 << 20;

    /// `pageFolder` and what is below it is served; a folder that is not there serves nothing.
    WebApi(GatewayTree& gatewayTree, Guard& accessGuard, LivePages& livePages,
           const QString& pageFolder);
    ~WebApi() override;

    void setServer(const HttpServer& server) { http = &server; }
    void handle(const HttpRequest& request, const HttpServer::Connection& connection);

    /// The number of files of the page.
    int getFileCount() const { return static_cast<int>(files.size()); }

private:
    struct Listener
    {
        HttpServer::Connection connection;
        QString under;
        quint64 revision = 0;   ///< of the tree when the round was made
        std::vector<int> round; ///< nodes to be told of, oldest first
        std::size_t next = 0;   ///< in the round
        bool isSending = true;
        int silentMs = 0;
    };
    struct Call
    {
        const HttpRequest& request;
        HttpServer::Connection connection;
        QString path; ///< behind /api/…/
        QUrlQuery query;
    };

    void findFiles(const QString& folder);
    void finish(const HttpServer::Connection& connection, HttpResponse response) const;
    HttpResponse serveFile(const HttpRequest& request, const QString& path) const;
    HttpResponse getTree(const Call& call) const;
    HttpResponse getServers() const;
    HttpResponse getMetrics();
    void put(const Call& call);
    void listen(const Call& call);
    void updateListeners();
    void sendNext(Listener& listener);
    bool isOverloaded() const;

    GatewayTree& tree;
    Guard& guard;
    LivePages& pages;
    const HttpServer* http = nullptr;
    std::map<QString, QString> files; ///< by the path that is asked for
    std::vector<std::unique_ptr<Listener>> listeners;
    QTimer timer;
    Metrics metrics;
    quint64 requestCount = 0;
};
