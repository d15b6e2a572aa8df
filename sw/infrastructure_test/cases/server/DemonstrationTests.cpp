#include "sw/datacore_server/Demonstration.h"

#include "infrastructure/utility/captions/CaptionField608.h"
#include "infrastructure/utility/records/Captions608bytePairsRawDataPacket.h"
#include "infrastructure/utility/records/EyeHistogramData.h"
#include "infrastructure/utility/records/MetersData.h"
#include "infrastructure/utility/records/RawSdiJitterSpectrumDataPacket.h"
#include "sw/infrastructure_test/Catch.h"

#include <set>

namespace {

template <typename Packet>
std::shared_ptr<Packet> findRecord(quint64 step)
{
    for (const auto& record : makeDemonstrationRecords(1, step)) {
        if (const auto found = std::dynamic_pointer_cast<Packet>(record)) {
            return found;
        }
    }
    return nullptr;
}

} // namespace

TEST_CASE("The demonstration's records look like measurements", "[server]")
{
    REQUIRE(findRecord<EyeVerticalHistogramData>(0)->histogram.size() == EYE_SIDE * EYE_SIDE);
    CHECK(findRecord<EyeVerticalHistogramData>(1) == nullptr);
    CHECK(findRecord<RawSdiJitterSpectrumDataPacket>(2)->spectrumVector1.back() == Approx(1e7));
    CaptionField608 captions;
    std::set<QString> shown;
    for (quint64 step = 0; step < 1000; ++step) {
        const auto meters = findRecord<PpmMetersData>(step);
        const auto peaks = findRecord<PeakHoldMetersData>(step);
        REQUIRE((meters->readings.size() == 16 && peaks->readings.size() == 16));
        for (int channel = 0; channel < 16; ++channel) {
            REQUIRE(meters->readings[channel].meterIndex == channel);
            REQUIRE(peaks->readings[channel].level >= meters->readings[channel].level);
        }
        const Caption608BytePair pair =
            findRecord<Captions608bytePairsRawDataPacket>(step)->getBytePairs().at(0);
        REQUIRE(qPopulationCount(pair.rawData1) % 2 == 1);
        REQUIRE((qPopulationCount(pair.rawData2) % 2 == 1 && pair.isField1));
        captions.process(pair.code());
        shown.insert(captions.service(0).displayedGrid().toString().trimmed());
    }
    CHECK(shown.count("each new one at the foot\nmoves the others\nup, and out at the top."_s) ==
          1);
}

TEST_CASE("The demonstration's values move, and say what is wrong with them", "[server]")
{
    DatacoreBase status("status"_s, nullptr), config("config"_s, nullptr),
        input("input2"_s, &config);
    DatacoreBool enabled("enabled"_s, &input, true);
    DatacoreNumber<int> temperature("temperature"_s, &status);
    DemonstrationTree tree(status);
    DatacoreBase* locked = status.findDatacore(u"inputs/input2/locked");
    DatacoreBase* jitter = status.findDatacore(u"inputs/input2/jitter");
    std::set<QString> temperatures;
    const auto show = [&](quint64 step) {
        tree.show(makeDemonstrationValues(1, step), config);
        temperatures.insert(temperature.getData());
        DatacoreValidStatusMessages reasons;
        return locked->getData() + (locked->isValid(reasons) ? QString() : reasons[0].getText()) +
               (jitter->isValid(reasons) ? QString() : reasons[0].getText());
    };
    for (quint64 step = 0; step < 675; step += 5) {
        REQUIRE(show(step) == "true"_s);
    }
    CHECK(show(675) == "falseJitter lock failedJitter measurement unreliable (H)"_s);
    CHECK(show(775) == "true"_s);
    CHECK(temperatures.size() > 3);
    enabled.setDataBool(false);
    show(775);
    CHECK_FALSE((locked->isActive() || jitter->isActive()));
    CHECK(makeDemonstrationValues(1, 775 + 700).log.last() == "57 s: fan speed lowered"_s);
}
