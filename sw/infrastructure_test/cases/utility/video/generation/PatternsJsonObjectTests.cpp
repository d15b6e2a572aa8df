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
    return {{QStringLiteral("built"), QStringLiteral("today")},
            {QStringLiteral("comment"), QString()},
            {QStringLiteral("version"), QStringLiteral("1")},
            {QStringLiteral("patterns"), patterns}};
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
    REQUIRE(loadJsonFile(directory.filePath(QStringLiteral("patterns.json")), object));
    const PatternsJsonObject catalogue(object);
    REQUIRE(catalogue.isValid());
    const QList<TestPattern> patterns = catalogue.getDeserialisedPatterns();
    REQUIRE(patterns.size() >= 6);
    CHECK(patterns.size() == object.value(QStringLiteral("patterns")).toArray().size());
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
    TestPattern expected;
    CHECK(expected.imageSize == QSize(-1, -1));
    expected.title = QStringLiteral("A B");
    expected.imageSize = QSize(1920, 1080);
    expected.depth = BitDepth_12;
    expected.colour = PatternColour_Rgb;
    expected.matrix = Colourimetry_Uhdtv;
    expected.curve = TransferCurve_Unspecified;
    expected.proxy = QStringLiteral("small.tif");
    expected.image = QStringLiteral("bars.png");
    expected.generate = QStringLiteral("bars.patshader");
    expected.sampling = true;
    expected.alpha = true;
    CHECK(patterns.first() == expected);
    expected.alpha = false;
    CHECK(patterns.first() != expected);
}

TEST_CASE("Words of an entry have their numbers and their texts", "[patterns]")
{
    const auto with = [](const char* key, const char* text) {
        QJsonObject pattern = goodPattern();
        pattern.insert(QLatin1String(key), parse(text));
        const QList<TestPattern> patterns = readAll(QJsonArray{pattern});
        REQUIRE(patterns.size() == 1);
        return patterns.first();
    };
    CHECK(with("colour", R"("CbYCr")").colour == 0);
    CHECK(with("colour", R"("RGB")").colour == 1);
    CHECK(with("depth", "10").depth == 1);
    CHECK(with("depth", "12").depth == 2);
    CHECK(with("matrix", R"("709")").matrix == 0);
    CHECK(with("matrix", R"("2020")").matrix == 2);
    CHECK_FALSE(with("sampling", "444").sampling);
    CHECK(with("generate", R"("my.patshader.txt")").generate == QLatin1String("my.patshader.txt"));
    const char* const curves[] = {"SDR_TV", "HLG", "PQ", "S-Log3"};
    for (quint32 number = 0; number < 4; ++number) {
        const QByteArray text = QByteArray("\"") + curves[number] + "\"";
        CHECK(with("curve", text.constData()).curve == number);
        CHECK(getPatternCurveText(TransferCurve(number)) == QLatin1String(curves[number]));
    }
    CHECK(getPatternCurveText(TransferCurve(4)) == QLatin1String("unknown"));
    CHECK(toString(PatternColour_CbYCr) == QLatin1String("CbYCr"));
    CHECK(toString(PatternColour_Rgb) == QLatin1String("RGB"));
    CHECK(toString(PatternColour_Unknown) == QLatin1String("unknown"));

    for (const QSize size : {QSize(1280, 720), QSize(1920, 1080), QSize(2048, 1080),
                             QSize(3840, 2160), QSize(4096, 2160)}) {
        QJsonObject pattern = goodPattern();
        pattern.insert(QStringLiteral("width"), size.width());
        pattern.insert(QStringLiteral("height"), size.height());
        CHECK(readAll(QJsonArray{pattern}).value(0).imageSize == size);
    }
    QJsonObject without = goodPattern();
    without.remove(QStringLiteral("alpha"));
    REQUIRE(readAll(QJsonArray{without}).size() == 1);
    CHECK_FALSE(readAll(QJsonArray{without}).first().alpha);
}

TEST_CASE("A wrong value costs its entry alone and says which key it is", "[patterns]")
{
    struct Row
    {
        const char* key;
        const char* value; ///< JSON text; "" to leave the key out
        const char* complaint;
    };
    const Row rows[] = {
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
    for (const Row& row : rows) {
        CAPTURE(row.key, row.value);
        QJsonObject bad = goodPattern();
        bad.remove(QLatin1String(row.key));
        if (*row.value != '\0') {
            bad.insert(QLatin1String(row.key), parse(row.value));
        }
        LogCapture log;
        CHECK(readAll(QJsonArray{goodPattern(), bad, goodPattern()}).size() == 2);
        const QString text = QString::fromUtf8(QJsonDocument(bad).toJson(QJsonDocument::Compact));
        CHECK(log.lines() ==
              QStringList{
                  QStringLiteral("error: Invalid %1 in patterns.json")
                      .arg(QLatin1String(row.complaint)),
                  QStringLiteral("error: PatternsJsonObject::getDeserialisedPatterns, invalid "
                                 "pattern ignored: QJsonValue[%1]")
                      .arg(text)});
    }

    // The first one ends the check of an entry.
    LogCapture log;
    QJsonObject bad = goodPattern();
    for (const char* key : {"alpha", "generate", "curve", "depth"}) {
        bad.insert(QLatin1String(key), -1);
    }
    CHECK(readAll(QJsonArray{bad}).isEmpty());
    CHECK(log.lines().size() == 2);
    CHECK(log.contains(QStringLiteral("error: Invalid depth in patterns.json")));
}

TEST_CASE("What is no list of objects is shown as it is", "[patterns]")
{
    struct Row
    {
        QJsonValue value;
        const char* text;
    };
    const Row rows[] = {
        {QJsonValue::Null, "QJsonValue[NULL]"},     {true, "QJsonValue[true]"},
        {12345678, "QJsonValue[12345678]"},         {0.5, "QJsonValue[0.5]"},
        {QStringLiteral("a"), "QJsonValue[\"a\"]"},
    };
    for (const Row& row : rows) {
        LogCapture log;
        CHECK(readAll(row.value).isEmpty());
        CHECK(readAll(QJsonArray{row.value, goodPattern()}).size() == 1);
        CHECK(
            log.lines() ==
            QStringList{
                QStringLiteral("error: PatternsJsonObject::getDeserialisedPatterns, %1 not an "
                               "array, no patterns loaded: ")
                    .arg(QLatin1String(row.text)),
                QStringLiteral("error: PatternsJsonObject::getDeserialisedPatterns, \"value\" not "
                               "an object, pattern ignored: %1")
                    .arg(QLatin1String(row.text))});
    }
    LogCapture log;
    CHECK(PatternsJsonObject(QJsonObject()).getDeserialisedPatterns().isEmpty());
    CHECK(readAll(QJsonObject{{QStringLiteral("a"), 1}}).isEmpty());
    const QString line =
        QStringLiteral("error: PatternsJsonObject::getDeserialisedPatterns, %1 not "
                       "an array, no patterns loaded: ");
    CHECK(log.lines() == QStringList{line.arg(QLatin1String("QJsonValue[?] (content undefined)")),
                                     line.arg(QLatin1String("QJsonValue[{\"a\":1}]"))});
}
