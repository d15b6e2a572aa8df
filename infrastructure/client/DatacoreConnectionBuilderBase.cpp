#include "infrastructure/client/DatacoreConnectionBuilderBase.h"

#include "infrastructure/utility/Log.h"

#include <QSet>

#include <algorithm>

DatacoreConnectionBuilderBase::DatacoreConnectionBuilderBase(
    ClientDatacoreRegistry& datacoreRegistry, QObject* parent)
    : QObject(parent)
    , registry(&datacoreRegistry)
    , configCoreRouter(QStringLiteral("configCoreRouter"))
    , statusCoreRouter(QStringLiteral("statusCoreRouter"))
    , commandCoreRouter(QStringLiteral("commandCoreRouter"))
    , persistentConfigCoreRouter(QStringLiteral("persistentConfigCoreRouter"))
{
    connect(registry, &ClientDatacoreRegistry::registryHasBeenCleared, this,
            &DatacoreConnectionBuilderBase::onRegistryCleared);
    connect(registry, &ClientDatacoreRegistry::registryHasBeenPopulated, this,
            &DatacoreConnectionBuilderBase::onRegistryPopulated);
    connect(registry, &ClientDatacoreRegistry::mirrorsAboutToBeRemoved, this,
            &DatacoreConnectionBuilderBase::forgetDatacores);
}

QString DatacoreConnectionBuilderBase::getRouter(ServerSideDataTree tree) const
{
    const QString* const routers[] = {&configCoreRouter, &statusCoreRouter, &commandCoreRouter,
                                      &persistentConfigCoreRouter};
    if (tree > PersistentConfigTree) {
        VELLOG_ERR() << "Invalid server side datatree specified";
        return QString();
    }
    return *routers[tree];
}

ClientDatacore* DatacoreConnectionBuilderBase::connectDatacore(QString path,
                                                               ServerSideDataTree tree)
{
    const QString router = getRouter(tree);
    ClientDatacore* datacore =
        registry->lookup(router + DatacoreJsonInterface::TREE_LEVEL_DELIMITER() + path);
    if (datacore == nullptr) {
        VELLOG_ERR() << "Invalid path, constructed from " << router << " and " << path;
        return nullptr;
    }
    connectedDatacores.push_back(datacore);
    return datacore;
}

void DatacoreConnectionBuilderBase::populateConnectedGuiElements()
{
    // By index: a receiver may connect more mirrors, or lose the link.
    for (std::size_t i = 0; i < connectedDatacores.size(); ++i) {
        connectedDatacores[i]->populateConnectedGuiElements();
    }
}

void DatacoreConnectionBuilderBase::forgetDatacores(const QStringList& paths)
{
    const auto isGoing =
        [going = QSet<QString>(paths.begin(), paths.end())](const ClientDatacore* datacore) {
            return going.contains(datacore->getPath());
        };
    connectedDatacores.erase(
        std::remove_if(connectedDatacores.begin(), connectedDatacores.end(), isGoing),
        connectedDatacores.end());
}

void DatacoreConnectionBuilderBase::onRegistryCleared()
{
    connectedDatacores.clear();
    Q_EMIT connectionToDatacoresLost();
}

void DatacoreConnectionBuilderBase::onRegistryPopulated()
{
    makeConnections();
    Q_EMIT connectionToDatacoresGained();
}
