#include "infrastructure/ip/2110/FrameRate2110.h"

namespace Tessorn {
namespace IpTypes {

namespace {

struct RateRow
{
    quint32 value;
    bool with1001; ///< also exists over 1001
};

constexpr RateRow RATES[] = {
    {24, true}, {25, false}, {30, true},   {48, true},  {50, false},
    {60, true}, {96, true},  {100, false}, {120, true},
};

} // namespace

bool FrameRate2110::isValid() const
{
    const RateRow* row = Vocabulary::find(RATES, rate);
    return row != nullptr && (denominator == 1000 || (is1001() && row->with1001));
}

} // namespace IpTypes
} // namespace Tessorn
