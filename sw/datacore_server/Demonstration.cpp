#include "Demonstration.h"

#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreDescription.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"
#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "infrastructure/utility/records/MetersData.h"
#include "infrastructure/utility/records/RawSdiJitterSpectrumDataPacket.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double PI = 3.14159265358979323846;
constexpr quint64 EYE_PERIOD = 500;
constexpr quint64 SLOW_STEPS = 5; ///< from one eye or spectrum to the next
constexpr quint64 LOSS_STEPS = 100;
constexpr quint64 EVENT_STEPS = 75;
constexpr quint64 ON_AIR_STEPS = 50;
constexpr quint64 PEAK_HOLD_STEPS = 50;
constexpr qint32 JITTER_LOCK_FAILED = 40;
constexpr qint32 JITTER_UNRELIABLE = 41;
constexpr int GROUP_LEAVES = 100;

/// What varies on its own; `Level` is the first of 16, `Bin` of many.
enum Channel : quint64 { Temperature, Offset, Jitter, Level = 100, Bin = 1000 };

/// From -1 to 1, the same for the same arguments (the finaliser of SplitMix64).
double noise(quint32 seed, quint64 channel, quint64 step)
{
    quint64 bits = (quint64{seed} << 32 ^ channel << 40 ^ step) + 0x9E3779B97F4A7C15;
    bits = (bits ^ bits >> 30) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
    bits ^= bits >> 31;
    return static_cast<double>(bits >> 11) * 0x1p-52 - 1.0;
}

/// The same, with a new value only every `period` steps and a smooth way between them.
double drift(quint32 seed, quint64 channel, quint64 step, quint64 period)
{
    const double part = static_cast<double>(step % period) / static_cast<double>(period);
    const double from = noise(seed, channel, step / period);
    const double to = noise(seed, channel, step / period + 1);
    return from + (to - from) * part * part * (3 - 2 * part);
}

/// Input 0 has lost its lock in steps 500 to 599, and again each 600; the others less often.
bool isLost(int input, quint64 step)
{
    const quint64 period = 600 + 175 * static_cast<quint64>(input);
    return step % period >= period - LOSS_STEPS;
}

/// Programme: syllables on sentences; the last four channels are silent. Two channels are a pair.
double makeLevel(quint32 seed, int channel, quint64 step)
{
    const auto own = Level + static_cast<quint64>(channel);
    const double hiss = noise(seed, own, step);
    if (channel >= DemonstrationValues::CHANNELS - 4) {
        return -58 + hiss;
    }
    const auto pair = Level + static_cast<quint64>(channel / 2 * 2);
    return std::clamp(-22 + 8 * drift(seed, pair, step, 40) + 9 * drift(seed, own, step, 5) + hiss,
                      -60.0, 0.0);
}

/// 0 where the eye is widest, 1 where it is nearly shut.
double makeClosure(quint64 step)
{
    return 0.5 -
           0.5 * std::cos(2 * PI * static_cast<double>(step % EYE_PERIOD) / double(EYE_PERIOD));
}

/// Two unit intervals around the middle of the eye: all ways of three bits in a row, their edges
/// spread by jitter, and the whole smeared by noise.
std::shared_ptr<RawDataPacket> makeEye(quint32 seed, quint64 step)
{
    constexpr double riseTime = 0.2; // of a unit interval
    const double closure = makeClosure(step);
    const double jitter = 0.015 + 0.06 * closure;
    const double deviation = 1.5 + 4 * closure; // rows
    const int reach = static_cast<int>(3 * deviation);
    const auto edge = [](double time) { return std::tanh(2 * time / riseTime); }; // -1 to 1

    EyeHistogram eye;
    eye.histogram.fill(0, EYE_SIDE * EYE_SIDE);
    for (int column = 0; column < EYE_SIDE; ++column) {
        std::array<double, EYE_SIDE> traces{}, smeared{};
        for (int offset = -2; offset <= 2; ++offset) {
            const double time = (column + 0.5) * 2 / EYE_SIDE - 1 + offset * jitter;
            const double before = edge(time + 0.5), after = edge(time - 0.5);
            for (unsigned bits = 0; bits < 8; ++bits) {
                const auto bit = [bits](unsigned place) {
                    return (bits >> place & 1) != 0 ? 1 : -1;
                };
                const double level = (bit(0) + bit(2)) / 2.0 + (bit(1) - bit(0)) / 2.0 * before +
                                     (bit(2) - bit(1)) / 2.0 * after;
                traces[static_cast<std::size_t>((1 - level / 1.5) / 2 * EYE_SIDE)] += 1;
            }
        }
        for (int row = 0; row < EYE_SIDE; ++row) {
            const double weight = traces[static_cast<std::size_t>(row)];
            for (int to = std::max(0, row - reach);
                 weight > 0 && to <= std::min(EYE_SIDE - 1, row + reach); ++to) {
                const double distance = (to - row) / deviation;
                smeared[static_cast<std::size_t>(to)] +=
                    weight / deviation * std::exp(-distance * distance / 2);
            }
        }
        for (int row = 0; row < EYE_SIDE; ++row) {
            const int bin = row * EYE_SIDE + column;
            const double chance = 1 + 0.2 * noise(seed, Bin + static_cast<quint64>(bin), step);
            eye.histogram[bin] =
                static_cast<int>(100 * chance * smeared[static_cast<std::size_t>(row)]);
        }
    }
    return std::make_shared<EyeVerticalHistogramData>(eye);
}

/// Falls with the frequency, with two lines in it. The limits are those of timing and of alignment
/// jitter in SMPTE ST 424.
std::shared_ptr<RawDataPacket> makeSpectrum(quint32 seed, quint64 step)
{
    constexpr int points = 240;
    RawSdiJitterSpectrum spectrum;
    for (int point = 0; point < points; ++point) {
        const double decade = 1 + 6.0 * point / (points - 1); // log10 of Hz
        const auto line = [decade](double at) {
            return std::exp(-std::pow((decade - at) / 0.03, 2));
        };
        const double floor = 0.4 * std::pow(10.0, -(decade - 1) / 3);
        const double lines = 0.3 * line(2.0) + (0.02 + 0.2 * makeClosure(step)) * line(5.3);
        spectrum.spectrumVector1.push_back(std::pow(10.0, decade));
        spectrum.spectrumVector2.push_back(
            floor * (1 + 0.3 * noise(seed, Bin + static_cast<quint64>(point), step)) + lines);
        spectrum.spectrumVector3.push_back(decade < 5 ? 2.0 : 0.3);
    }
    return std::make_shared<RawSdiJitterSpectrumDataPacket>(spectrum);
}

MeterReading<float> makeReading(int channel, double level)
{
    MeterReading<float> reading;
    reading.meterIndex = static_cast<quint8>(channel);
    reading.level = static_cast<float>(level);
    return reading;
}

void appendMeters(quint32 seed, quint64 step, std::vector<std::shared_ptr<RawDataPacket>>& records)
{
    auto meters = std::make_shared<PpmMetersData>();
    auto peaks = std::make_shared<PeakHoldMetersData>();
    for (int channel = 0; channel < DemonstrationValues::CHANNELS; ++channel) {
        meters->readings.append(makeReading(channel, makeLevel(seed, channel, step)));
        double peak = -60;
        for (quint64 back = 0; back <= std::min(step, PEAK_HOLD_STEPS); ++back) {
            peak = std::max(peak, makeLevel(seed, channel, step - back));
        }
        peaks->readings.append(makeReading(channel, peak));
    }
    records.push_back(meters);
    records.push_back(peaks);
}

/// Codes of CC1 (CEA-608): first a caption that pops on, then three lines that roll up.
std::vector<quint16> makeCaptionScript()
{
    enum : quint16 {
        ResumeLoading = 0x1420,
        RollUp3 = 0x1426,
        ErasePicture = 0x142C,
        CarriageReturn = 0x142D,
        EraseUnseen = 0x142E,
        EndOfCaption = 0x142F,
        Row14Yellow = 0x144A,
        Row15White = 0x1460,
    };
    constexpr std::size_t pause = 50; // pairs
    std::vector<quint16> script;
    const auto control = [&script](quint16 code) { script.insert(script.end(), 2, code); };
    const auto text = [&script](const char* characters) {
        for (; *characters != 0; characters += characters[1] != 0 ? 2 : 1) {
            script.push_back(static_cast<quint16>(characters[0] << 8 | characters[1]));
        }
    };
    const auto wait = [&script] { script.insert(script.end(), pause, 0); };
    for (const quint16 code : {ResumeLoading, EraseUnseen, Row14Yellow}) {
        control(code);
    }
    text("A caption that pops on,");
    control(Row15White);
    text("all of it at once.");
    control(EndOfCaption);
    wait();
    control(ErasePicture);
    for (const char* line : {"These lines roll up:", "each new one at the foot", "moves the others",
                             "up, and out at the top."}) {
        for (const quint16 code : {RollUp3, CarriageReturn, Row15White}) {
            control(code);
        }
        text(line);
    }
    wait();
    control(ErasePicture);
    return script;
}

quint8 withOddParity(int byte)
{
    int ones = 0;
    for (int bit = 0; bit < 7; ++bit) {
        ones += byte >> bit & 1;
    }
    return static_cast<quint8>((byte & 0x7F) | (ones % 2 == 0 ? 0x80 : 0));
}

std::shared_ptr<RawDataPacket> makeCaptions(quint64 step)
{
    static const std::vector<quint16> script = makeCaptionScript();
    const quint16 code = script[static_cast<std::size_t>(step % script.size())];
    constexpr bool isField1 = true;
    return std::make_shared<Captions608bytePairsRawDataPacket>(
        std::vector<Caption608BytePair>{Caption608BytePair::fromRaw(
            withOddParity(code >> 8), withOddParity(code & 0x7F), isField1)});
}

QString makeEvent(quint64 event)
{
    static constexpr const char* EVENTS[] = {"grandmaster announced", "input 1 shows colour bars",
                                             "calibration is due in 30 days",
                                             "input 3 shows programme", "fan speed lowered"};
    const quint64 seconds = event * EVENT_STEPS * DEMONSTRATION_STEP_MS / 1000;
    return QStringLiteral("%1 s: %2")
        .arg(seconds)
        .arg(QLatin1String(EVENTS[event % std::size(EVENTS)]));
}

} // namespace

DemonstrationValues makeDemonstrationValues(quint32 seed, quint64 step)
{
    DemonstrationValues values;
    values.temperature =
        44 + static_cast<int>(std::lround(5 * drift(seed, Temperature, step, 250)));
    values.ptpOffset =
        std::llround(60 * drift(seed, Offset, step, 100) + 15 * noise(seed, Offset, step));
    const quint64 period = 600 + 175; // input 2's
    values.crcErrors =
        step / period * LOSS_STEPS + (isLost(1, step) ? step % period - (period - LOSS_STEPS) : 0);
    values.isOnAir = step / ON_AIR_STEPS % 2 == 1;
    const quint64 newest = step / EVENT_STEPS;
    for (quint64 event = newest - std::min<quint64>(newest, 7); event <= newest; ++event) {
        values.log.append(makeEvent(event));
    }
    for (int input = 0; input < DemonstrationValues::INPUTS; ++input) {
        auto& measured = values.inputs[static_cast<std::size_t>(input)];
        measured.isLocked = !isLost(input, step);
        const double width = measured.isLocked ? 0.1 + 0.02 * input : 2;
        measured.jitter =
            width * (1 + 0.3 * noise(seed, Jitter + static_cast<quint64>(input), step));
    }
    for (int channel = 0; channel < DemonstrationValues::CHANNELS; ++channel) {
        values.levels[static_cast<std::size_t>(channel)] = makeLevel(seed, channel, step);
    }
    return values;
}

std::vector<std::shared_ptr<RawDataPacket>> makeDemonstrationRecords(quint32 seed, quint64 step)
{
    std::vector<std::shared_ptr<RawDataPacket>> records{makeCaptions(step)};
    appendMeters(seed, step, records);
    if (step % SLOW_STEPS == 0) {
        records.push_back(makeEye(seed, step));
    } else if (step % SLOW_STEPS == 2) {
        records.push_back(makeSpectrum(seed, step));
    }
    return records;
}

DemonstrationTree::Input::Input(const QString& name, DatacoreBase* parentNode)
    : DatacoreBase(name, parentNode)
{
    locked.setNotes({{}, QStringLiteral("Whether the receiver follows the signal."), false, 1, 1});
    jitter.setNotes({QStringLiteral("UI"), QStringLiteral("Jitter, peak to peak."), false, 1, 1});
}

DemonstrationTree::DemonstrationTree(DatacoreBase& status)
    : statusTree(status)
    , inputsNode(QStringLiteral("inputs"), &status)
    , levelsNode(QStringLiteral("audioLevels"), &status)
    , onAir(QStringLiteral("onAir"), &status)
{
    onAir.setNotes({{}, QStringLiteral("Whether the output is on air."), false, 1, 1});
    for (int input = 1; input <= DemonstrationValues::INPUTS; ++input) {
        inputs.emplace_back(QStringLiteral("input%1").arg(input), &inputsNode);
    }
    for (int channel = 1; channel <= DemonstrationValues::CHANNELS; ++channel) {
        levels.emplace_back(QStringLiteral("channel%1").arg(channel), &levelsNode);
        levels.back().setNotes(
            {QStringLiteral("dBFS"), QStringLiteral("Level of the audio channel."), false, 1, 1});
    }
}

void DemonstrationTree::show(const DemonstrationValues& values, const DatacoreBase& config)
{
    const auto set = [this](const char* name, const QString& value) {
        if (DatacoreBase* leaf = statusTree.findDatacore(QString::fromLatin1(name))) {
            leaf->setData(value);
        }
    };
    set("temperature", QString::number(values.temperature));
    set("ptpOffset", QString::number(values.ptpOffset));
    set("crcErrors", QString::number(values.crcErrors));
    if (DatacoreBase* log = statusTree.findDatacore(QStringLiteral("log"))) {
        log->setData(std::deque<QString>(values.log.begin(), values.log.end()));
    }
    onAir.setDataBool(values.isOnAir);
    for (std::size_t input = 0; input < inputs.size(); ++input) {
        const auto& measured = values.inputs[input];
        const DatacoreBase* enabled =
            config.findDatacore(inputs[input].getInstanceName() + QStringLiteral("/enabled"));
        const bool isNeeded = enabled == nullptr || enabled->getData() != QStringLiteral("false");
        const qint32 inactive =
            isNeeded ? 0 : DatacoreActiveStatusMessage::MessageContent_NotNeeded;
        inputs[input].locked.setMeasured(measured.isLocked ? QStringLiteral("true")
                                                           : QStringLiteral("false"),
                                         measured.isLocked ? 0 : JITTER_LOCK_FAILED, inactive);
        inputs[input].jitter.setMeasured(QString::number(measured.jitter, 'f', 3),
                                         measured.isLocked ? 0 : JITTER_UNRELIABLE, inactive);
    }
    for (std::size_t channel = 0; channel < levels.size(); ++channel) {
        levels[channel].setData(QString::number(values.levels[channel], 'f', 1));
    }
}

LoadTree::LoadTree(DatacoreBase& status, int leafCount)
    : top(QStringLiteral("load"), &status)
{
    for (int index = 0; index < leafCount; ++index) {
        if (index % GROUP_LEAVES == 0) {
            groups.emplace_back(QStringLiteral("group%1").arg(index / GROUP_LEAVES), &top);
        }
        leaves.emplace_back(QStringLiteral("leaf%1").arg(index % GROUP_LEAVES), &groups.back());
        leaves.back().setNotes({QStringLiteral("ms"),
                                QStringLiteral("When it changed, in milliseconds since 1970."),
                                false, 1, 1});
    }
}

void LoadTree::change(int count, qint64 nowMs)
{
    for (; count > 0 && !leaves.empty(); --count) {
        leaves[next].setDataNumber(nowMs);
        next = (next + 1) % leaves.size();
    }
}
