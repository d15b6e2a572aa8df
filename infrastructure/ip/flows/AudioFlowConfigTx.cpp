#include "infrastructure/ip/flows/AudioFlowConfigTx.h"

#include "infrastructure/ip/flows/FlowFields_p.h"
#include "infrastructure/ip/flows/FlowVocabulary.h"
#include "infrastructure/ptp/PtpVocabulary.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using Tx = AudioFlowConfigTx;
using Number = FieldCodec<quint32>;
constexpr quint32 TELLS_FLOWS_APART = 1;

using AudioFields = FieldList<Field<&Tx::channelCount, Number, TELLS_FLOWS_APART>,
                              Field<&Tx::packetTime, Number, TELLS_FLOWS_APART>,
                              Field<&Tx::source, Number, TELLS_FLOWS_APART>,
                              Field<&Tx::channels, VectorCodec<quint32, u'*'>>>;

} // namespace

QString AudioFlowConfigTx::serialise() const
{
    return writeFlow<AudioFields, u';'>(*this);
}

AudioFlowConfigTx AudioFlowConfigTx::deserialise(QStringView text, bool& ok)
{
    return readFlow<AudioFields, u';', AudioFlowConfigTx>(text, ok);
}

QString AudioFlowConfigTx::serialiseDetails() const
{
    return QStringLiteral("Packet Time: %1\nChannels: %2\nSource: %3")
        .arg(audioPacketTimeToString(packetTime), QString::number(channelCount),
             toString(AudioTxSource(source)));
}

bool operator==(const AudioFlowConfigTx& a, const AudioFlowConfigTx& b)
{
    return isSameIdentity(a, b) && AudioFields::same(a, b);
}

bool flowsIdentical(const AudioFlowConfigTx& a, const AudioFlowConfigTx& b)
{
    return isSameIdentity(a, b) && AudioFields::sameWhere(a, b, TELLS_FLOWS_APART);
}

bool flowsSame(const AudioFlowConfigTx& a, const AudioFlowConfigTx& b)
{
    return flowParamsSame(a, b, IpMediaFlow::AllParams) &&
           AudioFields::sameWhere(a, b, TELLS_FLOWS_APART);
}

} // namespace IpTypes
} // namespace Tessorn
