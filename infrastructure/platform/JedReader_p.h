// Reads a fuse file line by line; whoever prints it is told what each line was.
#pragma once

#include "infrastructure/platform/JedSummary.h"

#include <functional>
#include <string_view>

namespace Tessorn {

/// What a line has put into the summary, or what is wrong with it.
enum JedItem {
    JedItem_NoStart, ///< the file does not begin with STX
    JedItem_Unknown, ///< a line that begins with the first character of the text
    JedItem_BadDate, ///< the text; the number of its fields that could be read
    JedItem_Date,
    JedItem_Design,
    JedItem_Device,
    JedItem_ToolVersion,
    JedItem_FusesAhead, ///< the first "L", where reading ends if no more is wanted
    JedItem_Fuses,      ///< a section of fuses whose end had not been announced
    JedItem_FeatureRow,
    JedItem_FeatureBits,
    JedItem_UserCode,
};

using JedListener =
    std::function<void(JedItem item, const JedSummary& summary, std::string_view text, int fields)>;

/// Reads to the end or, with `untilFuses`, up to the first "L". Returns 0 or the number of the
/// check that failed.
int readJedFile(std::FILE* stream, bool untilFuses, JedSummary& summary,
                const JedListener& listener);

} // namespace Tessorn
