#include "infrastructure/platform/Fans.h"
#include "infrastructure/platform/VelPlatformAbstraction.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

namespace {

const std::vector<std::string> CHIPS = {"/sys/class/pwm/pwmchip2/", "/sys/class/pwm/pwmchip0/",
                                        "/sys/class/pwm/pwmchip1/"};

void addChips(MadeMachine& machine)
{
    for (const std::string& chip : CHIPS) {
        for (const char* name : {"export", "pwm0/period", "pwm0/duty_cycle", "pwm0/enable"}) {
            machine.writeFile(chip + name, "");
        }
    }
}

/// "period duty enable" of each fan.
std::vector<QByteArray> settings(const MadeMachine& machine)
{
    std::vector<QByteArray> list;
    for (const std::string& chip : CHIPS) {
        list.push_back(machine.readFile(chip + "pwm0/period") + ' ' +
                       machine.readFile(chip + "pwm0/duty_cycle") + ' ' +
                       machine.readFile(chip + "pwm0/enable"));
    }
    return list;
}

} // namespace

TEST_CASE("Fans take their duty cycles from the packed form", "[platform]")
{
    MadeMachine machine;
    addChips(machine);
    Tessorn::VelPlatformAbstraction platform;
    platform.setFanSpeeds(0x0064FF01, true);
    CHECK(settings(machine) ==
          std::vector<QByteArray>{"255000 1000 1", "255000 255000 1", "255000 100000 1"});
    addChips(machine);
    platform.setFanSpeeds(0x0064FF01, false);
    CHECK(settings(machine) == std::vector<QByteArray>(3, "0 0 0"));
}

TEST_CASE("A fan that can't be set does not keep the others from it", "[platform]")
{
    const char* const name = GENERATE("period", "duty_cycle", "enable");
    MadeMachine machine;
    addChips(machine);
    const std::string path = CHIPS[1] + "pwm0/" + name;
    machine.failingOpens[path] = EBUSY;
    CHECK(setFans({1, 2, 3}, true) == -1);
    CHECK(machine.takeErr() == path + ": Device or resource busy\n");
    CHECK(settings(machine)[0] == "255000 1000 1");
    CHECK(settings(machine)[2] == "255000 3000 1");
    // Off, which is what counts, it is where its switch can be set.
    machine.failingOpens[CHIPS[1] + "pwm0/period"] = EACCES; // each has its own reason
    machine.failingOpens[CHIPS[1] + "pwm0/duty_cycle"] = EBUSY;
    setFans({1, 2, 3}, true);
    CHECK_THAT(machine.takeErr(), Catch::Contains("period: Permission denied\n" + CHIPS[1] +
                                                  "pwm0/duty_cycle: Device or resource busy\n"));
    CHECK(setFans({1, 2, 3}, false) == (name == std::string("enable") ? -1 : 0));
    machine.failingOpens.clear();
    CHECK(setFans({1, 2, 3}, true) == 0);
}

TEST_CASE("Each PWM chip exports its channel, and one that fails is reported", "[platform]")
{
    MadeMachine machine;
    addChips(machine);
    CHECK(pwmExport() == 0);
    addChips(machine);
    machine.failingOpens[CHIPS[0] + "export"] = EBUSY;
    CHECK(pwmExport() == -1);
    CHECK(machine.readFile(CHIPS[0] + "export").isEmpty());
    CHECK(machine.readFile(CHIPS[1] + "export") == "0");
    CHECK(machine.readFile(CHIPS[2] + "export") == "0");
}
