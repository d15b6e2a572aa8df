// The tree for Prometheus: text format 0.0.4. Lives on the tree's thread.
#pragma once

#include "GatewayTree.h"
#include "HttpServer.h"

#include <QByteArray>

#include <vector>

/// What the gateway has done.
struct GatewayCounts
{
    HttpServer::Counts http;
    quint64 requests = 0;
    quint64 refusedRequests = 0;
    quint64 pages = 0;
    quint64 listeners = 0;
    quint64 sentMessages = 0;
};

/// Writes each current number and boolean as datacore_value, with its path and unit as labels, and
/// its name among several servers. Names for each leaf would read better at first sight, but what
/// one may ask of a fleet, "all temperatures", "how many are invalid", goes by labels; and any name
/// that a leaf may have would be one that the format's conventions rule out.
class Metrics
{
public:
    explicit Metrics(const GatewayTree& gatewayTree)
        : tree(gatewayTree)
    {
    }

    QByteArray write(const GatewayCounts& counts);

private:
    struct Labels
    {
        int description = -2; ///< for which they were made
        bool isNumber = false;
        bool isBool = false;
        QByteArray path;        ///< path="…",server="…"; empty for what is not shown
        QByteArray pathAndUnit; ///< the same with unit="…"
        QByteArray info;        ///< the series of the description
    };

    const Labels& getLabels(int index);

    const GatewayTree& tree;
    std::vector<Labels> labels;
    int sizeBefore = 0;
};
