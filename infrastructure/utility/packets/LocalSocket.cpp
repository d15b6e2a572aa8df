#include "infrastructure/utility/packets/LocalSocket_p.h"

#include <QByteArray>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr int LONGEST_PATH = sizeof(sockaddr_un::sun_path) - 1; ///< a zero byte follows
constexpr int QUEUE_LENGTH = 50; ///< clients that wait to be accepted, as QTcpServer has it

LocalSocket::Opened fail(const QString& reason, int descriptor = -1)
{
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    return {-1, false, reason};
}

/// With the text of errno.
LocalSocket::Opened failNow(int descriptor = -1)
{
    return fail(QString::fromLocal8Bit(std::strerror(errno)), descriptor);
}

const sockaddr* toAddress(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

bool toAddress(const QString& path, sockaddr_un& address, QString& whatIsWrong)
{
    const QByteArray bytes = QFile::encodeName(path);
    if (bytes.isEmpty() || bytes.size() > LONGEST_PATH || bytes.contains('\0')) {
        whatIsWrong = QStringLiteral(
                          "the path of a socket has 1 to %1 bytes, none of them 0, this one has %2")
                          .arg(LONGEST_PATH)
                          .arg(bytes.size());
        return false;
    }
    address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return true;
}

using GetName = int(int, sockaddr*, socklen_t*);

QString getName(qintptr descriptor, GetName& askSystem)
{
    const int fd = static_cast<int>(descriptor);
    sockaddr_un address = {};
    socklen_t size = sizeof address;
    const socklen_t prefix = offsetof(sockaddr_un, sun_path);
    if (askSystem(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 && size > prefix) {
        const auto length =
            static_cast<int>(std::min<std::size_t>(size - prefix, sizeof address.sun_path));
        if (address.sun_path[0] == '\0') {
            return QStringLiteral("unix") + QString::fromLatin1(address.sun_path + 1, length - 1);
        }
        const auto pathLength =
            static_cast<int>(::strnlen(address.sun_path, static_cast<std::size_t>(length)));
        return QStringLiteral("unix:") +
               QFile::decodeName(QByteArray(address.sun_path, pathLength));
    }
    quint64 cookie = 0;
    size = sizeof cookie;
    ::getsockopt(fd, SOL_SOCKET, SO_COOKIE, &cookie, &size);
    return QStringLiteral("unix-%1").arg(cookie);
}

} // namespace

LocalSocket::Opened LocalSocket::connectTo(const QString& path)
{
    sockaddr_un address;
    QString whatIsWrong;
    if (!toAddress(path, address, whatIsWrong)) {
        return fail(whatIsWrong);
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) {
        return failNow();
    }
    sockaddr_un unnamed = {};
    unnamed.sun_family = AF_UNIX;
    ::bind(fd, toAddress(unnamed), sizeof unnamed.sun_family); // without it, getName has a cookie
    if (::connect(fd, toAddress(address), sizeof address) != 0) {
        const bool isBusy = errno == EAGAIN;
        Opened opened = failNow(fd);
        opened.isBusy = isBusy;
        return opened;
    }
    return {fd, false, QString()};
}

LocalSocket::Opened LocalSocket::listenAt(const QString& path, quint32 mode)
{
    sockaddr_un address;
    QString whatIsWrong;
    if (!toAddress(path, address, whatIsWrong)) {
        return fail(whatIsWrong);
    }
    struct stat found;
    if (::lstat(address.sun_path, &found) == 0) {
        if (!S_ISSOCK(found.st_mode)) {
            return fail(QStringLiteral("there is a file that is no socket"));
        }
        const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (probe < 0) {
            return failNow();
        }
        if (::connect(probe, toAddress(address), sizeof address) == 0 || errno == EAGAIN) {
            return fail(QStringLiteral("another server listens there"), probe);
        }
        if (errno != ECONNREFUSED || ::unlink(address.sun_path) != 0) {
            return failNow(probe);
        }
        ::close(probe);
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0 || ::bind(fd, toAddress(address), sizeof address) != 0) {
        return failNow(fd);
    }
    // Nobody can connect before it listens, so the permissions are there in time.
    if (::chmod(address.sun_path, static_cast<mode_t>(mode)) != 0 ||
        ::listen(fd, QUEUE_LENGTH) != 0) {
        const Opened opened = failNow(fd);
        ::unlink(address.sun_path);
        return opened;
    }
    return {fd, false, QString()};
}

quint64 LocalSocket::getFileNumber(const QString& path)
{
    struct stat found;
    return ::lstat(QFile::encodeName(path).constData(), &found) == 0 ? found.st_ino : 0;
}

bool LocalSocket::isLocal(qintptr descriptor)
{
    int domain = 0;
    socklen_t size = sizeof domain;
    return ::getsockopt(static_cast<int>(descriptor), SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 &&
           domain == AF_UNIX;
}

QString LocalSocket::getNearName(qintptr descriptor)
{
    return getName(descriptor, ::getsockname);
}

QString LocalSocket::getFarName(qintptr descriptor)
{
    return getName(descriptor, ::getpeername);
}

std::optional<quint32> LocalSocket::getFarUser(qintptr descriptor)
{
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (::getsockopt(static_cast<int>(descriptor), SOL_SOCKET, SO_PEERCRED, &credentials, &size) !=
        0) {
        return std::nullopt;
    }
    return credentials.uid;
}
