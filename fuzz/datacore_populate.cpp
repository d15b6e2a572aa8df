// JSON from a peer, read into a tree with leaves of every class: first a byte of flags, then a path
// and a line feed, then the JSON text. Whatever it is, each node must answer, have a JSON form and
// a path that leads to it, and be in the change list at most once; reading the tree's own form back
// must change nothing. Text accepted as plain must hold what the parser finds in it, and give a
// tree the same.
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreMacAddress.h"
#include "infrastructure/datacore/DatacoreNumberSetLimits.h"
#include "infrastructure/datacore/DatacorePoint.h"
#include "infrastructure/datacore/PlainJson_p.h"
#include "infrastructure/utility/ParseJson.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

enum Flag { Flag_JustData = 1, Flag_AddName = 2 };

/// Keeps the reasons it receives.
struct Mirror : DatacoreBase
{
    using DatacoreBase::DatacoreBase;
    void updateValidStatus(DatacoreValidStatusMessages&) override {}
    void updateActiveStatus(DatacoreActiveStatusMessages&) override {}
    void onChanged() override { clearOwnChangeState(); }
};

/// Copies each change to a leaf.
struct Copier : DatacoreBase
{
    Copier(const QString& name, DatacoreBase* parentNode, DatacoreBase& copy)
        : DatacoreBase(name, parentNode)
        , target(&copy)
    {
    }
    void onChanged() override { target->setData(getDataList()); }

private:
    DatacoreBase* target;
};

struct Tree : DatacoreBase
{
    Tree()
        : DatacoreBase(QStringLiteral("root"), nullptr)
    {
    }
    DatacoreBase a{QStringLiteral("a"), this};
    DatacoreBool flag{QStringLiteral("b"), this};
    DatacoreNumberSetLimits<int> whole{QStringLiteral("i"), &a, -5, 100};
    DatacoreNumberSetLimits<double> real{QStringLiteral("d"), &a, -0.5, 1e10};
    DatacoreNumber<short> small{QStringLiteral("s"), &a};
    DatacorePoint point{QStringLiteral("p"), &small};
    DatacoreMacAddress mac{QStringLiteral("m"), &small};
    Mirror mirror{QStringLiteral("x"), this};
    Copier copier{QStringLiteral("c"), &mirror, flag};
};

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

QJsonObject write(const DatacoreBase& node)
{
    QJsonObject json;
    DatacoreJsonMessages messages;
    require(node.appendToJson(QString(), json, false, true, messages));
    return json;
}

void checkNode(const DatacoreBase& root, DatacoreBase& node)
{
    DatacoreValidStatusMessages invalidReasons;
    require(node.isValid(invalidReasons) == invalidReasons.isEmpty());
    DatacoreActiveStatusMessages inactiveReasons;
    require(node.isActive(inactiveReasons) == inactiveReasons.isEmpty());
    require(write(node).size() == 1);
    require(root.findDatacore(QStringView(node.getPath()).mid(5)) == &node); // "root/"
    require(&node == &root || node.takeChangedList().empty());
    for (DatacoreBase* child : node.getChildren()) {
        checkNode(root, *child);
    }
}

void checkPlain(const QByteArray& text, const QJsonDocument& document)
{
    PlainJsonIndex index;
    if (!index.read(text.constData(), text.size())) {
        return;
    }
    require(document.isObject());
    const QJsonObject json = document.object();
    for (auto it = json.begin(); it != json.end(); ++it) {
        const QByteArray key = it.key().toLatin1();
        require(index.find(text.constData(), QLatin1String(key)).toJsonValue() == it.value());
    }
}

/// Plain text must give a tree the same as its JSON object.
void checkPlainRead(const QByteArray& content, bool justData)
{
    const QByteArray text = "{\"json\":{\"root\":" + content + "}}";
    PlainJsonIndex index;
    if (!index.read(text.constData(), text.size())) {
        return;
    }
    const PlainJsonValue json = index.find(text.constData(), QLatin1String("json"));
    Tree tree;
    require(tree.populateFromPlainJson(json, justData));
    Tree expected;
    DatacoreJsonMessages messages;
    require(
        expected.populateFromJson(QString(), json.toJsonValue().toObject(), justData, messages));
    require(write(tree) == write(expected));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const int flags = data[0];
    const QByteArray bytes(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size) - 1);
    const int lineEnd = std::max(bytes.indexOf('\n'), 0);
    const QString path = QString::fromUtf8(bytes.left(lineEnd));
    const QByteArray text = bytes.mid(lineEnd);
    const QJsonDocument document = parseJson(text);
    checkPlain(text, document);
    checkPlainRead(text.trimmed(), flags & Flag_JustData);

    Tree tree;
    DatacoreJsonMessages messages;
    QJsonObject json = document.object();
    if (flags & Flag_AddName) {
        const DatacoreBase* node = tree.findDatacore(path);
        json = QJsonObject{{node != nullptr ? node->getInstanceName() : QString(), json}};
    }
    tree.populateFromJson(path, json, flags & Flag_JustData, messages);

    std::vector<DatacoreBase*> changed = tree.takeChangedList();
    std::sort(changed.begin(), changed.end());
    require(std::adjacent_find(changed.begin(), changed.end()) == changed.end());
    checkNode(tree, tree);

    const QJsonObject before = write(tree);
    require(tree.populateFromJson(QString(), before, false, messages));
    require(tree.takeChangedList().empty());
    require(write(tree) == before);
    return 0;
}
