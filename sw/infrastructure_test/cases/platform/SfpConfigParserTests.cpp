#include "infrastructure/platform/SfpConfigParser.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QJsonDocument>

namespace {

const QByteArray BOARD = R"({"VoltageSwingCode": [1, 2, 3, 4], "PreCursorCode": 5,
                             "PostCursorCode": [6, 7, 8, 4294967295],
                             "ReclockerSettings": [9, 10, 11, 12]})";
const SfpTransceiverConfig BOARD_CONFIG = {
    {1, 2, 3, 4}, {5, 5, 5, 5}, {6, 7, 8, 4294967295}, {9, 10, 11, 12}};

QByteArray fileOf(const QByteArray& sfps)
{
    return R"({"configRevision": 4, "supportedSfps": [)" + sfps + "]}";
}

/// A file with one module, whose "Boards" and further members are given.
QByteArray moduleFile(const QByteArray& boards, const QByteArray& more = {})
{
    return fileOf(R"({"Vendor": "V", "PartNumber": "P", "SDI": false, "Rate": "1G", "Boards": )" +
                  boards + (more.isEmpty() ? "" : ", " + more) + "}");
}

SfpConfigParser parserFor(const char* boardId, int model = 0)
{
    return SfpConfigParser(QLatin1String(boardId), QByteArray(boardId).toUInt(), model);
}

SupportedSfp parseOne(const SfpConfigParser& parser, const QByteArray& data)
{
    std::vector<SupportedSfp> sfps;
    REQUIRE(parser.parse(data, sfps));
    REQUIRE(sfps.size() == 1);
    return sfps.front();
}

} // namespace

TEST_CASE("A module's fields are read, and the log says what is taken", "[platform]")
{
    const LogCapture log;
    const SupportedSfp sfp =
        parseOne(parserFor("3"), fileOf(R"({"Vendor": "ACME", "OUI": "009065", "PartNumber": "A-1",
            "Revision": "G2", "SDI": true, "Rate": "1G10G", "ExcludeBoards": ["rel_b"],
            "SDIConfig": {"MSA": true, "IO": "TXRX", "ConnectorTypeOverride": 4},
            "Boards": {"3": )" + BOARD + "}}"));
    CHECK(std::tuple(sfp.key(), sfp.oui, sfp.sdi, sfp.rate, sfp.boardGroupA, sfp.boardGroupB) ==
          std::tuple("ACME ,A-1;G2"_s, "009065"_s, true, SfpRate_1G10G, true, false));
    CHECK(sfp.sdiConfig == SfpSdiConfig{true, "TXRX"_s, 4});
    CHECK(sfp.transceiver == BOARD_CONFIG);
    CHECK(log.lines() == lines({"info: SFP configuration file is rev: 4",
                                "info: Using configuration for board ID: 3",
                                "info: Adding support for SFP: ACME(A-1)"}));
}

TEST_CASE("What a module leaves out takes a default, with a log line", "[platform]")
{
    const LogCapture log;
    const SupportedSfp sfp = parseOne(parserFor("0"), fileOf(R"({"SDI": 1, "Rate": "40G",
        "Boards": {}, "ExcludeBoards": [1, "rel_c", "rel_a"]})"));
    // Others in the array of boards do not keep the last from being read.
    CHECK(std::tuple(sfp.key(), sfp.sdi, sfp.rate, sfp.boardGroupA, sfp.boardGroupB) ==
          std::tuple(" ,;"_s, false, SfpRate_Invalid, false, true));
    CHECK(log.contains("info: Cannot find valid SDI entry, using default"_s));
    CHECK(log.contains("info: Cannot find valid rate entry, using default"_s));
    CHECK(log.contains(
        "info: No matching board data or config, falling back to internal defaults - ID: 0"_s));

    const SupportedSfp sdi =
        parseOne(parserFor("0"),
                 fileOf(R"({"SDI": true, "Boards": {}, "SDIConfig": {"MSA": false, "IO": ""}})"));
    CHECK_FALSE(sdi.sdiConfig.connectorTypeOverride.has_value());
    CHECK(log.contains("info: ConnectorTypeOverride field is not present in SDIConfig object - no "
                       "override will be used"_s));
}

TEST_CASE("A module's settings come from the board's entry, its group's or the table", "[platform]")
{
    const QByteArray exact = R"("12": )" + BOARD + ',';
    const QByteArray zeros = R"(, "PreCursorCode": 0, "PostCursorCode": 0,
                                  "ReclockerSettings": [0, 0, 0, 0]})";
    const QByteArray a = R"("rel_a_default": {"VoltageSwingCode": 100)" + zeros;
    const QByteArray b = R"("rel_b_default": {"VoltageSwingCode": 200)" + zeros;
    const auto [board, model, boards, swing, postCursor] =
        GENERATE_COPY(table<const char*, int, QByteArray, uint32_t, uint32_t>({
            {"12", 0, exact + a + ',' + b, 1, 6},
            {"11", 0, exact + a + ',' + b, 200, 0},
            {"10", 0, a + ',' + b, 200, 0},
            {"9", 0, a + ',' + b, 100, 0},
            {"0", 1, a + ',' + b, 100, 0},
            {"3", 0, b, 13, 20},            // the other group's entry is not for it
            {"12", 0, a, 13, 0},            // nor here
            {"9", 0, "", 13, 20},           // the table's
            {"15", 0, R"("15": 3)", 13, 0}, // no object is no entry
            {"16", 0, "", 13, 0},           // behind the table
            {"0", 1, "", 15, 0},
            {"0", 7, "", 15, 0},
        }));
    CAPTURE(board, boards);
    const SupportedSfp sfp = parseOne(parserFor(board, model), moduleFile('{' + boards + '}'));
    CHECK(sfp.transceiver.voltageSwingCode[0] == swing);
    CHECK(sfp.transceiver.postCursorCode[0] == postCursor);
}

TEST_CASE("The default tables hold their exceptions", "[platform]")
{
    for (unsigned board = 0; board < SFP_BOARDS; ++board) {
        CAPTURE(board);
        const uint32_t ten = board < 10 ? 10 : 0; // of the first and third rate
        CHECK(SFP_DEFAULT_CONFIGS_VEL[board] ==
              SfpTransceiverConfig{
                  {13, 13, 13, 13}, {ten, 10, ten, 10}, {2 * ten, 20, 2 * ten, 20}, {0, 0, 0, 0}});
        const uint32_t post = board == 0 ? 25 : 20;
        CHECK(SFP_DEFAULT_CONFIGS_VELM[board] ==
              SfpTransceiverConfig{
                  {15, 15, 15, 15}, {0, 10, 0, 10}, {0, post, 0, post}, {0, 0, 0, 0}});
    }
}

TEST_CASE("The first error of a configuration file is logged and changes nothing", "[platform]")
{
    const auto boardWith = [](const char* key, const char* value) {
        QJsonObject board = QJsonDocument::fromJson(BOARD).object();
        const QJsonArray parsed = QJsonDocument::fromJson('[' + QByteArray(value) + ']').array();
        board.insert(QLatin1String(key), parsed.at(0));
        return moduleFile(R"({"3": )" + QJsonDocument(board).toJson() + '}');
    };
    const auto sdi = [](const QByteArray& more) {
        return fileOf(R"({"SDI": true, "Boards": {})" + more + '}');
    };
    const char* const file = " for supported sfps";
    const char* const revision = ": does not contain config revision";
    const char* const swing = ": does not contain valid voltage swing code";
    const char* const pre = ": does not contain valid precursor code";
    const char* const post = ": does not contain valid post cursor code";
    const char* const reclocker = ": does not contain valid reclocker settings array";
    const std::pair<QByteArray, const char*> rows[] = {
        {"", file},
        {"[1]", file},
        {"{\"a\"", file},
        {"{}", revision},
        {R"({"configRevision": "4"})", revision},
        {R"({"configRevision": 4})", ": does not contain supported sfps"},
        {R"({"configRevision": 4, "supportedSfps": {}})",
         ": does not contain supported sfps array"},
        {fileOf(""), ": No valid SFP objects found"},
        {fileOf("3"), ": sfp value not an object"},
        {fileOf("{}"), ": Boards not an object"},
        {moduleFile("[]"), ": Boards not an object"},
        {moduleFile("{}", R"("ExcludeBoards": "rel_a")"), ": ExcludeBoards not an array"},
        {moduleFile(R"({"3": {}})"), swing},
        {boardWith("VoltageSwingCode", "[1, 2, 3]"), swing},
        {boardWith("VoltageSwingCode", "[1, 2, 3, 4, 5]"), swing},
        {boardWith("VoltageSwingCode", "[1, 2, 3, \"4\"]"), swing},
        {boardWith("VoltageSwingCode", "-1"), swing},
        {boardWith("PreCursorCode", "4294967296"), pre},
        {boardWith("PreCursorCode", "1.5"), pre},
        {boardWith("PostCursorCode", "[1, 2, 3, 1e300]"), post},
        {boardWith("PostCursorCode", "null"), post},
        {boardWith("ReclockerSettings", "1"), reclocker},
        {boardWith("ReclockerSettings", "[]"), reclocker},
        {sdi(""), ": SDIConfig missing for SDI SFP."},
        {sdi(R"(, "SDIConfig": 1)"), ": SDIConfig not an object"},
        {sdi(R"(, "SDIConfig": {})"), ": MSA flag is missing from SDIConfig object"},
        {sdi(R"(, "SDIConfig": {"MSA": 1})"), ": MSA flag is not a boolean"},
        {sdi(R"(, "SDIConfig": {"MSA": true})"), ": IO field is missing from SDIConfig object"},
        {sdi(R"(, "SDIConfig": {"MSA": true, "IO": 1})"), ": IO field is not a string"},
        {sdi(R"(, "SDIConfig": {"MSA": true, "IO": "", "ConnectorTypeOverride": true})"),
         ": ConnectorTypeOverride flag is not a number"},
        {fileOf(R"({"Boards": {}}, 1)"), ": sfp value not an object"},
    };
    for (const auto& [data, error] : rows) {
        CAPTURE(data);
        const LogCapture log;
        std::vector<SupportedSfp> sfps(2);
        CHECK_FALSE(parserFor("3").parse(data, sfps));
        CHECK(sfps.size() == 2);
        CHECK(log.lines().filter("error:"_s).first() ==
              "error: Invalid JSON file"_s + QLatin1String(error));
    }
}

TEST_CASE("A rate has a text", "[platform]")
{
    int rate = 0;
    for (const char* word : {"SDI", "1G", "10G", "1G10G"}) {
        const QLatin1String text(word);
        CHECK(int(sfpRateFromText(text)) == rate);
        CHECK(sfpRateText(SfpRate(rate++)) == text);
    }
    CHECK(sfpRateFromText("10g"_s) == SfpRate_Invalid);
    CHECK(sfpRateText(SfpRate_Invalid).isEmpty());
}
