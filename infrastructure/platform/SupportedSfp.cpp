#include "infrastructure/platform/SupportedSfp.h"

#include <algorithm>

namespace {

struct RateText
{
    SfpRate rate;
    const char* text;
};

constexpr RateText RATE_TEXTS[] = {
    {SfpRate_SDI, "SDI"},
    {SfpRate_1G, "1G"},
    {SfpRate_10G, "10G"},
    {SfpRate_1G10G, "1G10G"},
};

using Values = SfpTransceiverConfig::Values;

constexpr Values all(uint32_t value)
{
    return {value, value, value, value};
}

/// The value for 1G and 1G10G, nothing for SDI and 10G.
constexpr Values alternating(uint32_t value)
{
    return {0, value, 0, value};
}

constexpr SfpTransceiverConfig VEL_A = {all(13), all(10), all(20), all(0)};
constexpr SfpTransceiverConfig VEL_B = {all(13), alternating(10), alternating(20), all(0)};
constexpr SfpTransceiverConfig VELM_0 = {all(15), alternating(10), alternating(25), all(0)};
constexpr SfpTransceiverConfig VELM = {all(15), alternating(10), alternating(20), all(0)};

} // namespace

constexpr std::array<SfpTransceiverConfig, SFP_BOARDS> SFP_DEFAULT_CONFIGS_VEL = {
    VEL_A, VEL_A, VEL_A, VEL_A, VEL_A, VEL_A, VEL_A, VEL_A,
    VEL_A, VEL_A, VEL_B, VEL_B, VEL_B, VEL_B, VEL_B, VEL_B,
};

constexpr std::array<SfpTransceiverConfig, SFP_BOARDS> SFP_DEFAULT_CONFIGS_VELM = {
    VELM_0, VELM, VELM, VELM, VELM, VELM, VELM, VELM,
    VELM,   VELM, VELM, VELM, VELM, VELM, VELM, VELM,
};

QString SupportedSfp::unpaddedKey(const QString& vendor, const QString& partNumber,
                                  const QString& revision)
{
    const auto unpadded = [](const QString& text) {
        const auto last =
            std::find_if(text.rbegin(), text.rend(), [](QChar c) { return c != QLatin1Char(' '); });
        return text.left(static_cast<int>(text.rend() - last));
    };
    return key(unpadded(vendor), unpadded(partNumber), unpadded(revision));
}

SfpRate sfpRateFromText(const QString& text)
{
    for (const RateText& row : RATE_TEXTS) {
        if (text == QLatin1String(row.text)) {
            return row.rate;
        }
    }
    return SfpRate_Invalid;
}

QString sfpRateText(SfpRate rate)
{
    for (const RateText& row : RATE_TEXTS) {
        if (row.rate == rate) {
            return QLatin1String(row.text);
        }
    }
    return {};
}
