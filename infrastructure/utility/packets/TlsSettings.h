// What one end of a TLS link shows of itself and what it asks of the other, read from PEM files.
#pragma once

#include <QByteArray>
#include <QSslConfiguration>
#include <QString>

#include <optional>

/// The files of one end of a link. An empty name stands for "none".
struct TlsFiles
{
    QString certificate;   ///< this end's certificate, then those between it and its authority
    QString key;           ///< its private key, RSA or EC
    QByteArray passphrase; ///< of the key, if that is encrypted
    QString trust; ///< certificates of authorities; none: a client trusts those of the system, and
                   ///< a server asks no client for a certificate
};

/// Certificate, key, trusted authorities and what is verified. TLS 1.2 is the least that is spoken
/// (RFC 8996 has retired what came before). A peer's certificate is verified unless that has been
/// switched off. A value.
class TlsSettings
{
public:
    /// No file may be larger.
    static constexpr qint64 MAX_FILE_BYTES = 4 << 20;

    /// A client's, that shows no certificate and trusts the authorities of the system.
    TlsSettings();
    /// What the files hold. A file that is missing, too large, or holds something else, a key that
    /// does not fit the certificate or needs a passphrase, and a certificate that has expired give
    /// nothing, with the file and the reason in `*whatIsWrong`. A certificate that is not valid yet
    /// is taken: an instrument's clock may not have been set when it starts.
    static std::optional<TlsSettings> load(const TlsFiles& files, QString* whatIsWrong = nullptr);

    /// The name that the server's certificate must be for, in place of the host connected to.
    void setPeerName(const QString& name) { peerName = name; }
    const QString& getPeerName() const { return peerName; }

    /// A client that does not verify talks to anybody: for a test bench only.
    void setVerifiesPeer(bool isVerified) { verifiesPeer = isVerified; }
    bool getVerifiesPeer() const { return verifiesPeer; }

    /// A server refuses clients without a certificate. One that is shown must be good in any case.
    void setRequiresCertificate(bool isRequired) { requiresCertificate = isRequired; }
    bool getRequiresCertificate() const { return requiresCertificate; }

    bool hasCertificate() const { return !configuration.localCertificateChain().isEmpty(); }
    bool hasTrust() const { return hasOwnTrust; }

    /// For a socket that connects, and for one that a server has accepted.
    QSslConfiguration getClientConfiguration() const;
    QSslConfiguration getServerConfiguration() const;

    /// False, with the reason, if Qt finds no OpenSSL at run time.
    static bool isSupported(QString* whatIsWrong = nullptr);

private:
    QSslConfiguration configuration;
    QString peerName;
    bool hasOwnTrust = false;
    bool verifiesPeer = true;
    bool requiresCertificate = false;
};
