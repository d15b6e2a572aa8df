#include "infrastructure/utility/video/generation/PatternsJsonObject.h"

#include "infrastructure/utility/Log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>

#include <algorithm>

namespace {

using namespace Tessorn;
using Sdi::PayloadId::BitDepth_10;
using Sdi::PayloadId::BitDepth_12;
using Sdi::PayloadId::Colourimetry_Unknown;
using Sdi::PayloadId::TransferCurve_Unspecified;

struct ImageSize
{
    int width;
    int height;
};

constexpr ImageSize IMAGE_SIZES[] = {
    {1280, 720}, {1920, 1080}, {2048, 1080}, {3840, 2160}, {4096, 2160},
};

bool isTitle(const QJsonValue& value)
{
    return value.isString() && !value.toString().isEmpty();
}

template <int first, int second>
bool isOneOf(const QJsonValue& value)
{
    return value.isDouble() && (value.toInt() == first || value.toInt() == second);
}

template <const auto& table>
bool isWordOf(const QJsonValue& value)
{
    return value.isString() && Vocabulary::findText(table, value.toString()) != nullptr;
}

bool isImageName(const QJsonValue& value)
{
    const QString name = value.toString();
    return value.isString() &&
           (name.endsWith(QLatin1String(".png")) || name.endsWith(QLatin1String(".tif")));
}

bool isShaderName(const QJsonValue& value)
{
    return value.isString() && value.toString().contains(QLatin1String(".patshader"));
}

bool isMissingOrBool(const QJsonValue& value)
{
    return value.isUndefined() || value.isBool();
}

/// A key of a pattern, and what its value must be.
struct Check
{
    const char* key;
    bool (*isGood)(const QJsonValue& value);
};

constexpr Check CHECKS_BEFORE_SIZE[] = {
    {"title", isTitle},
    {"sampling", isOneOf<422, 444>},
};

constexpr Check CHECKS_AFTER_SIZE[] = {
    {"depth", isOneOf<10, 12>},
    {"colour", isWordOf<PATTERN_COLOURS>},
    {"matrix", isWordOf<PATTERN_MATRICES>},
    {"curve", isWordOf<PATTERN_CURVES>},
    {"proxy", isImageName},
    {"image", isImageName},
    {"generate", isShaderName},
    {"alpha", isMissingOrBool},
};

bool passes(const QJsonObject& pattern, const Check& check)
{
    if (check.isGood(pattern.value(QLatin1String(check.key)))) {
        return true;
    }
    VELLOG_ERR() << "Invalid " << check.key << " in patterns.json";
    return false;
}

template <std::size_t count>
bool passesAll(const QJsonObject& pattern, const Check (&checks)[count])
{
    return std::all_of(std::begin(checks), std::end(checks),
                       [&](const Check& check) { return passes(pattern, check); });
}

bool hasValidSize(const QJsonObject& pattern)
{
    const QJsonValue width = pattern.value(QLatin1String("width"));
    const QJsonValue height = pattern.value(QLatin1String("height"));
    if (std::any_of(std::begin(IMAGE_SIZES), std::end(IMAGE_SIZES), [&](const ImageSize& size) {
            return width.toInt() == size.width && height.toInt() == size.height;
        })) {
        return true;
    }
    VELLOG_ERR() << "Invalid (" << width.toDouble() << ", " << height.toDouble()
                 << ") in patterns.json";
    return false;
}

bool isValidPattern(const QJsonObject& pattern)
{
    return passesAll(pattern, CHECKS_BEFORE_SIZE) && hasValidSize(pattern) &&
           passesAll(pattern, CHECKS_AFTER_SIZE);
}

/// The value for a word, or `otherwise`.
template <typename Value, std::size_t count>
Value valueOf(const Vocabulary::Row<Value> (&table)[count], const QJsonValue& word, Value otherwise)
{
    const auto* row = Vocabulary::findText(table, word.toString());
    return row != nullptr ? row->value : otherwise;
}

TestPattern toPattern(const QJsonObject& object)
{
    const auto value = [&](const char* key) { return object.value(QLatin1String(key)); };
    TestPattern pattern;
    pattern.title = value("title").toString().replace(QLatin1Char('/'), QLatin1Char(' '));
    pattern.imageSize = QSize(value("width").toInt(), value("height").toInt());
    pattern.depth = value("depth").toInt() == 12 ? BitDepth_12 : BitDepth_10;
    pattern.colour = valueOf(PATTERN_COLOURS, value("colour"), PatternColour_Unknown);
    pattern.matrix = valueOf(PATTERN_MATRICES, value("matrix"), Colourimetry_Unknown);
    pattern.curve = valueOf(PATTERN_CURVES, value("curve"), TransferCurve_Unspecified);
    pattern.proxy = value("proxy").toString();
    pattern.image = value("image").toString();
    pattern.generate = value("generate").toString();
    pattern.sampling = value("sampling").toInt() == 422;
    pattern.alpha = value("alpha").toBool();
    return pattern;
}

/// A JSON value as the log shows it.
QString textOf(const QJsonValue& value)
{
    const auto shown = [](const QString& text) {
        return QLatin1String("QJsonValue[") + text + QLatin1Char(']');
    };
    const auto compact = [](const QJsonDocument& document) {
        return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
    };
    switch (value.type()) {
    case QJsonValue::Null:
        return shown(QStringLiteral("NULL"));
    case QJsonValue::Bool:
        return shown(value.toBool() ? QStringLiteral("true") : QStringLiteral("false"));
    case QJsonValue::Double:
        return shown(QString::number(value.toDouble(), 'g', QLocale::FloatingPointShortest));
    case QJsonValue::String:
        return shown(QLatin1Char('"') + value.toString() + QLatin1Char('"'));
    case QJsonValue::Array:
        return shown(compact(QJsonDocument(value.toArray())));
    case QJsonValue::Object:
        return shown(compact(QJsonDocument(value.toObject())));
    case QJsonValue::Undefined:
        break;
    }
    return QStringLiteral("QJsonValue[?] (content undefined)");
}

} // namespace

PatternsJsonObject::PatternsJsonObject(const QJsonObject& fileObject)
    : catalogue(fileObject)
{
}

bool PatternsJsonObject::isValid() const
{
    const auto isString = [&](const char* key) {
        return catalogue.value(QLatin1String(key)).isString();
    };
    return isString("built") && isString("comment") && isString("version") &&
           catalogue.value(QLatin1String("patterns")).isArray();
}

QList<TestPattern> PatternsJsonObject::getDeserialisedPatterns() const
{
    const QJsonValue patterns = catalogue.value(QLatin1String("patterns"));
    if (!patterns.isArray()) {
        VELLOG_ERR() << "PatternsJsonObject::getDeserialisedPatterns, " << textOf(patterns)
                     << " not an array, no patterns loaded: ";
        return {};
    }
    QList<TestPattern> read;
    const QJsonArray entries = patterns.toArray();
    for (const QJsonValue entry : entries) {
        if (!entry.isObject()) {
            VELLOG_ERR() << "PatternsJsonObject::getDeserialisedPatterns, \"value\" not an object, "
                            "pattern ignored: "
                         << textOf(entry);
        } else if (!isValidPattern(entry.toObject())) {
            VELLOG_ERR() << "PatternsJsonObject::getDeserialisedPatterns, invalid pattern ignored: "
                         << textOf(entry);
        } else {
            read.append(toPattern(entry.toObject()));
        }
    }
    return read;
}
