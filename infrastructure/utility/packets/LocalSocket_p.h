// Stream sockets of this machine (AF_UNIX), in the form in which Qt's socket classes take them
// over. Internal.
#pragma once

#include <QString>

#include <optional>

namespace LocalSocket {

/// A descriptor, or -1 and why there is none.
struct Opened
{
    int descriptor = -1;
    bool isBusy = false; ///< the server's queue is full: worth another attempt
    QString whatIsWrong;
};

/// A socket that is connected to the path. Never waits. It has a name that no other socket of the
/// machine has as long as it lives (unix(7), "autobind"), by which the server knows it.
Opened connectTo(const QString& path);

/// A socket that listens at the path, with these permissions of its file from the start. A file
/// that a dead server has left is replaced, one at which somebody listens is not, nor is anything
/// else.
Opened listenAt(const QString& path, quint32 mode);

/// What tells a socket's file from others that have had its name; 0 if there is none.
quint64 getFileNumber(const QString& path);

/// True for a socket of this kind.
bool isLocal(qintptr descriptor);
/// The names of both ends: "unix00a1f" for a client, "unix:/path" for a server. An end that has
/// bound no name gets a number that no other socket has.
QString getNearName(qintptr descriptor);
QString getFarName(qintptr descriptor);
/// The user that the far end ran as when it connected, or listened.
std::optional<quint32> getFarUser(qintptr descriptor);

} // namespace LocalSocket
