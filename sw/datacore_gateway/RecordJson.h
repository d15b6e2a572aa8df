// Measurement records as JSON, for pages that draw them.
#pragma once

#include "infrastructure/utility/captions/CaptionField608.h"
#include "infrastructure/utility/packets/RawDataPacket.h"

#include <QMap>
#include <QStringList>

#include <array>
#include <map>
#include <memory>

/// The newest record of each kind of one server, and the captions that its pairs make. Lives on one
/// thread.
///
///     name                                  data
///     "EyeHistogram"                        {"width", "height", "most", "pixels"}: the base64 of
///     "EyeHorizontalHistogram"              width times height bytes, row by row from the top,
///     "EyeWindowedHistogram"                each a bin's share of the fullest one, "most", in 255
///     "JitterHistogram"                     parts
///     "JitterSpectrum"                      {"frequencies", "values", "limits"}, lists as the
///                                           record has them, "parameters": [p1, p2], "flag"
///     "Meters"                              {"unit", "bars": [{"label", "level", "peak"}]}; the
///     "InstantPeakMeters"                   peak is there for "Meters" alone, if a record of held
///     "InstantPeakLinearMeters"             peaks came; the label is the meter's number from 1
///     "PhaseMeters"
///     "Captions"                            {"service": "CC1", "rows", "columns", "lines": a text
///                                           for each row, "runs": [[row, column, text, colour,
///                                           underline]], "more": the same of other services}
///
/// A histogram is only a list of bins: a square number of them, from 4096 on, is a picture with
/// equal sides. Any other is one row if it is horizontal, otherwise one column. A number that is
/// not finite is null. Colours are those of CaptionCell608.
class RecordJson
{
public:
    /// No more bins, points or meters are shown of a record.
    static constexpr int MAX_ELEMENTS = 1 << 16;

    /// All names.
    static QStringList getNames();
    /// Whether records of this raw type have a name.
    static bool canShow(quint16 packetType);

    /// Takes a record, each in the order of arrival, and gives the name of what is newer now; an
    /// empty one if nothing is.
    QString take(const std::shared_ptr<const RawDataPacket>& packet);
    /// The newest record of a name as a JSON object; empty if none has come.
    QByteArray toJson(const QString& name) const;
    /// Forgets all, as when the link is lost.
    void clear();

private:
    std::map<QString, std::shared_ptr<const RawDataPacket>> newest;
    QMap<int, double> peaks;                   ///< held ones, by meter
    std::array<CaptionField608, 2> captions{}; ///< of field 1 and 2
};
