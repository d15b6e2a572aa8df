#include "infrastructure/ip/flows/VideoFlowConfigTx.h"

#include "infrastructure/ip/flows/FlowFields_p.h"
#include "infrastructure/ip/flows/FlowVocabulary.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using Tx = VideoFlowConfigTx;
using Number = FieldCodec<quint32>;
constexpr quint32 TELLS_FLOWS_APART = 1;

using VideoFields =
    FieldList<Field<&Tx::packetRateIndex>, Field<&Tx::rateShaping, Number, TELLS_FLOWS_APART>,
              Field<&Tx::packingMode, Number, TELLS_FLOWS_APART>,
              Field<&Tx::source, Number, TELLS_FLOWS_APART>,
              Field<&Tx::enable, FlagCodec<TrueFalse>>, Field<&Tx::videoField1>>;

} // namespace

QString VideoFlowConfigTx::serialise() const
{
    return writeFlow<VideoFields, u';'>(*this);
}

VideoFlowConfigTx VideoFlowConfigTx::deserialise(QStringView text, bool& ok)
{
    return readFlow<VideoFields, u';', VideoFlowConfigTx>(text, ok);
}

QString VideoFlowConfigTx::serialiseDetails() const
{
    return QStringLiteral("PRS: %1\nPacking Mode: %2\nSource: %3")
        .arg(toString(RateShaping(rateShaping)), toString(PackingMode(packingMode)),
             toString(VideoTxSource(source)));
}

bool operator==(const VideoFlowConfigTx& a, const VideoFlowConfigTx& b)
{
    return isSameIdentity(a, b) && VideoFields::same(a, b);
}

bool flowsIdentical(const VideoFlowConfigTx& a, const VideoFlowConfigTx& b)
{
    return isSameIdentity(a, b) && VideoFields::sameWhere(a, b, TELLS_FLOWS_APART);
}

bool flowsSame(const VideoFlowConfigTx& a, const VideoFlowConfigTx& b)
{
    return flowParamsSame(a, b, IpMediaFlow::AllParams) &&
           VideoFields::sameWhere(a, b, TELLS_FLOWS_APART);
}

} // namespace IpTypes
} // namespace Tessorn
