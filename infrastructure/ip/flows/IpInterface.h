// The IP interfaces of the instrument, their names on each board model, and the selections from
// them.
#pragma once

#include <QChar>
#include <QString>
#include <QStringView>

#include <vector>

namespace Tessorn {
namespace IpTypes {

/// A media port of the instrument.
enum IpInterface : quint32 {
    IpInterface_TessEth0 = 0,
    IpInterface_TessEth1 = 1,
};

namespace IpValidInterfaces {

/// The interfaces that media is received on.
inline const std::vector<IpInterface> ipRxInterfaces{IpInterface_TessEth0};

} // namespace IpValidInterfaces

/// Where the input takes its media from.
enum IpInputSelection : quint32 {
    IpInputSelection_Automatic = 0,
    IpInputSelection_Manual = 1,
    IpInputSelection_TessEth0 = 2,
    IpInputSelection_TessEth1 = 3,
};

/// Which interfaces the output goes to; "seamless" is the same media on both (SMPTE ST 2022-7).
enum IpOutputSelection : quint32 {
    IpOutputSelection_TessEth0 = 1,
    IpOutputSelection_TessEth1 = 2,
    IpOutputSelection_Seamless = 3,
};

/// The letter of the interface's SFP cage: A and B on board model 0, E and F on model 1. A null
/// character for another model or interface.
QChar interfaceLetter(quint32 interfaceNumber, quint32 boardModel);

/// "SFP A"; "Error" for another model or interface.
QString interfaceName(quint32 interfaceNumber, quint32 boardModel);

/// "Automatic", "Manual" or an interface's name; "Error" for others.
QString inputSelectionToString(quint32 selection, quint32 boardModel);
/// An interface's name or "Seamless A+B"; "Error" for others.
QString outputSelectionToString(quint32 selection, quint32 boardModel);

/// The selection with exactly this text, for each of these. Any other text, even "Error", gives 0
/// and sets *ok to false.
quint32 inputSelectionFromString(QStringView text, quint32 boardModel, bool* ok = nullptr);
quint32 outputSelectionFromString(QStringView text, quint32 boardModel, bool* ok = nullptr);

/// A stream's short name; there are four for each interface: 0 => "A VID", 1 => "A AUD 1",
/// 2 => "A AUD 2", 3 => "A ANC", 4 => "B VID". "Error" if there is no such interface.
QString streamTagToString(quint32 tag, quint32 boardModel);

} // namespace IpTypes
} // namespace Tessorn
