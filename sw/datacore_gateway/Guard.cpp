#include "Guard.h"

#include "infrastructure/utility/Log.h"

#include <QUrl>

#include <algorithm>

namespace {

constexpr int MAX_TOKEN_LENGTH = 1024;
constexpr qint64 LONGEST_DEAFNESS_MS = 60'000;

} // namespace

Guard::Guard(Settings guardSettings)
    : settings(std::move(guardSettings))
{
    clock.start();
}

/// Names of this machine are those that were given: an attacker can have any other name lead here,
/// but has no way to give a page of his an address for its origin.
bool Guard::isOwnHost(const QByteArray& host) const
{
    const QUrl url(QStringLiteral("http://") + QString::fromLatin1(host), QUrl::StrictMode);
    const QString name = url.host();
    return url.isValid() && !name.isEmpty() && url.userInfo().isEmpty() && url.path().isEmpty() &&
           !url.hasQuery() && !url.hasFragment() &&
           (name == QLatin1String("localhost") || !QHostAddress(name).isNull() ||
            settings.allowedHosts.contains(name, Qt::CaseInsensitive));
}

std::optional<HttpResponse> Guard::refuse(const HttpRequest& request, bool isPublic)
{
    Place& place = getPlace(request.peer.address);
    if (place.tokens < 1) {
        ++refusedCount;
        HttpResponse response = HttpServer::makeError(
            429, QStringLiteral("too-many"), QStringLiteral("Too many requests a second."));
        response.headers.emplace_back("Retry-After", "1");
        return response;
    }
    place.tokens -= 1;
    if (!isOwnHost(request.host)) {
        ++refusedCount;
        return HttpServer::makeError(
            421, QStringLiteral("host"),
            QStringLiteral("The Host header names another machine; see --allow-host."));
    }
    const bool isTls = request.peer.way == LinkAddress::Way::Tls;
    const bool isSameOrigin = request.origin.isEmpty() ||
                              request.origin == "https://" + request.host ||
                              (!isTls && request.origin == "http://" + request.host);
    const bool isOwnSite = request.fetchSite.isEmpty() || request.fetchSite == "none" ||
                           request.fetchSite == "same-origin";
    if (!isSameOrigin || (!isOwnSite && !isPublic)) {
        ++refusedCount;
        return HttpServer::makeError(403, QStringLiteral("origin"),
                                     QStringLiteral("Pages of other sites may not use this."));
    }
    return std::nullopt;
}

AccessRole Guard::getRole(const HttpRequest& request, std::optional<HttpResponse>& refusal)
{
    AccessRole role = getRole(request.peer);
    if (!request.authorization.isEmpty()) {
        constexpr int prefixLength = 7;
        const bool isBearer = request.authorization.left(prefixLength).toLower() == "bearer ";
        const std::optional<AccessRole> added =
            isBearer ? getTokenRole(request.peer,
                                    QString::fromUtf8(request.authorization.mid(prefixLength)))
                     : std::nullopt;
        if (!added) {
            refusal = HttpServer::makeError(401, QStringLiteral("token"),
                                            QStringLiteral("The token is not taken."));
        } else {
            role.add(*added);
        }
    } else if (!role.mayRead()) {
        refusal = HttpServer::makeError(
            knowsTokens() ? 401 : 403, QStringLiteral("no-role"),
            QStringLiteral("There is no role for %1.").arg(request.peer.toString()));
    }
    if (refusal) {
        ++refusedCount;
        if (refusal->status == 401) {
            refusal->headers.emplace_back("WWW-Authenticate", "Bearer");
        }
    }
    return role;
}

std::optional<AccessRole> Guard::getTokenRole(const PeerOrigin& peer, const QString& token)
{
    Place& place = getPlace(peer.address);
    if (clock.elapsed() < place.deafUntilMs || token.size() > MAX_TOKEN_LENGTH) {
        return std::nullopt;
    }
    const std::optional<AccessRole> role = settings.rules.getTokenRole(token);
    if (role) {
        place.wrongTokens = 0;
        return role;
    }
    const qint64 pauseMs =
        std::min<qint64>(1000LL << std::min(place.wrongTokens, 10), LONGEST_DEAFNESS_MS);
    ++place.wrongTokens;
    place.deafUntilMs = clock.elapsed() + pauseMs;
    VELLOG_INFO() << "Wrong token from " << peer.toString() << ", the next is looked at in "
                  << pauseMs << " ms";
    return std::nullopt;
}

bool Guard::mayWrite(const AccessRole& role, const QString& path, const QString& serverPath) const
{
    return settings.mayWrite && role.mayWrite(path) && settings.rules.isWritable(serverPath);
}

Guard::Place& Guard::getPlace(const QHostAddress& address)
{
    const qint64 now = clock.elapsed();
    auto found = places.find(address);
    if (found == places.end()) {
        if (places.size() >= MAX_PLACES) { // the one that has been silent for longest
            places.erase(
                std::min_element(places.begin(), places.end(),
                                 [](const Place& a, const Place& b) { return a.atMs < b.atMs; }));
        }
        found = places.insert(address, Place());
        found->atMs = now;
    }
    found->tokens = std::min<double>(BURST, found->tokens + double(now - found->atMs) *
                                                                REQUESTS_A_SECOND / 1000);
    found->atMs = now;
    return *found;
}
