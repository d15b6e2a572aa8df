#include "infrastructure/platform/Gpio.h"

#include "infrastructure/platform/BoardState_p.h"
#include "infrastructure/platform/Machine_p.h"

#include <fcntl.h>

#include <cerrno>

using Tessorn::BoardState;
using Tessorn::Machine;
using Tessorn::MachineFile;

namespace {

/// The pins of one id, most significant first.
struct IdPins
{
    int count;
    unsigned pins[7];
};

constexpr IdPins ID_PINS[] = {
    {7, {127, 126, 125, 124, 123, 122, 121}}, // main
    {5, {508, 507, 506, 505, 504}},           // mezzanine
    {7, {502, 501, 500, 499, 498, 497, 496}}, // front panel
    {4, {113, 116, 115, 114}},
};

int readId(const IdPins& id)
{
    int value = 0;
    for (int i = 0; i < id.count; ++i) {
        const int bit = readGpio(id.pins[i]);
        if (bit < 0) {
            return -1;
        }
        value = value << 1 | bit;
    }
    return value;
}

} // namespace

int readGpio(unsigned number)
{
    Machine& machine = Machine::current();
    const std::string path = "/sys/class/gpio/gpio" + std::to_string(number) + "/value";
    MachineFile file(machine, path, O_RDONLY);
    char level = 0;
    if (file.isOpen() && file.readExactly(&level, 1)) {
        if (level == '0' || level == '1') {
            return level - '0';
        }
        errno = EINVAL;
    }
    machine.printSystemError(path);
    return -1;
}

int getBoardId(int index)
{
    auto& ids = BoardState::current().hardwareIds;
    if (index < 0 || index >= static_cast<int>(ids.size())) {
        return -1;
    }
    const auto row = static_cast<std::size_t>(index);
    int id = ids[row];
    if (id < 0) {
        id = readId(ID_PINS[row]);
        ids[row] = id;
    }
    return id;
}
