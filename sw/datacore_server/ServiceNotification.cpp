#include "ServiceNotification.h"

#include <QScopeGuard>

#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

bool notifyServiceManager(const QByteArray& state)
{
    const QByteArray name = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const auto length = static_cast<std::size_t>(name.size());
    if ((!name.startsWith('/') && !name.startsWith('@')) || length >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, name.constData(), length);
    const bool isAbstract = name.startsWith('@');
    if (isAbstract) {
        address.sun_path[0] = '\0';
    }
    const int descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return false;
    }
    const auto closing = qScopeGuard([descriptor] { ::close(descriptor); });
    // An abstract name has no end but the address's own.
    const std::size_t size = offsetof(sockaddr_un, sun_path) + length + (isAbstract ? 0 : 1);
    return ::sendto(descriptor, state.constData(), static_cast<std::size_t>(state.size()),
                    MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                    static_cast<socklen_t>(size)) == state.size();
}
