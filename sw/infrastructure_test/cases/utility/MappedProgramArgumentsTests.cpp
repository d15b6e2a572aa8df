#include "infrastructure/utility/MappedProgramArguments.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCoreApplication>

#include <sstream>
#include <vector>

namespace {

MappedProgramArguments parse(std::vector<const char*> words, bool stripOptionPrefix = true)
{
    // The words are read only.
    return MappedProgramArguments(static_cast<int>(words.size()), const_cast<char**>(words.data()),
                                  stripOptionPrefix);
}

} // namespace

TEST_CASE("Each word of a command line is a key or a key and a value", "[utility]")
{
    // Null for a key: the word is refused; for a value: it is a null string.
    const auto [word, strip, name, value] =
        GENERATE(table<const char*, bool, const char*, const char*>({
            {"key", true, "key", nullptr},
            {"key=value", true, "key", "value"},
            {"-Dname=1", true, "name", "1"},
            {"--name=1", true, "name", "1"},
            {"-name=1", true, "name", "1"},
            {"---name", true, "-name", nullptr},
            {"--name=1", false, "--name", "1"},
            {"-Dname", false, "-Dname", nullptr},
            {"key=", true, "key", nullptr},
            {"=value", true, "value", nullptr},
            {"a==b", true, "a", "b"},
            {"a=b=c", true, nullptr, nullptr},
            {"-D", true, nullptr, nullptr},
            {"--", true, nullptr, nullptr},
            {"=", true, nullptr, nullptr},
            {"", true, nullptr, nullptr},
            {nullptr, true, nullptr, nullptr},
            {"caf\xe9=1", true, "caf\xe9", "1"},
        }));
    CAPTURE(word, strip);
    const LogCapture log;
    const MappedProgramArguments arguments = parse({word}, strip);

    if (name == nullptr) {
        CHECK(arguments.keys().isEmpty());
        CHECK(log.lines() == QStringList{"error: Command line argument contained multiple '='!"_s});
    } else {
        const QString key = QString::fromLatin1(name);
        CHECK(arguments.keys() == QStringList{key});
        CHECK(arguments.contains(key));
        CHECK(arguments.value(key) == QString::fromLatin1(value));
        CHECK(arguments.value(key).isNull() == (value == nullptr));
        CHECK(log.lines().isEmpty());
    }
}

TEST_CASE("A repeated key gives its newest value and is listed once, an absent one a null string",
          "[utility]")
{
    const MappedProgramArguments arguments = parse({"x=1", "b", "x=2"});
    CHECK(arguments.keys() == QStringList{"b"_s, "x"_s});
    CHECK(arguments.value("x"_s) == "2"_s);

    std::ostringstream text;
    text << arguments;
    CHECK(text.str() == "MappedProgramArguments {\nkey[b] : values[]\nkey[x] : values[2, 1]\n}");

    const LogCapture log; // an absent key
    CHECK_FALSE(arguments.contains("KEY"_s));
    CHECK(arguments.value("KEY"_s).isNull());
    CHECK(log.lines() == QStringList{"error: No key found: KEY"_s});
}

TEST_CASE("The application's arguments begin with the program's name", "[utility]")
{
    const MappedProgramArguments arguments(*QCoreApplication::instance(), false);
    CHECK(arguments.contains(QCoreApplication::arguments().constFirst()));
    CHECK(MappedProgramArguments(0, nullptr, true).keys().isEmpty());
    CHECK(MappedProgramArguments(-1, nullptr, true).keys().isEmpty());
}
