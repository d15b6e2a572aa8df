#include "infrastructure/datacore/leaves/DatacoreVideoStandard2110.h"

#include "infrastructure/datacore/DatacoreDescription.h"

DatacoreVideoStandard2110::DatacoreVideoStandard2110(const QString& name, DatacoreBase* parentNode,
                                                     const Records& initialRecords)
    : DatacoreRecordLeaf(
          CLASSNAME(), name, parentNode, initialRecords,
          DatacoreValidStatusMessage::MessageContent_DatacoreValueNotConvertableToVideoStandard2110)
{
    initialiseStatus();
}

void DatacoreVideoStandard2110::setMarkerSpacingStable(bool isStable)
{
    if (markerSpacingStable != isStable) {
        markerSpacingStable = isStable;
        elementChangedLocally();
    }
}

void DatacoreVideoStandard2110::updateValidStatus(DatacoreValidStatusMessages& reasons)
{
    DatacoreRecordLeaf::updateValidStatus(reasons);
    if (!markerSpacingStable) {
        addReason(reasons, DatacoreValidStatusMessage::MessageContent_PacketsPerMarkerBitNotStable);
    }
}

void DatacoreVideoStandard2110::checkRecord(const Tessorn::IpTypes::VideoStandard2110Params& record,
                                            DatacoreValidStatusMessages& reasons) const
{
    if (!record.getParamsValid()) {
        addReason(reasons,
                  DatacoreValidStatusMessage::MessageContent_VideoStandard2110ParamsInvalid);
    }
}

void DatacoreVideoStandard2110::describe(DatacoreDescription& description) const
{
    description.kind = QStringLiteral("VideoStandard2110");
}
