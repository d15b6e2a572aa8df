// list, get and dump.
#include "Commands.h"
#include "ValueText.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

class ListCommand : public Command
{
public:
    using Command::Command;

private:
    void onNames() override
    {
        if (!select(0, Reach::Children)) {
            return;
        }
        for (const std::unique_ptr<Server>& server : servers) {
            for (const QString& path : selected[server.get()]) {
                print(prefixFor(*server) + printable(path));
            }
        }
        finish(0);
    }
};

class GetCommand : public Command
{
public:
    using Command::Command;

private:
    void onNames() override
    {
        if (select(0, Reach::Node)) {
            readValues();
        }
    }

    void onValues() override
    {
        const bool isOne = settings.words.size() == 1 && !isPattern(settings.words[0]);
        for (const std::unique_ptr<Server>& server : servers) {
            for (const QString& path : selected[server.get()]) {
                const ClientDatacore& datacore = *server->find(path);
                if (settings.isJson) {
                    print(jsonLine(*server, datacore, false));
                } else {
                    print(prefixFor(*server) +
                          (isOne ? QString() : printable(path) + QStringLiteral(" = ")) +
                          valueText(valuesOf(datacore)) + QStringLiteral("  ") +
                          statusText(datacore));
                }
            }
        }
        finish(0);
    }
};

class DumpCommand : public Command
{
public:
    using Command::Command;

private:
    void onNames() override
    {
        if (select(0, Reach::Children)) {
            readValues();
        }
    }

    void onValues() override
    {
        Server& server = *servers.front();
        QJsonObject tree;
        for (const QString& path : selected[&server]) {
            QJsonObject own;
            DatacoreJsonMessages messages;
            const ClientDatacore& datacore = *server.find(path);
            datacore.appendToJson(QString(), own, false, false, messages);
            insertAt(tree, path.split(DatacoreJsonInterface::TREE_LEVEL_DELIMITER()), 0,
                     own.value(datacore.getInstanceName()).toObject());
        }
        print(QString::fromUtf8(QJsonDocument(tree).toJson()));
        finish(0);
    }

    /// Puts a node's own content in its place in the tree.
    static void insertAt(QJsonObject& tree, const QStringList& names, int depth,
                         const QJsonObject& content)
    {
        QJsonObject node = tree.value(names[depth]).toObject();
        if (depth + 1 < names.size()) {
            insertAt(node, names, depth + 1, content);
        } else {
            for (auto it = content.begin(); it != content.end(); ++it) {
                node.insert(it.key(), it.value());
            }
        }
        tree.insert(names[depth], node);
    }
};

} // namespace

std::unique_ptr<Command> makeList(const Settings& settings)
{
    return std::make_unique<ListCommand>(settings);
}

std::unique_ptr<Command> makeGet(const Settings& settings)
{
    return std::make_unique<GetCommand>(settings);
}

std::unique_ptr<Command> makeDump(const Settings& settings)
{
    return std::make_unique<DumpCommand>(settings);
}
