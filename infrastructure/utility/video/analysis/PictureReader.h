// Reads pictures out of the words of a frame: fields, sub-images, links and the samples of a pixel
// are put together again. Pure functions over the caller's memory, once it is made.
//
// Normative references: SMPTE ST 425-1:2017 (levels and mappings of 3 Gb/s), ST 372:2017 (two
// links), ST 425-5 (two-sample interleave and square division).
#pragma once

#include "infrastructure/utility/video/analysis/ActivePictureRaster.h"
#include "infrastructure/utility/video/generation/PixelData.h"
#include "infrastructure/utility/video/StandardFromPayloadIdentifier.h"

#include <optional>
#include <string_view>
#include <vector>

/// The words of one field of one sub-image or link in store order, in memory that it does not own.
struct StoreWords
{
    StoreWords() = default;
    StoreWords(const quint32* first, std::size_t wordCount, std::size_t wordStep = 1)
        : words(first)
        , count(wordCount)
        , step(wordStep)
    {
    }
    StoreWords(const std::vector<quint32>& all)
        : StoreWords(all.data(), all.size())
    {
    }

    /// As Sdi20BitSample::toStoreWord gives them; bits 31 to 20 are ignored.
    const quint32* words = nullptr;
    std::size_t count = 0; ///< up to the end of the memory, others' words included
    std::size_t step = 1;  ///< from word to word: 4 where four sub-images come in turn
};

/// How the pictures of one standard are carried. A value.
///
/// A frame is one list for each field with one entry for each sub-image, or for each link of two at
/// 1.5 Gb/s: the order of StandardFromPayloadIdentifier::getTransmissionMetrics, by which they are
/// laid out. Line interleave, on level B and on two links, has a whole picture in each field; any
/// other frame is one picture.
class PictureReader
{
public:
    /// For each field, the words of each sub-image or link.
    using Frame = std::vector<std::vector<StoreWords>>;

    /// Asks the standard once; it need not outlive the call.
    explicit PictureReader(const StandardFromPayloadIdentifier& standard);

    /// Why pictures can't be read: there are no usable metrics, or no mapping of the samples. Empty
    /// if they can. All else is empty, 0 or false then.
    ///
    ///   4:2:0 => "No mapping mode is known for these samples"
    std::string_view getReasonWithoutPicture() const { return reason; }

    /// Pixels and lines of a picture.
    QSize getSize() const { return size; }
    /// Pictures in a frame, 1 or 2.
    quint32 getPictureCount() const { return pictures; }
    /// A form that holds all of a pixel: PixelFormat_ARGB or PixelFormat_RGB if the samples are
    /// R'G'B' or X'Y'Z', otherwise PixelFormat_AYCrCb or PixelFormat_YCbCr; with alpha if they
    /// have.
    Tessorn::Types::PixelFormat getFormat() const { return format; }

    /// One line of a picture, both from 0. False, and nothing is written, if `pixels` is not as
    /// long as the picture is wide or of a form that the samples don't have (any with or without
    /// alpha will do), if there is no such line, or if the frame has not all words of that line.
    bool readLine(const Frame& frame, quint32 picture, quint32 line,
                  Tessorn::Types::PixelSpan pixels) const;
    /// All lines of a picture, for a buffer of its size. False if a line could not be read; those
    /// before it have been.
    bool readPicture(const Frame& frame, quint32 picture,
                     const Tessorn::Types::PictureBuffer& pixels) const;

private:
    /// Where a run of pixels of one line is in the store.
    struct Piece;

    Piece findPiece(const Frame& frame, quint32 picture, quint32 line, quint32 pixel,
                    std::size_t samples) const;

    std::string_view reason;
    QSize size = {0, 0};
    quint32 pictures = 0;
    quint32 mappingMode = 0;
    bool isOnTwoLinks = false;
    bool isLineInterleaved = false;
    Tessorn::Sdi::SubImageDivision division = Tessorn::Sdi::SubImageDivision_None;
    StandardFromPayloadIdentifier::TransmissionMetrics metrics;
    std::optional<ActivePictureRaster> raster; ///< nothing if pictures can't be read
    Tessorn::Types::PixelFormat format = Tessorn::Types::PixelFormat_YCbCr;
};
