// The location of the cases' reference material.
#pragma once

#include <QString>

/// Set once, before the cases run; empty until then.
struct DatacoreTest
{
    inline static QString testSourceDirectory;
};

/// The path of one of the TLS files of the cases, which tools/make_certificates.sh makes; an empty
/// one for an empty name.
inline QString tlsFile(const char* name)
{
    return *name == '\0'
               ? QString()
               : DatacoreTest::testSourceDirectory + QLatin1String("/tls/") + QLatin1String(name);
}
