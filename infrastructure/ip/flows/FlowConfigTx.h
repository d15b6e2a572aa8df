// A flow that the user wants sent: base of the video and the audio kind.
#pragma once

#include "infrastructure/ip/flows/IpMediaFlow.h"

namespace Tessorn {
namespace IpTypes {

/// A flow to transmit.
class FlowConfigTx : public IpMediaFlow
{
public:
    using IpMediaFlow::IpMediaFlow;

    /// What is sent, for the screen: one parameter a line, no line end after the last.
    virtual QString serialiseDetails() const = 0;
};

/// What is transmitted is known to the two kinds alone, and so is whether it is equal.
bool operator==(const FlowConfigTx& a, const FlowConfigTx& b) = delete;

} // namespace IpTypes
} // namespace Tessorn
