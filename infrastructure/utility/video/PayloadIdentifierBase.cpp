#include "infrastructure/utility/video/PayloadIdentifierBase.h"

#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/PayloadIdentifierText_p.h"

#include <algorithm>

using namespace Tessorn;
using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

namespace {

struct FieldRow
{
    PayloadIdentifierKey value;
    char text[40];
    char reader[40]; ///< empty for a field that a comparison leaves out
};

/// In the order in which a comparison reports.
constexpr FieldRow FIELDS[] = {
    {PayloadIdentifierKey_SampleStructure, "sample structure", "getSampleStructure"},
    {PayloadIdentifierKey_PictureRate, "picture rate", "getFrameRate"},
    {PayloadIdentifierKey_PictureInterlaced, "picture", "getPicutreInterlaced"},
    {PayloadIdentifierKey_TransportInterlaced, "transport", "getTransportInterlaced"},
    {PayloadIdentifierKey_BitDepth, "bit depth", "getBitDepth"},
    {PayloadIdentifierKey_HorizontalArraySize, "horizontal array size", "getHorizontalArraySize"},
    {PayloadIdentifierKey_Colourimetry, "colourimetry", "getColourimetry"},
    {PayloadIdentifierKey_PayloadAndDigitalInterface, "payload and digital interface",
     "getPayloadAndDigitialInterface"},
    {PayloadIdentifierKey_TransferCharacteristics, "transfer characteristics",
     "getTransferCharacteristics"},
    {PayloadIdentifierKey_LuminanceAndColourDifferenceSignal,
     "luminance and colour difference signal", "getLuminanceAndColourDifferenceSignal"},
    {PayloadIdentifierKey_AspectRatio, "aspect ratio", ""},
    {PayloadIdentifierKey_ChannelAssignment, "channel assignment", ""},
    {PayloadIdentifierKey_AudioCopyStatus, "audio copy status", ""},
};

bool differs(const FieldRow& row, const PayloadIdentifierBase& a, const PayloadIdentifierBase& b)
{
    return row.reader[0] != '\0' && a.getField(row.value) != b.getField(row.value);
}

// The names of links, by channel assignment.
using LinkName = char[10];
constexpr LinkName DUAL_LINK_NAMES[] = {"LinkA", "LinkB"};
constexpr LinkName LINK_NAMES[] = {"Link1", "Link2", "Link3", "Link4",
                                   "Link5", "Link6", "Link7", "Link8"};
constexpr LinkName DATA_STREAM_NAMES[] = {"DS1_Link1", "DS2_Link1", "DS3_Link2", "DS4_Link2",
                                          "DS5_Link3", "DS6_Link3", "DS7_Link4", "DS8_Link4"};

template <std::size_t count>
QLatin1String nameOf(const LinkName (&names)[count], quint32 number, std::string_view otherwise)
{
    return Vocabulary::latin1(number < count ? names[number] : otherwise);
}

} // namespace

QLatin1String toString(PayloadIdentifierKey key)
{
    return Vocabulary::text(FIELDS, key);
}

PayloadIdentifierBase::PayloadIdentifierBase(quint32 rawBytes, PayloadIdentifierFieldMap fieldMap)
    : PayloadIdentifierBase(rawBytes, new PayloadIdentifierFieldMap(fieldMap))
{
    ownFields.reset(fields);
}

PayloadIdentifierBase::PayloadIdentifierBase(quint32 rawBytes,
                                             const PayloadIdentifierFieldMap* constantFieldMap)
    : rawValue(rawBytes)
    , fields(constantFieldMap)
{
    for (const QString& error : getReservedBitErrors()) {
        VELLOG_ERR() << error;
    }
}

PayloadIdentifierBase::~PayloadIdentifierBase() = default;

std::array<quint8, 4> PayloadIdentifierBase::getBytes() const
{
    return {{static_cast<quint8>(rawValue >> 24), static_cast<quint8>(rawValue >> 16),
             static_cast<quint8>(rawValue >> 8), static_cast<quint8>(rawValue)}};
}

SubImageDivision PayloadIdentifierBase::getSubImageDivision() const
{
    return SubImageDivision_None;
}

quint32 PayloadIdentifierBase::getNumberOfLinks() const
{
    return 0;
}

SdiDataRate PayloadIdentifierBase::getSdiDataRate() const
{
    return SdiDataRate_NoSignal;
}

Level PayloadIdentifierBase::getLevel() const
{
    return Level_A;
}

quint32 PayloadIdentifierBase::getNumberOfSubImages() const
{
    return 1;
}

PictureFormat PayloadIdentifierBase::getPicutreInterlacedProgressivePsf() const
{
    return PictureFormat_Progressive;
}

std::vector<quint32> PayloadIdentifierBase::getLinesPerField() const
{
    return {};
}

std::vector<quint32> PayloadIdentifierBase::getFirstActivePictureLines() const
{
    return {};
}

quint32 PayloadIdentifierBase::getFieldActivePictureWidthInSamples() const
{
    return 0;
}

quint32 PayloadIdentifierBase::getFieldActivePictureHeight() const
{
    return 0;
}

quint32 PayloadIdentifierBase::getPictureWidth() const
{
    return 0;
}

quint32 PayloadIdentifierBase::getPictureHeight() const
{
    return 0;
}

QString PayloadIdentifierBase::getDescription(bool withoutLinkInformation) const
{
    if (rawValue == 0) {
        return QStringLiteral("No payload identifier");
    }
    QString text;
    text.reserve(96);
    PayloadIdentifierText::appendPicture(text, getPictureWidth(), getPictureHeight(), *this);
    PayloadIdentifierText::appendSampling(text, *this);
    PayloadIdentifierText::appendInterface(text, getNumberOfLinks(), *this,
                                           toString(getSubImageDivision()));
    if (!withoutLinkInformation && fields->contains(PayloadIdentifierKey_ChannelAssignment)) {
        PayloadIdentifierText::appendWord(text, getLinkName());
    }
    PayloadIdentifierText::appendSignal(text, *this);
    PayloadIdentifierText::appendColourimetry(text, *this);
    return text;
}

bool PayloadIdentifierBase::isPayloadByteCorrect() const
{
    return false;
}

QStringList PayloadIdentifierBase::validate() const
{
    return {QStringLiteral("Error packet does not match any supported type")};
}

quint32 PayloadIdentifierBase::getSamplesForWidth(quint32 baseWidth) const
{
    const bool oneEach =
        isNarrow(SampleStructure(getSampleStructure())) && !is12Bit(BitDepth(getBitDepth()));
    return oneEach ? baseWidth : 2 * baseWidth;
}

bool PayloadIdentifierBase::checkThatPayloadIdentifierFieldsDoNotOverlap() const
{
    return fields->isFreeOfOverlaps();
}

QStringList PayloadIdentifierBase::getReservedBitErrors() const
{
    QStringList errors;
    const quint32 reserved = rawValue & ~fields->getMask();
    for (quint32 bit = 0; bit < 32 && (reserved >> bit) != 0; ++bit) {
        if (((reserved >> bit) & 1u) != 0) {
            errors
                << QStringLiteral("Reserved bit not 0, Byte %1, Bit %2").arg(bit / 8).arg(bit % 8);
        }
    }
    return errors;
}

bool PayloadIdentifierBase::isEqual(const PayloadIdentifierBase& other, bool verbose) const
{
    const bool equal =
        std::none_of(std::begin(FIELDS), std::end(FIELDS),
                     [this, &other](const FieldRow& row) { return differs(row, *this, other); });
    if (verbose) {
        VELLOG_INFO() << "Comparing payload Identifiers...";
        VELLOG_INFO() << getDescription(false);
        VELLOG_INFO() << other.getDescription(false);
        for (const FieldRow& row : FIELDS) {
            if (differs(row, *this, other)) {
                VELLOG_INFO() << "NO MATCH - " << row.reader;
            }
        }
        VELLOG_INFO() << "Comparable? " << equal;
    }
    return equal;
}

std::vector<PayloadIdentifierKey>
PayloadIdentifierBase::getDifferences(const PayloadIdentifierBase& other) const
{
    std::vector<PayloadIdentifierKey> keys;
    for (const FieldRow& row : FIELDS) {
        if (differs(row, *this, other)) {
            keys.push_back(row.value);
        }
    }
    return keys;
}

quint32 PayloadIdentifierBase::getComparedMask(const PayloadIdentifierFieldMap& fieldMap)
{
    quint32 mask = 0;
    for (const FieldRow& row : FIELDS) {
        mask |= row.reader[0] == '\0' ? 0 : fieldMap.get(row.value).getMask();
    }
    return mask;
}

QLatin1String PayloadIdentifierBase::getLinkName() const
{
    const quint32 channel = getChannelAssignment();
    const quint32 links = getNumberOfLinks();
    const bool levelB = getLevel() == Level_B;
    if ((links == 2 && getSdiDataRate() == SdiDataRate_1G5) || (links == 1 && levelB)) {
        return nameOf(DUAL_LINK_NAMES, channel, "Link?");
    }
    return levelB ? nameOf(DATA_STREAM_NAMES, channel, "DS?_Link?")
                  : nameOf(LINK_NAMES, channel, "Link?");
}
