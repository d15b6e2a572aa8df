#include "infrastructure/utility/Finding.h"
#include "sw/infrastructure_test/Catch.h"

#include <QRegularExpression>
#include <QSet>

TEST_CASE("A finding says what, where and how bad", "[utility]")
{
    Finding finding{FindingCode::WordTooWide, {1, 0, 41, 1924, 2, 1}, 0, 0xABCD, "as seen"_s};
    CHECK(finding.toString() ==
          "error sdi.word-too-wide: link 2, field 1, line 41, sample 1924, stream 3, channel 2: a "
          "word has more than 10 bits: ABCD; as seen"_s);
    finding = {FindingCode::WordTooWide};
    finding.found = -5;
    CHECK(finding.toString() == "error sdi.word-too-wide: a word has more than 10 bits: -5"_s);
    const Finding inDecimal{FindingCode::LineLength, {}, 5280, 5279};
    CHECK(inDecimal.toString() == "error sdi.line-length: the line has 5279 words for 5280"_s);
    finding = {FindingCode::WordTooWide, {}, 0, -5};
    for (const Finding& other : {Finding{FindingCode::WordTooWide, {0, -1, -1, -1}, 0, -5},
                                 Finding{FindingCode::WordTooWide, {-1, 0, -1, -1}, 0, -5},
                                 Finding{FindingCode::WordTooWide, {-1, -1, 1, -1}, 0, -5},
                                 Finding{FindingCode::WordTooWide, {-1, -1, -1, 0}, 0, -5},
                                 Finding{FindingCode::WordTooWide, {-1, -1, -1, -1, 0}, 0, -5},
                                 Finding{FindingCode::WordTooWide, {-1, -1, -1, -1, -1, 0}, 0, -5},
                                 Finding{FindingCode::WordTooWide, {}, 1, -5},
                                 Finding{FindingCode::WordTooWide, {}, 0, -6},
                                 Finding{FindingCode::WordTooWide, {}, 0, -5, "more"_s}}) {
        CHECK(finding != other);
    }

    QSet<QString> names;
    const QRegularExpression form("^[a-z0-9]+(\\.[a-z0-9-]+)+$"_s);
    for (const FindingKind& kind : FINDING_KINDS) {
        CAPTURE(kind.name);
        CHECK(form.match(QLatin1String(kind.name)).hasMatch());
        names.insert(QLatin1String(kind.name));
    }
    CHECK(names.size() == int(FINDING_CODE_COUNT));
}

TEST_CASE("A list of findings keeps the first and counts all", "[utility]")
{
    FindingList list(2);
    CHECK(list.isEmpty());
    for (int line = 1; line <= 5; ++line) {
        list.add({FindingCode::WordTooWide, {-1, -1, line, -1}});
    }
    REQUIRE(list.getFindings().size() == 2);
    CHECK(list.getFindings()[1].place.line == 2);
    CHECK(list.getTotal() == 5);
    CHECK(list.getCount(FindingCode::WordTooWide) == 5);
    CHECK(list.toString() == "error sdi.word-too-wide: line 1: a word has more than 10 bits: 0\n"
                             "error sdi.word-too-wide: line 2: a word has more than 10 bits: 0\n"
                             "and 3 more\n"_s);
    FindingList both(3);
    both.add({FindingCode::TagLost});
    both.append(list);
    both.append(list);
    CHECK(both.getFindings().size() == 3);
    CHECK(both.getFindings()[2] == list.getFindings()[1]);
    CHECK(both.getTotal() == 11);
    CHECK(both.getCount(FindingCode::WordTooWide) == 10);
    list.clear();
    CHECK((list.isEmpty() && list.getFindings().empty() && list.toString().isEmpty()));
    CHECK(list.getCount(FindingCode::WordTooWide) == 0);
}
