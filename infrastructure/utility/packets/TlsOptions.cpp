#include "infrastructure/utility/packets/TlsOptions.h"

#include <QCommandLineParser>

namespace {

constexpr QLatin1String CERTIFICATE("tls-certificate");
constexpr QLatin1String KEY("tls-key");
constexpr QLatin1String TRUST("tls-trust");
constexpr QLatin1String NAME("tls-name");
constexpr QLatin1String NO_VERIFY("tls-no-verify");
constexpr QLatin1String REQUIRE("tls-require-certificate");

std::optional<TlsSettings> refuse(QString* whatIsWrong, const QString& reason)
{
    if (whatIsWrong != nullptr) {
        *whatIsWrong = reason;
    }
    return std::nullopt;
}

} // namespace

void addTlsOptions(QCommandLineParser& parser, TlsEnd end)
{
    const QString file = QStringLiteral("file");
    const bool isServer = end == TlsEnd::Server;
    parser.addOptions(
        {{CERTIFICATE,
          isServer ? QStringLiteral("Certificate of the server for TLS, as a PEM file.")
                   : QStringLiteral("Certificate to show to servers with TLS, as a PEM file."),
          file},
         {KEY, QStringLiteral("Private key of that certificate, as a PEM file."), file},
         {TRUST,
          isServer ? QStringLiteral("Authorities of the clients' certificates, as a PEM file; "
                                    "clients are asked for one then.")
                   : QStringLiteral("Authorities of servers with TLS, as a PEM file, in place of "
                                    "those of the system."),
          file}});
    if (isServer) {
        parser.addOption({REQUIRE, QStringLiteral("Refuse TLS clients without a certificate.")});
    } else {
        parser.addOptions(
            {{NAME,
              QStringLiteral("Name that the certificate of the server must be for, in place of "
                             "the host connected to."),
              QStringLiteral("name")},
             {NO_VERIFY, QStringLiteral("Take any certificate of a server with TLS, for tests.")}});
    }
}

std::optional<TlsSettings> readTlsOptions(const QCommandLineParser& parser, TlsEnd end,
                                          QString* whatIsWrong)
{
    TlsFiles files;
    files.certificate = parser.value(CERTIFICATE);
    files.key = parser.value(KEY);
    files.trust = parser.value(TRUST);
    std::optional<TlsSettings> settings = TlsSettings::load(files, whatIsWrong);
    if (!settings) {
        return std::nullopt;
    }
    if (end == TlsEnd::Client) {
        settings->setPeerName(parser.value(NAME));
        settings->setVerifiesPeer(!parser.isSet(NO_VERIFY));
        return settings;
    }
    settings->setRequiresCertificate(parser.isSet(REQUIRE));
    if (!settings->hasCertificate()) {
        return refuse(whatIsWrong, QStringLiteral("TLS needs --tls-certificate and --tls-key"));
    }
    if (settings->getRequiresCertificate() && !settings->hasTrust()) {
        return refuse(whatIsWrong, QStringLiteral("--tls-require-certificate needs --tls-trust"));
    }
    return settings;
}
