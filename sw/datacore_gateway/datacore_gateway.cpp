// Shows the trees of datacore servers to browsers, scripts and fleets.
#include "GatewayTree.h"
#include "infrastructure/utility/Logging.h"
#include "infrastructure/utility/QuitOnSignal.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    setupLogging(false, "");
    quitOnSignal();
    GatewayTree tree;
    tree.addServer({QString(), *LinkAddress::parse(QString::fromLocal8Bit(argv[1]), 4010)}, {}, {});
    quint64 seen = 0;
    QObject::connect(&tree, &GatewayTree::changed, [&] {
        for (const int index : tree.collectChangedSince(seen)) {
            const GatewayNode& node = tree.node(index);
            std::printf("%s = %s  %d %d\n", qPrintable(node.path),
                        qPrintable(node.values.join(QLatin1Char(','))), node.state,
                        node.description);
        }
        seen = tree.getRevision();
        std::fflush(stdout);
    });
    return QCoreApplication::exec();
}
