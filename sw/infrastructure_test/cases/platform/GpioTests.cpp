#include "infrastructure/platform/Gpio.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/MadeMachine.h"

namespace {

std::string pinPath(int pin)
{
    return "/sys/class/gpio/gpio" + std::to_string(pin) + "/value";
}

} // namespace

TEST_CASE("A pin reads as 0, 1, or -1 with a complaint", "[platform]")
{
    MadeMachine machine;
    machine.writeFile(pinPath(5), "1\n");
    machine.writeFile(pinPath(6), "0\n");
    machine.writeFile(pinPath(7), "");
    machine.writeFile(pinPath(8), "x\n");
    CHECK(readGpio(5) == 1);
    CHECK(readGpio(6) == 0);
    CHECK(machine.takeErr().empty());
    for (const auto& [pin, reason] : {std::pair(7, "No data available"),
                                      {8, "Invalid argument"},
                                      {9, "No such file or directory"}}) {
        CHECK(readGpio(static_cast<unsigned>(pin)) == -1);
        CHECK(machine.takeErr() == pinPath(pin) + ": " + reason + '\n');
    }
}

TEST_CASE("A board's id is read from its pins, first pin most significant, and kept", "[platform]")
{
    const auto [index, pins, id] = GENERATE(table<int, std::vector<int>, int>({
        {0, {127, 126, 125, 124, 123, 122, 121}, 0b1000010},
        {1, {508, 507, 506, 505, 504}, 0b10011},
        {2, {502, 501, 500, 499, 498, 497, 496}, 0b0110100},
        {3, {113, 116, 115, 114}, 0b1000},
    }));
    MadeMachine machine;
    for (std::size_t i = 0; i < pins.size(); ++i) {
        const bool set = (id >> (pins.size() - 1 - i) & 1) != 0;
        machine.writeFile(pinPath(pins[i]), set ? "1\n" : "0\n");
    }
    machine.failingOpens[pinPath(pins.back())] = EBUSY;
    CHECK(getBoardId(index) == -1);
    CHECK(machine.takeErr() == pinPath(pins.back()) + ": Device or resource busy\n");

    machine.failingOpens.clear(); // the next call tries again
    CHECK(getBoardId(index) == id);
    machine.failingOpens[pinPath(pins.back())] = EBUSY;
    CHECK(getBoardId(index) == id);
    CHECK(machine.takeErr().empty());
    CHECK(getBoardId(-1) == -1); // there are four
    CHECK(getBoardId(4) == -1);
}
