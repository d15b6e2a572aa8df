// Makes a tagged frame as it is sent on a serial link, and checks such files:
//
//   make_frame FILE [STANDARD] [--picture IMAGE]   writes the words of all fields, 32 bits,
//                                                  big-endian; colour bars if no image is given
//   make_frame --check FILE [STANDARD] [--picture IMAGE]
//                                                  verifies tags, timing references, line numbers,
//                                                  CRCs and blanking, and the samples of the image
//                                                  if one is given; reports each fault
//
// STANDARD is a description such as "1920x1080i50 YCbCr:422:10 1.5G Rec.709", of level A, 720 or
// 1080 lines, 10 bits 4:2:2 YCbCr on one link. An image must have the standard's picture size.
#include "infrastructure/utility/CommandLine.h"
#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/analysis/FrameReader.h"
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
        FrameOperations::writeTimingReferences(words.data(), words.size(), metrics, number != 0);
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

/// Prints what is wrong with the words of a file; with a picture, the first sample that differs
/// too.
int check(const QString& path, const std::vector<FieldMetrics>& fieldMetrics,
          const Samples& picture)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s: %s\n", qPrintable(path), qPrintable(file.errorString()));
        return 1;
    }
    FrameReaderOptions options;
    options.repeats = true;
    FrameReader reader({fieldMetrics}, options);
    QString difference;
    std::size_t nextLines[2] = {0, 1}; // of the picture, by field
    reader.setLineReceiver([&](const FrameReader::Line& line) {
        std::size_t source = nextLines[line.field] * line.pictureCount;
        nextLines[line.field] += line.pictureCount != 0 ? fieldMetrics.size() : 0;
        for (quint32 x = 0; x < line.pictureCount && difference.isEmpty(); ++x, ++source) {
            const auto found = Sdi20BitSample::fromStoreWord(line.picture[x]);
            if (source < picture.size() && found != picture[source]) {
                const bool isLuma = found.channelOne != picture[source].channelOne;
                difference =
                    QStringLiteral("%1, line %2, sample %3: %4, expected %5\n")
                        .arg(isLuma ? QStringLiteral("luma") : QStringLiteral("chroma"))
                        .arg(line.number)
                        .arg(line.blankingCount + x)
                        .arg(isLuma ? found.channelOne : found.channelTwo)
                        .arg(isLuma ? picture[source].channelOne : picture[source].channelTwo);
            }
        }
    });
    QByteArray bytes; // at the end, of a word that is not complete
    for (QByteArray piece; !(piece = file.read(1 << 18)).isEmpty();) {
        bytes += piece;
        std::vector<quint32> words(static_cast<std::size_t>(bytes.size()) / sizeof(quint32));
        qFromBigEndian<quint32>(bytes.constData(), static_cast<qsizetype>(words.size()),
                                words.data());
        reader.read(words.data(), words.size());
        bytes.remove(0, static_cast<int>(words.size() * sizeof(quint32)));
    }
    reader.finish();
    QString faults = difference + reader.getFindings().toString();
    if (faults.isEmpty() && (reader.getFrameCount() != 1 || !bytes.isEmpty())) {
        faults = QStringLiteral("more words than the fields have\n");
    }
    std::fputs(faults.isEmpty() ? "all tags, timing references, line numbers and CRCs are right\n"
                                : qPrintable(faults),
               stdout);
    return faults.isEmpty() ? 0 : 1;
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
