// JSON text from a peer or a file, read into a tree: a byte of flags, then the text. Whatever it
// is, reading the text must end as parsing it and reading the object does, and the tree's own text
// must be that of its object.
#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/utility/ParseJson.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

/// Keeps the reasons it receives.
struct Mirror : DatacoreBase
{
    using DatacoreBase::DatacoreBase;
    void updateValidStatus(DatacoreValidStatusMessages&) override {}
    void updateActiveStatus(DatacoreActiveStatusMessages&) override {}
};

struct Tree : Mirror
{
    Tree()
        : Mirror(QStringLiteral("root"), nullptr)
    {
    }
    Mirror a{QStringLiteral("a"), this};
    DatacoreNumberLimits<int> number{QStringLiteral("i"), &a, -5, 100};
    Mirror deep{QStringLiteral("d"), &a};
    DatacoreBool flag{QStringLiteral("b"), this};
    Mirror last{QStringLiteral("z"), this};
};

void require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// The tree's text, which must be that of its object.
QByteArray write(const DatacoreBase& tree, bool justData)
{
    QJsonObject json;
    DatacoreJsonMessages messages;
    require(tree.appendToJson(QString(), json, justData, true, messages));
    QByteArray text;
    tree.appendToJsonText(text, justData, true);
    require(text == QJsonDocument(json).toJson(QJsonDocument::Compact));
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const bool justData = (data[0] & 1) != 0;
    // A copy of its own, so that a read past its end is noticed.
    const std::unique_ptr<char[]> copy(new char[size - 1]);
    std::copy(data + 1, data + size, copy.get());
    const QByteArray text = QByteArray::fromRawData(copy.get(), static_cast<int>(size) - 1);

    Tree tree;
    QJsonParseError error;
    const bool isRead = tree.populateFromJsonText(text, justData, &error);
    Tree expected;
    QJsonParseError expectedError;
    const QJsonObject json = parseJson(text, &expectedError).object();
    DatacoreJsonMessages messages;
    require(isRead == expected.populateFromJson(QString(), json, justData, messages));
    require(error.error == expectedError.error && error.offset == expectedError.offset);
    require(write(tree, justData) == write(expected, justData));
    require(tree.takeChangedList().size() == expected.takeChangedList().size());

    const QByteArray full = write(tree, false);
    require(tree.populateFromJsonText(full, false) && tree.takeChangedList().empty());
    return 0;
}
