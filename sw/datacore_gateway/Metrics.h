// The tree for Prometheus: text format 0.0.4.
#pragma once

#include "GatewayTree.h"
#include "HttpServer.h"

#include <QByteArray>

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

QByteArray writeMetrics(const GatewayTree& tree, const GatewayCounts& counts);
