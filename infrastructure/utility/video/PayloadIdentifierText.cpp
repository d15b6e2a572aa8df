#include "infrastructure/utility/video/PayloadIdentifierText_p.h"

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

namespace PayloadIdentifierText {

void appendWord(QString& text, QLatin1String word)
{
    if (!text.isEmpty()) {
        text += QLatin1Char(' ');
    }
    text += word;
}

void appendPicture(QString& text, quint32 width, quint32 height,
                   const PayloadIdentifierBase& identifier)
{
    if (!text.isEmpty()) {
        text += QLatin1Char(' ');
    }
    text += QString::number(width);
    text += QLatin1Char('x');
    text += QString::number(height);
    text += toString(identifier.getPicutreInterlacedProgressivePsf());
    text += toString(FrameRate(identifier.getFrameRate()), identifier.getPicutreInterlaced());
}

void appendSampling(QString& text, const PayloadIdentifierBase& identifier)
{
    appendWord(text, toString(SampleStructure(identifier.getSampleStructure())));
    text += QLatin1Char(':');
    text += toString(BitDepth(identifier.getBitDepth()));
}

void appendInterface(QString& text, quint32 links, const PayloadIdentifierBase& identifier,
                     QLatin1String division)
{
    if (links == 2) {
        appendWord(text, QLatin1String("DL"));
    } else if (links == 4) {
        appendWord(text, QLatin1String("QL"));
    }
    appendWord(text, toString(identifier.getSdiDataRate()));
    if (identifier.getSdiDataRate() == SdiDataRate_3G) {
        appendWord(text, toString(identifier.getLevel()));
    }
    if (!division.isEmpty()) {
        appendWord(text, division);
    }
}

void appendSignal(QString& text, const PayloadIdentifierBase& identifier)
{
    const quint32 luminance = identifier.getLuminanceAndColourDifferenceSignal();
    if (luminance != 0) {
        appendWord(text, toString(LuminanceAndColourDifferenceSignal(luminance)));
    }
    const quint32 transfer = identifier.getTransferCharacteristics();
    if (transfer != 0) {
        appendWord(text, toString(TransferCurve(transfer)));
    }
}

void appendColourimetry(QString& text, const PayloadIdentifierBase& identifier)
{
    appendWord(text, toString(Colourimetry(identifier.getColourimetry())));
}

} // namespace PayloadIdentifierText
