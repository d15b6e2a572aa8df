// The files are made by tools/make_certificates.sh.
#include "infrastructure/utility/packets/TlsOptions.h"
#include "infrastructure/utility/packets/TlsSettings.h"
#include "sw/infrastructure_test/DatacoreTest.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCommandLineParser>
#include <QFile>
#include <QSslCertificate>
#include <QTemporaryDir>

TEST_CASE("Files that can't serve a TLS link are refused, with what is wrong", "[packets]")
{
    const QTemporaryDir directory;
    QFile large(directory.filePath("large"_s));
    REQUIRE(large.open(QIODevice::WriteOnly));
    REQUIRE(large.resize(TlsSettings::MAX_FILE_BYTES + 1));

    using Text = const char*;
    // Certificate, key, passphrase, trust, and what is wrong, null if nothing.
    const Table<Text, Text, Text, Text, Text> rows{
        {"", "", "", "", nullptr},
        {"server.pem", "end.key", "", "authority.pem", nullptr},
        {"server.pem", "locked.key", "secret", "", nullptr},
        {"server.pem", "locked.key", "", "",
         "locked.key: is encrypted, and there is no passphrase"},
        {"server.pem", "locked.key", "public", "", "locked.key: the passphrase does not fit"},
        {"server.pem", "", "", "", "a certificate and its key go together"},
        {"", "end.key", "", "", "a certificate and its key go together"},
        {"none.pem", "end.key", "", "", "none.pem: No such file or directory"},
        {"server.pem", "none.key", "", "", "none.key: No such file or directory"},
        {"", "", "", "none.pem", "none.pem: No such file or directory"},
        {"end.key", "end.key", "", "", "end.key: holds no certificate in PEM form"},
        {"", "", "", "end.key", "end.key: holds no certificate in PEM form"},
        {"server.pem", "server.pem", "", "", "server.pem: holds no RSA or EC private key"},
        {"server.pem", "stranger.key", "", "", "stranger.key: does not fit the certificate in "},
        {"expired.pem", "end.key", "", "", "expired.pem: expired at 2001-01-01T00:00:00Z"},
    };
    QString reason;
    for (const auto& [certificate, key, passphrase, trust, whatIsWrong] : rows) {
        reason.clear();
        const auto settings = TlsSettings::load(
            {tlsFile(certificate), tlsFile(key), passphrase, tlsFile(trust)}, &reason);
        CAPTURE(certificate, key, trust, reason);
        CHECK(settings.has_value() == (whatIsWrong == nullptr));
        CHECK(reason.isEmpty() == (whatIsWrong == nullptr));
        CHECK(reason.contains(QString::fromLatin1(whatIsWrong)));
        if (settings) {
            CHECK(settings->hasCertificate() == (*certificate != '\0'));
            CHECK(settings->hasTrust() == (*trust != '\0'));
        }
    }
    CHECK_FALSE(TlsSettings::load({QString(), QString(), QByteArray(), large.fileName()}, &reason));
    CHECK(reason.endsWith(": is larger than 4194304 bytes"_s));
    REQUIRE(large.resize(TlsSettings::MAX_FILE_BYTES));
    CHECK_FALSE(TlsSettings::load({QString(), QString(), QByteArray(), large.fileName()}, &reason));
    CHECK(reason.endsWith("holds no certificate in PEM form"_s));
    CHECK_FALSE(TlsSettings::load({QString(), QString(), QByteArray(), directory.path()}));
}

TEST_CASE("Options of a program name its TLS files, and what is to be verified", "[packets]")
{
    QString reason;
    const auto read = [&reason](TlsEnd end, QStringList words) {
        QCommandLineParser parser;
        addTlsOptions(parser, end);
        for (QString& word : words) {
            word.replace(QLatin1Char('@'), DatacoreTest::testSourceDirectory + "/tls/"_s);
        }
        REQUIRE(parser.parse(QStringList{"program"_s} + words));
        reason.clear();
        return readTlsOptions(parser, end, &reason);
    };
    const QStringList own = lines({"--tls-certificate", "@server.pem", "--tls-key", "@end.key"});
    const QStringList trust = lines({"--tls-trust", "@authority.pem"});

    auto settings = read(TlsEnd::Client, {});
    REQUIRE(settings);
    CHECK(settings->getVerifiesPeer());
    CHECK_FALSE((settings->hasCertificate() || settings->hasTrust()));
    settings = read(TlsEnd::Client,
                    own + trust + lines({"--tls-name", "instrument.test", "--tls-no-verify"}));
    REQUIRE(settings);
    CHECK((settings->hasCertificate() && settings->hasTrust()));
    CHECK_FALSE(settings->getVerifiesPeer());
    CHECK(settings->getPeerName() == "instrument.test"_s);
    CHECK(settings->getClientConfiguration().protocol() == QSsl::TlsV1_2OrLater);

    const QStringList require = lines({"--tls-require-certificate"});
    settings = read(TlsEnd::Server, own + trust + require);
    REQUIRE(settings);
    CHECK(settings->getRequiresCertificate());
    CHECK(settings->getServerConfiguration().protocol() == QSsl::TlsV1_2OrLater);
    CHECK_FALSE(read(TlsEnd::Server, trust));
    CHECK(reason == "TLS needs --tls-certificate and --tls-key"_s);
    CHECK_FALSE(read(TlsEnd::Server, own + lines({"--tls-require-certificate"})));
    CHECK(reason == "--tls-require-certificate needs --tls-trust"_s);
    CHECK_FALSE(read(TlsEnd::Client, lines({"--tls-trust", "@end.key"})));
    CHECK(reason.endsWith("end.key: holds no certificate in PEM form"_s));
}
