#include "infrastructure/utility/video/PayloadIdentifierVariant.h"

#include <algorithm>

using namespace Tessorn;
using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

PayloadIdentifierVariant::PayloadIdentifierVariant(quint32 rawBytes,
                                                   const PayloadIdentifierFacts& interfaceFacts)
    : PayloadIdentifierBase(rawBytes, &interfaceFacts.fields)
    , facts(interfaceFacts)
{
}

SubImageDivision PayloadIdentifierVariant::getSubImageDivision() const
{
    return facts.subImageDivision;
}

quint32 PayloadIdentifierVariant::getNumberOfLinks() const
{
    return facts.links;
}

SdiDataRate PayloadIdentifierVariant::getSdiDataRate() const
{
    return facts.rate;
}

Level PayloadIdentifierVariant::getLevel() const
{
    return facts.level;
}

quint32 PayloadIdentifierVariant::getNumberOfSubImages() const
{
    return facts.subImages;
}

PictureFormat PayloadIdentifierVariant::getPicutreInterlacedProgressivePsf() const
{
    const bool lineInterleaved = facts.scan == PayloadIdentifierScan_LineInterleave &&
                                 isNarrow(SampleStructure(getSampleStructure())) &&
                                 is10Bit(BitDepth(getBitDepth()));
    if (facts.scan == PayloadIdentifierScan_Progressive || lineInterleaved) {
        return PictureFormat_Progressive;
    }
    if (!isPictureProgressive()) {
        return PictureFormat_Interlaced;
    }
    return isTransportProgressive() ? PictureFormat_Progressive : PictureFormat_Psf;
}

std::vector<quint32> PayloadIdentifierVariant::getLinesPerField() const
{
    const PayloadIdentifierLines& lines = facts.lines;
    if (isFrameInOnePiece()) {
        return {lines.frameLines};
    }
    return {lines.fieldLines[0], lines.fieldLines[1]};
}

std::vector<quint32> PayloadIdentifierVariant::getFirstActivePictureLines() const
{
    const PayloadIdentifierLines& lines = facts.lines;
    if (isFrameInOnePiece()) {
        return {lines.frameFirstActive};
    }
    return {lines.fieldFirstActive[0], lines.fieldFirstActive[1]};
}

quint32 PayloadIdentifierVariant::getFieldActivePictureWidthInSamples() const
{
    const quint32 width = facts.geometry.fieldWidth[getHorizontalArraySize()];
    return facts.geometry.fieldWidthInSamples ? getSamplesForWidth(width) : width;
}

quint32 PayloadIdentifierVariant::getFieldActivePictureHeight() const
{
    const bool whole[] = {
        true,                                               // _Whole
        isPictureProgressive() && isTransportProgressive(), // _BothBits
        isPictureProgressive(),                             // _PictureBit
    };
    return whole[facts.geometry.fieldHeightRule] ? facts.geometry.fieldHeight
                                                 : facts.geometry.fieldHeight / 2;
}

quint32 PayloadIdentifierVariant::getPictureWidth() const
{
    return facts.geometry.pictureWidth[getHorizontalArraySize()];
}

quint32 PayloadIdentifierVariant::getPictureHeight() const
{
    return facts.geometry.pictureHeight;
}

bool PayloadIdentifierVariant::isPayloadByteCorrect() const
{
    return getPayloadAndDigitialInterface() == facts.payloadByte;
}

QStringList PayloadIdentifierVariant::validate() const
{
    QStringList complaints;
    if (!isPayloadByteCorrect()) {
        complaints << QStringLiteral("Incorrect payload identifier: %1")
                          .arg(getPayloadAndDigitialInterface());
    }
    const auto holds = [this](const PayloadIdentifierCondition& condition) {
        return condition.values.isAny() || condition.values.contains(getField(condition.key));
    };
    for (const PayloadIdentifierRule& rule : facts.rules) {
        if (std::all_of(std::begin(rule.when), std::end(rule.when), holds)) {
            const quint32 value = getField(rule.key);
            if (!rule.allowed.contains(value)) {
                complaints << Vocabulary::latin1(rule.complaint) + QString::number(value);
            }
        }
    }
    return complaints;
}

bool PayloadIdentifierVariant::isPictureProgressive() const
{
    return getPicutreInterlaced() == PROGRESSIVE;
}

bool PayloadIdentifierVariant::isTransportProgressive() const
{
    return getTransportInterlaced() == PROGRESSIVE;
}

bool PayloadIdentifierVariant::isFrameInOnePiece() const
{
    return !facts.lines.hasFields || (isPictureProgressive() && isTransportProgressive());
}
