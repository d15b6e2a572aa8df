#include "infrastructure/datacore/leaves/DatacoreGrandmasterInfo.h"

DatacoreGrandmasterInfo::DatacoreGrandmasterInfo(const QString& name, DatacoreBase* parentNode,
                                                 const Records& initialRecords)
    : DatacoreRecordLeaf(
          CLASSNAME(), name, parentNode, initialRecords,
          DatacoreValidStatusMessage::MessageContent_DatacoreValueNotConvertableToGrandmasterInfo)
{
    initialiseStatus();
}
