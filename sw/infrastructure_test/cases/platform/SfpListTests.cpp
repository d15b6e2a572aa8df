#include "infrastructure/platform/SfpConfigFileHandler.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"
#include "sw/infrastructure_test/TestSupport.h"

namespace {

QByteArray listOf(const QByteArray& entries)
{
    return R"({"configRevision": 4, "supportedSfps": [)" + entries + "]}";
}

QByteArray entry(const char* part, const char* more = "", const char* boards = "{}")
{
    return QByteArray(R"({"Vendor": "V", "SDI": false, "Rate": "1G", "PartNumber": ")") + part +
           R"(", )" + more + R"("Boards": )" + boards + "}";
}

SfpConfigFileHandler handlerFor(const char* board)
{
    return SfpConfigFileHandler(QString(), QString(), QLatin1String(board));
}

} // namespace

TEST_CASE("An error in an SFP list names its entry", "[platform]")
{
    const MadeMachine machine;
    const LogCapture log;
    SfpConfigFileHandler handler = handlerFor("3");
    CHECK_FALSE(handler.parseConfig(listOf(entry("A") + ',' + entry("B", "", "1"))));
    CHECK(log.lines().filter(QStringLiteral("error:")) ==
          QStringList{QStringLiteral("error: Invalid JSON file: Boards not an object"),
                      QStringLiteral("error: The error is in entry 2 of supportedSfps: V(B)")});
}

TEST_CASE("A module is found by padded texts, and one that is listed twice is warned of",
          "[platform]")
{
    const MadeMachine machine;
    const LogCapture log;
    SfpConfigFileHandler handler = handlerFor("3");
    REQUIRE(handler.parseConfig(listOf(entry("A") + ',' + entry("B ") + ',' + entry(" A"))));
    CHECK(log.lines().filter(QStringLiteral("warning:")).isEmpty());
    const auto find = [&](const char* vendor, const char* part) {
        return handler.findSfp(QLatin1String(vendor), QLatin1String(part), QStringLiteral("  "));
    };
    const SupportedSfp* first = &handler.supportedSfps().front();
    CHECK(find("V", "A") == first);
    CHECK(find("V               ", "A   ") == first);
    CHECK(find("V", "B") == first + 1);
    CHECK(find("V", " A") == first + 2); // a blank in front is no padding
    CHECK(find("", "A") == nullptr);
    REQUIRE(handler.parseConfig(listOf(entry("A") + ',' + entry("A  ", R"("OUI": "2", )"))));
    CHECK(find("V", "A")->oui == QStringLiteral("2"));
    CHECK(
        log.lines().filter(QStringLiteral("warning:")) ==
        QStringList{QStringLiteral("warning: SFP V ,A; is listed twice, the later entry counts")});
}

TEST_CASE("The modules for this board are those of its group", "[platform]")
{
    const MadeMachine machine;
    const auto [board, parts] = GENERATE(table<const char*, std::string>(
        {{"0", "BC"}, {"9", "BC"}, {"10", "AC"}, {"15", "AC"}, {"99", "AC"}}));
    SfpConfigFileHandler handler = handlerFor(board);
    REQUIRE(handler.parseConfig(listOf(entry("A", R"("ExcludeBoards": ["rel_a"], )") + ',' +
                                       entry("B", R"("ExcludeBoards": ["rel_b"], )") + ',' +
                                       entry("C"))));
    std::string found;
    for (const SupportedSfp* sfp : handler.sfpsForThisBoard()) {
        found += sfp->partNumber.toStdString();
    }
    CHECK(found == parts);
    CHECK(handler.supportedSfps().size() == 3);
}
