// A video standard as the rest of the system sees it: the payload identifiers of its links, and the
// size, rate, mapping and timing that follow from them. A value.
#pragma once

#include "infrastructure/utility/video/metrics/FieldMetrics.h"
#include "infrastructure/utility/video/PayloadIdentifierBase.h"

#include <QSize>
#include <QString>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

class PayloadIdentifierVariant;

/// A description in pieces, for a display with columns.
struct VideoStandardDescription
{
    QString picture;       ///< "3840x2160p59.94"
    QString sampling;      ///< "YCbCr:422:10"
    QString interfaceName; ///< "QL 3G A SqDv"
    QString signal;        ///< luminance and transfer, if not the usual ones: "ICtCp PQ"
    QString colourimetry;  ///< "Rec.2020"
};

/// What all links together carry. Immutable, so any thread may read it.
class StandardFromPayloadIdentifier
{
public:
    /// Shared by standards and never changed.
    using Identifier = std::shared_ptr<const PayloadIdentifierBase>;
    /// One for each link, or for each channel if a link has two, in their order.
    using Identifiers = std::vector<Identifier>;
    /// One list for each field of the frame, with one entry for each sub-image, all equal.
    using TransmissionMetrics = std::vector<std::vector<FieldMetrics>>;

    /// The identifiers of all links; queries ask the first. Null pointers are left out. A standard
    /// without identifiers answers like an identifier of an unknown kind.
    ///
    /// `isSquareDivision` says that four 1080-line standards are the quadrants of a 2160-line
    /// picture. `links` counts all their links, and is used only in that case.
    explicit StandardFromPayloadIdentifier(Identifiers identifiers, bool isSquareDivision = false,
                                           quint32 links = 4);
    /// The standard of all links from the identifier of one, which comes first; the others have the
    /// same fields but for their channels. As a quadrant of a square division it is there four
    /// times.
    static StandardFromPayloadIdentifier
    ofLink(std::shared_ptr<const PayloadIdentifierVariant> identifier, bool isSquareDivision);

    /// What ofLink has derived is made anew in each call.
    Identifiers getPayloadIdentifiers() const;
    /// The identifier of the first link; never null.
    const Identifier& getPrimaryIdentifier() const { return primaryIdentifier; }
    bool isSquareDivision() const { return squareDivision; }

    Tessorn::Sdi::Level getLevel() const;
    quint32 getFrameRate() const;
    quint32 getSampleStructure() const;
    quint32 getBitDepth() const;
    quint32 getPicutreInterlaced() const;
    quint32 getTransportInterlaced() const;
    quint32 getTransferCharacteristics() const;
    Tessorn::Sdi::PictureFormat getPicutreInterlacedProgressivePsf() const;

    quint32 getNumberOfLinks() const;
    quint32 getNumberOfSubImages() const;
    Tessorn::Sdi::SubImageDivision getSubImageDivision() const;
    /// Pixels and lines of the whole picture.
    QSize getPictureSize() const;
    /// One entry for each link.
    std::vector<Tessorn::Sdi::SdiDataRate> getSdiDataRates() const;
    /// The rate of a single link that could carry as much as all of them.
    Tessorn::Sdi::SdiDataRate getAggregateDataRate() const;
    /// Of one link's serial clock, ignoring 1/1.001; infinite without a signal.
    double getSamplePeriodMicroseconds() const;

    /// How samples are mapped on the interface (SMPTE ST 425-1, mapping structures 1 to 4): 0
    /// 10-bit 4:2:2, 1 10-bit 4:4:4 and with key, 2 12-bit 4:4:4, 3 12-bit 4:2:2 and with key; 4 to
    /// 7 the same for level B. Any other combination, such as 4:2:0, gives 0, with a log line at
    /// level info.
    quint32 getMappingMode() const;
    /// The same; nothing if there is no such mode. Logs nothing.
    std::optional<quint32> findMappingMode() const;

    /// A number for level and picture rate. It is not the blanking of the raster: for that, ask the
    /// metrics.
    quint32 getHorizontalBlankingSamples() const;

    /// Samples of a whole line of one sub-image, or of the picture if it has none.
    quint32 getSamplesPerLine() const;

    /// "1920x1080p50 YCbCr:422:10 3G A Rec.709", without the names of links.
    QString getDescription() const;
    /// The same facts in pieces, with "SqDv" for square division.
    VideoStandardDescription getDescriptionInPieces() const;

    /// Where the samples of the standard are in the frame store. If that is not known, logs why at
    /// level err, sets *succeeded to false and returns nothing.
    ///
    /// The arithmetic is modulo 2^32. Even a standard whose active picture does not fit its field,
    /// such as 2160 lines in segmented frames, has metrics: see getReasonWithoutMetrics.
    TransmissionMetrics getTransmissionMetrics(bool* succeeded = nullptr) const;
    /// Why the metrics of this standard can't be used to fill a frame store: it has none, or its
    /// picture does not fit them. Empty if they can. Logs nothing.
    ///
    ///   2160 lines in segmented frames => "The picture does not fit its field"
    std::string_view getReasonWithoutMetrics() const;

    /// Compares what the identifiers say about the picture, and the division.
    friend bool operator==(const StandardFromPayloadIdentifier& a,
                           const StandardFromPayloadIdentifier& b);
    friend bool operator!=(const StandardFromPayloadIdentifier& a,
                           const StandardFromPayloadIdentifier& b)
    {
        return !(a == b);
    }

private:
    void appendPicture(QString& text) const;

    StandardFromPayloadIdentifier(Identifier primary, bool isSquareDivision, quint32 links,
                                  std::shared_ptr<const Identifiers> given);

    Identifier primaryIdentifier;
    std::shared_ptr<const Identifiers> givenIdentifiers; ///< null: derived from the primary one
    quint32 numberOfLinks;
    bool squareDivision;
};
