// A tree of two settings: written to JSON, changed from outside, and asked what changed.
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"

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

    constexpr bool justData = true;
    constexpr bool withChildren = true;
    QByteArray text;
    generator.appendToJsonText(text, justData, withChildren);
    std::puts(text.constData());

    config.takeChangedList();
    generator.populateFromJsonText(R"({"generator": {"levelPercent": {"data": "175"}}})", justData);
    for (const DatacoreBase* node : config.takeChangedList()) {
        DatacoreValidStatusMessages reasons;
        const bool isValid = node->isValid(reasons);
        std::printf("%s = %s (%s)\n", qPrintable(node->getPath()), qPrintable(node->getData()),
                    isValid ? "valid" : qPrintable(reasons.first().getText()));
    }
}
