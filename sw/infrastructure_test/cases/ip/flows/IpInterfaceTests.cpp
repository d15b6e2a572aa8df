// Names of interfaces and streams, and the texts of selections.
#include "infrastructure/ip/flows/IpInterface.h"
#include "sw/infrastructure_test/Catch.h"

using namespace Tessorn::IpTypes;

TEST_CASE("An interface is named after its cage on the board", "[ip]")
{
    for (const auto& [interface, boardModel, name] :
         Table<quint32, quint32, const char*>{{0, 0, "SFP A"},
                                              {1, 0, "SFP B"},
                                              {0, 1, "SFP E"},
                                              {1, 1, "SFP F"},
                                              {0, 2, "Error"},
                                              {2, 0, "Error"}}) {
        CHECK(interfaceName(interface, boardModel) == QLatin1String(name));
    }
    REQUIRE(IpValidInterfaces::ipRxInterfaces.size() == 1);
    CHECK(IpValidInterfaces::ipRxInterfaces.front() == IpInterface_TessEth0);
}

TEST_CASE("Selections are read back from their texts, and streams have names", "[ip]")
{
    const std::pair<const char*, const char*> rows[] = {
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
        check(boardModel, rows[boardModel].first, inputSelectionToString, inputSelectionFromString);
        check(boardModel, rows[boardModel].second, outputSelectionToString,
              outputSelectionFromString);
    }
    for (const char16_t* text : {u"", u"automatic", u"SFP A ", u"SFP E", u"Seamless A+B"}) {
        bool ok = true;
        CHECK(inputSelectionFromString(text, 0, &ok) == 0);
        CHECK_FALSE(ok);
    }
    CHECK(inputSelectionFromString(u"SFP B", 0) == 3);

    const char* const names[] = {"A VID", "A AUD 1", "A AUD 2", "A ANC",
                                 "B VID", "B AUD 1", "B AUD 2", "B ANC"};
    for (quint32 tag = 0; tag < std::size(names); ++tag) {
        CHECK(streamTagToString(tag, 0) == QLatin1String(names[tag]));
    }
    CHECK(streamTagToString(5, 1) == "F AUD 1"_s);
    for (const quint32 tag : {8u, 9u, 0xFFFFFFFFu}) {
        CHECK(streamTagToString(tag, 0) == "Error"_s);
    }
    CHECK(streamTagToString(0, 2) == "Error"_s);
}
