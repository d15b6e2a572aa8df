// A flow found on the network, with what the receiver has measured.
#pragma once

#include "infrastructure/ip/flows/IpMediaFlow.h"

namespace Tessorn {
namespace IpTypes {

/// A flow and its measurements. The receiver fills them in and knows what each one means; here they
/// are only named by position.
class IpMediaFlowData : public IpMediaFlow
{
public:
    using IpMediaFlow::IpMediaFlow;

    /// The identity, "+", and the measurements joined by ";", the flag as "T" or "F".
    ///
    ///   96,,239.1.2.3,0,5006,0,,0+1;2;3;4000000000000;5;6;7;T;8;9;10
    QString serialise() const override;
    /// The value that `serialise` made `text` from, or a default-made one; see IpMediaFlow.
    static IpMediaFlowData deserialise(QStringView text, bool& ok);

    quint32 measurementField1 = 0;
    quint32 measurementField2 = 0;
    quint32 measurementField3 = 0;
    quint64 measurementPackets = 0; ///< counts packets
    quint32 measurementField4 = 0;  ///< stays in this process: neither in the text nor compared
    quint32 measurementField5 = 0;
    quint32 measurementField6 = 0;
    quint32 measurementField7 = 0;
    bool measurementFlag1 = false;
    quint32 measurementField8 = 0;
    quint32 measurementField9 = 0;
    quint32 measurementField10 = 0;
};

/// Identity and measurements equal, except measurementField4.
bool operator==(const IpMediaFlowData& a, const IpMediaFlowData& b);

} // namespace IpTypes
} // namespace Tessorn
