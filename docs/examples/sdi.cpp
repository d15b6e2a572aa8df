#include "infrastructure/utility/video/LinkSet.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"

#include <cstdio>
#include <iostream>

int main()
{
    // The four bytes of one link, byte 0 first, and what they say.
    const auto identifier = createPayloadIdentifier(0x89C98001);
    std::puts(qPrintable(identifier->getDescription(false)));
    for (const QString& complaint : createPayloadIdentifier(0x89C18001)->validate()) {
        std::printf("0x89C18001: %s\n", qPrintable(complaint));
    }

    // What four links make together, and what disagrees.
    const LinkSet set = analyseLinkWords({0x89C98001, 0x89C98001, 0x89CA8001, 0x89C98001});
    std::printf("%s: %s\n%s frames/s, mapping mode %u\n", toString(set.form).data(),
                qPrintable(set.standard->getDescription()),
                qPrintable(set.getFrameRate().toString()), set.standard->getMappingMode());
    for (const Finding& finding : set.findings.getFindings()) {
        std::printf("%s\n", qPrintable(finding.toString()));
    }
    std::cout << set.standard->getTransmissionMetrics()[0][0] << '\n';

    // The other way: from a description to the bytes.
    const auto found = SupportedVideoStandards::getInstance().findByDescription(
        QStringLiteral("1920x1080i50 YCbCr:422:10 1.5G Rec.709"));
    std::puts(qPrintable(getPayloadIdentifierText(found->getPrimaryIdentifier()->getRawValue())));
}
