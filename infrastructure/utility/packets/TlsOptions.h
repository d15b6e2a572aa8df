// The options by which a program is told its TLS files.
#pragma once

#include "infrastructure/utility/packets/TlsSettings.h"

class QCommandLineParser;

/// The end of a link that a program is.
enum class TlsEnd { Client, Server };

/// Adds --tls-certificate, --tls-key and --tls-trust to a program's options; for a client also
/// --tls-name and --tls-no-verify, for a server --tls-require-certificate.
void addTlsOptions(QCommandLineParser& parser, TlsEnd end);
/// The settings that these options name. Options that don't fit together, and files that can't be
/// used, give nothing, with the reason.
std::optional<TlsSettings> readTlsOptions(const QCommandLineParser& parser, TlsEnd end,
                                          QString* whatIsWrong = nullptr);
