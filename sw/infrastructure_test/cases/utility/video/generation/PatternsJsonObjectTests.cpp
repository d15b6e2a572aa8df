// The catalogue of test patterns, and the one that stands beside the cases.
#include "infrastructure/utility/JsonFile.h"
#include "infrastructure/utility/video/generation/PatternsJsonObject.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>

using namespace Tessorn::Sdi::PayloadId;

namespace {

QJsonObject goodPattern()
{
    return QJsonDocument::fromJson(R"({"title": "A/B", "sampling": 422, "width": 1920,
        "height": 1080, "depth": 12, "colour": "RGB", "matrix": "2020", "curve": "S-Log3",
        "proxy": "small.tif", "image": "bars.png", "generate": "bars.patshader", "alpha": true})")
        .object();
}

QJsonObject catalogueOf(const QJsonValue& patterns)
{
    return {{"built"_s, "today"_s},
            {"comment"_s, QString()},
            {"version"_s, "1"_s},
            {"patterns"_s, patterns}};
}

QList<TestPattern> readAll(const QJsonValue& patterns)
{
    return PatternsJsonObject(catalogueOf(patterns)).getDeserialisedPatterns();
}

/// A JSON value from its text, also where it is no document by itself.
QJsonValue parse(const char* text)
{
    return QJsonDocument::fromJson(QByteArray("[") + text + "]").array().at(0);
}

} // namespace

TEST_CASE("The catalogue's patterns have the images that it tells of", "[patterns]")
{
    const QDir directory(DatacoreTest::testSourceDirectory);
    QJsonObject object;
    REQUIRE(loadJsonFile(directory.filePath("patterns.json"_s), object));
    const PatternsJsonObject catalogue(object);
    REQUIRE(catalogue.isValid());
    const QList<TestPattern> patterns = catalogue.getDeserialisedPatterns();
    REQUIRE(patterns.size() >= 6);
    CHECK(patterns.size() == object.value("patterns"_s).toArray().size());
    for (const TestPattern& pattern : patterns) {
        CAPTURE(pattern.title);
        CHECK(QImage(directory.filePath(pattern.image)).size() == pattern.imageSize);
        const QSize thumbnail = QImage(directory.filePath(pattern.proxy)).size();
        CHECK(thumbnail.width() == 160);
        CHECK(thumbnail.height() == 160 * pattern.imageSize.height() / pattern.imageSize.width());
        CHECK_FALSE(pattern.title.contains(QLatin1Char('/')));
    }
}

TEST_CASE("A catalogue is valid with its three texts and its array", "[patterns]")
{
    const QJsonObject good = catalogueOf(QJsonArray());
    CHECK(PatternsJsonObject(good).isValid());
    for (const QString& key : good.keys()) {
        CAPTURE(key);
        QJsonObject bad = good;
        bad.remove(key);
        CHECK_FALSE(PatternsJsonObject(bad).isValid());
        bad.insert(key, 1);
        CHECK_FALSE(PatternsJsonObject(bad).isValid());
    }
}

TEST_CASE("An entry becomes a pattern", "[patterns]")
{
    const QList<TestPattern> patterns = readAll(QJsonArray{goodPattern()});
    REQUIRE(patterns.size() == 1);
    CHECK(TestPattern().imageSize == QSize(-1, -1));
    TestPattern expected{"A B"_s,
                         QSize(1920, 1080),
                         BitDepth_12,
                         PatternColour_Rgb,
                         Colourimetry_Uhdtv,
                         TransferCurve_Unspecified,
                         "small.tif"_s,
                         "bars.png"_s,
                         "bars.patshader"_s,
                         true,
                         true};
    CHECK(patterns.first() == expected);
    expected.alpha = false;
    CHECK(patterns.first() != expected);
}

TEST_CASE("Words of an entry have their numbers and their texts", "[patterns]")
{
    const auto with = [](const char* key, const QJsonValue& value) {
        QJsonObject pattern = goodPattern();
        pattern.insert(QLatin1String(key), value);
        const QList<TestPattern> patterns = readAll(QJsonArray{pattern});
        REQUIRE(patterns.size() == 1);
        return patterns.first();
    };
    CHECK((with("colour", "CbYCr"_s).colour == 0 && with("colour", "RGB"_s).colour == 1));
    CHECK((with("depth", 10).depth == 1 && with("depth", 12).depth == 2));
    CHECK((with("matrix", "709"_s).matrix == 0 && with("matrix", "2020"_s).matrix == 2));
    CHECK((!with("sampling", 444).sampling && with("sampling", 422).sampling));
    CHECK(with("generate", "my.patshader.txt"_s).generate == "my.patshader.txt"_s);
    const char* const curves[] = {"SDR_TV", "HLG", "PQ", "S-Log3"};
    for (quint32 number = 0; number < 4; ++number) {
        CHECK(with("curve", QLatin1String(curves[number])).curve == number);
        CHECK(getPatternCurveText(TransferCurve(number)) == QLatin1String(curves[number]));
    }
    CHECK(getPatternCurveText(TransferCurve(4)) == QLatin1String("unknown"));
    CHECK(toString(PatternColour_CbYCr) == QLatin1String("CbYCr"));
    CHECK(toString(PatternColour_Rgb) == QLatin1String("RGB"));
    CHECK(toString(PatternColour_Unknown) == QLatin1String("unknown"));

    for (const QSize size : {QSize(1280, 720), QSize(1920, 1080), QSize(2048, 1080),
                             QSize(3840, 2160), QSize(4096, 2160)}) {
        QJsonObject pattern = goodPattern();
        pattern.insert("width"_s, size.width());
        pattern.insert("height"_s, size.height());
        CHECK(readAll(QJsonArray{pattern}).value(0).imageSize == size);
    }
    QJsonObject without = goodPattern();
    without.remove("alpha"_s);
    REQUIRE(readAll(QJsonArray{without}).size() == 1);
    CHECK_FALSE(readAll(QJsonArray{without}).first().alpha);
}

TEST_CASE("A wrong value costs its entry alone and says which key it is", "[patterns]")
{
    const Table<const char*, const char*, const char*> rows{
        {"title", R"("")", "title"},
        {"title", "5", "title"},
        {"sampling", R"("422")", "sampling"},
        {"sampling", "420", "sampling"},
        {"sampling", "422.5", "sampling"},
        {"height", "1200", "(1920, 1200)"},
        {"width", "1280", "(1280, 1080)"},
        {"width", "1920.5", "(1920.5, 1080)"},
        {"width", R"("1920")", "(0, 1080)"},
        {"height", "", "(1920, 0)"},
        {"depth", "8", "depth"},
        {"depth", R"("10")", "depth"},
        {"colour", R"("rgb")", "colour"},
        {"colour", "1", "colour"},
        {"matrix", "709", "matrix"},
        {"matrix", R"("601")", "matrix"},
        {"curve", R"("SDR-TV")", "curve"},
        {"proxy", R"("x.jpg")", "proxy"},
        {"proxy", R"("x.PNG")", "proxy"},
        {"image", "", "image"},
        {"generate", R"("bars.shader")", "generate"},
        {"generate", "null", "generate"},
        {"alpha", "1", "alpha"},
        {"alpha", "null", "alpha"},
    };
    for (const auto& [key, value, complaint] : rows) {
        CAPTURE(key, value);
        QJsonObject bad = goodPattern();
        bad.remove(QLatin1String(key));
        if (*value != '\0') {
            bad.insert(QLatin1String(key), parse(value));
        }
        LogCapture log;
        CHECK(readAll(QJsonArray{goodPattern(), bad, goodPattern()}).size() == 2);
        const QString text = QString::fromUtf8(QJsonDocument(bad).toJson(QJsonDocument::Compact));
        CHECK(log.lines() ==
              QStringList{"error: Invalid %1 in patterns.json"_s.arg(QLatin1String(complaint)),
                          "error: PatternsJsonObject::getDeserialisedPatterns, invalid "
                          "pattern ignored: QJsonValue[%1]"_s.arg(text)});
    }

    // The first one ends the check of an entry.
    LogCapture log;
    QJsonObject bad = goodPattern();
    for (const char* key : {"alpha", "generate", "curve", "depth"}) {
        bad.insert(QLatin1String(key), -1);
    }
    CHECK(readAll(QJsonArray{bad}).isEmpty());
    CHECK(log.lines().size() == 2);
    CHECK(log.contains("error: Invalid depth in patterns.json"_s));
}

TEST_CASE("What is no list of objects is shown as it is", "[patterns]")
{
    const Table<QJsonValue, const char*> rows{
        {QJsonValue::Null, "QJsonValue[NULL]"}, {true, "QJsonValue[true]"},
        {12345678, "QJsonValue[12345678]"},     {0.5, "QJsonValue[0.5]"},
        {"a"_s, "QJsonValue[\"a\"]"},
    };
    for (const auto& [value, text] : rows) {
        LogCapture log;
        CHECK(readAll(value).isEmpty());
        CHECK(readAll(QJsonArray{value, goodPattern()}).size() == 1);
        CHECK(log.lines() ==
              QStringList{"error: PatternsJsonObject::getDeserialisedPatterns, %1 not an "
                          "array, no patterns loaded: "_s.arg(QLatin1String(text)),
                          "error: PatternsJsonObject::getDeserialisedPatterns, \"value\" not "
                          "an object, pattern ignored: %1"_s.arg(QLatin1String(text))});
    }
    LogCapture log;
    CHECK(PatternsJsonObject(QJsonObject()).getDeserialisedPatterns().isEmpty());
    CHECK(readAll(QJsonObject{{"a"_s, 1}}).isEmpty());
    const QString line = "error: PatternsJsonObject::getDeserialisedPatterns, %1 not "
                         "an array, no patterns loaded: "_s;
    CHECK(log.lines() == QStringList{line.arg(QLatin1String("QJsonValue[?] (content undefined)")),
                                     line.arg(QLatin1String("QJsonValue[{\"a\":1}]"))});
}
