#include "infrastructure/ip/flows/IpInterface.h"

#include <iterator>

namespace Tessorn {
namespace IpTypes {

namespace {

/// By board model and interface.
constexpr QChar LETTERS[][2] = {{u'A', u'B'}, {u'E', u'F'}};

constexpr QLatin1String STREAM_MEDIA[] = {
    QLatin1String("VID", 3),
    QLatin1String("AUD 1", 5),
    QLatin1String("AUD 2", 5),
    QLatin1String("ANC", 3),
};

QString error()
{
    return QStringLiteral("Error");
}

QString seamlessName(quint32 boardModel)
{
    const QChar first = interfaceLetter(IpInterface_TessEth0, boardModel);
    const QChar second = interfaceLetter(IpInterface_TessEth1, boardModel);
    return first.isNull() ? error() : QStringLiteral("Seamless %1+%2").arg(first).arg(second);
}

/// The selection from 0 to `last` whose `toText` is `text`.
template <typename ToText>
quint32 findSelection(QStringView text, quint32 last, bool* ok, ToText toText)
{
    quint32 selection = 0;
    while (selection <= last && text != toText(selection)) {
        ++selection;
    }
    const bool found = selection <= last && text != QLatin1String("Error");
    if (ok != nullptr) {
        *ok = found;
    }
    return found ? selection : 0;
}

} // namespace

QChar interfaceLetter(quint32 interfaceNumber, quint32 boardModel)
{
    if (boardModel >= std::size(LETTERS) || interfaceNumber >= std::size(LETTERS[0])) {
        return {};
    }
    return LETTERS[boardModel][interfaceNumber];
}

QString interfaceName(quint32 interfaceNumber, quint32 boardModel)
{
    const QChar letter = interfaceLetter(interfaceNumber, boardModel);
    return letter.isNull() ? error() : QLatin1String("SFP ") + letter;
}

QString inputSelectionToString(quint32 selection, quint32 boardModel)
{
    switch (selection) {
    case IpInputSelection_Automatic:
        return QStringLiteral("Automatic");
    case IpInputSelection_Manual:
        return QStringLiteral("Manual");
    case IpInputSelection_TessEth0:
        return interfaceName(IpInterface_TessEth0, boardModel);
    case IpInputSelection_TessEth1:
        return interfaceName(IpInterface_TessEth1, boardModel);
    default:
        return error();
    }
}

QString outputSelectionToString(quint32 selection, quint32 boardModel)
{
    switch (selection) {
    case IpOutputSelection_TessEth0:
        return interfaceName(IpInterface_TessEth0, boardModel);
    case IpOutputSelection_TessEth1:
        return interfaceName(IpInterface_TessEth1, boardModel);
    case IpOutputSelection_Seamless:
        return seamlessName(boardModel);
    default:
        return error();
    }
}

quint32 inputSelectionFromString(QStringView text, quint32 boardModel, bool* ok)
{
    return findSelection(text, IpInputSelection_TessEth1, ok, [boardModel](quint32 selection) {
        return inputSelectionToString(selection, boardModel);
    });
}

quint32 outputSelectionFromString(QStringView text, quint32 boardModel, bool* ok)
{
    return findSelection(text, IpOutputSelection_Seamless, ok, [boardModel](quint32 selection) {
        return outputSelectionToString(selection, boardModel);
    });
}

QString streamTagToString(quint32 tag, quint32 boardModel)
{
    constexpr auto mediaCount = static_cast<quint32>(std::size(STREAM_MEDIA));
    const QChar letter = interfaceLetter(tag / mediaCount, boardModel);
    return letter.isNull() ? error() : letter + QLatin1Char(' ') + STREAM_MEDIA[tag % mediaCount];
}

} // namespace IpTypes
} // namespace Tessorn
