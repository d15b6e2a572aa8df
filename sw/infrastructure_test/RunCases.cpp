#define CATCH_CONFIG_RUNNER
#include <catch2/catch.hpp>

#include "sw/infrastructure_test/RunCases.h"

#include <csignal>

#include <pthread.h>

#include <atomic>
#include <thread>

namespace {

std::atomic<int> signalTaken{0};

/// Stops before the next case once a signal has arrived, whatever the number of failures to stop
/// at.
class StoppableConfig : public Catch::Config
{
public:
    using Catch::Config::Config;
    int abortAfter() const override { return signalTaken != 0 ? 0 : Catch::Config::abortAfter(); }
};

/// Gives access to the one member of a session that has no setter.
template <std::shared_ptr<Catch::Config> Catch::Session::*Member>
struct ConfigAccess
{
    friend std::shared_ptr<Catch::Config>& configOf(Catch::Session& session)
    {
        return session.*Member;
    }
};
std::shared_ptr<Catch::Config>& configOf(Catch::Session& session);
template struct ConfigAccess<&Catch::Session::m_config>;

} // namespace

void stopCasesOnSignal()
{
    // Blocked and waited for, since while a case runs the runner installs a handler that writes its
    // report from within the signal.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int number = 0;
        if (sigwait(&signals, &number) == 0) {
            signalTaken = number;
        }
        if (sigwait(&signals, &number) == 0) {
            std::_Exit(128 + number);
        }
    }).detach();
}

int runCases(int argc, char** argv)
{
    Catch::Session session;
    if (const int failure = session.applyCommandLine(argc, argv)) {
        return failure;
    }
    configOf(session) = std::make_shared<StoppableConfig>(session.configData());
    return session.run();
}

int exitValueAfterSignal(int exitValue)
{
    return signalTaken != 0 ? 128 + signalTaken : exitValue;
}
