// A separate project that uses the installed library: a tree, a packet, a payload identifier.
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/utility/packets/BasicTestPacket.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"

#include <cstdio>

int main()
{
    DatacoreBase config(QStringLiteral("config"), nullptr);
    DatacoreNumberLimits<int> level(QStringLiteral("level"), &config, 0, 100);
    level.setData(QStringLiteral("175"));
    for (const DatacoreBase* node : config.takeChangedList()) {
        DatacoreValidStatusMessages reasons;
        node->isValid(reasons);
        std::printf("%s = %s (%s)\n", qPrintable(node->getPath()), qPrintable(node->getData()),
                    reasons.empty() ? "valid" : qPrintable(reasons.first().getText()));
    }

    BasicTestPacket packet;
    packet.setTestString(QStringLiteral("Hello World!"));
    bool ok = false;
    const BasicTestPacket copy(SerialisableDataPacket(packet.toJson(), nullptr), ok);
    std::printf("%d %s\n", ok, qPrintable(copy.getTestString()));

    std::puts(qPrintable(createPayloadIdentifier(0x89C98001)->getDescription(false)));
}
