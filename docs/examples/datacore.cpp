#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"

#include <QJsonDocument>

#include <cstdio>

struct Limiter : DatacoreBase
{
    explicit Limiter(DatacoreBase* parentNode)
        : DatacoreBase(QStringLiteral("Limiter"), QStringLiteral("limiter"), parentNode)
    {
    }
    DatacoreBool enabled{QStringLiteral("enabled"), this, false};
    DatacoreNumberLimits<int> level{QStringLiteral("level"), this, 64, 940, {64}};

protected:
    void onValid() override
    {
        std::printf("hook: level %s\n", level.isValid() ? "in range" : "out of range");
    }
};

int main()
{
    DatacoreBase root(QStringLiteral("configCoreRouter"), nullptr);
    Limiter limiter(&root);
    root.clearChangeState();

    limiter.level.setDataNumber(1000); // from here
    DatacoreJsonMessages messages;     // and from outside: one object, one update of each node
    const QJsonObject json =
        QJsonDocument::fromJson(R"({"limiter": {"enabled": {"data": "true"}, "typo": {}}})")
            .object();
    const bool fits = root.populateFromJson(QStringLiteral("limiter"), json, true, messages);
    std::printf("fits: %s\n", fits ? "yes" : "no");

    for (const DatacoreBase* node : root.takeChangedList()) {
        DatacoreValidStatusMessages reasons;
        std::printf("%s = %s, state %u, %s\n", qPrintable(node->getPath()),
                    qPrintable(node->getData()), node->getChangeState(),
                    node->isValid(reasons) ? "valid" : qPrintable(reasons.first().getText()));
    }
}
