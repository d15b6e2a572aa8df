#include "infrastructure/ip/flows/IpMediaFlowTx.h"

#include "infrastructure/ip/flows/FlowFields_p.h"

namespace Tessorn {
namespace IpTypes {

IpMediaFlowTx IpMediaFlowTx::deserialise(QStringView text, bool& ok)
{
    IpMediaFlowTx flow;
    ok = readIdentity(text, flow);
    return ok ? flow : IpMediaFlowTx();
}

} // namespace IpTypes
} // namespace Tessorn
