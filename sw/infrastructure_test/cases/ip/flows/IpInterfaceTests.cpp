// Names of interfaces and streams, and the texts of selections.
#include "infrastructure/ip/flows/IpInterface.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

TEST_CASE("An interface is named after its cage on the board", "[ip]")
{
    CHECK(interfaceName(IpInterface_TessEth0, 0) == QStringLiteral("SFP A"));
    CHECK(interfaceName(IpInterface_TessEth1, 0) == QStringLiteral("SFP B"));
    CHECK(interfaceName(IpInterface_TessEth0, 1) == QStringLiteral("SFP E"));
    CHECK(interfaceName(IpInterface_TessEth1, 1) == QStringLiteral("SFP F"));
    CHECK(interfaceName(IpInterface_TessEth0, 2) == QStringLiteral("Error"));
    CHECK(interfaceName(2, 0) == QStringLiteral("Error"));
    REQUIRE(IpValidInterfaces::ipRxInterfaces.size() == 1);
    CHECK(IpValidInterfaces::ipRxInterfaces.front() == IpInterface_TessEth0);
}

TEST_CASE("Selections are read back from their texts", "[ip]")
{
    struct Row
    {
        const char* inputs;
        const char* outputs;
    };
    const Row rows[] = {
        {"Automatic|Manual|SFP A|SFP B|Error", "Error|SFP A|SFP B|Seamless A+B|Error"},
        {"Automatic|Manual|SFP E|SFP F|Error", "Error|SFP E|SFP F|Seamless E+F|Error"},
        {"Automatic|Manual|Error|Error|Error", "Error|Error|Error|Error|Error"},
    };
    const auto check = [](quint32 boardModel, const char* texts, auto toText, auto fromText) {
        quint32 selection = 0;
        for (const QString& text : QString::fromLatin1(texts).split(QLatin1Char('|'))) {
            CAPTURE(boardModel, selection);
            const bool isKnown = text != QLatin1String("Error");
            CHECK(toText(selection, boardModel) == text);
            bool ok = !isKnown;
            CHECK(fromText(text, boardModel, &ok) == (isKnown ? selection : 0));
            CHECK(ok == isKnown);
            ++selection;
        }
    };
    for (quint32 boardModel = 0; boardModel < 3; ++boardModel) {
        check(boardModel, rows[boardModel].inputs, inputSelectionToString,
              inputSelectionFromString);
        check(boardModel, rows[boardModel].outputs, outputSelectionToString,
              outputSelectionFromString);
    }
    for (const char16_t* text : {u"", u"automatic", u"SFP A ", u"SFP E", u"Seamless A+B"}) {
        bool ok = true;
        CHECK(inputSelectionFromString(text, 0, &ok) == 0);
        CHECK_FALSE(ok);
    }
    CHECK(inputSelectionFromString(u"SFP B", 0) == 3);
}

TEST_CASE("Four streams are named on each interface", "[ip]")
{
    const char* const names[] = {"A VID", "A AUD 1", "A AUD 2", "A ANC",
                                 "B VID", "B AUD 1", "B AUD 2", "B ANC"};
    for (quint32 tag = 0; tag < std::size(names); ++tag) {
        CHECK(streamTagToString(tag, 0) == QLatin1String(names[tag]));
    }
    CHECK(streamTagToString(5, 1) == QStringLiteral("F AUD 1"));
    for (const quint32 tag : {8u, 9u, 0xFFFFFFFFu}) {
        CHECK(streamTagToString(tag, 0) == QStringLiteral("Error"));
    }
    CHECK(streamTagToString(0, 2) == QStringLiteral("Error"));
}
