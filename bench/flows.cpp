// Flows as text beside a QJsonDocument with the same fields: writing, reading, there and back, and
// comparing. "items_per_second" is the number of flows on one core; at least 200 k/s are required.
#include "bench/Compare.h"
#include "infrastructure/ip/flows/AudioFlowConfigTx.h"
#include "infrastructure/ip/flows/IpMediaFlowData.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>

using namespace Tessorn::IpTypes;

namespace {

constexpr int FLOW_COUNT = 1000; ///< different flows, each used once in a measurement

void identify(IpMediaFlow& flow, quint32 number)
{
    flow.payloadType = 96 + number % 32;
    flow.srcIpAddr = QHostAddress(0xC0A80000u + number);
    flow.dstIpAddr = QHostAddress(0xEF010000u + number);
    flow.srcUdpPort = 5004;
    flow.dstUdpPort = 20000 + number;
    flow.ssrc = 0x9E3779B9u * number;
    flow.igmpSourceAddr = QHostAddress(0xC0A80000u + number);
    flow.interface = IpInterface(number % 2);
}

void fill(IpMediaFlowData& flow, quint32 number)
{
    identify(flow, number);
    flow.measurementField1 = number;
    flow.measurementField2 = 25 * number;
    flow.measurementField3 = 1000;
    flow.measurementPackets = quint64{number} * 1000003;
    flow.measurementField5 = 0;
    flow.measurementField6 = 12;
    flow.measurementField7 = 3456;
    flow.measurementFlag1 = number % 3 == 0;
    flow.measurementField8 = 270000;
    flow.measurementField9 = 1;
    flow.measurementField10 = 4294967295u;
}

void fill(AudioFlowConfigTx& flow, quint32 number)
{
    identify(flow, number);
    flow.channelCount = 8;
    flow.packetTime = 3;
    flow.source = number % 3;
    for (quint32 channel = 1; channel <= 8; ++channel) {
        flow.channels.push_back(channel);
    }
}

template <typename Flow>
std::vector<Flow> makeFlows()
{
    std::vector<Flow> flows(FLOW_COUNT);
    for (quint32 i = 0; i < FLOW_COUNT; ++i) {
        fill(flows[i], i);
    }
    return flows;
}

double number(quint32 value)
{
    return static_cast<double>(value);
}

quint32 toNumber(const QJsonValue& value)
{
    return static_cast<quint32>(value.toDouble());
}

QJsonObject identityToJson(const IpMediaFlow& flow)
{
    return {{QStringLiteral("payloadType"), number(flow.payloadType)},
            {QStringLiteral("srcIpAddr"), flow.srcIpAddr.toString()},
            {QStringLiteral("dstIpAddr"), flow.dstIpAddr.toString()},
            {QStringLiteral("srcUdpPort"), number(flow.srcUdpPort)},
            {QStringLiteral("dstUdpPort"), number(flow.dstUdpPort)},
            {QStringLiteral("ssrc"), number(flow.ssrc)},
            {QStringLiteral("igmpSourceAddr"), flow.igmpSourceAddr.toString()},
            {QStringLiteral("interface"), number(flow.interface)}};
}

void identityFromJson(const QJsonObject& object, IpMediaFlow& flow)
{
    flow.payloadType = toNumber(object[QStringLiteral("payloadType")]);
    flow.srcIpAddr = QHostAddress(object[QStringLiteral("srcIpAddr")].toString());
    flow.dstIpAddr = QHostAddress(object[QStringLiteral("dstIpAddr")].toString());
    flow.srcUdpPort = toNumber(object[QStringLiteral("srcUdpPort")]);
    flow.dstUdpPort = toNumber(object[QStringLiteral("dstUdpPort")]);
    flow.ssrc = toNumber(object[QStringLiteral("ssrc")]);
    flow.igmpSourceAddr = QHostAddress(object[QStringLiteral("igmpSourceAddr")].toString());
    flow.interface = IpInterface(toNumber(object[QStringLiteral("interface")]));
}

QByteArray toJson(const IpMediaFlowData& flow)
{
    QJsonObject object = identityToJson(flow);
    object.insert(QStringLiteral("field1"), number(flow.measurementField1));
    object.insert(QStringLiteral("field2"), number(flow.measurementField2));
    object.insert(QStringLiteral("field3"), number(flow.measurementField3));
    object.insert(QStringLiteral("packets"), static_cast<double>(flow.measurementPackets));
    object.insert(QStringLiteral("field5"), number(flow.measurementField5));
    object.insert(QStringLiteral("field6"), number(flow.measurementField6));
    object.insert(QStringLiteral("field7"), number(flow.measurementField7));
    object.insert(QStringLiteral("flag1"), flow.measurementFlag1);
    object.insert(QStringLiteral("field8"), number(flow.measurementField8));
    object.insert(QStringLiteral("field9"), number(flow.measurementField9));
    object.insert(QStringLiteral("field10"), number(flow.measurementField10));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void fromJson(const QByteArray& json, IpMediaFlowData& flow)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    identityFromJson(object, flow);
    flow.measurementField1 = toNumber(object[QStringLiteral("field1")]);
    flow.measurementField2 = toNumber(object[QStringLiteral("field2")]);
    flow.measurementField3 = toNumber(object[QStringLiteral("field3")]);
    flow.measurementPackets = static_cast<quint64>(object[QStringLiteral("packets")].toDouble());
    flow.measurementField5 = toNumber(object[QStringLiteral("field5")]);
    flow.measurementField6 = toNumber(object[QStringLiteral("field6")]);
    flow.measurementField7 = toNumber(object[QStringLiteral("field7")]);
    flow.measurementFlag1 = object[QStringLiteral("flag1")].toBool();
    flow.measurementField8 = toNumber(object[QStringLiteral("field8")]);
    flow.measurementField9 = toNumber(object[QStringLiteral("field9")]);
    flow.measurementField10 = toNumber(object[QStringLiteral("field10")]);
}

QByteArray toJson(const AudioFlowConfigTx& flow)
{
    QJsonObject object = identityToJson(flow);
    object.insert(QStringLiteral("channelCount"), number(flow.channelCount));
    object.insert(QStringLiteral("packetTime"), number(flow.packetTime));
    object.insert(QStringLiteral("source"), number(flow.source));
    QJsonArray channels;
    for (const quint32 channel : flow.channels) {
        channels.append(number(channel));
    }
    object.insert(QStringLiteral("channels"), channels);
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void fromJson(const QByteArray& json, AudioFlowConfigTx& flow)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    identityFromJson(object, flow);
    flow.channelCount = toNumber(object[QStringLiteral("channelCount")]);
    flow.packetTime = toNumber(object[QStringLiteral("packetTime")]);
    flow.source = toNumber(object[QStringLiteral("source")]);
    const QJsonArray channels = object[QStringLiteral("channels")].toArray();
    for (const QJsonValue& channel : channels) {
        flow.channels.push_back(toNumber(channel));
    }
}

/// The flow must read back equal, or the measurement would be of something else.
template <typename Flow>
void require(const Flow& read, const Flow& written)
{
    if (read != written) {
        std::fputs("a flow did not survive its text\n", stderr);
        std::exit(1);
    }
}

template <typename Ours, typename Peer>
void compareEach(benchmark::State& state, Ours&& ours, Peer&& peer)
{
    const auto forEach = [](auto& work) {
        return [&work] {
            for (std::size_t i = 0; i < FLOW_COUNT; ++i) {
                work(i);
            }
        };
    };
    bench::compare(state, 1, 5, forEach(ours), forEach(peer));
    state.SetItemsProcessed(state.iterations() * FLOW_COUNT);
}

template <typename Flow>
void serialise(benchmark::State& state)
{
    const auto flows = makeFlows<Flow>();
    compareEach(
        state, [&](std::size_t i) { benchmark::DoNotOptimize(flows[i].serialise()); },
        [&](std::size_t i) { benchmark::DoNotOptimize(toJson(flows[i])); });
}

template <typename Flow>
void parse(benchmark::State& state)
{
    std::vector<QString> texts;
    std::vector<QByteArray> jsons;
    for (const Flow& flow : makeFlows<Flow>()) {
        texts.push_back(flow.serialise());
        jsons.push_back(toJson(flow));
        bool ok = false;
        require(Flow::deserialise(texts.back(), ok), flow);
        Flow read;
        fromJson(jsons.back(), read);
        require(read, flow);
    }
    compareEach(
        state,
        [&](std::size_t i) {
            bool ok = false;
            benchmark::DoNotOptimize(Flow::deserialise(texts[i], ok));
        },
        [&](std::size_t i) {
            Flow flow;
            fromJson(jsons[i], flow);
            benchmark::DoNotOptimize(flow);
        });
}

template <typename Flow>
void roundTrip(benchmark::State& state)
{
    const auto flows = makeFlows<Flow>();
    compareEach(
        state,
        [&](std::size_t i) {
            bool ok = false;
            benchmark::DoNotOptimize(Flow::deserialise(flows[i].serialise(), ok));
        },
        [&](std::size_t i) {
            Flow flow;
            fromJson(toJson(flows[i]), flow);
            benchmark::DoNotOptimize(flow);
        });
}

/// Equal flows, so that every field is compared, beside a round trip of the same flow.
template <typename Flow>
void compareEqual(benchmark::State& state)
{
    const auto flows = makeFlows<Flow>();
    const auto others = makeFlows<Flow>();
    compareEach(
        state,
        [&](std::size_t i) {
            benchmark::DoNotOptimize(flows[i] == others[i]);
            benchmark::DoNotOptimize(flowParamsSame(flows[i], others[i], IpMediaFlow::AllParams));
        },
        [&](std::size_t i) {
            Flow flow;
            fromJson(toJson(flows[i]), flow);
            benchmark::DoNotOptimize(flow);
        });
}

/// The peer's time is not counted, so half a second of ours would take minutes.
void measure(benchmark::internal::Benchmark* row)
{
    row->UseManualTime()->MinTime(0.05)->Unit(benchmark::kMicrosecond);
}

BENCHMARK_TEMPLATE(serialise, IpMediaFlowData)->Apply(measure);
BENCHMARK_TEMPLATE(serialise, AudioFlowConfigTx)->Apply(measure);
BENCHMARK_TEMPLATE(parse, IpMediaFlowData)->Apply(measure);
BENCHMARK_TEMPLATE(parse, AudioFlowConfigTx)->Apply(measure);
BENCHMARK_TEMPLATE(roundTrip, IpMediaFlowData)->Apply(measure);
BENCHMARK_TEMPLATE(roundTrip, AudioFlowConfigTx)->Apply(measure);
BENCHMARK_TEMPLATE(compareEqual, IpMediaFlowData)->Apply(measure);
BENCHMARK_TEMPLATE(compareEqual, AudioFlowConfigTx)->Apply(measure);

} // namespace

BENCHMARK_MAIN();
