"""The sensors through the real libsensors, on a made-up /sys/class/hwmon.

usage: sensors.py PRINT_SENSORS
"""
import hashlib
import json
import os
import subprocess
import sys

import namespaces

MAX = sys.float_info.max
HWMON = "/sys/class/hwmon"


def check(holds, what, shown=""):
    if not holds:
        print(f"FAILED: {what} {shown}")
        sys.exit(1)
    print(f"passed: {what}")


def write(path, text):
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


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


class Printer:
    """The program, which reads anew when it is asked to."""

    def __init__(self, program, *words):
        self.process = subprocess.Popen([program, *map(str, words)], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.log = []
        self.read()

    def read(self):
        for line in self.process.stdout:
            if line.startswith("{"):
                state = json.loads(line)
                self.missing = {row[0]: row for row in state["missing"]}
                self.readings = {reading["key"]: reading for reading in state["readings"]}
                self.keys = [reading["key"] for reading in state["readings"]]
                return
            self.log.append(line.split("> ", 1)[1].rstrip("\n"))
        check(False, "the program prints its sensors")

    def update(self):
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        self.read()

    def end(self):
        self.process.stdin.close()
        check(self.process.wait(10) == 0, "the program ends well")


def check_reading(printer, key, name, value, limits, required):
    reading = printer.readings.get(key)
    check(reading is not None, f"{key} is read", printer.keys)
    check(reading["name"] == name and reading["required"] is required, f"{key} is {name}", reading)
    check(abs(reading["value"] - value) < 1e-9, f"{key} is {value}", reading)
    check(reading["limits"] == limits, f"{key} has its limits", reading)


FPGA = ("ultrascale-kintex", {
    "temp1_input": 45500,
    "in0_input": 950, "in0_label": "VCCINT",
    "in7_input": 1650, "in7_label": "VUSER1",
    "in9_input": 1650, "in9_label": "VUSER3",
    "in9_max": 1700})
FAN_CONTROLLER = ("adt7473", {
    "fan1_input": 3000, "fan1_alarm": 0,
    "temp2_input": 31000, "temp2_label": "Board Temp",
    "in2_input": 3300, "in2_label": "+3.3V"})


def first_board(program):
    make_chips([
        FPGA, FAN_CONTROLLER,
        ("isppac", {"in0_input": 5500, "in0_label": "5V5"}),
        ("unlisted", {"temp1_input": -5000, "in0_input": 1234, "in1_input": 7, "in1_label": "x y"}),
    ])
    printer = Printer(program, 0)
    check_reading(printer, "ultrascale-kintextemp1_inputtemp1", "FPGA Temperature (C)", 45.5,
                  [1.0, 80.0, 0.0, 85.0], True)
    check_reading(printer, "isppacin0_input5V5", "5.5V", 5.5, [5.08, 5.677, 5.055, 5.705], True)
    check_reading(printer, "ultrascale-kintexin7_inputVUSER1", "FPGA 3.3V", 3.3,
                  [3.166, 3.365, 3.135, 3.399], False)  # scaled by 2
    check_reading(printer, "adt7473fan1_inputfan1", "Right Fan RPM", 3000.0, [1.0, MAX, 0.0, MAX],
                  True)
    check_reading(printer, "adt7473temp2_inputBoard Temp", "Center unit temperature (C)", 31.0,
                  [1.0, 70.0, 0.0, 75.0], False)
    unlimited = [-MAX, MAX, -MAX, MAX]
    check_reading(printer, "unlistedtemp1_inputtemp1", "unlisted Temperature (C)", -5.0, unlimited,
                  False)
    check_reading(printer, "unlistedin0_inputin0", "unlisted", 1.234, unlimited, False)
    check_reading(printer, "unlistedin1_inputx y", "unlisted", 0.007, unlimited, False)
    check(printer.keys == sorted(printer.keys) and len(printer.keys) == 11,
          "the readings are those that there are, by key", printer.keys)
    check(len(printer.missing) == 26 - 8 and "imx_thermal_zonetemp1_inputtemp1" in printer.missing,
          "a sensor without chip stays without value", printer.missing)
    check(not printer.log, "nothing is logged", printer.log)

    write(f"{HWMON}/hwmon0/temp1_input", "46500\n")
    write(f"{HWMON}/hwmon1/fan1_input", "broken\n")
    write(f"{HWMON}/hwmon0/in7_input", "1600\n")
    printer.update()
    values = {key: reading["value"] for key, reading in printer.readings.items()}
    check(values["ultrascale-kintextemp1_inputtemp1"] == 46.5, "an update reads anew")
    check(values["ultrascale-kintexin7_inputVUSER1"] == 3.2, "an update scales")
    check(values["adt7473fan1_inputfan1"] == 3000, "a failed read leaves the last value")
    printer.end()


def second_board(program):
    make_chips([
        FPGA,
        ("pmbus", {"in2_input": 850, "in2_label": "vout1", "curr1_input": 12000,
                   "curr1_label": "iout1"}),
    ])
    printer = Printer(program, 64)
    check_reading(printer, "ultrascale-kintextemp1_inputtemp1", "FPGA Temperature (C)", 45.5,
                  [1.0, 80.0, 0.0, 100.0], True)
    check_reading(printer, "ultrascale-kintexin7_inputVUSER1", "FPGA VMGTAVCC 0.9V", 1.65,
                  [0.861, 0.939, 0.86, 0.941], False)
    check_reading(printer, "ultrascale-kintexin9_inputVUSER3", "FPGA 3.3V", 3.3,
                  [3.093, 3.445, 3.088, 3.45], False)
    check(printer.readings["pmbuscurr1_inputiout1"]["value"] == 12, "a current is in amperes")
    printer.end()


def whole_tables(program):
    make_chips([])
    # The sums are those of the instrument's published tables: all rows by key, numbers as floats.
    for boards, count, wanted in (((0, 63), 26, "3f2239b92a356a92"), ((64, 127), 29, "0f0fd932c2b882fe")):
        for board in boards:
            printer = Printer(program, board)
            rows = [row[:3] + [float(number) for number in row[3:]] for row in printer.missing.values()]
            check(len(rows) == count and not printer.keys and
                  hashlib.sha256(repr(rows).encode()).hexdigest().startswith(wanted),
                  f"board {board} has its table, and no chip gives no reading", rows)
            printer.end()


def no_table(program):
    make_chips([FPGA])
    for board in (-1, 128):
        printer = Printer(program, board)
        check(not printer.missing and len(printer.keys) == 4, f"board {board} has no table")
        check(printer.readings["ultrascale-kintexin7_inputVUSER1"]["value"] == 1.65,
              "nothing is scaled without a table")
        printer.end()


def chip_with_an_error(program):
    make_chips([
        ("adt7473", {"in2_input": "broken", "in2_label": "+3.3V", "fan1_input": 3000}),
        FPGA,
    ])
    printer = Printer(program, 63)
    check(len(printer.log) == 1 and printer.log[0].startswith("Failed populating sensors:  -"),
          "a chip with an error is logged", printer.log)
    check(printer.keys == sorted(f"ultrascale-kintex{key}" for key in (
        "temp1_inputtemp1", "in0_inputVCCINT", "in7_inputVUSER1", "in9_inputVUSER3")),
          "the next chip is populated all the same", printer.keys)
    write(f"{HWMON}/hwmon0/in2_input", "3300\n")
    printer.update()
    check(printer.readings["adt7473in2_input+3.3V"]["value"] == 3.3, "it is read when it can be")
    printer.end()


def configuration(program):
    make_chips([FAN_CONTROLLER])
    write("/sys/class/chips.conf", 'chip "adt7473-*"\n  label in2 "renamed"\n  compute in2 @*2, @/2\n')
    printer = Printer(program, 0, "/sys/class/chips.conf")
    check(printer.readings["adt7473in2_inputrenamed"]["value"] == 6.6,
          "the configuration file is used")
    printer.end()
    os.mkfifo("/sys/class/pipe.conf")
    for path in ("/sys/class/none.conf", "/sys/class/pipe.conf"):
        result = subprocess.run([program, "0", path], capture_output=True, text=True, timeout=60,
                                check=False)
        check(result.returncode == 1 and
              result.stdout == "error: Could not open sensors configuration file\n",
              f"{path} is an error", result.stdout)


def main(program):
    namespaces.enter()
    if not os.path.isdir("/sys/class"):
        print("skipped: no sysfs here")
        sys.exit(namespaces.SKIPPED)
    if os.path.isdir("/etc/sensors.d"):  # this machine's own configuration
        namespaces.mount_empty("/etc/sensors.d")
    first_board(program)
    second_board(program)
    whole_tables(program)
    no_table(program)
    chip_with_an_error(program)
    configuration(program)


if __name__ == "__main__":
    main(os.path.abspath(sys.argv[1]))
