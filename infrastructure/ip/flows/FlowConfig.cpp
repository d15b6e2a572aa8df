#include "infrastructure/ip/flows/FlowConfig.h"

#include "infrastructure/ip/flows/FlowFields_p.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using ConfigFields = FieldList<Field<&FlowConfig::protocol, EnumCodec<IpProtocol_Other>>,
                               Field<&FlowConfig::matchParams>>;

} // namespace

QString FlowConfig::serialise() const
{
    return writeFlow<ConfigFields, u'|'>(*this);
}

FlowConfig FlowConfig::deserialise(QStringView text, bool& ok)
{
    return readFlow<ConfigFields, u'|', FlowConfig>(text, ok);
}

bool operator==(const FlowConfig& a, const FlowConfig& b)
{
    return isSameIdentity(a, b) && ConfigFields::same(a, b);
}

bool flowParamsSame(const FlowConfig& a, const FlowConfig& b)
{
    return flowParamsSame(a, b, a.matchParams | b.matchParams);
}

} // namespace IpTypes
} // namespace Tessorn
