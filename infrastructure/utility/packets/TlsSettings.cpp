#include "infrastructure/utility/packets/TlsSettings.h"

#include <QDateTime>
#include <QFile>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>

#include <sys/socket.h>
#include <unistd.h>

namespace {

bool refuse(QString* whatIsWrong, const QString& reason)
{
    if (whatIsWrong != nullptr) {
        *whatIsWrong = reason;
    }
    return false;
}

bool readFile(const QString& path, QByteArray& content, QString* whatIsWrong)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return refuse(whatIsWrong, path + QStringLiteral(": ") + file.errorString());
    }
    content = file.read(TlsSettings::MAX_FILE_BYTES + 1);
    return content.size() <= TlsSettings::MAX_FILE_BYTES ||
           refuse(whatIsWrong,
                  path +
                      QStringLiteral(": is larger than %1 bytes").arg(TlsSettings::MAX_FILE_BYTES));
}

bool readCertificates(const QString& path, QList<QSslCertificate>& certificates,
                      QString* whatIsWrong)
{
    QByteArray content;
    if (!readFile(path, content, whatIsWrong)) {
        return false;
    }
    certificates = QSslCertificate::fromData(content, QSsl::Pem);
    return !certificates.isEmpty() ||
           refuse(whatIsWrong, path + QStringLiteral(": holds no certificate in PEM form"));
}

bool readKey(const TlsFiles& files, QSslKey& key, QString* whatIsWrong)
{
    QByteArray content;
    if (!readFile(files.key, content, whatIsWrong)) {
        return false;
    }
    for (const QSsl::KeyAlgorithm algorithm : {QSsl::Ec, QSsl::Rsa}) {
        key = QSslKey(content, algorithm, QSsl::Pem, QSsl::PrivateKey, files.passphrase);
        if (!key.isNull()) {
            return true;
        }
    }
    if (!content.contains("ENCRYPTED")) {
        return refuse(whatIsWrong,
                      files.key + QStringLiteral(": holds no RSA or EC private key in PEM form"));
    }
    return refuse(whatIsWrong,
                  files.key + (files.passphrase.isEmpty()
                                   ? QStringLiteral(": is encrypted, and there is no passphrase")
                                   : QStringLiteral(": the passphrase does not fit")));
}

/// Lets OpenSSL take certificate and key as it will for a link: it refuses a pair that does not
/// belong together, and keys that are too weak for it.
bool tryOut(const QSslConfiguration& configuration)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return false;
    }
    QSslSocket socket;
    socket.setSocketDescriptor(ends[0]);
    socket.setSslConfiguration(configuration);
    socket.startServerEncryption();
    const bool isGood = socket.error() == QAbstractSocket::UnknownSocketError;
    socket.abort();
    ::close(ends[1]);
    return isGood;
}

} // namespace

TlsSettings::TlsSettings()
{
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
}

std::optional<TlsSettings> TlsSettings::load(const TlsFiles& files, QString* whatIsWrong)
{
    TlsSettings settings;
    if (files.certificate.isEmpty() != files.key.isEmpty()) {
        refuse(whatIsWrong, QStringLiteral("a certificate and its key go together"));
        return std::nullopt;
    }
    if (!(files.certificate + files.trust).isEmpty() && !isSupported(whatIsWrong)) {
        return std::nullopt;
    }
    QList<QSslCertificate> certificates;
    if (!files.trust.isEmpty()) {
        if (!readCertificates(files.trust, certificates, whatIsWrong)) {
            return std::nullopt;
        }
        settings.configuration.setCaCertificates(certificates);
        settings.hasOwnTrust = true;
    }
    if (!files.certificate.isEmpty()) {
        QSslKey key;
        if (!readCertificates(files.certificate, certificates, whatIsWrong) ||
            !readKey(files, key, whatIsWrong)) {
            return std::nullopt;
        }
        const QDateTime expiry = certificates.first().expiryDate();
        if (expiry < QDateTime::currentDateTimeUtc()) {
            refuse(whatIsWrong, files.certificate + QStringLiteral(": expired at ") +
                                    expiry.toUTC().toString(Qt::ISODate));
            return std::nullopt;
        }
        settings.configuration.setLocalCertificateChain(certificates);
        settings.configuration.setPrivateKey(key);
        if (!tryOut(settings.configuration)) {
            refuse(whatIsWrong, files.key + QStringLiteral(": does not fit the certificate in ") +
                                    files.certificate + QStringLiteral(", or is too weak"));
            return std::nullopt;
        }
    }
    return settings;
}

QSslConfiguration TlsSettings::getClientConfiguration() const
{
    QSslConfiguration client = configuration;
    client.setPeerVerifyMode(verifiesPeer ? QSslSocket::VerifyPeer : QSslSocket::VerifyNone);
    return client;
}

QSslConfiguration TlsSettings::getServerConfiguration() const
{
    QSslConfiguration server = configuration;
    server.setPeerVerifyMode(hasOwnTrust ? QSslSocket::VerifyPeer : QSslSocket::VerifyNone);
    return server;
}

bool TlsSettings::isSupported(QString* whatIsWrong)
{
    return QSslSocket::supportsSsl() ||
           refuse(whatIsWrong, QStringLiteral("TLS: no OpenSSL is installed that fits Qt, which "
                                              "was built with ") +
                                   QSslSocket::sslLibraryBuildVersionString());
}
