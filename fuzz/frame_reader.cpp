// One byte that picks a layout and whether words are tagged, one that says how many bytes a piece
// has, then operations on a good frame: cut, insert, change. Whatever comes out, findings stay
// bounded, lines lie in the words given, and a good frame after it is read whole.
#include "sw/infrastructure_test/MadeFrame.h"

#include <cstdlib>

namespace {

const FrameLayout LAYOUTS[] = {
    {{{FieldRegion(0, 0, 61, 6), FieldRegion(25, 2, 36, 3)}}},
    {{{FieldRegion(0, 0, 64, 5), FieldRegion(24, 2, 40, 2)},
      {FieldRegion(0, 5, 64, 4), FieldRegion(24, 7, 40, 2)}}},
    {{{FieldRegion(0, 0, 160, 5), FieldRegion(44, 2, 116, 2)}}, 2},
    {{{FieldRegion(0, 0, 80, 5), FieldRegion(20, 2, 60, 2)}}, 1, 1},
};

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    const FrameLayout& layout = LAYOUTS[data[0] & 3];
    const bool isTagged = (data[0] & 4) != 0;
    const std::size_t piece = 1u + data[1];
    const FrameWords good = joined(layout, makeFrame(layout), isTagged);
    FrameWords words;
    std::size_t at = 0; // in the good frame
    for (std::size_t i = 2; i + 3 < size; i += 4) {
        const std::size_t number = data[i + 1] | std::size_t(data[i + 2]) << 8;
        switch (data[i] & 3) {
        case 0: // so many good ones
            for (std::size_t n = 0; n < number % good.size(); ++n) {
                words.push_back(good[at++ % good.size()]);
            }
            break;
        case 1: // skipped
            at += number;
            break;
        case 2: // a good one with a bit changed
            words.push_back(good[at++ % good.size()] ^ 1u << (data[i + 3] & 31));
            break;
        default:
            words.push_back(static_cast<quint32>(number) | quint32(data[i + 3]) << 24);
        }
        if (words.size() > 100000) {
            return 0;
        }
    }
    FrameReaderOptions options;
    options.isTagged = isTagged;
    options.repeats = (data[0] & 8) != 0;
    options.mostFindings = 20;
    FrameReader reader(layout, options);
    quint64 sum = 0;
    reader.setLineReceiver([&](const FrameReader::Line& line) {
        require(std::size_t(line.field) < layout.fields.size());
        require(line.blankingCount + line.pictureCount ==
                layout.fields[std::size_t(line.field)].getWidth());
        for (quint32 n = 0; n < line.blankingCount; ++n) {
            sum += line.blanking[n];
        }
        for (quint32 n = 0; n < line.pictureCount; ++n) {
            sum += line.picture[n];
        }
    });
    for (std::size_t i = 0; i < words.size(); i += piece) {
        const FrameWords part(words.begin() + std::ptrdiff_t(i),
                              words.begin() + std::ptrdiff_t(std::min(i + piece, words.size())));
        reader.read(part.data(), part.size());
    }
    reader.finish();
    require(reader.getFindings().getFindings().size() <= 20);
    reader.clearFindings();
    const quint64 frames = reader.getFrameCount();
    reader.read(good.data(), good.size());
    require(reader.getFindings().isEmpty() && reader.getFrameCount() == frames + 1);
    return sum == 1 ? 1 : 0;
}
