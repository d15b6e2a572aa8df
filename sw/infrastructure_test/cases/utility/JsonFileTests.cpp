#include "infrastructure/utility/JsonFile.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

namespace {

QString writeFile(const QTemporaryDir& directory, const QByteArray& content)
{
    const QString path = directory.filePath(QStringLiteral("file.json"));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    REQUIRE(file.write(content) == content.size());
    return path;
}

} // namespace

TEST_CASE("A JSON file gives its object", "[utility]")
{
    const QTemporaryDir directory;
    QJsonObject object;

    REQUIRE(loadJsonFile(writeFile(directory, R"({"a": [1, 2], "b": "µs"})"), object));
    CHECK(object.keys() == QStringList{QStringLiteral("a"), QStringLiteral("b")});
    CHECK(object.value(QStringLiteral("b")).toString() == QStringLiteral("µs"));

    REQUIRE(loadJsonFile(writeFile(directory, "[1, 2]"), object));
    CHECK(object.isEmpty());
}

TEST_CASE("A JSON file that can't be used is reported and changes nothing", "[utility]")
{
    const QTemporaryDir directory;
    const QJsonObject before{{QStringLiteral("kept"), true}};
    QJsonObject object = before;
    const LogCapture log;

    const QString missing = directory.filePath(QStringLiteral("missing.json"));
    CHECK_FALSE(loadJsonFile(missing, object));
    CHECK(log.contains(QStringLiteral("error: File not found ") + missing));

    CHECK_FALSE(loadJsonFile(writeFile(directory, R"({"a": })"), object));
    REQUIRE(log.lines().size() == 2);
    CHECK(log.lines()[1] ==
          QStringLiteral("error: JSON file badly formed: object is missing after a comma at: 7"));

    CHECK_FALSE(loadJsonFile(directory.path(), object));
    CHECK_FALSE(loadJsonFile(QStringLiteral("/dev/zero"), object));
    CHECK(log.lines().size() == 4);
    CHECK(object == before);
}
