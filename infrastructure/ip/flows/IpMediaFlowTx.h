// A flow that the instrument sends.
#pragma once

#include "infrastructure/ip/flows/IpMediaFlow.h"

namespace Tessorn {
namespace IpTypes {

/// A transmitted flow: an identity with a type of its own.
class IpMediaFlowTx : public IpMediaFlow
{
public:
    using IpMediaFlow::IpMediaFlow;

    /// The identity from its text, as IpMediaFlow reads it.
    static IpMediaFlowTx deserialise(QStringView text, bool& ok);
};

} // namespace IpTypes
} // namespace Tessorn
