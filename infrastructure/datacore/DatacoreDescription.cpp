#include "infrastructure/datacore/DatacoreDescription.h"

#include "infrastructure/datacore/DatacoreNumberTypes.h"
#include "infrastructure/datacore/JsonText_p.h"

#include <QJsonArray>

#include <algorithm>
#include <iterator>
#include <optional>
#include <tuple>
#include <type_traits>

namespace {

struct NumberKind
{
    char name[8];
    bool isWhole;
};

#define DATACORE_KIND(TYPE, NAME) {NAME, std::is_integral_v<TYPE>},
constexpr NumberKind NUMBER_KINDS[] = {DATACORE_FOR_EACH_NUMBER_TYPE(DATACORE_KIND)};
#undef DATACORE_KIND

/// Null for a kind that is no number.
const NumberKind* findNumberKind(const QString& kind)
{
    const auto found =
        std::find_if(std::begin(NUMBER_KINDS), std::end(NUMBER_KINDS),
                     [&](const NumberKind& row) { return QLatin1String(row.name) == kind; });
    return found == std::end(NUMBER_KINDS) ? nullptr : found;
}

auto fields(const DatacoreDescription& d)
{
    return std::tie(d.kind, d.leastCount, d.mostCount, d.isUnique, d.minimum, d.maximum, d.choices,
                    d.unit, d.sentence, d.isReadOnly);
}

/// The start of a member of an object that is being written.
void appendKey(QByteArray& text, QLatin1String key)
{
    if (text.endsWith('{')) {
        text.append('"').append(key.data(), key.size()).append("\":");
    } else {
        appendNextJsonKey(text, key);
    }
}

/// Takes the members of an object, until one is not as it should be.
class Reader
{
public:
    explicit Reader(const QJsonObject& object)
        : json(object)
    {
    }

    void take(const char* key, QString& text, int maxLength = DatacoreDescription::MAX_WORD_LENGTH)
    {
        const QJsonValue value = json.value(QLatin1String(key));
        if (!value.isUndefined()) {
            text = value.toString();
            check(value.isString() && text.size() <= maxLength, key);
        }
    }
    void take(const char* key, bool& flag)
    {
        const QJsonValue value = json.value(QLatin1String(key));
        if (!value.isUndefined()) {
            flag = value.toBool();
            check(value.isBool(), key);
        }
    }
    void take(const char* key, int& count)
    {
        const QJsonValue value = json.value(QLatin1String(key));
        if (!value.isUndefined()) {
            count = value.toInt(-1); // also what a fraction gives, or a number beyond an int
            check(count >= 0, key);
        }
    }
    void take(const char* key, QStringList& texts)
    {
        const QJsonValue value = json.value(QLatin1String(key));
        if (value.isUndefined()) {
            return;
        }
        const QJsonArray array = value.toArray();
        const bool isShort = array.size() <= DatacoreDescription::MAX_CHOICES;
        check(value.isArray() && isShort, key);
        for (int i = 0; isShort && i < array.size(); ++i) {
            texts.append(array.at(i).toString());
            check(array.at(i).isString() &&
                      texts.last().size() <= DatacoreDescription::MAX_WORD_LENGTH,
                  key);
        }
    }

    void check(bool isGood, const char* what)
    {
        if (!isGood && complaint.isEmpty()) {
            complaint = QStringLiteral("bad \"%1\"").arg(QLatin1String(what));
        }
    }
    const QString& getComplaint() const { return complaint; }

private:
    const QJsonObject& json;
    QString complaint;
};

/// Nothing if a limit can't be converted.
template <typename Convert>
std::optional<bool> areOrdered(const QString& minimum, const QString& maximum, Convert convert)
{
    bool isMinimum = true;
    bool isMaximum = true;
    const auto least = convert(minimum.isEmpty() ? maximum : minimum, isMinimum);
    const auto most = convert(maximum.isEmpty() ? minimum : maximum, isMaximum);
    return isMinimum && isMaximum ? std::optional<bool>(least <= most) : std::nullopt;
}

/// Whole numbers are compared exactly. Of a kind that may have no numbers, texts are fine too.
bool areLimitsGood(const DatacoreDescription& d)
{
    if (d.minimum.isEmpty() && d.maximum.isEmpty()) {
        return true;
    }
    const NumberKind* kind = findNumberKind(d.kind);
    const auto toSigned = [](const QString& text, bool& ok) { return text.toLongLong(&ok); };
    const auto toUnsigned = [](const QString& text, bool& ok) { return text.toULongLong(&ok); };
    const auto toReal = [](const QString& text, bool& ok) { return text.toDouble(&ok); };
    std::optional<bool> ordered = areOrdered(d.minimum, d.maximum, toSigned);
    if (!ordered) {
        ordered = areOrdered(d.minimum, d.maximum, toUnsigned);
    }
    if (!ordered && !(kind != nullptr && kind->isWhole)) {
        ordered = areOrdered(d.minimum, d.maximum, toReal);
    }
    return ordered.value_or(kind == nullptr);
}

} // namespace

bool operator==(const DatacoreDescription& a, const DatacoreDescription& b)
{
    return fields(a) == fields(b);
}

bool operator!=(const DatacoreDescription& a, const DatacoreDescription& b)
{
    return !(a == b);
}

bool DatacoreDescription::isNumber() const
{
    return findNumberKind(kind) != nullptr;
}

/// The keys are in the order in which a JSON object has them.
void DatacoreDescription::appendToJsonText(QByteArray& text) const
{
    const auto appendText = [&text](const char* key, const QString& content) {
        if (!content.isEmpty()) {
            appendKey(text, QLatin1String(key));
            appendJsonString(text, content);
        }
    };
    const auto appendCount = [&text](const char* key, int count, int ordinary) {
        if (count != ordinary) {
            appendKey(text, QLatin1String(key));
            text.append(QByteArray::number(count));
        }
    };
    const auto appendFlag = [&text](const char* key, bool flag) {
        if (flag) {
            appendKey(text, QLatin1String(key));
            text.append("true");
        }
    };
    text.append('{');
    appendText("kind", kind == TEXT() ? QString() : kind);
    appendCount("least", leastCount, 0);
    appendText("max", maximum);
    appendText("min", minimum);
    appendCount("most", mostCount, ANY_COUNT);
    appendFlag("readOnly", isReadOnly);
    appendText("text", sentence);
    appendFlag("unique", isUnique);
    appendText("unit", unit);
    if (!choices.isEmpty()) {
        appendKey(text, QLatin1String("values"));
        text.append('[');
        for (const QString& choice : choices) {
            appendJsonString(text, choice);
            text.append(',');
        }
        text.back() = ']';
    }
    text.append('}');
}

DatacoreDescription DatacoreDescription::fromJson(const QJsonObject& json, QString& reason)
{
    DatacoreDescription description;
    Reader reader(json);
    reader.take("kind", description.kind);
    reader.take("least", description.leastCount);
    reader.take("max", description.maximum);
    reader.take("min", description.minimum);
    reader.take("most", description.mostCount);
    reader.take("readOnly", description.isReadOnly);
    reader.take("text", description.sentence, MAX_TEXT_LENGTH);
    reader.take("unique", description.isUnique);
    reader.take("unit", description.unit);
    reader.take("values", description.choices);
    reader.check(!description.kind.isEmpty(), "kind");
    reader.check(description.leastCount <= description.mostCount, "most");
    reader.check(areLimitsGood(description), "max");
    reason = reader.getComplaint();
    return reason.isEmpty() ? description : DatacoreDescription();
}
