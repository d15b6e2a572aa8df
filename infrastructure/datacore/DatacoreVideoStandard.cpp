#include "infrastructure/datacore/DatacoreVideoStandard.h"

#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/utility/Log.h"
#include "infrastructure/utility/video/PayloadIdentifierFactory.h"
#include "infrastructure/utility/video/VideoStandardFactory.h"

namespace {

using Standard = DatacoreVideoStandard::Standard;
using Standards = DatacoreVideoStandard::Standards;

/// What the text can't hold is logged.
QString toText(const Standard& standard)
{
    if (standard == nullptr) {
        return QString();
    }
    const auto& identifier = standard->getPrimaryIdentifier();
    const QString text = getPayloadIdentifierText(identifier->getRawValue());
    if (standard->isSquareDivision()) {
        VELLOG_ERR() << "Video standard " << standard->getDescription() << " is held as " << text
                     << ", " << identifier->getDescription(true);
    }
    return text;
}

std::deque<QString> toTexts(const Standards& standards)
{
    std::deque<QString> texts;
    for (const Standard& standard : standards) {
        texts.push_back(toText(standard));
    }
    return texts;
}

/// A null makes an empty list.
Standards listOf(const Standard& standard)
{
    return standard ? Standards{standard} : Standards();
}

Standard fromText(const QString& text)
{
    const std::optional<quint32> rawValue = parsePayloadIdentifierBytes(text);
    return rawValue ? createVideoStandard(*rawValue) : nullptr;
}

} // namespace

DatacoreVideoStandard::DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode)
    : DatacoreBase(CLASSNAME(), name, parentNode)
{
}

DatacoreVideoStandard::DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode,
                                             const Standard& standard)
    : DatacoreVideoStandard(name, parentNode, listOf(standard))
{
}

DatacoreVideoStandard::DatacoreVideoStandard(const QString& name, DatacoreBase* parentNode,
                                             const Standards& standards)
    : DatacoreBase(CLASSNAME(), name, parentNode, toTexts(standards))
{
    initialiseStatus();
}

Standard DatacoreVideoStandard::getDataVideoStandard() const
{
    return cache.empty() ? nullptr : cache.front();
}

Standards DatacoreVideoStandard::getDataVideoStandards() const
{
    return cache;
}

void DatacoreVideoStandard::setDataVideoStandard(const Standard& standard)
{
    setDataVideoStandards(listOf(standard));
}

void DatacoreVideoStandard::setDataVideoStandards(const Standards& standards)
{
    setData(toTexts(standards));
}

void DatacoreVideoStandard::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    readStandards();
    reasons.clear();
    for (const Standard& standard : cache) {
        if (standard == nullptr) {
            reasons.append(DatacoreValidStatusMessage(
                MessageBase::MessageType_Error,
                DatacoreValidStatusMessage::
                    MessageContent_DatacoreValueNotConvertableToVideoStandard));
        }
    }
}

void DatacoreVideoStandard::readStandards()
{
    Standards standards;
    for (int i = 0; i < getDataCount(); ++i) {
        standards.push_back(fromText(getDataAt(i)));
    }
    cache.swap(standards);
}

void DatacoreVideoStandard::describe(DatacoreDescription& description) const
{
    description.kind = QStringLiteral("VideoStandard");
}
