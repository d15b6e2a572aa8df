// Payload identifiers and standards: reading a field beside an ordered map of bit lists, describing
// beside QString's own formatting, look-ups beside a walk of the list, and building the list.
#include "bench/Compare.h"
#include "infrastructure/utility/video/PayloadIdentifierBase.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"

#include <cstddef>
#include <map>

extern "C" void* __libc_malloc(std::size_t size);

namespace {
std::size_t allocations = 0; ///< of this thread, the only one
}

/// Counts every heap allocation, Qt's included.
extern "C" void* malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}

namespace {

using namespace Tessorn::Sdi;
using namespace Tessorn::Sdi::PayloadId;

constexpr double FIELD_READ_LIMIT_NS = 5;
constexpr double LIST_LIMIT_S = 0.020;

const std::vector<SupportedVideoStandards::Standard>& listed()
{
    return SupportedVideoStandards::getInstance().getStandards();
}

/// Calls `use` with each standard of the list.
template <typename Use>
void forEachStandard(Use use)
{
    for (const auto& standard : listed()) {
        use(*standard);
    }
}

void perStandard(benchmark::State& state)
{
    state.SetItemsProcessed(state.iterations() * static_cast<qint64>(listed().size()));
}

/// A field table in its obvious form: an ordered map of lists.
using ListMap = std::map<quint32, std::pair<quint32, std::vector<quint32>>>;

ListMap listMapOf(const PayloadIdentifierFieldMap& fields)
{
    ListMap map;
    for (quint32 key = 0; key < PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
        const auto field = fields.get(static_cast<PayloadIdentifierKey>(key));
        std::vector<quint32> bits;
        for (quint32 index = 0; index < field.getWidth(); ++index) {
            bits.push_back(field.getBit(index));
        }
        if (!bits.empty()) {
            map[key] = {field.getByteIndex(), bits};
        }
    }
    return map;
}

quint32 readFrom(const ListMap& map, quint32 rawValue, quint32 key)
{
    const auto found = map.find(key);
    if (found == map.end()) {
        return 0;
    }
    quint32 value = 0;
    for (std::size_t i = 0; i < found->second.second.size(); ++i) {
        const quint32 bit = (3 - found->second.first) * 8 + found->second.second[i];
        value |= ((rawValue >> bit) & 1u) << i;
    }
    return value;
}

void readField(benchmark::State& state)
{
    const auto identifier = listed().back()->getPrimaryIdentifier();
    const ListMap map = listMapOf(identifier->getFieldMap());
    constexpr int rounds = 1000;
    const std::size_t before = allocations;
    const auto ours = [&] {
        for (int i = 0; i < rounds; ++i) {
            for (quint32 key = 0; key < PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
                const PayloadIdentifierBase* hidden = identifier.get();
                benchmark::DoNotOptimize(hidden);
                benchmark::DoNotOptimize(hidden->getField(static_cast<PayloadIdentifierKey>(key)));
            }
        }
    };
    ours();
    const std::size_t taken = allocations - before;
    const double oneReadNs =
        bench::seconds(ours) * 1e9 / (rounds * double(PAYLOAD_IDENTIFIER_KEY_COUNT));
    bench::compare(state, 1, 2, ours, [&] {
        for (int i = 0; i < rounds; ++i) {
            for (quint32 key = 0; key < PAYLOAD_IDENTIFIER_KEY_COUNT; ++key) {
                quint32 rawValue = identifier->getRawValue();
                benchmark::DoNotOptimize(rawValue);
                benchmark::DoNotOptimize(readFrom(map, rawValue, key));
            }
        }
    });
    state.counters["nsEach"] = oneReadNs;
    state.counters["nsLimit"] = FIELD_READ_LIMIT_NS;
    state.counters["allocations"] = static_cast<double>(taken);
}

/// The same text through QString's place markers.
QString describeWithArg(const StandardFromPayloadIdentifier& standard)
{
    const PayloadIdentifierBase& identifier = *standard.getPrimaryIdentifier();
    const quint32 links = standard.getNumberOfLinks();
    const QSize size = standard.getPictureSize();
    const auto optional = [](quint32 value, QLatin1String text) {
        return value != 0 ? QStringLiteral(" %1").arg(text) : QString();
    };
    const SdiDataRate rate = identifier.getSdiDataRate();
    return QStringLiteral("%1x%2%3%4 %5:%6 %7%8%9")
               .arg(size.width())
               .arg(size.height())
               .arg(toString(identifier.getPicutreInterlacedProgressivePsf()))
               .arg(toString(FrameRate(identifier.getFrameRate()),
                             identifier.getPicutreInterlaced()))
               .arg(toString(SampleStructure(identifier.getSampleStructure())))
               .arg(toString(BitDepth(identifier.getBitDepth())))
               .arg(QLatin1String(links == 2   ? "DL "
                                  : links == 4 ? "QL "
                                               : ""))
               .arg(toString(rate))
               .arg(optional(rate == SdiDataRate_3G, toString(identifier.getLevel()))) +
           QStringLiteral("%1%2%3 %4")
               .arg(standard.isSquareDivision()
                        ? QStringLiteral(" SQ")
                        : optional(identifier.getSubImageDivision(),
                                   toString(identifier.getSubImageDivision())))
               .arg(optional(identifier.getLuminanceAndColourDifferenceSignal(),
                             toString(LuminanceAndColourDifferenceSignal(
                                 identifier.getLuminanceAndColourDifferenceSignal()))))
               .arg(optional(identifier.getTransferCharacteristics(),
                             toString(TransferCurve(identifier.getTransferCharacteristics()))))
               .arg(toString(Colourimetry(identifier.getColourimetry())));
}

void describeAll(benchmark::State& state)
{
    forEachStandard([&](const StandardFromPayloadIdentifier& standard) {
        if (standard.getDescription() != describeWithArg(standard)) {
            state.SkipWithError("the peer describes something else");
        }
    });
    bench::compare(
        state, 1, 3,
        [] {
            forEachStandard([](const StandardFromPayloadIdentifier& standard) {
                benchmark::DoNotOptimize(standard.getDescription());
            });
        },
        [] {
            forEachStandard([](const StandardFromPayloadIdentifier& standard) {
                benchmark::DoNotOptimize(describeWithArg(standard));
            });
        });
    perStandard(state);
}

void validateAll(benchmark::State& state)
{
    for (auto _ : state) {
        forEachStandard([](const StandardFromPayloadIdentifier& standard) {
            benchmark::DoNotOptimize(standard.getPrimaryIdentifier()->validate());
        });
    }
    perStandard(state);
}

void metricsAll(benchmark::State& state)
{
    std::vector<SupportedVideoStandards::Standard> withMetrics;
    std::copy_if(listed().begin(), listed().end(), std::back_inserter(withMetrics),
                 [](const auto& standard) { return standard->getReasonWithoutMetrics().empty(); });
    for (auto _ : state) {
        for (const auto& standard : withMetrics) {
            benchmark::DoNotOptimize(standard->getTransmissionMetrics());
        }
    }
    perStandard(state);
}

/// Looks up every hundredth standard.
template <typename Find, typename Walk>
void compareLookUp(benchmark::State& state, Find find, Walk walk)
{
    const auto forSome = [](auto lookUp) {
        return [lookUp] {
            for (std::size_t place = 0; place < listed().size(); place += 100) {
                benchmark::DoNotOptimize(lookUp(*listed()[place]));
            }
        };
    };
    bench::compare(state, 10, 100, forSome(find), forSome(walk));
}

void findByDescription(benchmark::State& state)
{
    compareLookUp(
        state,
        [](const StandardFromPayloadIdentifier& wanted) {
            return SupportedVideoStandards::getInstance().findByDescription(
                wanted.getDescription());
        },
        [](const StandardFromPayloadIdentifier& wanted) {
            const QString description = wanted.getDescription();
            return std::find_if(listed().begin(), listed().end(), [&](const auto& standard) {
                return standard->getDescription() == description;
            });
        });
}

void findByPayloadIdentifier(benchmark::State& state)
{
    compareLookUp(
        state,
        [](const StandardFromPayloadIdentifier& wanted) {
            return SupportedVideoStandards::getInstance().findByPayloadIdentifier(
                wanted.getPrimaryIdentifier()->getRawValue(), wanted.isSquareDivision());
        },
        [](const StandardFromPayloadIdentifier& wanted) {
            return std::find_if(listed().begin(), listed().end(),
                                [&](const auto& standard) { return *standard == wanted; });
        });
}

/// The ratio is the time allowed to the time taken.
void buildList(benchmark::State& state)
{
    std::vector<double> ratios;
    std::size_t count = 0;
    for (auto _ : state) {
        const double took = bench::seconds([&] {
            const SupportedVideoStandards standards;
            count = standards.getStandards().size();
        });
        state.SetIterationTime(took);
        ratios.push_back(LIST_LIMIT_S / took);
    }
    state.counters["ratio"] = bench::median(std::move(ratios));
    state.counters["must"] = 1;
    state.counters["aim"] = 3;
    state.counters["standards"] = static_cast<double>(count);
}

BENCHMARK(readField)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(describeAll)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(validateAll)->Unit(benchmark::kMillisecond);
BENCHMARK(metricsAll)->Unit(benchmark::kMillisecond);
BENCHMARK(findByDescription)->Iterations(20)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(findByPayloadIdentifier)->Iterations(20)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(buildList)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
