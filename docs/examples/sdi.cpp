#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"

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

    // The standard of all links: here each of four is a quadrant.
    const quint32 link = 0x89C98001;
    const auto standard = createVideoStandardFromLinks({link, link, link, link});
    const QSize size = standard->getPictureSize();
    std::printf("%s\n%dx%d on %u links, mapping mode %u\n", qPrintable(standard->getDescription()),
                size.width(), size.height(), standard->getNumberOfLinks(),
                standard->getMappingMode());
    std::cout << standard->getTransmissionMetrics()[0][0] << '\n';

    // The other way: from a description to the bytes.
    const auto found = SupportedVideoStandards::getInstance().findByDescription(
        QStringLiteral("1920x1080i50 YCbCr:422:10 1.5G Rec.709"));
    std::puts(qPrintable(getPayloadIdentifierText(found->getPrimaryIdentifier()->getRawValue())));
}
