// Tells the service manager how far the program is.
#pragma once

#include <QByteArray>

/// Sends a state such as "READY=1" to the manager that started this process and waits for it, as
/// described in sd_notify(3): a datagram to the socket that NOTIFY_SOCKET names by a path or, after
/// "@", in the abstract name space. True if it was sent; false, without waiting, if nobody asked
/// for it or takes it.
bool notifyServiceManager(const QByteArray& state);
