#include "infrastructure/platform/VelPlatformAbstraction.h"
#include "infrastructure/platform/Watchdog.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

TEST_CASE("The watchdog is opened, kicked and closed without a word to it", "[platform]")
{
    MadeMachine machine;
    machine.addWatchdog();
    Tessorn::VelPlatformAbstraction platform;
    platform.watchdogStart(30);
    platform.watchdogStart(10); // it opens but once
    platform.watchdogKick();
    platform.watchdogStop();
    CHECK(machine.ioctls == std::vector<std::string>{"time-out 30", "time-out 10", "keep alive"});
    CHECK(machine.readFile("/dev/watchdog").isEmpty());
    CHECK(machine.takeErr().empty());
}

TEST_CASE("A watchdog that is missing or not open ends the process", "[platform]")
{
    MadeMachine machine;
    CHECK_THROWS_AS(watchdogOpen(30), MadeMachine::Aborted);
    CHECK(machine.takeErr() == "Couldn't open the watchdog at /dev/watchdog: \n"
                               ": No such file or directory\n");
    CHECK_THROWS_AS(watchdogKick(), MadeMachine::Aborted);
    CHECK(machine.takeErr() == "Watchdog device not open\n");
    machine.addWatchdog();
    watchdogOpen(30);
    watchdogClose();
    CHECK_THROWS_AS(watchdogClose(), MadeMachine::Aborted);
    CHECK(machine.takeErr() == "Watchdog device not open\n");
}

TEST_CASE("A watchdog that refuses a request is reported and the process lives", "[platform]")
{
    MadeMachine machine;
    const MadeMachine::Flash& notAWatchdog = machine.addFlash("/dev/watchdog", 0x10000);
    watchdogOpen(30);
    CHECK(machine.takeErr() == "/dev/watchdog: time-out: Inappropriate ioctl for device\n");
    watchdogKick();
    CHECK(machine.takeErr() == "/dev/watchdog: keep alive: Inappropriate ioctl for device\n");
    watchdogClose();
    CHECK(notAWatchdog.erased.empty());
}
