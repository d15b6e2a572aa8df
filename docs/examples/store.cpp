#include "infrastructure/store/DatacoreStore.h"

#include <QTemporaryDir>

#include <cstdio>
#include <future>

int main()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("state"));
    {
        DatacoreStore store(file);
        std::promise<DatacoreStoreInterface::Outcome> promise; // DatacoreServer's part
        store.setListener([&](const auto& outcome) { promise.set_value(outcome); });
        store.save(
            {{QStringLiteral("persistentConfigCoreRouter/name"), {QStringLiteral("studio 2")}},
             {QStringLiteral("persistentConfigCoreRouter/licences"),
              {QStringLiteral("3"), QStringLiteral("7")}}});
        const DatacoreStoreInterface::Outcome outcome = promise.get_future().get();
        std::printf("up to %llu: %s\n", outcome.upTo, outcome.isDurable ? "durable" : "not saved");
        store.setListener(nullptr);
    }
    DatacoreStore store(file); // the next start
    store.readLeaves([](const DatacoreStoreInterface::Leaf& leaf) {
        std::printf("%s has %d, first %s\n", qPrintable(leaf.path), leaf.values.size(),
                    qPrintable(leaf.values.value(0)));
    });
    std::printf("findings: %d\n", store.getFindings().size());
}
