#include "infrastructure/platform/Fans.h"

#include "infrastructure/platform/Machine_p.h"

#include <fcntl.h>

#include <cerrno>
#include <mutex>

using Tessorn::Machine;
using Tessorn::MachineFile;

namespace {

constexpr const char* CHIP_DIRECTORIES[] = {"/sys/class/pwm/pwmchip2/", "/sys/class/pwm/pwmchip0/",
                                            "/sys/class/pwm/pwmchip1/"};
constexpr int PERIOD_NS = 255000;
constexpr int DUTY_STEP_NS = 1000;

/// One attribute of a PWM channel.
class Attribute
{
public:
    Attribute(Machine& attributeMachine, const std::string& attributePath, int flags)
        : machine(attributeMachine)
        , path(attributePath)
        , file(attributeMachine, attributePath, flags)
        , openFailure(file.isOpen() ? 0 : errno)
    {
    }

    bool write(int value)
    {
        const std::string text = std::to_string(value);
        errno = openFailure; // others have been opened in the meantime
        const bool written = file.isOpen() && file.writeAll(text.data(), text.size());
        if (!written) {
            machine.printSystemError(path);
        }
        return written;
    }

private:
    Machine& machine;
    std::string path;
    MachineFile file;
    int openFailure;
};

bool setFan(Machine& machine, const std::string& chip, int duty, bool enable)
{
    Attribute period(machine, chip + "pwm0/period", O_RDWR);
    Attribute dutyCycle(machine, chip + "pwm0/duty_cycle", O_RDWR);
    Attribute enabled(machine, chip + "pwm0/enable", O_RDWR);
    if (!enable) {
        // A driver may refuse a period of 0. What matters is that the channel is off.
        period.write(0);
        dutyCycle.write(0);
        return enabled.write(0);
    }
    const bool periodSet = period.write(PERIOD_NS);
    const bool dutySet = dutyCycle.write(duty * DUTY_STEP_NS);
    return enabled.write(1) && periodSet && dutySet;
}

} // namespace

int pwmExport()
{
    Machine& machine = Machine::current();
    int result = 0;
    for (const char* chip : CHIP_DIRECTORIES) {
        if (!Attribute(machine, std::string(chip) + "export", O_WRONLY).write(0)) {
            result = -1;
        }
    }
    return result;
}

int setFans(const std::array<uint8_t, 3>& dutyPercent, bool enable)
{
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    Machine& machine = Machine::current();
    int result = 0;
    for (std::size_t channel = dutyPercent.size(); channel-- > 0;) {
        if (!setFan(machine, CHIP_DIRECTORIES[channel], dutyPercent[channel], enable)) {
            result = -1;
        }
    }
    return result;
}
