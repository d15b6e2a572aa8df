// Makes a tagged frame as it is sent on a serial link, and checks such files:
//
//   make_frame FILE [STANDARD] [--picture IMAGE]   writes the words of all fields, 32 bits,
//                                                  big-endian; colour bars if no image is given
//   make_frame --check FILE [STANDARD] [--picture IMAGE]
//                                                  verifies tags, timing references, line numbers
//                                                  and CRCs, and the samples of the image if one is
//                                                  given; reports the first fault of the stream
//
// STANDARD is a description such as "1920x1080i50 YCbCr:422:10 1.5G Rec.709", of level A, 720 or
// 1080 lines, 10 bits 4:2:2 YCbCr on one link. An image must have the standard's picture size.
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/types/VideoTypes.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QtEndian>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

using FrameOperations::Frame;
using Tessorn::Types::Sdi20BitSample;
using Samples = SdiPixelToSourceImageSampleConverter::Samples;
using Standard = SupportedVideoStandards::Standard;

constexpr const char* DEFAULT_STANDARD = "1920x1080p50 YCbCr:422:10 3G A Rec.709";
constexpr quint16 BLACK = 64;
constexpr quint16 NO_COLOUR = 512;

/// 75 % of the range from black to white, in 10 bits.
constexpr quint16 BRIGHT = BLACK + 876 * 3 / 4;

/// 75 % bars in R'G'B', from white to black.
constexpr quint16 BARS[][3] = {{BRIGHT, BRIGHT, BRIGHT}, {BRIGHT, BRIGHT, BLACK},
                               {BLACK, BRIGHT, BRIGHT},  {BLACK, BRIGHT, BLACK},
                               {BRIGHT, BLACK, BRIGHT},  {BRIGHT, BLACK, BLACK},
                               {BLACK, BLACK, BRIGHT},   {BLACK, BLACK, BLACK}};

/// One field as two streams of 10-bit words.
struct Streams
{
    FieldMetrics metrics;
    Frame luma;
    Frame chroma;
};

/// The last word of a timing reference, with its protection bits (SMPTE ST 292-1).
constexpr quint16 referenceWord(bool second, bool blanking, bool end)
{
    const unsigned f = second ? 1 : 0;
    const unsigned v = blanking ? 1 : 0;
    const unsigned h = end ? 1 : 0;
    return static_cast<quint16>(0x200u | f << 8 | v << 7 | h << 6 | (v ^ h) << 5 | (f ^ h) << 4 |
                                (f ^ v) << 3 | (f ^ v ^ h) << 2);
}
static_assert(referenceWord(false, true, true) == 0x2D8 &&
                  referenceWord(false, false, false) == 0x200,
              "the words of the standard");

bool isPictureLine(const FieldMetrics& metrics, quint32 line)
{
    const FieldRegion picture = metrics.getActivePictureRegion();
    const quint32 storeLine = metrics.getWholeFieldRegion().getFirstLineIndex() + line;
    return storeLine >= picture.getFirstLineIndex() && storeLine <= picture.getLastLineIndex();
}

/// Writes what every frame contains: timing references, line numbers, and the CRCs over what is
/// there, for one stream of all fields. The frame is repeated, so the last field precedes the
/// first.
void complete(std::vector<Streams>& fields, Frame Streams::*stream)
{
    for (std::size_t number = 0; number < fields.size(); ++number) {
        Frame& words = fields[number].*stream;
        const FieldMetrics& metrics = fields[number].metrics;
        for (quint32 line = 0; line < metrics.getHeight(); ++line) {
            const bool blanking = !isPictureLine(metrics, line);
            const auto start = words.begin() + std::ptrdiff_t(line) * metrics.getWidth();
            Frame one(start, start + metrics.getWidth());
            FrameOperations::writeTimingReferences(one, metrics,
                                                   referenceWord(number != 0, blanking, true),
                                                   referenceWord(number != 0, blanking, false));
            std::copy(one.begin(), one.end(), start);
        }
        FrameOperations::writeLineNumbers(words, metrics, true, true);
    }
    const Streams* before = &fields.back();
    for (Streams& field : fields) {
        FrameOperations::writeCrcs(
            field.*stream, field.metrics,
            FrameOperations::lastActiveLine(before->*stream, before->metrics));
        before = &field;
    }
}

void complete(std::vector<Streams>& fields)
{
    complete(fields, &Streams::luma);
    complete(fields, &Streams::chroma);
}

/// Samples from R'G'B' in the upper 10 bits of words, in the standard's colourimetry.
Samples toSamples(std::vector<quint16>& words, int width, int height,
                  const StandardFromPayloadIdentifier& standard)
{
    using namespace Tessorn::Sdi::PayloadId;
    Tessorn::Types::PictureBuffer picture{Tessorn::Types::PixelFormat_RGB,
                                          static_cast<quint32>(width), static_cast<quint32>(height),
                                          words.data()};
    const auto depth = static_cast<BitDepth>(standard.getBitDepth());
    SdiColourConverter::convertRgbToYCbCr(
        picture, static_cast<Colourimetry>(standard.getPrimaryIdentifier()->getColourimetry()),
        depth);
    return SdiPixelToSourceImageSampleConverter::convertToYCbCr422_10(picture, depth);
}

/// A whole picture, line by line.
Samples bars(const StandardFromPayloadIdentifier& standard)
{
    const QSize size = standard.getPictureSize();
    const auto width = static_cast<std::size_t>(size.width());
    std::vector<quint16> words;
    for (std::size_t x = 0; x < width; ++x) {
        for (const quint16 component : BARS[x * std::size(BARS) / width]) {
            words.push_back(static_cast<quint16>(component << 6));
        }
    }
    const Samples line = toSamples(words, size.width(), 1, standard);
    Samples samples;
    for (int y = 0; y < size.height(); ++y) {
        samples.insert(samples.end(), line.begin(), line.end());
    }
    return samples;
}

/// An image's full range in the upper 10 bits of a word, from black at 64 to white at 940.
quint16 toNarrowRange(quint16 component)
{
    return static_cast<quint16>((64 + (component * 876u + 32767u) / 65535u) << 6);
}

/// The samples of an image; none, with a line on stderr, if it can't be used.
Samples readPicture(const QString& path, const StandardFromPayloadIdentifier& standard)
{
    const QImage image = QImage(path).convertToFormat(QImage::Format_RGBX64);
    if (image.size() != standard.getPictureSize()) {
        std::fprintf(stderr, "%s: not an image of %d x %d pixels\n", qPrintable(path),
                     standard.getPictureSize().width(), standard.getPictureSize().height());
        return {};
    }
    std::vector<quint16> words;
    words.reserve(static_cast<std::size_t>(image.width()) *
                  static_cast<std::size_t>(image.height()) * 3);
    for (int y = 0; y < image.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgba64*>(image.constScanLine(y));
        std::for_each(line, line + image.width(), [&](const QRgba64& pixel) {
            for (const quint16 component : {pixel.red(), pixel.green(), pixel.blue()}) {
                words.push_back(toNarrowRange(component));
            }
        });
    }
    return toSamples(words, image.width(), image.height(), standard);
}

/// A field of a picture: blanking, and every `fieldCount`-th line from `number` on.
Streams fieldOf(const Samples& picture, const FieldMetrics& metrics, std::size_t number,
                std::size_t fieldCount)
{
    Streams field{metrics, Frame(metrics.getTotalSamples(), BLACK),
                  Frame(metrics.getTotalSamples(), NO_COLOUR)};
    const std::size_t active = metrics.getActiveWidth();
    std::size_t pictureLine = number;
    for (quint32 line = 0; line < metrics.getHeight(); ++line) {
        if (!isPictureLine(metrics, line)) {
            continue;
        }
        const std::size_t target = std::size_t(line + 1) * metrics.getWidth() - active;
        const std::size_t source = pictureLine * active;
        for (std::size_t x = 0; x < active && source + x < picture.size(); ++x) {
            field.luma[target + x] = picture[source + x].channelOne;
            field.chroma[target + x] = picture[source + x].channelTwo;
        }
        pictureLine += fieldCount;
    }
    return field;
}

/// The words of a field with their tags, which tell the field's number and nothing else.
std::vector<quint32> taggedWords(const Streams& streams, std::size_t number)
{
    ParcelTongue::Field field{streams.metrics, std::vector<quint32>(streams.luma.size())};
    for (std::size_t i = 0; i < field.words.size(); ++i) {
        field.words[i] = Sdi20BitSample{streams.luma[i], streams.chroma[i]}.toStoreWord();
    }
    ParcelTongue::FieldTagValues values;
    values.value32 = static_cast<quint32>(number);
    return ParcelTongue::tagField(field, values);
}

/// The metrics of each field; none for a standard that this program can't make.
std::vector<FieldMetrics> metricsOf(const Standard& standard)
{
    std::vector<FieldMetrics> metrics;
    if (standard && standard->findMappingMode() == 0u && standard->getNumberOfLinks() == 1 &&
        standard->getPrimaryIdentifier()->getLuminanceAndColourDifferenceSignal() == 0) {
        for (const auto& field : standard->getTransmissionMetrics()) {
            if (field.size() == 1) {
                metrics.push_back(field.front());
            }
        }
    }
    return metrics;
}

int make(const QString& path, const std::vector<FieldMetrics>& fieldMetrics, const Samples& picture)
{
    std::vector<Streams> fields;
    for (const FieldMetrics& metrics : fieldMetrics) {
        fields.push_back(fieldOf(picture, metrics, fields.size(), fieldMetrics.size()));
    }
    complete(fields);

    QFile file(path);
    bool ok = file.open(QIODevice::WriteOnly);
    for (std::size_t number = 0; number < fields.size() && ok; ++number) {
        std::vector<quint32> words = taggedWords(fields[number], number);
        qToBigEndian<quint32>(words.data(), static_cast<qsizetype>(words.size()), words.data());
        const auto bytes = static_cast<qint64>(words.size() * sizeof(quint32));
        ok = file.write(reinterpret_cast<const char*>(words.data()), bytes) == bytes;
    }
    ok = ok && file.flush();
    if (!ok) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
    }
    return ok ? 0 : 1;
}

/// The words of one field; none, with a line of output, if there are too few.
std::vector<quint32> readField(QFile& file, const FieldMetrics& metrics, std::size_t number)
{
    std::vector<quint32> words(static_cast<std::size_t>(ParcelTongue::getTaggedSize(metrics)));
    const auto bytes = static_cast<qint64>(words.size() * sizeof(quint32));
    if (file.read(reinterpret_cast<char*>(words.data()), bytes) != bytes) {
        std::printf("field %zu is cut short\n", number + 1);
        return {};
    }
    qFromBigEndian<quint32>(words.data(), static_cast<qsizetype>(words.size()), words.data());
    return words;
}

/// The samples among the words of a field.
Streams streamsOf(const std::vector<quint32>& words, const FieldMetrics& metrics)
{
    const quint32 samples = metrics.getTotalSamples();
    Streams streams{metrics, Frame(samples), Frame(samples)};
    for (quint32 i = 0; i < samples; ++i) {
        const auto sample =
            Sdi20BitSample::fromStoreWord(words[ParcelTongue::getTaggedIndex(metrics, i)]);
        streams.luma[i] = sample.channelOne;
        streams.chroma[i] = sample.channelTwo;
    }
    return streams;
}

/// Prints line, sample and kind of the difference at a word that is not as expected.
void printFault(const FieldMetrics& metrics, std::size_t index, quint32 found, quint32 expected)
{
    // The first sample at or after the word.
    const quint32 samples = metrics.getTotalSamples();
    quint32 sample = 0;
    for (quint32 behind = samples; sample < behind;) {
        const quint32 middle = sample + (behind - sample) / 2;
        if (ParcelTongue::getTaggedIndex(metrics, middle) < index) {
            sample = middle + 1;
        } else {
            behind = middle;
        }
    }
    const bool isLast = sample == samples;
    const bool isTag = isLast || ParcelTongue::getTaggedIndex(metrics, sample) != index;
    const quint32 place = isLast ? sample - 1 : sample;
    const quint32 line = metrics.getFirstLineNumber() + place / metrics.getWidth();
    const quint32 column = place % metrics.getWidth();
    const auto was = Sdi20BitSample::fromStoreWord(found);
    const auto should = Sdi20BitSample::fromStoreWord(expected);
    if (isTag) {
        std::printf("tag %s line %u, sample %u: %08x, expected %08x\n",
                    isLast ? "behind" : "before", line, column, found, expected);
    } else if (was.channelTwo != should.channelTwo) {
        std::printf("chroma, line %u, sample %u: %u, expected %u\n", line, column, was.channelTwo,
                    should.channelTwo);
    } else if (was.channelOne != should.channelOne) {
        std::printf("luma, line %u, sample %u: %u, expected %u\n", line, column, was.channelOne,
                    should.channelOne);
    } else {
        std::printf("bits 31 to 20, line %u, sample %u: %03x, expected 000\n", line, column,
                    found >> 20);
    }
}

/// With a picture, its samples and the blanking around them are verified as well.
int check(const QString& path, const std::vector<FieldMetrics>& fieldMetrics,
          const Samples& picture)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return 1;
    }
    std::vector<std::vector<quint32>> found;
    std::vector<Streams> expected;
    for (std::size_t number = 0; number < fieldMetrics.size(); ++number) {
        const FieldMetrics& metrics = fieldMetrics[number];
        found.push_back(readField(file, metrics, number));
        if (found.back().empty()) {
            return 1;
        }
        expected.push_back(picture.empty()
                               ? streamsOf(found.back(), metrics)
                               : fieldOf(picture, metrics, number, fieldMetrics.size()));
    }
    if (!file.atEnd()) {
        std::puts("more words than the fields have");
        return 1;
    }
    complete(expected);
    for (std::size_t number = 0; number < found.size(); ++number) {
        const std::vector<quint32> words = taggedWords(expected[number], number);
        const auto wrong = std::mismatch(words.begin(), words.end(), found[number].begin());
        if (wrong.first != words.end()) {
            printFault(fieldMetrics[number], static_cast<std::size_t>(wrong.first - words.begin()),
                       *wrong.second, *wrong.first);
            return 1;
        }
    }
    std::puts("all tags, timing references, line numbers and CRCs are right");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Makes a frame as it goes out on a serial link, tagged."));
    const QCommandLineOption checkOption(QStringLiteral("check"),
                                         QStringLiteral("Verify FILE, do not write it."));
    const QCommandLineOption pictureOption(
        QStringLiteral("picture"),
        QStringLiteral("The picture, of the standard's size, in place of colour bars."),
        QStringLiteral("image"));
    parser.addOptions({checkOption, pictureOption});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("The words."));
    parser.addPositionalArgument(QStringLiteral("STANDARD"),
                                 QStringLiteral("\"%1\"").arg(QLatin1String(DEFAULT_STANDARD)),
                                 QStringLiteral("[STANDARD]"));
    if (const std::optional<int> exitValue = parseCommandLine(parser)) {
        return *exitValue;
    }
    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty() || arguments.size() > 2) {
        return refuseCommandLine(
            arguments.isEmpty() ? QStringLiteral("a file is needed")
                                : QStringLiteral("\"%1\" is too much; a standard with blanks in it "
                                                 "is put in quotation marks")
                                      .arg(arguments[2]));
    }
    const QString description =
        arguments.size() == 2 ? arguments[1] : QString::fromLatin1(DEFAULT_STANDARD);
    const Standard standard = SupportedVideoStandards::getInstance().findByDescription(description);
    const std::vector<FieldMetrics> metrics = metricsOf(standard);
    if (metrics.empty()) {
        std::fprintf(stderr, "Not a level A standard of 10 bits 4:2:2 YCbCr on one link: %s\n",
                     qPrintable(description));
        return 2;
    }
    Samples picture;
    if (parser.isSet(pictureOption)) {
        picture = readPicture(parser.value(pictureOption), *standard);
        if (picture.empty()) {
            return 1;
        }
    }
    if (parser.isSet(checkOption)) {
        return check(arguments[0], metrics, picture);
    }
    return make(arguments[0], metrics, picture.empty() ? bars(*standard) : picture);
}
