// A tree of two settings: written to JSON, changed from outside, and asked what changed.
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"

#include <QJsonDocument>

#include <cstdio>

struct Generator : DatacoreBase
{
    explicit Generator(DatacoreBase* parentNode)
        : DatacoreBase(QStringLiteral("Generator"), QStringLiteral("generator"), parentNode)
    {
    }
    DatacoreBool enabled{QStringLiteral("enabled"), this};
    DatacoreNumberLimits<int> levelPercent{QStringLiteral("levelPercent"), this, 0, 100};
};

int main()
{
    DatacoreBase config(QStringLiteral("configCoreRouter"), nullptr);
    Generator generator(&config);
    generator.levelPercent.setDataNumber(75);

    QJsonObject json;
    DatacoreJsonMessages messages;
    config.appendToJson(QStringLiteral("generator"), json, true, true, messages);
    std::puts(QJsonDocument(json).toJson(QJsonDocument::Compact).constData());

    config.takeChangedList();
    json = QJsonDocument::fromJson(R"({"levelPercent": {"data": "175"}})").object();
    config.populateFromJson(QStringLiteral("generator/levelPercent"), json, true, messages);
    for (const DatacoreBase* node : config.takeChangedList()) {
        DatacoreValidStatusMessages reasons;
        const bool isValid = node->isValid(reasons);
        std::printf("%s = %s (%s)\n", qPrintable(node->getPath()), qPrintable(node->getData()),
                    isValid ? "valid" : qPrintable(reasons.first().getText()));
    }
}
