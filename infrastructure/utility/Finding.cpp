#include "infrastructure/utility/Finding.h"

#include <QStringList>

namespace {

QString toText(FindingSeverity severity)
{
    switch (severity) {
    case FindingSeverity::Information:
        return QStringLiteral("information");
    case FindingSeverity::Warning:
        return QStringLiteral("warning");
    case FindingSeverity::Error:
        break;
    }
    return QStringLiteral("error");
}

QString toHex(qint64 value)
{
    return value < 0 ? QString::number(value) : QString::number(value, 16).toUpper();
}

} // namespace

bool FindingPlace::operator==(const FindingPlace& other) const
{
    return link == other.link && field == other.field && line == other.line &&
           sample == other.sample && stream == other.stream && channel == other.channel;
}

QString FindingPlace::toString() const
{
    QStringList parts;
    if (link >= 0) {
        parts.append(QStringLiteral("link %1").arg(link + 1));
    }
    if (field >= 0) {
        parts.append(QStringLiteral("field %1").arg(field + 1));
    }
    if (line >= 0) {
        parts.append(QStringLiteral("line %1").arg(line));
    }
    if (sample >= 0) {
        parts.append(QStringLiteral("sample %1").arg(sample));
    }
    if (stream >= 0) {
        parts.append(QStringLiteral("stream %1").arg(stream + 1));
    }
    if (channel >= 0) {
        parts.append(QStringLiteral("channel %1").arg(channel + 1));
    }
    return parts.join(QLatin1String(", "));
}

QString Finding::toString() const
{
    QString text =
        toText(getSeverity()) + QLatin1Char(' ') + QLatin1String(getName()) + QLatin1String(": ");
    const QString where = place.toString();
    if (!where.isEmpty()) {
        text += where + QLatin1String(": ");
    }
    text += QString::fromLatin1(getKind(code).text)
                .replace(QLatin1String("%1"), toHex(expected))
                .replace(QLatin1String("%2"), toHex(found))
                .replace(QLatin1String("%3"), QString::number(expected))
                .replace(QLatin1String("%4"), QString::number(found));
    return detail.isEmpty() ? text : text + QLatin1String("; ") + detail;
}

bool Finding::operator==(const Finding& other) const
{
    return code == other.code && place == other.place && expected == other.expected &&
           found == other.found && detail == other.detail;
}

void FindingList::add(const Finding& finding)
{
    ++total;
    ++counts[static_cast<std::size_t>(finding.code)];
    if (findings.size() < limit) {
        findings.push_back(finding);
    }
}

void FindingList::append(const FindingList& other)
{
    for (std::size_t i = 0; i < other.findings.size() && findings.size() < limit; ++i) {
        findings.push_back(other.findings[i]);
    }
    total += other.total;
    for (std::size_t code = 0; code < counts.size(); ++code) {
        counts[code] += other.counts[code];
    }
}

QString FindingList::toString() const
{
    QString text;
    for (const Finding& finding : findings) {
        text += finding.toString() + QLatin1Char('\n');
    }
    if (total > findings.size()) {
        text += QStringLiteral("and %1 more\n").arg(total - findings.size());
    }
    return text;
}

void FindingList::clear()
{
    *this = FindingList(limit);
}
