// describe.
#include "Commands.h"
#include "ValueText.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

QString countText(const DatacoreDescription& description)
{
    if (description.leastCount == description.mostCount) {
        return description.leastCount == 1
                   ? QStringLiteral("1 value")
                   : QStringLiteral("%1 values").arg(description.leastCount);
    }
    if (description.mostCount == DatacoreDescription::ANY_COUNT) {
        return description.leastCount == 0
                   ? QStringLiteral("any number of values")
                   : QStringLiteral("%1 or more values").arg(description.leastCount);
    }
    return QStringLiteral("%1 to %2 values").arg(description.leastCount).arg(description.mostCount);
}

/// "Int32, 1 value, from 0 to 15, in dB, read-only: Gain of the equaliser."
QString describe(const DatacoreDescription& description)
{
    QStringList parts = {description.kind};
    if (description.kind != DatacoreDescription::GROUP()) {
        parts.append(countText(description));
    }
    if (description.isUnique) {
        parts.append(QStringLiteral("none twice"));
    }
    if (!description.minimum.isNull()) {
        parts.append(QStringLiteral("from ") + description.minimum);
    }
    if (!description.maximum.isNull()) {
        const QString to = QStringLiteral("to ") + description.maximum;
        if (description.minimum.isNull()) {
            parts.append(to);
        } else {
            parts.last() += QLatin1Char(' ') + to;
        }
    }
    if (!description.choices.isEmpty()) {
        parts.append(QStringLiteral("of ") + valueText(description.choices));
    }
    if (!description.unit.isEmpty()) {
        parts.append(QStringLiteral("in ") + description.unit);
    }
    if (description.isReadOnly) {
        parts.append(QStringLiteral("read-only"));
    }
    const QString text = parts.join(QLatin1String(", "));
    return description.sentence.isEmpty() ? text
                                          : text + QStringLiteral(": ") + description.sentence;
}

class DescribeCommand : public Command
{
public:
    using Command::Command;

private:
    void onNames() override
    {
        if (select(0, Reach::Node)) {
            readDescriptions();
        }
    }

    QString getOverdueText() const override
    {
        return Command::getOverdueText() +
               QStringLiteral(" It may be too old to describe its datacores.");
    }

    void onDescriptions() override
    {
        Server& server = *servers.front();
        for (const QString& path : selected[&server]) {
            const auto description = server.descriptions().findDescription(path);
            if (description == nullptr) {
                ++missingCount;
                complain(printable(path) + QStringLiteral(": the server does not describe it"));
            } else if (settings.isJson) {
                QByteArray json;
                description->appendToJsonText(json);
                QJsonObject line = QJsonDocument::fromJson(json).object();
                line.insert(QStringLiteral("server"), server.getName());
                line.insert(QStringLiteral("path"), path);
                print(QString::fromUtf8(QJsonDocument(line).toJson(QJsonDocument::Compact)));
            } else {
                print(printable(path + QStringLiteral("  ") + describe(*description)));
            }
        }
        finish(missingCount > 0 ? 1 : 0);
    }

    int missingCount = 0;
};

} // namespace

std::unique_ptr<Command> makeDescribe(const Settings& settings)
{
    return std::make_unique<DescribeCommand>(settings);
}
