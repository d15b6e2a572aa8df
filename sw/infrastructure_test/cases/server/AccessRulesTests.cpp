// Access rules by themselves: their file, who has which role, what may be written.
#include "infrastructure/datacore/DatacoreBase.h"
#include "infrastructure/server/AccessControl_p.h"
#include "infrastructure/server/AccessRulesFile.h"
#include "infrastructure/utility/packets/DatacorePacket.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

const char* const DIGEST =
    "2bb80d537b1da3e38bd30361aa855686bde0eacd7162fef6a25fe97bf527a25b"; // "secret"

PeerOrigin from(const char* address, LinkAddress::Way way = LinkAddress::Way::Tcp)
{
    return {way, QHostAddress(QString::fromLatin1(address)), 0, {}, {}, {}};
}

PeerOrigin local(std::optional<quint32> user)
{
    return {LinkAddress::Way::Local, {}, 0, user, {}, {}};
}

PeerOrigin withCertificate(const char* name, const char* digest)
{
    PeerOrigin origin = from("10.0.0.1", LinkAddress::Way::Tls);
    origin.certificateName = QString::fromUtf8(name);
    origin.certificateSha256 = QByteArray::fromHex(digest);
    return origin;
}

AccessRules rulesOf(const QByteArray& text)
{
    QStringList errors;
    const std::optional<AccessRules> rules = readAccessRules(text, errors);
    INFO(errors.join(u'\n').toStdString());
    REQUIRE(rules);
    CHECK(errors.isEmpty());
    return *rules;
}

} // namespace

TEST_CASE("Each error in a file of access rules is told with its line and a remedy", "[server]")
{
    const QByteArray grant = "role a read\ngrant a user 0\n";
    const QByteArray anyTree =
        "begins with no tree; it begins with configCoreRouter, statusCoreRouter, "
        "commandCoreRouter, persistentConfigCoreRouter";
    const QByteArray statements =
        " is no statement; one begins with role, grant, writable or read-only";
    const QByteArray role =
        "a role has a name and a right, as in: role operator write configCoreRouter/input1";
    const QByteArray granted =
        "a grant has a role, a way and a value, as in: grant operator address 192.168.10.0/24";
    const QByteArray noSum =
        " is no SHA-256; it has 64 hexadecimal digits, as sha256sum prints them";
    const QByteArray noAddress = " is no address; write it as in 192.168.10.0/24 or fd00::/8";
    const QByteArray noText = "this is no text in UTF-8 without control characters; write it anew";
    const QByteArray path = " is followed by tree or node and a path, as in: ";
    const Table<QByteArray, QByteArray> rows{
        {"grnt a", "\"grnt\"" + statements},
        {"Role b read", "\"Role\"" + statements},
        {QByteArray(90, 'x'), "\"" + QByteArray(80, 'x') + "...\"" + statements},
        {"role b", role},
        {"role \"\" read", role},
        {"role a all", "role \"a\" is in line 1 already; take another name"},
        {"role b reed", "\"reed\" is no right; it is read, write or all"},
        {"role b read x", "read has no use for \"x\"; only write takes paths"},
        {"role b all x", "all has no use for \"x\"; only write takes paths"},
        {"role b write", "write without a path; name the paths, or take the right all"},
        {"role b write configCoreRouters", "\"configCoreRouters\" " + anyTree},
        {"role b write /configCoreRouter", "\"/configCoreRouter\" " + anyTree},
        {"role b write configCoreRouter/",
         "\"configCoreRouter/\" has an empty name; one / stands between two names"},
        {"role b write configCoreRouter configCoreRouter",
         "\"configCoreRouter\" is there twice; leave one out"},
        {"grant a user", granted},
        {"grant a user 0 1", granted},
        {"grant b user 0",
         "there is no role \"b\" above; a line such as: role NAME read comes first"},
        {"grant a adress 1", "\"adress\" is no way to come; it is address, user, certificate, "
                             "certificate-sha256 or token"},
        {"grant a user 0", "user \"0\" has role \"a\" already; leave one out"},
        {"grant a user root", "user \"root\" has role \"a\" already; leave one out"},
        {"grant a user -1", "there is no user \"-1\"; write a user's name or number"},
        {"grant a user 4294967296",
         "there is no user \"4294967296\"; write a user's name or number"},
        {"grant a certificate \"\"", "the value is empty; write what follows certificate"},
        {"grant a token 12", "\"12\"" + noSum},
        {"grant a certificate-sha256 " + QByteArray(64, 'g'),
         '"' + QByteArray(64, 'g') + '"' + noSum},
        {"grant a address 10.1", "\"10.1\"" + noAddress},
        {"grant a address fe80::1%lo", "\"fe80::1%lo\"" + noAddress},
        {"grant a address 10.0.0.0/33",
         "\"10.0.0.0/33\" has no length; after / comes a number from 0 to 32"},
        {"grant a address ::/+8", "\"::/+8\" has no length; after / comes a number from 0 to 128"},
        {"grant a address 10.0.0.9/29",
         "\"10.0.0.9/29\" has bits behind its first 29; write 10.0.0.8/29"},
        {"grant a address fd00::1/8", "\"fd00::1/8\" has bits behind its first 8; write fd00::/8"},
        {"writable configCoreRouter", "writable" + path + "writable tree configCoreRouter/input1"},
        {"read-only leaf configCoreRouter",
         "read-only" + path + "read-only tree configCoreRouter/input1"},
        {"read-only node x", "\"x\" " + anyTree},
        {"writable node configCoreRouter/a\nread-only node configCoreRouter/a",
         "node \"configCoreRouter/a\" is in line 3 already; leave one out"},
        {"role \"b read", "a quote is not closed; end the word with \""},
        {"role b\"c\" read", "a quote stands in a word; put blanks around the quoted word"},
        {"role \"b\"c read", "a quote stands in a word; put blanks around the quoted word"},
        {"role\u00A0b read", "\"role\u00A0b\"" + statements},
        {"grant a address 10.0.0.0/8\ngrant a address ::ffff:10.0.0.0/104",
         "address \"::ffff:10.0.0.0/104\" has role \"a\" already; leave one out"},
        {"grant a certificate x\ngrant a certificate \"x\"",
         "certificate \"x\" has role \"a\" already; leave one out"},
        {"role \xFF read", noText},
        {QByteArray("role \0 read", 11), noText},
    };
    for (const auto& [line, complaint] : rows) {
        QStringList errors;
        CHECK_FALSE(readAccessRules(grant + line + "\n", errors));
        const QByteArray number = QByteArray::number(3 + line.count('\n'));
        CHECK(errors == lines({("line " + number + ": " + complaint).constData()}));
    }

    QStringList errors;
    CHECK_FALSE(readAccessRules("role a read\n", errors));
    CHECK_FALSE(readAccessRules(
        QByteArray(MAX_ACCESS_RULES_BYTES - int(grant.size()) + 1, '\n') + grant, errors));
    CHECK(errors == lines({"line 2: nobody is granted anything; add a line such as: grant NAME "
                           "address 127.0.0.1",
                           "more than 65536 bytes; leave something out"}));
    CHECK(readAccessRules(QByteArray(MAX_ACCESS_RULES_BYTES - int(grant.size()), '\n') + grant,
                          errors));
    const QByteArray digest = QByteArray(DIGEST), next = digest.left(63) + "c";
    for (const char* way : {"token ", "certificate-sha256 "}) {
        const QByteArray again = grant + "grant a " + way + digest + "\ngrant a " + way;
        CHECK(readAccessRules(again + next, errors)); // another
        QStringList repeated;
        CHECK_FALSE(readAccessRules(again + digest.toUpper(), repeated));
        CHECK(repeated.join(QString()).contains("has role \"a\" already"_s));
    }
    CHECK(readAccessRules(grant + "role b all\ngrant b user 0\ngrant a user 1\ngrant a address ::\n"
                                  "grant a address ::/1\ngrant a address 1::\n"
                                  "grant a certificate x\ngrant a certificate y",
                          errors));
    errors.clear();
    CHECK_FALSE(readAccessRules(QByteArray("x\n").repeated(23), errors));
    CHECK(errors.size() == MAX_ACCESS_RULES_ERRORS + 1);
    CHECK(errors.last() == "3 more errors"_s);
}

TEST_CASE("An unreadable file of access rules is an error, an open one a warning", "[server]")
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("roles"_s);
    QStringList errors, warnings;
    CHECK_FALSE(loadAccessRules(path, errors, warnings));
    REQUIRE(::mkfifo(path.toUtf8().constData(), 0600) == 0);
    CHECK_FALSE(loadAccessRules(path, errors, warnings));
    REQUIRE(QFile::remove(path));
    QFile file(path);
    REQUIRE(file.open(QIODevice::WriteOnly));
    file.write("x\r\n");
    file.flush();
    CHECK_FALSE(loadAccessRules(path, errors, warnings));
    file.resize(qint64(MAX_ACCESS_RULES_BYTES) * 1000); // zeros, of which it need not read all
    CHECK_FALSE(loadAccessRules(path, errors, warnings));
    const auto about = [&path](const char* text) { return path + ": "_s + QLatin1String(text); };
    CHECK(errors ==
          QStringList{about("No such file or directory"), about("it is no regular file"),
                      about("line 1: \"x\" is no statement; one begins with role, grant, writable "
                            "or read-only"),
                      about("more than 65536 bytes; leave something out")});

    const QString writable = about("other users may write it; chmod go-w takes that away");
    const QString readable =
        about("other users may read the digests of its tokens; chmod o-r takes that away");
    const QByteArray tokenless = "role a read\r\ngrant a user 0\r\n";
    const QByteArray token = QByteArray("grant a token ") + DIGEST;
    for (const auto& [mode, text, expected] :
         Table<mode_t, QByteArray, QStringList>{{0600, tokenless + token, {}},
                                                {0604, tokenless + token, {readable}},
                                                {0640, tokenless + token, {}},
                                                {0644, tokenless, {}},
                                                {0620, tokenless, {writable}},
                                                {0606, tokenless + token, {writable, readable}}}) {
        file.resize(0);
        file.write(text);
        file.flush();
        REQUIRE(::chmod(path.toUtf8().constData(), mode) == 0);
        QStringList complaints;
        warnings.clear();
        CHECK((loadAccessRules(path, complaints, warnings) && complaints.isEmpty()));
        CHECK(warnings == expected);
    }
}

TEST_CASE("A peer has the roles of the way it came, and of no other", "[server]")
{
    const AccessRules rules = rulesOf(
        "role four read # IPv4\nrole six read\nrole mapped read\nrole all4 read\nrole all6 read\n"
        "role user write configCoreRouter/a\nrole name write configCoreRouter/b commandCoreRouter\n"
        "\t role \"by digest\" all\n"
        "grant four address 10.1.2.0/23\ngrant six address fd00::/9\n"
        "grant mapped address ::ffff:10.9.0.0/112\ngrant all4 address 0.0.0.0/0\n"
        "grant all6 address ::/0\ngrant user user 1000\ngrant name certificate \"Control # room\"\n"
        "grant \"by digest\" certificate-sha256 " +
        QByteArray(DIGEST).toUpper() + "\n");
    const QByteArray other = "00" + QByteArray(DIGEST).mid(2);
    const Table<PeerOrigin, const char*> rows{
        {from("10.1.2.0"), "roles four, all4"},
        {from("10.1.3.255", LinkAddress::Way::Tls), "roles four, all4"},
        {from("::ffff:10.1.3.1"), "roles four, all4"},
        {from("10.1.4.0"), "role all4"},
        {from("10.1.1.255"), "role all4"},
        {from("10.9.1.1"), "roles mapped, all4"},
        {from("fd7f::1"), "roles six, all6"},
        {from("fd80::1"), "role all6"},
        {from("::"), "role all6"},
        {from("fd00::1%1"), "roles six, all6"},
        {PeerOrigin(), "no role"},
        {local(1000), "role user"},
        {local(1001), "no role"},
        {local(std::nullopt), "no role"},
        {withCertificate("Control # room", ""), "roles all4, name"},
        {withCertificate("Control", DIGEST), "roles all4, by digest"},
        {withCertificate("", other), "role all4"},
    };
    for (const auto& [origin, role] : rows) {
        CHECK(rules.getRole(origin).toString() == QLatin1String(role));
    }
    PeerOrigin liar = withCertificate("Control # room", DIGEST);
    liar.userId = 1000;
    liar.way = LinkAddress::Way::Tcp;
    CHECK(rules.getRole(liar).toString() == "role all4"_s);
    liar.way = LinkAddress::Way::Local;
    CHECK(rules.getRole(liar).toString() == "role user"_s);

    AccessRole both = rules.getRole(local(1000));
    CHECK(both.getRightText() == "write"_s);
    both.add(rules.getRole(withCertificate("Control # room", "")));
    CHECK(both.prefixes ==
          lines({"configCoreRouter/a", "configCoreRouter/b", "commandCoreRouter"}));
    both.add(rules.getRole(from("10.1.2.0")));
    CHECK(both.names == lines({"user", "all4", "name", "four"}));
    CHECK(both.right == AccessRole::Right::Write);
    for (const auto& [path, isCovered] : Table<QString, bool>{{"configCoreRouter/a"_s, true},
                                                              {"configCoreRouter/a/x/y"_s, true},
                                                              {"configCoreRouter/ab"_s, false},
                                                              {"configCoreRouter"_s, false},
                                                              {"commandCoreRouter/x"_s, true}}) {
        CHECK(both.mayWrite(path) == isCovered);
    }

    const AccessRules here = AccessRules::forThisMachine();
    for (const PeerOrigin& origin : {from("127.0.0.1"), from("127.255.255.254"), from("::1"),
                                     from("::ffff:127.0.0.1"), local(0), local(geteuid())}) {
        CHECK(here.getRole(origin).right == AccessRole::Right::All);
    }
    for (const PeerOrigin& origin : {from("128.0.0.1"), from("::2"), local(geteuid() + 1)}) {
        CHECK_FALSE(here.getRole(origin).mayRead());
    }
    CHECK_FALSE(AccessRules::forNobody().getRole(from("127.0.0.1")).mayRead());
    CHECK(AccessRules().getRole(PeerOrigin()).toString() == "right all"_s);
}

TEST_CASE("The rule for a node, then that for the closest tree, makes it writable", "[server]")
{
    const AccessRules rules = rulesOf(
        "role a write persistentConfigCoreRouter/name\ngrant a user 0\n"
        "read-only tree configCoreRouter/in\n"
        "writable node configCoreRouter/in/x\n"
        "writable tree configCoreRouter/in/y\n"
        "read-only node configCoreRouter/in/y\n"
        "writable tree statusCoreRouter/log\n"
        "read-only tree commandCoreRouter\nwritable node persistentConfigCoreRouter/name\n");
    for (const auto& [path, isWritable] :
         Table<QString, bool>{{"configCoreRouter"_s, true},
                              {"configCoreRouter/in"_s, false},
                              {"configCoreRouter/in1"_s, true},
                              {"configCoreRouter/in/z/deep"_s, false},
                              {"configCoreRouter/in/x"_s, true},
                              {"configCoreRouter/in/x/deep"_s, false},
                              {"configCoreRouter/in/y"_s, false},
                              {"configCoreRouter/in/y/deep"_s, true},
                              {"persistentConfigCoreRouter/a"_s, true},
                              {"statusCoreRouter"_s, false},
                              {"statusCoreRouter/log/a"_s, true},
                              {"statusCoreRouter/a"_s, false},
                              {"commandCoreRouter/a"_s, false},
                              {"other/a"_s, false},
                              {QString(), false}}) {
        CAPTURE(path);
        CHECK(rules.isWritable(path) == isWritable);
        CHECK(AccessRules().isWritable(path));
    }
    CHECK(rules.getPaths() ==
          lines({"configCoreRouter/in", "configCoreRouter/in/x", "configCoreRouter/in/y",
                 "persistentConfigCoreRouter/name", "statusCoreRouter/log"}));
    CHECK_FALSE(AccessRules::forNobody().isWritable(u"statusCoreRouter/a"));
    CHECK(AccessRules::forNobody().isWritable(u"commandCoreRouter/a"));
}

TEST_CASE("No part of a write may be for a read-only node; refusals are logged", "[server]")
{
    DatacoreBase root("configCoreRouter"_s, nullptr);
    DatacoreBase input("in"_s, &root);
    DatacoreBase open("able"_s, &input), closed("closed"_s, &input);
    AccessControl control;
    AccessControl::Time now{};
    AccessPeer anybody = control.admit(local(5));
    const auto write = [](const DatacoreBase& node, const char* content) {
        return DatacorePacket(QJsonDocument::fromJson(content).object(), node.getPath() + u'/');
    };
    const DatacorePacket deep =
        write(root, R"({"configCoreRouter":{"in":{"able":{"data":"1"},"closed":{"data":"1"}}}})");
    CHECK(control.mayWrite(anybody, root, deep, now));
    control.setRules(rulesOf("role engineer all\ngrant engineer user 0\n"
                             "role operator write configCoreRouter/in\ngrant operator user 7\n"
                             "read-only node configCoreRouter/in/closed\n"));
    CHECK_FALSE(control.admit(local(5)).role.mayRead());

    AccessPeer engineer = control.admit(local(0)), worker = control.admit(local(7));
    const LogCapture log;
    CHECK(control.mayWrite(engineer, open, write(open, R"({"able":{"data":"1"}})"), now));
    CHECK(control.mayWrite(
        engineer, input, write(input, R"({"in":{"data":"1","none":1,"able":{"data":""}}})"), now));
    CHECK((control.mayWrite(worker, input, write(input, "{}"), now) && log.lines().isEmpty()));
    CHECK_FALSE(control.mayWrite(engineer, root, deep, now));
    now += 999ms;
    CHECK_FALSE(control.mayWrite(engineer, closed, write(closed, "{}"), now));
    CHECK_FALSE(control.mayWrite(worker, root, write(root, "{}"), now));
    now += 1ms;
    CHECK_FALSE(control.mayWrite(engineer, closed, write(closed, "{}"), now));
    CHECK_FALSE(control.mayWrite(engineer, closed, write(closed, "{}"), now));
    AccessControl::logRest(worker);
    AccessControl::logRest(engineer);
    CHECK(log.lines() ==
          lines({"warning: Client user 0 (role engineer) may not write configCoreRouter/in/closed, "
                 "which is read-only",
                 "warning: Client user 7 (role operator) may not write configCoreRouter",
                 "warning: Client user 0 (role engineer) may not write configCoreRouter/in/closed, "
                 "which is read-only (1 more before this)",
                 "warning: Client user 0: 1 more writes refused"}));
}

TEST_CASE("A right token adds its role; wrong ones make their place wait", "[server]")
{
    const auto digestOf = [](const QString& token) {
        return QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256).toHex() + '\n';
    };
    const QString longest(1024, u'x');
    AccessControl control;
    control.setRules(rulesOf(QByteArray("role viewer read\nrole operator write configCoreRouter/a\n"
                                        "role clerk write commandCoreRouter\n"
                                        "grant viewer address 10.0.0.0/8\ngrant operator token ") +
                             DIGEST + "\ngrant clerk token " + DIGEST + "\ngrant clerk token " +
                             digestOf(longest) + "grant clerk token " + digestOf(longest + u'x')));
    const QString right = "secret"_s;
    AccessControl::Time now{};
    AccessPeer peer = control.admit(from("10.0.0.1"));
    const auto answer = [&](AccessPeer& asking, const QString& token) {
        return control.takeToken(asking, token, now).toJson();
    };
    const LogCapture log;
    CHECK(answer(peer, QString()) ==
          R"({"Class":"DatacoreAccessPacket","Prefixes":[],"Right":"read","Roles":["viewer"]})");
    const QByteArray taken =
        R"({"Class":"DatacoreAccessPacket","Prefixes":["configCoreRouter/a","commandCoreRouter"],)"
        R"("Right":"write","Roles":["viewer","operator","clerk"],"TokenTaken":true})";
    CHECK(answer(peer, right) == taken);
    CHECK(answer(peer, right) == taken);

    AccessPeer stranger = control.admit(from("192.168.0.1"));
    const auto refused = [](int pauseMs) {
        return QByteArray(R"({"Class":"DatacoreAccessPacket","Prefixes":[],"RetryAfterMs":)") +
               QByteArray::number(pauseMs) + R"(,"Right":"none","Roles":[],"TokenTaken":false})";
    };
    CHECK(answer(stranger, "Secret"_s) == refused(1000));
    now += 999ms;
    CHECK(answer(stranger, right) == refused(1)); // not looked at
    CHECK(answer(peer, right) == taken);          // from elsewhere
    now += 1ms;
    CHECK(answer(stranger, longest + u'x') == refused(2000)); // too long
    now += 2s;
    CHECK(answer(stranger, longest).contains(R"("Right":"write","Roles":["clerk"])"));
    CHECK(answer(stranger, "x"_s).contains(R"("RetryAfterMs":4000)"));
    CHECK(
        log.lines() ==
        lines({"info: Client 10.0.0.1:0 has roles viewer, operator, clerk",
               "warning: Client 192.168.0.1:0 sent a wrong token, the next is looked at in 1000 ms",
               "warning: Client 192.168.0.1:0 sent a wrong token, the next is looked at in 2000 ms "
               "(1 more before this)",
               "info: Client 192.168.0.1:0 has role clerk",
               "warning: Client 192.168.0.1:0 sent a wrong token, the next is looked at in 4000 "
               "ms"}));
}

TEST_CASE("Guesses of tokens are kept by place, for a time, and for so many places", "[server]")
{
    TokenGuesses guesses;
    const TokenGuesses::Time start{};
    const auto pause = [&](const PeerOrigin& origin, TokenGuesses::Duration later = 0ms) {
        return guesses.getPause(origin, start + later).count();
    };
    for (const int expected : {1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000}) {
        guesses.addWrong(from("2001:db8:1:2::1"), start);
        CHECK(pause(from("2001:db8:1:2:ffff::1")) == expected);
    }
    CHECK(pause(from("2001:db8:1:3::1")) == 0);
    guesses.addWrong(from("10.0.0.1"), start + 10min - 1ms);
    CHECK(guesses.getPlaceCount() == 2);
    guesses.addWrong(local(1), start + 10min);
    CHECK(guesses.getPlaceCount() == 2); // the first is forgotten
    CHECK(pause(from("::ffff:10.0.0.1"), 10min) == 999);
    CHECK(pause(local(1), 10min) == 1000);
    CHECK(pause(local(2), 10min) + pause(local(std::nullopt), 10min) +
              pause(from("10.0.0.2"), 10min) ==
          0);

    for (int user = 2; user < 3000; ++user) {
        guesses.addWrong(local(user), start + 10min);
    }
    CHECK(guesses.getPlaceCount() == TokenGuesses::MAX_PLACES + 1);
    CHECK(pause(local(100'000), 10min) == 60'000); // one of the others
    CHECK(pause(local(1), 10min) == 1000);
}
