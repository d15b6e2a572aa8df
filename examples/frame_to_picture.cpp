// Turns a tagged frame, as make_frame writes it, into an image file.
#include "infrastructure/utility/parceltongue/tagging/FrameTagging.h"
#include "infrastructure/utility/video/analysis/PictureReader.h"
#include "infrastructure/utility/video/generation/SdiColourConverter.h"
#include "infrastructure/utility/video/SupportedVideoStandards.h"

#include <QFile>
#include <QImage>
#include <QtEndian>

#include <cstdio>

namespace {

/// The samples of a field among its tagged words; those that the file has not are missing.
std::vector<quint32> readField(QFile& file, const FieldMetrics& metrics)
{
    const auto size = static_cast<qint64>(ParcelTongue::getTaggedSize(metrics) * sizeof(quint32));
    const QByteArray bytes = file.read(size);
    std::vector<quint32> words;
    for (quint32 i = 0; i < metrics.getTotalSamples(); ++i) {
        const auto offset = qint64(ParcelTongue::getTaggedIndex(metrics, i)) * 4;
        if (offset + 4 > bytes.size()) {
            break;
        }
        words.push_back(qFromBigEndian<quint32>(bytes.constData() + offset));
    }
    return words;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "Usage: %s FILE STANDARD IMAGE\n", argv[0]);
        return 2;
    }
    const auto standard =
        SupportedVideoStandards::getInstance().findByDescription(QString::fromLocal8Bit(argv[2]));
    if (standard == nullptr) {
        std::fprintf(stderr, "%s: not a standard\n", argv[2]);
        return 2;
    }
    const PictureReader reader(*standard);
    if (const auto reason = reader.getReasonWithoutPicture(); !reason.empty()) {
        std::fprintf(stderr, "%s: %.*s\n", argv[2], int(reason.size()), reason.data());
        return 1;
    }

    // The words of each field, and the frame that they make.
    QFile file(QString::fromLocal8Bit(argv[1]));
    file.open(QIODevice::ReadOnly);
    std::vector<std::vector<quint32>> words;
    for (const auto& field : standard->getTransmissionMetrics()) {
        for (const FieldMetrics& image : field) {
            words.push_back(readField(file, image));
        }
    }
    PictureReader::Frame frame;
    auto next = words.begin();
    for (const auto& field : standard->getTransmissionMetrics()) {
        frame.emplace_back(next, next + static_cast<std::ptrdiff_t>(field.size()));
        next += static_cast<std::ptrdiff_t>(field.size());
    }

    // Its first picture, which goes straight into the memory of an image.
    using namespace Tessorn::Types;
    const QSize size = reader.getSize();
    std::vector<quint16> pixels(getWordsOfPixel(reader.getFormat()) * std::size_t(size.width()) *
                                std::size_t(size.height()));
    const PictureBuffer picture{reader.getFormat(), quint32(size.width()), quint32(size.height()),
                                pixels.data()};
    if (!reader.readPicture(frame, 0, picture)) {
        std::fprintf(stderr, "%s: not a whole frame\n", argv[1]);
        return 1;
    }
    const auto& matrix = SdiColourConverter::getInverseMatrix(
        Tessorn::Sdi::PayloadId::Colourimetry(standard->getPrimaryIdentifier()->getColourimetry()));
    QImage image(size, QImage::Format_RGBA64);
    SdiColourConverter::convertToRgba64(picture, matrix,
                                        Tessorn::Sdi::PayloadId::BitDepth(standard->getBitDepth()),
                                        reinterpret_cast<PixelDataARGB*>(image.bits()));
    const QRgba64 middle = image.pixelColor(size.width() / 2, size.height() / 2).rgba64();
    std::printf("%dx%d, in the middle R %d G %d B %d\n", size.width(), size.height(), middle.red(),
                middle.green(), middle.blue());
    return image.save(QString::fromLocal8Bit(argv[3])) ? 0 : 1;
}
