// A flow that the user asks for: its identity, what it carries, and which parts of the identity a
// flow on the network must match.
#pragma once

#include "infrastructure/ip/flows/FlowVocabulary.h"
#include "infrastructure/ip/flows/IpMediaFlow.h"

namespace Tessorn {
namespace IpTypes {

/// A requested flow.
class FlowConfig : public IpMediaFlow
{
public:
    using IpMediaFlow::IpMediaFlow;

    /// The identity, "+", protocol and mask joined by "|".
    ///
    ///   96,,239.1.2.3,0,5006,0,,0+1|2
    QString serialise() const override;
    /// The value that `serialise` made `text` from, or a default-made one; see IpMediaFlow.
    static FlowConfig deserialise(QStringView text, bool& ok);

    /// True if it has an identity, and a protocol that the instrument knows.
    bool isValid() const { return !isNull() && protocol != IpProtocol_Other; }

    IpProtocol protocol = IpProtocol_Other;
    quint32 matchParams = DstIpAddr; ///< bits of IpMediaFlow::Params
};

/// All fields equal.
bool operator==(const FlowConfig& a, const FlowConfig& b);

/// flowParamsSame for the fields that either of the two matches.
bool flowParamsSame(const FlowConfig& a, const FlowConfig& b);

} // namespace IpTypes
} // namespace Tessorn
