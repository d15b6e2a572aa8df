#include "infrastructure/utility/JsonFile.h"
#include "infrastructure/utility/RegularFile_p.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString writeFile(const QTemporaryDir& directory, const QByteArray& content)
{
    const QString path = directory.filePath("file.json"_s);
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
    CHECK(object.keys() == QStringList{"a"_s, "b"_s});
    CHECK(object.value("b"_s).toString() == "µs"_s);

    REQUIRE(loadJsonFile(writeFile(directory, "[1, 2]"), object));
    CHECK(object.isEmpty());
}

TEST_CASE("A JSON file that can't be used is reported and changes nothing", "[utility]")
{
    const QTemporaryDir directory;
    const QJsonObject before{{"kept"_s, true}};
    QJsonObject object = before;
    const LogCapture log;

    const QString missing = directory.filePath("missing.json"_s);
    CHECK_FALSE(loadJsonFile(missing, object));
    CHECK_FALSE(loadJsonFile(writeFile(directory, R"({"a": })"), object));
    QStringList lines{"error: File not found "_s + missing,
                      "error: JSON file badly formed: object is missing after a comma at: 7"_s};

    const QString pipe = directory.filePath("pipe"_s);
    REQUIRE(::mkfifo(qPrintable(pipe), 0600) == 0);
    for (const QString& path : {directory.path(), "/dev/null"_s, pipe}) {
        CHECK_FALSE(loadJsonFile(path, object));
        lines += "error: File %1 can't be read: it is no regular file"_s.arg(path);
    }
    const QString large = writeFile(directory, R"({"a": 1})");
    REQUIRE(QFile::resize(large, 64 * 1024 * 1024 + 1));
    CHECK_FALSE(loadJsonFile(large, object));
    lines += "error: File %1 is larger than 67108864 bytes"_s.arg(large);
    CHECK(log.lines() == lines);
    CHECK(object == before);

    const int descriptor = openRegularFile(qPrintable(large)); // programs started don't get it
    CHECK((::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0);
    CHECK((::fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0);
    ::close(descriptor);
}
