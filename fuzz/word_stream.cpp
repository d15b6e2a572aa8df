// Operations on the words of links: pieces of good signals, words lost, changed, made up. Whatever
// comes, findings stay bounded, and a good signal after it is measured and read.
#include "infrastructure/utility/video/analysis/SdiWordReader.h"
#include "sw/infrastructure_test/MadeFrame.h"

#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

const SdiRaster RASTERS[] = {
    {2, 40, 18, {{1, 6, 3, 3}}},
    {4, 42, 18, {{1, 5, 2, 3}, {6, 4, 7, 2}}},
    {8, 41, 18, {{1, 6, 3, 3}}},
    {1, 40, 30, {{1, 5, 2, 3}, {6, 4, 7, 2}}},
};

std::vector<quint16> linkWords(const SdiRaster& raster)
{
    const FrameLayout layout = raster.toLayout();
    const FrameWords store = joined(layout, makeFrame(layout), false);
    const quint32 order[][4] = {{0}, {1, 0}, {3, 1, 2, 0}};
    std::vector<quint16> link;
    for (std::size_t i = 0; i < store.size(); i += layout.streams) {
        for (quint32 channel = layout.channels; channel-- > 0;) {
            for (quint32 n = 0; n < layout.streams; ++n) {
                const quint32 stream = order[layout.streams / 2][n];
                link.push_back(quint16(store[i + stream] >> (10 * channel) & 0x3FF));
            }
        }
    }
    return link;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    SdiWordReader reader;
    quint64 sum = 0;
    reader.setLineReceiver([&](const FrameReader::Line& line) {
        for (quint32 n = 0; n < line.blankingCount; ++n) {
            sum += line.blanking[n];
        }
        for (quint32 n = 0; n < line.pictureCount; ++n) {
            sum += line.picture[n];
        }
    });
    std::vector<quint16> good = linkWords(RASTERS[0]);
    std::size_t at = 0;
    std::size_t total = 0;
    for (std::size_t i = 0; i + 3 < size && i < 400; i += 4) {
        const std::size_t number = data[i + 1] | std::size_t(data[i + 2] & 0xF) << 8;
        std::vector<quint16> words;
        switch (data[i] & 3) {
        case 0:
            for (std::size_t n = 0; n < number; ++n) {
                words.push_back(good[at++ % good.size()]);
            }
            break;
        case 1:
            at += number;
            break;
        case 2:
            words.push_back(quint16(good[at++ % good.size()] ^ 1u << (data[i + 3] & 15)));
            break;
        default:
            if ((data[i] & 4) != 0) {
                good = linkWords(RASTERS[data[i + 3] & 3]);
            } else {
                words.assign(data[i + 3], quint16(number));
            }
        }
        reader.read(words.data(), words.size());
        total += words.size();
        require(reader.getRaster().has_value() ==
                (reader.getState() == SdiWordReader::State::Reading));
    }
    require(reader.getFindings().getFindings().size() <= FindingList::DEFAULT_LIMIT);
    // Whatever was, it is over once no reference has come for several of the longest lines.
    const std::vector<quint16> silence(6 * std::min<std::size_t>(total, 1u << 17) + 1000, 0x200);
    reader.read(silence.data(), silence.size());
    reader.clearFindings();
    const quint64 frames = reader.getFrameCount();
    for (int n = 0; n < 5; ++n) {
        reader.read(good.data(), good.size());
    }
    require(reader.getFrameCount() >= frames + 2 && reader.getFindings().isEmpty());
    return sum == 1 ? 1 : 0;
}
