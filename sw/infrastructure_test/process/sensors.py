"""The sensors through the real libsensors, on a made-up /sys/class/hwmon.

usage: sensors.py PRINT_SENSORS
"""
import hashlib
import json
import os
import pathlib
import sys

import namespaces
from programs import Talking, check, run

MAX = sys.float_info.max
HWMON = "/sys/class/hwmon"


def write(path, text):
    pathlib.Path(path).write_text(text, "ascii")


def make_chips(chips):
    """A fresh hwmon class with these chips: (prefix, {attribute: text})."""
    namespaces.mount_empty("/sys/class")
    os.mkdir(HWMON)
    for number, (prefix, attributes) in enumerate(chips):
        folder = f"{HWMON}/hwmon{number}"
        os.mkdir(folder)
        write(f"{folder}/name", prefix + "\n")
        for name, text in attributes.items():
            write(f"{folder}/{name}", f"{text}\n")


class Printer(Talking):
    """The program, which reads anew when it is told to."""

    def __init__(self, program, *words):
        super().__init__(program, *words)
        self.log = []
        self.take()

    def take(self):
        for line in self.process.stdout:
            if line.startswith("{"):
                state = json.loads(line)
                self.missing = state["missing"]
                self.rows = [[*row[:-1], round(row[-1], 9)] for row in state["readings"]]
                self.values = {row[0]: row[-1] for row in self.rows}
                return
            self.log.append(line.split("> ", 1)[1].rstrip("\n"))
        check(False, "the program prints its sensors")

    def update(self):
        self.tell("")
        self.take()

    def end(self):
        check(super().end()[1] == 0, "the program ends well")


def check_value(printer, key, value, what):
    check(printer.values.get(key) == value, what, printer.values)


KINTEX = "ultrascale-kintex"
FPGA = (KINTEX, {"temp1_input": 45500, "in0_input": 950, "in0_label": "VCCINT",
                 "in7_input": 1650, "in7_label": "VUSER1",
                 "in9_input": 1650, "in9_label": "VUSER3", "in9_max": 1700})
FAN_CONTROLLER = ("adt7473", {"fan1_input": 3000, "fan1_alarm": 0, "temp2_input": 31000,
                              "temp2_label": "Board Temp", "in2_input": 3300, "in2_label": "+3.3V"})


def first_board(program):
    make_chips([
        FPGA, FAN_CONTROLLER, ("isppac", {"in0_input": 5500, "in0_label": "5V5"}),
        ("unlisted", {"temp1_input": -5000, "in0_input": 1234, "in1_input": 7, "in1_label": "x y"}),
    ])
    printer = Printer(program, 0)
    none = [-MAX, MAX, -MAX, MAX]
    # Key, name, whether it must be there, limits, value; a divider halves "FPGA 3.3V".
    wanted = [
        ["adt7473fan1_inputfan1", "Right Fan RPM", True, [1, MAX, 0, MAX], 3000],
        ["adt7473in2_input+3.3V", "Fan Controller 3.3V", False, [3.06, 3.528, 3, 3.6], 3.3],
        ["adt7473temp2_inputBoard Temp", "Center unit temperature (C)", False, [1, 70, 0, 75], 31],
        ["isppacin0_input5V5", "5.5V", True, [5.08, 5.677, 5.055, 5.705], 5.5],
        [f"{KINTEX}in0_inputVCCINT", "FPGA VCCINT 0.95V", False, [0.931, 0.969, 0.922, 0.979], 0.95],
        [f"{KINTEX}in7_inputVUSER1", "FPGA 3.3V", False, [3.166, 3.365, 3.135, 3.399], 3.3],
        [f"{KINTEX}in9_inputVUSER3", "FPGA DDR3 Vdd (M1)", False, [1.296, 1.559, 1.283, 1.575], 1.65],
        [f"{KINTEX}temp1_inputtemp1", "FPGA Temperature (C)", True, [1, 80, 0, 85], 45.5],
        ["unlistedin0_inputin0", "unlisted", False, none, 1.234],
        ["unlistedin1_inputx y", "unlisted", False, none, 0.007],
        ["unlistedtemp1_inputtemp1", "unlisted Temperature (C)", False, none, -5],
    ]
    check(printer.rows == wanted, "the readings are those that there are, by key", printer.rows)
    check(len(printer.missing) == 26 - 8 and not printer.log,
          "sensors without chip stay without value, and nothing is logged", printer.log)

    write(f"{HWMON}/hwmon0/temp1_input", "46500\n")
    write(f"{HWMON}/hwmon1/fan1_input", "broken\n")
    write(f"{HWMON}/hwmon0/in7_input", "1600\n")
    printer.update()
    check_value(printer, f"{KINTEX}temp1_inputtemp1", 46.5, "an update reads anew")
    check_value(printer, f"{KINTEX}in7_inputVUSER1", 3.2, "an update scales")
    check_value(printer, "adt7473fan1_inputfan1", 3000, "a failed read leaves the last value")
    printer.end()


def second_board(program):
    make_chips([FPGA, ("pmbus", {"in2_input": 850, "in2_label": "vout1", "curr1_input": 12000,
                                 "curr1_label": "iout1"})])
    printer = Printer(program, 64)
    wanted = [
        ["pmbuscurr1_inputiout1", "0.85v Regulator Current", False, [0, 38, 0, 40], 12],
        ["pmbusin2_inputvout1", "0.85V Regulator", False, [0.814, 0.888, 0.813, 0.889], 0.85],
        [f"{KINTEX}in0_inputVCCINT", "FPGA VCCINT 0.85V", False, [0.814, 0.888, 0.813, 0.889], 0.95],
        [f"{KINTEX}in7_inputVUSER1", "FPGA VMGTAVCC 0.9V", False, [0.861, 0.939, 0.86, 0.941], 1.65],
        [f"{KINTEX}in9_inputVUSER3", "FPGA 3.3V", False, [3.093, 3.445, 3.088, 3.45], 3.3],
        [f"{KINTEX}temp1_inputtemp1", "FPGA Temperature (C)", True, [1, 80, 0, 100], 45.5],
    ]
    check(printer.rows == wanted, "its table is another, and a current is in amperes", printer.rows)
    printer.end()


def whole_tables(program):
    make_chips([])
    # The sums are those of the instrument's published tables: all rows by key, numbers as floats.
    for boards, count, wanted in (((0, 63), 26, "3f2239b92a356a92"), ((64, 127), 29, "0f0fd932c2b882fe")):
        for board in boards:
            printer = Printer(program, board)
            rows = [row[:3] + [float(number) for number in row[3:]] for row in printer.missing]
            digest = hashlib.sha256(repr(rows).encode()).hexdigest()
            check(len(rows) == count and digest.startswith(wanted) and not printer.rows,
                  f"board {board} has its table, and no chip gives no reading", rows)
            printer.end()


def no_table(program):
    make_chips([FPGA])
    for board in (-1, 128):
        printer = Printer(program, board)
        check(not printer.missing and len(printer.rows) == 4, f"board {board} has no table")
        check_value(printer, f"{KINTEX}in7_inputVUSER1", 1.65, "nothing is scaled then")
        printer.end()


def chip_with_an_error(program):
    make_chips([("adt7473", {"in2_input": "broken", "in2_label": "+3.3V", "fan1_input": 3000}), FPGA])
    printer = Printer(program, 63)
    check(len(printer.log) == 1 and printer.log[0].startswith("Failed populating sensors:  -"),
          "a chip with an error is logged", printer.log)
    check([*printer.values] == sorted(f"{KINTEX}{key}" for key in (
        "temp1_inputtemp1", "in0_inputVCCINT", "in7_inputVUSER1", "in9_inputVUSER3")),
          "the next chip is populated all the same", printer.values)
    write(f"{HWMON}/hwmon0/in2_input", "3300\n")
    printer.update()
    check_value(printer, "adt7473in2_input+3.3V", 3.3, "it is read when it can be")
    printer.end()


def configuration(program):
    make_chips([FAN_CONTROLLER])
    write("/sys/class/chips.conf", 'chip "adt7473-*"\n  label in2 "renamed"\n  compute in2 @*2, @/2\n')
    printer = Printer(program, 0, "/sys/class/chips.conf")
    check_value(printer, "adt7473in2_inputrenamed", 6.6, "the configuration file is used")
    printer.end()
    os.mkfifo("/sys/class/pipe.conf")
    for path in ("/sys/class/none.conf", "/sys/class/pipe.conf"):
        result = run(program, "0", path)
        check((result.returncode, result.stdout) == (1, "error: Could not open sensors configuration file\n"),
              f"{path} is an error", result.stdout)


def main(program):
    namespaces.enter()
    if not os.path.isdir("/sys/class"):
        print("skipped: no sysfs here")
        sys.exit(namespaces.SKIPPED)
    if os.path.isdir("/etc/sensors.d"):  # this machine's own configuration
        namespaces.mount_empty("/etc/sensors.d")
    for test in (first_board, second_board, whole_tables, no_table, chip_with_an_error, configuration):
        test(program)


if __name__ == "__main__":
    main(os.path.abspath(sys.argv[1]))
