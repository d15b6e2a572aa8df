#include "infrastructure/utility/captions/XdsRatingText.h"

#include <array>

namespace {

using Texts = std::array<const char*, 8>;

constexpr Texts MOTION_PICTURE{"MPA:NA", "MPA:G",    "MPA:PG", "MPA:PG13",
                               "MPA:R",  "MPA:NC17", "MPA:X",  "MPA:--"};
constexpr Texts US_TELEVISION{"TV:NONE", "TV:Y",  "TV:Y7", "TV:G",
                              "TV:PG",   "TV:14", "TV:MA", "TV:NONE"};
constexpr Texts CANADIAN_ENGLISH{"CEn:E",  "CEn:C",  "CEn:C8", "CEn:G",
                                 "CEn:PG", "CEn:14", "CEn:18", "CEn:Inv"};
constexpr Texts CANADIAN_FRENCH{"CFr:E",  "CFr:G",  "CFr:8",   "CFr:13",
                                "CFr:16", "CFr:18", "CFr:Inv", "CFr:Inv"};

constexpr unsigned GUIDELINE_Y7 = 2; ///< for children of seven: its violence is fantasy violence

QString usTelevisionText(unsigned guideline, unsigned second, bool hasDialogue, bool hasLanguage)
{
    QString text = QLatin1String(US_TELEVISION[guideline]) + QLatin1Char(' ');
    if ((second & 0x20) != 0) {
        text += QLatin1String(guideline == GUIDELINE_Y7 ? "Fv," : "V,");
    }
    if ((second & 0x10) != 0) {
        text += QLatin1String("S,");
    }
    if (hasLanguage) {
        text += QLatin1String("L,");
    }
    if (hasDialogue) {
        text += QLatin1Char('D');
    }
    if (text.endsWith(QLatin1Char(','))) {
        text.chop(1);
    }
    return text;
}

} // namespace

///   bit     5      4     3     2 to 0
///   first   a2, D  a1    a0    motion picture rating
///   second  V      S     a3, L guideline
QString ratingText(const XdsPacket& packet)
{
    XdsBytePair pair;
    if (!packet.pairAt(1, pair)) {
        return QStringLiteral("VChip Fail");
    }
    const bool a0 = (pair.c1 & 0x08) != 0;
    const bool a1 = (pair.c1 & 0x10) != 0;
    const bool a2 = (pair.c1 & 0x20) != 0;
    const bool a3 = (pair.c2 & 0x08) != 0;
    const unsigned guideline = pair.c2 & 7;
    if (!a0) {
        return QLatin1String(MOTION_PICTURE[pair.c1 & 7]);
    }
    if (!a1) {
        return usTelevisionText(guideline, pair.c2, a2, a3);
    }
    if (a3) {
        return QStringLiteral("Unknown");
    }
    return QLatin1String(a2 ? CANADIAN_FRENCH[guideline] : CANADIAN_ENGLISH[guideline]);
}
