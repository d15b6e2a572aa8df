#include "infrastructure/utility/QuitOnSignal.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalSockets[2]; // a handler may do little more than write

void onSignal(int)
{
    const int interrupted = errno;
    const char byte = 0;
    static_cast<void>(!::write(signalSockets[0], &byte, sizeof byte));
    errno = interrupted;
}

} // namespace

void quitOnSignal(int exitValue)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalSockets) != 0) {
        return; // signals still end the process at once
    }
    auto* notifier =
        new QSocketNotifier(signalSockets[1], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, QCoreApplication::instance(),
                     [exitValue] { QCoreApplication::exit(exitValue); });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    action.sa_flags =
        static_cast<int>(SA_RESTART | SA_RESETHAND); // a second Ctrl-C ends the process at once
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}
