// What the video essence on an IP stream is, and whether the instrument can carry it.
//
// Normative reference: SMPTE ST 2110-20:2017, clause 7 (parameters) and 6.2 (pixel groups).
#pragma once

#include "infrastructure/ip/2110/FrameRate2110.h"
#include "infrastructure/utility/video/IpVideoVocabulary.h"

namespace Tessorn {
namespace IpTypes {

/// The parameters of a video essence. A value never changes; whether it is valid is worked out when
/// it is made.
class VideoStandard2110Params
{
public:
    /// 1920x1080 interlaced at 25 frames a second, YCbCr 4:2:2, 10 bits, BT.709, SDR.
    VideoStandard2110Params() = default;
    /// Any combination can be made; getParamsValid tells whether it exists.
    VideoStandard2110Params(quint32 widthPixels, quint32 heightLines, Sampling2110 samplingOf,
                            BitDepth2110 depth, Colourimetry2110 colourimetryOf,
                            const FrameRate2110& rate, TransferCurve2110 curve, bool isInterlaced,
                            bool isSegmented);

    /// The value that `serialise` made `text` from. Any other text gives a default-made value and
    /// sets `ok` to false. Parameters that are not valid together are read all the same.
    static VideoStandard2110Params deserialise(QStringView text, bool& ok);

    quint32 getWidth() const { return width; }
    quint32 getHeight() const { return height; }
    Sampling2110 getSampling() const { return sampling; }
    BitDepth2110 getBitDepth() const { return bitDepth; }
    Colourimetry2110 getColourimetry() const { return colourimetry; }
    FrameRate2110 getFrameRate() const { return frameRate; }
    TransferCurve2110 getTransferCurve() const { return transferCurve; }
    bool getInterlaced() const { return interlaced; }
    /// Progressive, carried as two segments (PsF). Such a picture is marked interlaced too.
    bool getSegmented() const { return segmented; }

    /// True if picture size, scan and frame rate form a standard that the instrument carries.
    bool getParamsValid() const { return paramsValid; }

    /// Size of a pixel group in octets, and the pixels in it; 0 for a format without pixel groups.
    quint32 pgroupOctets() const;
    quint32 pgroupPixels() const;

    /// For the screen, with the field rate of an interlaced picture:
    ///
    ///   1920x1080 i 50 YCbCr:422:10 BT709 SDR
    ///   3840x2160 p 59.94 YCbCr:422:12 BT2020 HLG
    QString toString() const;

    /// For storage: the numbers of all fields, joined by commas.
    ///
    ///   1920,1080,0,0,0,25/1000,0,true,false
    QString serialise() const;

    friend bool operator==(const VideoStandard2110Params& a, const VideoStandard2110Params& b);

private:
    struct Fields;

    bool areParamsValid() const;

    quint32 width = 1920;
    quint32 height = 1080;
    Sampling2110 sampling = Sampling2110_422YCbCr;
    BitDepth2110 bitDepth = BitDepth2110_10;
    Colourimetry2110 colourimetry = Colourimetry2110_Bt709;
    FrameRate2110 frameRate;
    TransferCurve2110 transferCurve = TransferCurve2110_Sdr;
    bool interlaced = true;
    bool segmented = false;
    bool paramsValid = true;
};

bool operator==(const VideoStandard2110Params& a, const VideoStandard2110Params& b);
inline bool operator!=(const VideoStandard2110Params& a, const VideoStandard2110Params& b)
{
    return !(a == b);
}

} // namespace IpTypes
} // namespace Tessorn
