// Every reader of IP media and PTP text. What a reader accepts must be written, read again and be
// the same; what it refuses must leave a default-made value.
#include "infrastructure/ip/20226/VideoFormat20226.h"
#include "infrastructure/ip/2110/VideoStandard2110Params.h"
#include "infrastructure/ip/flows/AudioFlowConfigTx.h"
#include "infrastructure/ip/flows/FlowConfig.h"
#include "infrastructure/ip/flows/IpMediaFlowData.h"
#include "infrastructure/ip/flows/IpMediaFlowTx.h"
#include "infrastructure/ip/flows/VideoFlowConfigTx.h"
#include "infrastructure/ptp/GrandmasterInfo.h"
#include "infrastructure/ptp/PtpTime.h"

#include <QtEndian>

#include <cstdint>
#include <cstdlib>

using namespace Tessorn::IpTypes;

namespace {

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

template <typename Value>
void readAndReread(const QString& text)
{
    bool ok = false;
    const Value value = Value::deserialise(text, ok);
    if (!ok) {
        require(value == Value());
        return;
    }
    const QString written = value.serialise();
    require(Value::deserialise(written, ok) == value && ok);
    require(Value::deserialise(written, ok).serialise() == written);
}

void readSelections(const QString& text)
{
    for (const quint32 boardModel : {0u, 1u, 2u}) {
        bool ok = false;
        quint32 selection = inputSelectionFromString(text, boardModel, &ok);
        require(ok ? inputSelectionToString(selection, boardModel) == text : selection == 0);
        selection = outputSelectionFromString(text, boardModel, &ok);
        require(ok ? outputSelectionToString(selection, boardModel) == text : selection == 0);
    }
}

void readFrameRate(const QString& text)
{
    bool ok = false;
    const FrameRate2110 rate = FrameRate2110::fromString(text, &ok);
    require(ok ? rate.isValid() && FrameRate2110::fromString(rate.toString()) == rate
               : rate == FrameRate2110{60, 1000});
}

/// Words and times, from the first bytes.
void readNumbers(const uint8_t* data)
{
    const VideoFormat20226 format(qFromBigEndian<quint32>(data));
    require(!Tessorn::Sdi::toString(format.rate).isEmpty());
    const PtpTimestamp timestamp{qFromBigEndian<qint64>(data), qFromBigEndian<qint64>(data + 8)};
    timestamp.toString(true);
    timestamp.toNanosecondsString();
    ptpTimeToString(timestamp.seconds);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size >= 16) {
        readNumbers(data);
    }
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    readAndReread<IpMediaFlow>(text);
    readAndReread<IpMediaFlowTx>(text);
    readAndReread<IpMediaFlowData>(text);
    readAndReread<FlowConfig>(text);
    readAndReread<VideoFlowConfigTx>(text);
    readAndReread<AudioFlowConfigTx>(text);
    readAndReread<VideoStandard2110Params>(text);
    readAndReread<GrandmasterInfo>(text);
    readSelections(text);
    readFrameRate(text);
    IpMediaFlow::keyToDisplayString(text);
    parseSampling2110(text);
    parseBitDepth2110(text);
    parseColourimetry2110(text);
    parseTransferCurve2110(text);
    return 0;
}
