#include "infrastructure/ip/flows/IpMediaFlowData.h"

#include "infrastructure/ip/flows/FlowFields_p.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using Data = IpMediaFlowData;
using MeasurementFields =
    FieldList<Field<&Data::measurementField1>, Field<&Data::measurementField2>,
              Field<&Data::measurementField3>, Field<&Data::measurementPackets>,
              Field<&Data::measurementField5>, Field<&Data::measurementField6>,
              Field<&Data::measurementField7>, Field<&Data::measurementFlag1, FlagCodec<LetterTF>>,
              Field<&Data::measurementField8>, Field<&Data::measurementField9>,
              Field<&Data::measurementField10>>;

} // namespace

QString IpMediaFlowData::serialise() const
{
    return writeFlow<MeasurementFields, u';'>(*this);
}

IpMediaFlowData IpMediaFlowData::deserialise(QStringView text, bool& ok)
{
    return readFlow<MeasurementFields, u';', IpMediaFlowData>(text, ok);
}

bool operator==(const IpMediaFlowData& a, const IpMediaFlowData& b)
{
    return isSameIdentity(a, b) && MeasurementFields::same(a, b);
}

} // namespace IpTypes
} // namespace Tessorn
