// Sets up and tears down the process's one logger, "VELLOG", which writes to syslog. Lines are
// written through infrastructure/utility/Log.h.
#pragma once

/// The name under which the logger is registered.
inline constexpr const char* LOGGER_NAME()
{
    return "VELLOG";
}

/// Registers "VELLOG" with the syslog sink (facility user) and, if asked for, a standard output
/// sink before it. Lines have the form "[%C/%m/%d][tid:%t][%L]> %v"; trace and debug stay silent.
/// Returns false, without a message, on a second call or if the logging library refuses.
/// `logDirectory` is accepted and has no effect: no file is written.
bool setupLogging(bool logToStdout, const char* logDirectory);

/// Drops the logger. Lines written from now on go nowhere.
void tearDownLogging();
