// What is fixed for one kind of digital interface beyond the bytes of its payload identifier, as
// rows of constants, and the identifier that answers from such a row.
#pragma once

#include "infrastructure/utility/video/PayloadIdentifierBase.h"
#include "infrastructure/utility/video/PayloadIdentifierValues.h"

/// A field whose value lies in a set. By itself it always holds.
struct PayloadIdentifierCondition
{
    PayloadIdentifierKey key = PayloadIdentifierKey_PayloadAndDigitalInterface;
    PayloadIdentifierValues values = PayloadIdentifierSets::ANY;
};

/// One rule of legality: if all conditions hold, the field's value must be one of these.
struct PayloadIdentifierRule
{
    PayloadIdentifierKey key;
    PayloadIdentifierValues allowed;
    char complaint[88]; ///< followed by the value in decimal
    PayloadIdentifierCondition when[3] = {};
};

/// The rules of an interface, in the order in which they complain.
struct PayloadIdentifierRules
{
    const PayloadIdentifierRule* first = nullptr;
    quint32 count = 0;

    constexpr const PayloadIdentifierRule* begin() const { return first; }
    constexpr const PayloadIdentifierRule* end() const { return first + count; }
};

/// How the picture and transport bits are read.
enum PayloadIdentifierScan {
    PayloadIdentifierScan_Progressive, ///< as the bits say
    PayloadIdentifierScan_Bits,        ///< as the bits stand
    /// Progressive for 10-bit 4:2:2 and 4:2:0, whose two streams carry a picture's odd and even
    /// lines; otherwise as the bits say.
    PayloadIdentifierScan_LineInterleave,
};

/// When the lines of a picture, or sub-image, are carried in one field.
enum PayloadIdentifierFieldHeight {
    PayloadIdentifierFieldHeight_Whole,      ///< always
    PayloadIdentifierFieldHeight_BothBits,   ///< picture and transport progressive
    PayloadIdentifierFieldHeight_PictureBit, ///< picture progressive
};

/// Sizes. Of each pair the first is for array size 0, the second for 1.
struct PayloadIdentifierGeometry
{
    quint32 pictureWidth[2];
    quint32 pictureHeight;
    quint32 fieldWidth[2];    ///< pixels on a line of the interface
    bool fieldWidthInSamples; ///< true if wide sample structures take two samples a pixel
    quint32 fieldHeight;      ///< lines when they are carried in one field, otherwise half of that
    PayloadIdentifierFieldHeight fieldHeightRule;
};

/// Lines of the raster and their first active ones, by number.
struct PayloadIdentifierLines
{
    quint32 frameLines;
    quint32 frameFirstActive;
    bool hasFields; ///< false: a frame is never split in two
    quint32 fieldLines[2];
    quint32 fieldFirstActive[2];
};

/// Everything that is fixed for one kind of interface.
struct PayloadIdentifierFacts
{
    quint32 payloadByte; ///< byte 0
    Tessorn::Sdi::SubImageDivision subImageDivision;
    quint32 links;
    Tessorn::Sdi::SdiDataRate rate; ///< of one link
    Tessorn::Sdi::Level level;
    quint32 subImages;
    quint32 channelsPerLink; ///< channel assignments that each link takes
    PayloadIdentifierFieldMap fields;
    PayloadIdentifierScan scan;
    PayloadIdentifierGeometry geometry;
    PayloadIdentifierLines lines;
    PayloadIdentifierRules rules;

    /// The 32 bits of an identifier of this kind, byte 0 included. A value that is wider than its
    /// field, or for a field that this kind does not have, is left out.
    constexpr quint32 compose(std::initializer_list<PayloadIdentifierFieldValue> values) const
    {
        return fields.compose(values, payloadByte << 24);
    }
};

/// An identifier of a known kind.
class PayloadIdentifierVariant : public PayloadIdentifierBase
{
public:
    /// The facts must outlive the identifier: they are constants.
    PayloadIdentifierVariant(quint32 rawBytes, const PayloadIdentifierFacts& interfaceFacts);
    PayloadIdentifierVariant(quint32 rawBytes,
                             const PayloadIdentifierFacts&& interfaceFacts) = delete;

    Tessorn::Sdi::SubImageDivision getSubImageDivision() const override;
    quint32 getNumberOfLinks() const override;
    Tessorn::Sdi::SdiDataRate getSdiDataRate() const override;
    Tessorn::Sdi::Level getLevel() const override;
    quint32 getNumberOfSubImages() const override;
    Tessorn::Sdi::PictureFormat getPicutreInterlacedProgressivePsf() const override;
    std::vector<quint32> getLinesPerField() const override;
    std::vector<quint32> getFirstActivePictureLines() const override;
    quint32 getFieldActivePictureWidthInSamples() const override;
    quint32 getFieldActivePictureHeight() const override;
    quint32 getPictureWidth() const override;
    quint32 getPictureHeight() const override;
    bool isPayloadByteCorrect() const override;
    /// All complaints, in the order of the interface's rules. One does not stop the others.
    QStringList validate() const override;

    const PayloadIdentifierFacts& getFacts() const { return facts; }

private:
    bool isPictureProgressive() const;
    bool isTransportProgressive() const;
    bool isFrameInOnePiece() const;

    const PayloadIdentifierFacts& facts;
};
