#include "infrastructure/datacore/leaves/DatacoreGrandmasterInfo.h"

#include "infrastructure/datacore/DatacoreDescription.h"

DatacoreGrandmasterInfo::DatacoreGrandmasterInfo(const QString& name, DatacoreBase* parentNode,
                                                 const Records& initialRecords)
    : DatacoreRecordLeaf(
          CLASSNAME(), name, parentNode, initialRecords,
          DatacoreValidStatusMessage::MessageContent_DatacoreValueNotConvertableToGrandmasterInfo)
{
    initialiseStatus();
}

void DatacoreGrandmasterInfo::describe(DatacoreDescription& description) const
{
    description.kind = QStringLiteral("GrandmasterInfo");
}
