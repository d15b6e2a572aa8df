// A video payload identifier: four bytes of an ancillary packet that say what a link carries, with
// the table of where their fields are (SMPTE ST 352:2013). Immutable, held by shared pointer, and
// may be shared between threads. All fields are read through the table; nothing else looks at the
// bytes.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierField.h"
#include "infrastructure/utility/video/PayloadIdVocabulary.h"
#include "infrastructure/utility/video/SdiVocabulary.h"

#include <QString>
#include <QStringList>

#include <array>
#include <memory>
#include <vector>

/// PayloadIdentifierKey_SampleStructure => "sample structure"; a number that is not a key => "".
QLatin1String toString(PayloadIdentifierKey key);

/// By itself an identifier of an unknown kind: it has fields, but no geometry.
class PayloadIdentifierBase
{
public:
    /// Takes any value. Each set bit that belongs to no field is logged, at level err, in a line of
    /// its own.
    explicit PayloadIdentifierBase(
        quint32 rawBytes, PayloadIdentifierFieldMap fieldMap = PayloadIdentifierFieldMap());
    PayloadIdentifierBase(const PayloadIdentifierBase&) = delete;
    PayloadIdentifierBase& operator=(const PayloadIdentifierBase&) = delete;

    virtual Tessorn::Sdi::SubImageDivision getSubImageDivision() const;
    /// 1, 2, 4 or 8; 0 if the kind is unknown.
    virtual quint32 getNumberOfLinks() const;
    /// Of one link.
    virtual Tessorn::Sdi::SdiDataRate getSdiDataRate() const;
    virtual Tessorn::Sdi::Level getLevel() const;
    virtual quint32 getNumberOfSubImages() const;
    virtual Tessorn::Sdi::PictureFormat getPicutreInterlacedProgressivePsf() const;
    /// Lines of each field of the frame, blanking included.
    virtual std::vector<quint32> getLinesPerField() const;
    /// The first active line of each field, by its number on the interface.
    virtual std::vector<quint32> getFirstActivePictureLines() const;
    /// Samples that the picture, or one sub-image if there are any, takes on a line of the
    /// interface.
    virtual quint32 getFieldActivePictureWidthInSamples() const;
    /// Active lines of a field of the interface, of one sub-image if there are any.
    virtual quint32 getFieldActivePictureHeight() const;
    /// Pixels across the whole picture.
    virtual quint32 getPictureWidth() const;
    /// Lines of the whole picture.
    virtual quint32 getPictureHeight() const;
    /// "1920x1080p50 YCbCr:422:10 3G A Rec.709"; the raw value 0 => "No payload identifier".
    /// `withoutLinkInformation` leaves out the name of the link.
    virtual QString getDescription(bool withoutLinkInformation) const final;
    /// True if byte 0 is the one of this kind.
    virtual bool isPayloadByteCorrect() const;
    /// Each complaint is a message and the offending value in decimal; empty for a legal
    /// identifier.
    virtual QStringList validate() const;
    virtual ~PayloadIdentifierBase();

    quint32 getRawValue() const { return rawValue; }
    /// Byte 0 first, as on the wire.
    std::array<quint8, 4> getBytes() const;
    const PayloadIdentifierFieldMap& getFieldMap() const { return *fields; }

    /// A field's value; 0 for a field that this kind does not have.
    quint32 getField(PayloadIdentifierKey key) const { return fields->get(key).read(rawValue); }
    quint32 getPayloadAndDigitialInterface() const;
    quint32 getSampleStructure() const;
    quint32 getFrameRate() const;
    /// 1 is progressive.
    quint32 getPicutreInterlaced() const;
    /// 1 is progressive.
    quint32 getTransportInterlaced() const;
    quint32 getBitDepth() const;
    quint32 getAspectRatio() const;
    /// 1 is 2048 or 4096, 0 is 1920 or 3840.
    quint32 getHorizontalArraySize() const;
    quint32 getColourimetry() const;
    quint32 getTransferCharacteristics() const;
    quint32 getLuminanceAndColourDifferenceSignal() const;
    quint32 getChannelAssignment() const;
    quint32 getAudioCopyStatus() const;

    /// Samples for a line of this many pixels: one each for 10-bit 4:2:2 and 4:2:0, otherwise two.
    quint32 getSamplesForWidth(quint32 baseWidth) const;

    bool checkThatPayloadIdentifierFieldsDoNotOverlap() const;

    /// "Reserved bit not 0, Byte 0, Bit 2" for each set bit that belongs to no field. Bytes are
    /// numbered opposite to the fields' bytes here: Byte 0 is the last on the wire.
    QStringList getReservedBitErrors() const;

    /// Compares everything that describes the picture: all fields but aspect ratio, channel
    /// assignment and audio copy status. With `verbose`, logs each field that differs, at level
    /// info.
    bool isEqual(const PayloadIdentifierBase& other, bool verbose = false) const;

    /// The fields in which these two differ when compared.
    std::vector<PayloadIdentifierKey> getDifferences(const PayloadIdentifierBase& other) const;

    /// The bits that a comparison looks at, for identifiers with this table.
    static quint32 getComparedMask(const PayloadIdentifierFieldMap& fieldMap);

protected:
    /// The same with a constant table, which is not copied.
    PayloadIdentifierBase(quint32 rawBytes, const PayloadIdentifierFieldMap* constantFieldMap);

private:
    QLatin1String getLinkName() const;

    quint32 rawValue;
    std::unique_ptr<const PayloadIdentifierFieldMap> ownFields; ///< null for a constant table
    const PayloadIdentifierFieldMap* fields;
};

inline quint32 PayloadIdentifierBase::getPayloadAndDigitialInterface() const
{
    return getField(PayloadIdentifierKey_PayloadAndDigitalInterface);
}
inline quint32 PayloadIdentifierBase::getSampleStructure() const
{
    return getField(PayloadIdentifierKey_SampleStructure);
}
inline quint32 PayloadIdentifierBase::getFrameRate() const
{
    return getField(PayloadIdentifierKey_PictureRate);
}
inline quint32 PayloadIdentifierBase::getPicutreInterlaced() const
{
    return getField(PayloadIdentifierKey_PictureInterlaced);
}
inline quint32 PayloadIdentifierBase::getTransportInterlaced() const
{
    return getField(PayloadIdentifierKey_TransportInterlaced);
}
inline quint32 PayloadIdentifierBase::getBitDepth() const
{
    return getField(PayloadIdentifierKey_BitDepth);
}
inline quint32 PayloadIdentifierBase::getAspectRatio() const
{
    return getField(PayloadIdentifierKey_AspectRatio);
}
inline quint32 PayloadIdentifierBase::getHorizontalArraySize() const
{
    return getField(PayloadIdentifierKey_HorizontalArraySize);
}
inline quint32 PayloadIdentifierBase::getColourimetry() const
{
    return getField(PayloadIdentifierKey_Colourimetry);
}
inline quint32 PayloadIdentifierBase::getTransferCharacteristics() const
{
    return getField(PayloadIdentifierKey_TransferCharacteristics);
}
inline quint32 PayloadIdentifierBase::getLuminanceAndColourDifferenceSignal() const
{
    return getField(PayloadIdentifierKey_LuminanceAndColourDifferenceSignal);
}
inline quint32 PayloadIdentifierBase::getChannelAssignment() const
{
    return getField(PayloadIdentifierKey_ChannelAssignment);
}
inline quint32 PayloadIdentifierBase::getAudioCopyStatus() const
{
    return getField(PayloadIdentifierKey_AudioCopyStatus);
}
