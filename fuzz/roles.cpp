// A file of access rules: what is accepted answers for any peer and path, what is refused says why.
#include "infrastructure/server/AccessRulesFile.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray text(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QStringList errors;
    const std::optional<AccessRules> rules = readAccessRules(text, errors);
    if (rules.has_value() != errors.isEmpty() || errors.size() > MAX_ACCESS_RULES_ERRORS + 1) {
        std::abort();
    }
    if (!rules) {
        return 0;
    }
    PeerOrigin peer;
    for (const auto way : {LinkAddress::Way::Tcp, LinkAddress::Way::Tls, LinkAddress::Way::Local}) {
        peer.way = way;
        peer.address = QHostAddress(QHostAddress::LocalHostIPv6);
        peer.userId = 0;
        peer.certificateName = QStringLiteral("a");
        const AccessRole role = rules->getRole(peer);
        for (const QString& path : rules->getPaths()) {
            rules->isWritable(path);
            role.mayWrite(path + QLatin1Char('/'));
        }
    }
    rules->getTokenRole(QString::fromUtf8(text));
    return 0;
}
