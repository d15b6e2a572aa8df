#include "infrastructure/datacore/DatacoreBool.h"

#include "infrastructure/datacore/DatacoreDescription.h"

namespace {

QString toText(bool flag)
{
    return flag ? QStringLiteral("true") : QStringLiteral("false");
}

std::deque<QString> toTexts(const std::deque<bool>& flags)
{
    std::deque<QString> texts;
    for (const bool flag : flags) {
        texts.push_back(toText(flag));
    }
    return texts;
}

bool fromText(const QString& text)
{
    return text == toText(true);
}

} // namespace

DatacoreBool::DatacoreBool(const QString& name, DatacoreBase* parentNode)
    : DatacoreBool(name, parentNode, false)
{
}

DatacoreBool::DatacoreBool(const QString& name, DatacoreBase* parentNode, bool flag)
    : DatacoreBase(CLASSNAME(), name, parentNode, toText(flag))
{
}

DatacoreBool::DatacoreBool(const QString& name, DatacoreBase* parentNode,
                           const std::deque<bool>& flags)
    : DatacoreBase(CLASSNAME(), name, parentNode, toTexts(flags))
{
}

bool DatacoreBool::getDataBool() const
{
    return fromText(getData());
}

std::deque<bool> DatacoreBool::getDataBools() const
{
    std::deque<bool> flags;
    for (int i = 0; i < getDataCount(); ++i) {
        flags.push_back(fromText(getDataAt(i)));
    }
    return flags;
}

void DatacoreBool::setDataBool(bool flag)
{
    setData(toText(flag));
}

void DatacoreBool::setDataBools(const std::deque<bool>& flags)
{
    setData(toTexts(flags));
}

void DatacoreBool::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    reasons.clear();
    for (int i = 0; i < getDataCount(); ++i) {
        const QString text = getDataAt(i);
        if (text != toText(true) && text != toText(false)) {
            reasons.append(DatacoreValidStatusMessage(
                MessageBase::MessageType_Error,
                DatacoreValidStatusMessage::MessageContent_DatacoreValueNotConvertableToBoolean));
            return;
        }
    }
}

void DatacoreBool::describe(DatacoreDescription& description) const
{
    description.kind = QStringLiteral("Bool");
    description.choices = QStringList{toText(false), toText(true)};
}
