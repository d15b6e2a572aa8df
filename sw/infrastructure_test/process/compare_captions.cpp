// CC1 to CC4, caption by caption at random, as CaptionDemultiplexer and as libzvbi show them. The
// programme uses what the two have in common: libzvbi puts a blank where a mid-row code stands,
// passes over extended characters, obeys each repeated code of field 2, and takes text of either
// field for the channel that was named last in any. Exits with 77, and says so, if it was built
// without libzvbi.
#include <cstdio>

#if HAVE_ZVBI

#include "infrastructure/utility/BitTwiddles.h"
#include "infrastructure/utility/captions/CaptionDemultiplexer.h"
#include "infrastructure/utility/video/ancillary/AncillaryContents.h"

#include <QStringList>

#include <libzvbi.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <vector>

namespace {

using Pair = std::array<uint8_t, 2>;

constexpr int ROUNDS = 2000;

/// The pairs of one caption of a service, CC1 to CC4 as 0 to 3.
class Caption
{
public:
    explicit Caption(unsigned captionService)
        : service(captionService)
    {
    }

    bool isField1() const { return service < 2; }
    const std::vector<Pair>& getPairs() const { return pairs; }

    /// A code of this service, twice in field 1; miscellaneous codes tell their field.
    void control(unsigned code)
    {
        const bool tellsField = (code & 0x7670) == 0x1420 && !isField1();
        const unsigned sent = code | (service % 2) << 11 | (tellsField ? 0x0100 : 0);
        add(sent);
        if (isField1()) {
            add(sent);
        }
    }
    void add(unsigned code)
    {
        const auto withParity = [](unsigned byte) {
            return static_cast<uint8_t>(byte | Tessorn::BitTwiddles::getOddParityBit(byte) << 7);
        };
        pairs.push_back({withParity(code >> 8), withParity(code & 0xFF)});
    }

private:
    unsigned service;
    std::vector<Pair> pairs;
};

/// A caption of a random service in a random style.
Caption drawCaption(std::mt19937& random)
{
    constexpr unsigned rows[] = {0x1140, 0x1160, 0x1240, 0x1260, 0x1540, 0x1560, 0x1640, 0x1660,
                                 0x1740, 0x1760, 0x1040, 0x1340, 0x1360, 0x1440, 0x1460};
    const auto draw = [&random](unsigned count) { return static_cast<unsigned>(random()) % count; };
    Caption caption(draw(4));
    const auto text = [&] {
        for (unsigned count = 1 + draw(8); count > 0; --count) {
            caption.add((0x61 + draw(26)) << 8 | (0x41 + draw(26)));
        }
        if (draw(3) == 0) {
            caption.control(0x1130 + draw(9)); // a special character
        }
        caption.add(0x2020); // libzvbi shows painted text word by word
    };
    const unsigned style = draw(3);
    if (style == 0) { // pop-on
        caption.control(0x1420);
        caption.control(0x142E);
        unsigned row = draw(15);
        for (unsigned count = 1 + draw(2); count > 0; --count) {
            caption.control(rows[row] | 0x10 | draw(4) << 1);
            text();
            row = (row + 1 + draw(14)) % 15; // another: libzvbi wipes what is left of the text
        }
        caption.control(0x142F);
    } else if (style == 1) { // paint-on
        caption.control(0x142C);
        caption.control(0x1429);
        caption.control(rows[draw(15)] | 0x10 | draw(4) << 1);
        text();
    } else {                     // roll-up
        caption.control(0x1426); // three rows: libzvbi clears when their number changes
        caption.control(0x142D);
        caption.control(0x1470); // row 15
        text();
    }
    return caption;
}

/// The rows without the blanks behind them.
QString withoutEnds(const QStringList& rows)
{
    QString text;
    for (QString row : rows) {
        while (row.endsWith(QLatin1Char(' '))) {
            row.chop(1);
        }
        text += row + QLatin1Char('\n');
    }
    return text;
}

/// What libzvbi shows of a service: 15 rows of 34 columns, one of them in front of the first.
QString pageOf(vbi_decoder* decoder, int service)
{
    vbi_page page;
    QStringList rows;
    if (!vbi_fetch_cc_page(decoder, &page, service, 1)) {
        return QStringLiteral("no page\n");
    }
    for (int row = 0; row < page.rows; ++row) {
        QString text;
        for (int column = 1; column < page.columns - 1; ++column) {
            const vbi_char& cell = page.text[row * page.columns + column];
            const bool isBlank = cell.opacity == VBI_TRANSPARENT_SPACE || cell.unicode == 0xA0;
            text += isBlank ? QChar(QLatin1Char(' ')) : QChar(static_cast<char16_t>(cell.unicode));
        }
        rows.append(text);
    }
    vbi_unref_page(&page);
    return withoutEnds(rows);
}

QString pictureOf(const CaptionProcessor608& service)
{
    QStringList rows;
    for (unsigned row = 0; row < 15; ++row) {
        rows.append(service.displayedGrid().rowText(row).replace(QChar(0xA0), QLatin1Char(' ')));
    }
    return withoutEnds(rows);
}

} // namespace

int main()
{
    const std::unique_ptr<vbi_decoder, decltype(&vbi_decoder_delete)> decoder(vbi_decoder_new(),
                                                                              &vbi_decoder_delete);
    CaptionDemultiplexer services;
    CaptionDistributionPacket cdp;
    std::mt19937 random(608);
    double time = 0;
    int shown = 0;
    for (int round = 0; round < ROUNDS; ++round) {
        const Caption caption = drawCaption(random);
        for (const Pair& pair : caption.getPairs()) {
            constexpr Pair filler{0x80, 0x80};
            const std::array<Pair, 2> pairs{caption.isField1() ? pair : filler,
                                            caption.isField1() ? filler : pair};
            cdp.tripletCount = 0;
            std::array<vbi_sliced, 2> lines{};
            for (std::size_t i = 0; i < 2; ++i) {
                lines[i].id = i == 0 ? VBI_SLICED_CAPTION_525_F1 : VBI_SLICED_CAPTION_525_F2;
                lines[i].line = i == 0 ? 21 : 284;
                std::copy(pairs[i].begin(), pairs[i].end(), lines[i].data);
                cdp.append({true, i == 0 ? CaptionTripletType_Field1 : CaptionTripletType_Field2,
                            pairs[i]});
            }
            cdp.pad();
            ++cdp.sequence;
            const std::vector<uint8_t> bytes = cdp.toBytes();
            services.process(makeAncillaryPacket({0x61, 0x01}, bytes.data(), bytes.size()));
            vbi_decode(decoder.get(), lines.data(), 2, time += 1 / 29.97);
        }
        for (int number = 1; number <= 4; ++number) {
            const QString ours = pictureOf(services.service608(static_cast<unsigned>(number)));
            const QString theirs = pageOf(decoder.get(), number);
            shown += ours.trimmed().isEmpty() ? 0 : 1;
            if (ours != theirs) {
                std::printf("CC%d, round %d: we show\n%sand libzvbi\n%s", number, round,
                            ours.toUtf8().constData(), theirs.toUtf8().constData());
                return 1;
            }
        }
    }
    if (!services.getFindings().isEmpty() || shown < ROUNDS) {
        std::printf("%d pictures, %s\n", shown,
                    services.getFindings().isEmpty() ? "few" : "with findings");
        return 1;
    }
    std::printf("%d pictures of four services are the same\n", shown);
    return 0;
}

#else

int main()
{
    std::puts("libzvbi-dev is not installed: nothing to compare with");
    return 77;
}

#endif
