// A flow that the user wants sent: base of the video and the audio flow.
#pragma once

#include "infrastructure/ip/flows/IpMediaFlow.h"

namespace Tessorn {
namespace IpTypes {

/// A flow to transmit.
class FlowConfigTx : public IpMediaFlow
{
public:
    using IpMediaFlow::IpMediaFlow;

    /// What is sent, for display: one parameter per line, no final line end.
    virtual QString serialiseDetails() const = 0;
};

/// Deleted: only the derived flows know what they send, and so whether they are equal.
bool operator==(const FlowConfigTx& a, const FlowConfigTx& b) = delete;

} // namespace IpTypes
} // namespace Tessorn
