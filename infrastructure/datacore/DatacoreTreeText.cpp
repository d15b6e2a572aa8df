// Nodes of the state tree to JSON text and back, without objects in between.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/JsonTextIndex_p.h"
#include "infrastructure/utility/ParseJson.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <algorithm>
#include <cstring>

/// An object in a text: the first of its members, if there are any.
struct JsonTextObject
{
    const JsonTextIndex* text;
    const JsonTextIndex::Member* first;
};

/// The one text that a node holds; there is nothing else to read.
struct JsonTextValue
{
    QLatin1String text;
};

namespace {

/// Goes through plain text that is expected to be of a certain form.
class ExpectedText
{
public:
    explicit ExpectedText(QLatin1String text)
        : at(text.begin())
        , end(text.end())
    {
    }

    /// Each goes past what is asked for, if that is next.
    template <int SIZE>
    bool skip(const char (&expected)[SIZE])
    {
        constexpr int length = SIZE - 1;
        const bool isNext = end - at >= length && std::memcmp(at, expected, length) == 0;
        at += isNext ? length : 0;
        return isNext;
    }
    bool skip(const QString& expected)
    {
        const int length = expected.size();
        const bool isNext = end - at >= length && QLatin1String(at, length) == expected;
        at += isNext ? length : 0;
        return isNext;
    }
    bool isAtEnd() const { return at == end; }
    /// The rest of a string, whose closing quote stays.
    QLatin1String takeCharacters()
    {
        const char* start = at;
        at = pastPlainCharacters(at, end);
        return QLatin1String(start, static_cast<int>(at - start));
    }

private:
    const char* at;
    const char* end;
};

bool isBefore(const DatacoreChildren::Entry& entry, QLatin1String key)
{
    return entry.name < key;
}

} // namespace

void DatacoreBase::appendToJsonText(QByteArray& text, bool justData, bool withChildren) const
{
    JsonTextWriter writer(text);
    appendToJsonText(writer, justData, withChildren);
}

void DatacoreBase::appendToJsonText(JsonTextWriter& text, bool justData, bool withChildren) const
{
    text.append("{");
    appendContent(text, justData, withChildren);
    text.append("}");
}

/// Appends the node as a member of an object. Children and elements are members alike, so they take
/// turns in the order of their keys. A child with the key of an element takes its place.
void DatacoreBase::appendContent(JsonTextWriter& text, bool justData, bool withChildren) const
{
    const DatacoreChildren::Entries entries =
        withChildren ? children.inOrder() : DatacoreChildren::Entries();
    const DatacoreChildren::Entry* child = entries.begin();
    const DatacoreChildren::Entry* const end = entries.end();
    const auto appendChildren = [&](const DatacoreChildren::Entry* stop) {
        for (; child != stop; ++child) {
            child->node->appendContent(text, justData, withChildren);
            text.append(",");
        }
    };
    const auto appendElement = [&](const auto& quotedKey, const auto& element) {
        const QLatin1String key = element.getKey();
        if (child != end) {
            appendChildren(std::lower_bound(child, end, key, isBefore));
        }
        if ((element.isData() || !justData) && (child == end || child->name != key)) {
            text.append(quotedKey);
            element.appendJsonText(text);
            text.append(",");
        }
    };
    text.appendString(instanceName);
    text.append(":{");
    appendElement(R"("class":)", classnameElement());
    appendElement(R"("data":)", dataElement());
    appendElement(R"("reasonsForBeingInactive":)", activeStatusElement());
    appendElement(R"("reasonsForBeingInvalid":)", validStatusElement());
    appendChildren(end);
    text.replaceLast('}'); // there was at least the data
}

bool DatacoreBase::populateFromJsonText(const QByteArray& text, bool justData,
                                        QJsonParseError* error)
{
    // A hook may change the caller's.
    const QByteArray held = text; // NOLINT(performance-unnecessary-copy-initialization)
    JsonTextIndex index;
    if (index.read(held.constData(), held.size())) {
        if (error != nullptr) {
            *error = QJsonParseError();
            error->error = QJsonParseError::NoError;
        }
        return readText(index, justData);
    }
    const QJsonObject json = parseJson(held, error).object();
    DatacoreJsonMessages messages;
    return populateFromJson(QString(), json, justData, messages);
}

bool DatacoreBase::populateFromPlainJson(const PlainJsonValue& json, bool justData)
{
    const QLatin1String text = json.getText();
    if (readUsualText(text, justData)) {
        return true;
    }
    JsonTextIndex index;
    return index.read(text.data(), text.size()) && readText(index, justData);
}

/// Takes what nearly every node is sent as, one text and no reasons, without an index:
///
///     {"gain":{"class":"DatacoreInt32","data":"5","reasonsForBeingInactive":[],
///              "reasonsForBeingInvalid":[]}}
///     {"gain":{"data":"5"}}
bool DatacoreBase::readUsualText(QLatin1String text, bool justData)
{
    ExpectedText rest(text);
    if (!rest.skip("{\"") || !rest.skip(instanceName) || !rest.skip("\":{\"")) {
        return false;
    }
    if (rest.skip("class\":\"")) {
        rest.takeCharacters();
        if (!rest.skip("\",\"")) {
            return false;
        }
    }
    if (!rest.skip("data\":\"")) {
        return false;
    }
    const JsonTextValue value{rest.takeCharacters()};
    const bool isWhole =
        rest.skip(R"(","reasonsForBeingInactive":[],"reasonsForBeingInvalid":[]}})");
    if (!isWhole && !rest.skip("\"}}")) {
        return false;
    }
    // The text goes on if the name itself looks like the start of an object.
    if (!rest.isAtEnd() || (isWhole && !(isValid() && isActive()))) {
        return false;
    }
    readNode(value, justData);
    return true;
}

bool DatacoreBase::readText(const JsonTextIndex& text, bool justData)
{
    const JsonTextIndex::Member* node = text.first();
    if (node == nullptr || text.next(*node) != nullptr || text.getKey(*node) != instanceName) {
        return false;
    }
    readNode(JsonTextObject{&text, text.firstOf(*node)}, justData);
    return true;
}

int DatacoreBase::readElements(const JsonTextValue& value, bool /*justData*/)
{
    dataElement().readPlainText(value.text);
    return 0;
}

/// The members are in the order in which elements are to be read.
int DatacoreBase::readElements(const JsonTextObject& object, bool justData)
{
    int keysLeft = 0;
    const JsonTextIndex& text = *object.text;
    for (const auto* member = object.first; member != nullptr; member = text.next(*member)) {
        const auto isReadBy = [&](auto&& element) {
            if (text.getKey(*member) != element.getKey() || (justData && !element.isData())) {
                return false;
            }
            if (JsonTextIndex::isEscaped(*member)) {
                element.readJsonValue(text.getString(*member));
            } else {
                element.readPlainJson(text.getValue(*member));
            }
            return true;
        };
        // Asked one by one, so that the compiler knows their keys.
        if (!isReadBy(classnameElement()) && !isReadBy(dataElement()) &&
            !isReadBy(activeStatusElement()) && !isReadBy(validStatusElement())) {
            ++keysLeft;
        }
    }
    return keysLeft;
}

void DatacoreBase::readChildren(const JsonTextObject& object, bool justData, int keysLeft)
{
    const JsonTextIndex& text = *object.text;
    std::size_t place = 0; // where the next child is if the text has them all
    for (const auto* member = object.first; member != nullptr && keysLeft > 0;
         member = text.next(*member)) {
        const QLatin1String key = text.getKey(*member);
        const DatacoreChildren::Entries entries = children.inOrder(); // hooks may have added some
        if (place >= entries.size() || entries[place].name != key) {
            const auto found = std::lower_bound(entries.begin(), entries.end(), key, isBefore);
            place = static_cast<std::size_t>(found - entries.begin());
            if (found == entries.end() || found->name != key) {
                continue;
            }
        }
        DatacoreBase* child = entries[place++].node;
        child->readNode(JsonTextObject{&text, text.firstOf(*member)}, justData);
        --keysLeft;
    }
}
