// Makes a frame as it goes out on a serial link, tagged, and checks such a file:
//
//   make_frame FILE [STANDARD] [--picture IMAGE]   writes the words of all fields, 32 bits,
//                                                  big-endian; colour bars where no image is given
//   make_frame --check FILE [STANDARD] [--picture IMAGE]
//                                                  verifies tags, timing references, line numbers
//                                                  and CRCs, and the samples of the image where one
//                                                  is given; tells the first word that is wrong
//
// STANDARD is a description such as "1920x1080i50 YCbCr:422:10 1.5G Rec.709", of level A, 720 or
// 1080 lines, 10 bits 4:2:2 on one link. An image has the size of the standard's picture.
#include "examples/CommandLine.h"
#include "infrastructure/utility/parceltongue/FrameTagging.h"
#include "infrastructure/utility/video/generation/FrameOperations.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/generation/SdiPixelToSourceImageSampleConverter.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"
#include "infrastructure/utility/video/VideoTypes.h"

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

/// 75 % bars (ITU-R BT.709-6, 10 bits), from white to black.
struct Bar
{
    quint16 y, cb, cr;
};
constexpr Bar BARS[] = {{721, 512, 512}, {674, 176, 543}, {581, 589, 176}, {534, 253, 207},
                        {251, 771, 817}, {204, 435, 848}, {111, 848, 481}, {64, 512, 512}};

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

/// Writes what is known of any frame: timing references, line numbers, and the CRCs over what is
/// there, for one stream of all fields. The frame comes again and again, so the last field is in
/// front of the first.
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

/// Samples of a whole picture, line by line.
Samples bars(const QSize& size)
{
    const auto width = static_cast<std::size_t>(size.width());
    Samples samples(width * static_cast<std::size_t>(size.height()));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const Bar& bar = BARS[i % width * std::size(BARS) / width];
        samples[i] = {bar.y, i % 2 == 0 ? bar.cb : bar.cr};
    }
    return samples;
}

/// An image's full range in the upper 10 bits of a word, from black at 64 to white at 940.
quint16 toNarrowRange(quint16 component)
{
    return static_cast<quint16>((64 + (component * 876u + 32767u) / 65535u) << 6);
}

/// The samples of an image; none, and a line on stderr, where it can't be used.
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
    using namespace Tessorn::Sdi::PayloadId;
    Tessorn::Types::PictureBuffer picture{Tessorn::Types::PixelFormat_RGB,
                                          static_cast<quint32>(image.width()),
                                          static_cast<quint32>(image.height()), words.data()};
    const auto depth = static_cast<BitDepth>(standard.getBitDepth());
    SdiColourConverter::convertRgbToYCbCr(
        picture, static_cast<Colourimetry>(standard.getPrimaryIdentifier()->getColourimetry()),
        depth);
    return SdiPixelToSourceImageSampleConverter::convertToYCbCr422_10(picture, depth);
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

/// Tags say which field it is, and nothing else.
std::vector<quint32> tag(const ParcelTongue::Field& field, std::size_t number)
{
    ParcelTongue::FieldTagValues values;
    values.value32 = static_cast<quint32>(number);
    return ParcelTongue::tagField(field, values);
}

/// One metrics for each field; none for a standard that is not of the kind that this makes.
std::vector<FieldMetrics> metricsOf(const Standard& standard)
{
    std::vector<FieldMetrics> metrics;
    if (standard && standard->getMappingMode() == 0 && standard->getNumberOfLinks() == 1) {
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
        const Streams& streams = fields[number];
        ParcelTongue::Field field{streams.metrics, std::vector<quint32>(streams.luma.size())};
        for (std::size_t i = 0; i < field.words.size(); ++i) {
            field.words[i] = Sdi20BitSample{streams.luma[i], streams.chroma[i]}.toStoreWord();
        }
        std::vector<quint32> words = tag(field, number);
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

/// Reads one field, and compares all words but its samples with what tagging them gives.
std::optional<Streams> readField(QFile& file, const FieldMetrics& metrics, std::size_t number)
{
    std::vector<quint32> words(static_cast<std::size_t>(ParcelTongue::getTaggedSize(metrics)));
    const auto bytes = static_cast<qint64>(words.size() * sizeof(quint32));
    if (file.read(reinterpret_cast<char*>(words.data()), bytes) != bytes) {
        std::printf("field %zu is cut short\n", number + 1);
        return std::nullopt;
    }
    qFromBigEndian<quint32>(words.data(), static_cast<qsizetype>(words.size()), words.data());

    ParcelTongue::Field field{metrics, std::vector<quint32>(metrics.getTotalSamples())};
    Streams streams{metrics, Frame(field.words.size()), Frame(field.words.size())};
    for (quint32 i = 0; i < field.words.size(); ++i) {
        field.words[i] = words[ParcelTongue::getTaggedIndex(metrics, i)];
        const Sdi20BitSample sample = Sdi20BitSample::fromStoreWord(field.words[i]);
        streams.luma[i] = sample.channelOne;
        streams.chroma[i] = sample.channelTwo;
    }
    const std::vector<quint32> expected = tag(field, number);
    const auto wrong = std::mismatch(words.begin(), words.end(), expected.begin());
    if (wrong.first != words.end()) {
        std::printf("field %zu: tag word %td is %08x, expected %08x\n", number + 1,
                    wrong.first - words.begin(), *wrong.first, *wrong.second);
        return std::nullopt;
    }
    return streams;
}

/// True when the streams are equal; otherwise prints the first place where they are not.
bool compare(const char* name, const FieldMetrics& metrics, const Frame& found,
             const Frame& expected)
{
    const auto wrong = std::mismatch(found.begin(), found.end(), expected.begin());
    if (wrong.first == found.end()) {
        return true;
    }
    const auto index = static_cast<quint32>(wrong.first - found.begin());
    std::printf("%s, line %u, sample %u: %u, expected %u\n", name,
                metrics.getFirstLineNumber() + index / metrics.getWidth(),
                index % metrics.getWidth(), *wrong.first, *wrong.second);
    return false;
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
    std::vector<Streams> found;
    for (const FieldMetrics& metrics : fieldMetrics) {
        std::optional<Streams> field = readField(file, metrics, found.size());
        if (!field) {
            return 1;
        }
        found.push_back(std::move(*field));
    }
    if (!file.atEnd()) {
        std::puts("more words than the fields have");
        return 1;
    }
    std::vector<Streams> expected = found;
    for (std::size_t number = 0; number < found.size() && !picture.empty(); ++number) {
        expected[number] = fieldOf(picture, fieldMetrics[number], number, found.size());
    }
    complete(expected);
    for (std::size_t number = 0; number < found.size(); ++number) {
        const Streams& field = found[number];
        if (!compare("luma", field.metrics, field.luma, expected[number].luma) ||
            !compare("chroma", field.metrics, field.chroma, expected[number].chroma)) {
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
        return refuseCommandLine(parser);
    }
    const QString description =
        arguments.size() == 2 ? arguments[1] : QString::fromLatin1(DEFAULT_STANDARD);
    const Standard standard = SupportedVideoStandards::getInstance().findByDescription(description);
    const std::vector<FieldMetrics> metrics = metricsOf(standard);
    if (metrics.empty()) {
        std::fprintf(stderr, "Not a level A standard of 10 bits 4:2:2 on one link: %s\n",
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
    return make(arguments[0], metrics,
                picture.empty() ? bars(standard->getPictureSize()) : picture);
}
