#include "infrastructure/server/AccessRulesFile.h"

#include <cstdio>

int main()
{
    QStringList errors;
    const auto rules = readAccessRules("role viewer   read\n"
                                       "role operator write configCoreRouter/input1\n"
                                       "grant viewer   address 192.168.10.0/24\n"
                                       "grant operator address 192.168.10.7\n"
                                       "grant operator user 1000\n"
                                       "read-only node configCoreRouter/input1/label\n",
                                       errors);
    PeerOrigin peer;
    for (const char* address : {"192.168.10.3", "192.168.10.7", "192.168.11.1"}) {
        peer.address = QHostAddress(QString::fromLatin1(address));
        const AccessRole role = rules->getRole(peer);
        std::printf("%s: %s, %s\n", address, qPrintable(role.toString()),
                    qPrintable(role.getRightText()));
        for (const char* path : {"configCoreRouter/input1/label", "configCoreRouter/input1/cursor",
                                 "configCoreRouter/input10/label"}) {
            const QString node = QString::fromLatin1(path);
            if (role.mayWrite(node) && rules->isWritable(node)) {
                std::printf("    writes %s\n", path);
            }
        }
    }

    readAccessRules("role viewer read\ngrant viewer address 192.168.10.1/24\n", errors);
    std::puts(qPrintable(errors.join(QLatin1Char('\n'))));
}
