"""The board report: limit marks of made-up sensors, and headers of images.

usage: board_info.py BOARD_INFO
"""
import os
import sys
import tempfile

import namespaces
import sensors
from programs import check, run

BIT = (bytes.fromhex("00090ff00ff00ff00ff0000001") + b"a\0\x23n;UserID=0X81020304;Version=2019.1\0"
       + b"b\0\x05part\0c\0\x0b2020/06/16\0d\0\x0912:34:56\0e\0\0\0\4bits")
JED = b"\2*\nNOTE DESIGN NAME: top*\nQF16*\nL0\n0101010101010101\n*\nUH0A0B0C0D*\n\x030000\n"


def images(program, folder):
    rows = (
        ("--bit", BIT, 0, "design: n\nversion: 258-3.4(dev)\nvivado: 2019.1\ndevice: part\n"
         "date: 2020/06/16\ntime: 12:34:56\nsize: 4\n4 bytes\n", ""),
        ("--jed", JED, 0, "design: top\nsize: 16\nusercode: 0A 0B 0C 0D\n16 bytes\n", ""),
        ("--jed", BIT, 1, "", "No STX at start\n{}: no image, error -1\n"),
        ("--bit", JED, 1, "", "{}: no image, error -1\n"),
        ("--bit", None, 1, "", "{}: No such file or directory\n"),
    )
    for option, content, code, out, error in rows:
        path = os.path.join(folder, "image")
        if content is None:
            os.remove(path)
        else:
            with open(path, "wb") as file:
                file.write(content)
        result = run(program, option, path)
        check((result.returncode, result.stdout, result.stderr) == (code, out, error.format(path)),
              f"{option} gives {code}", (result.stdout, result.stderr))
    for words in (("--bit",), ("--bad", "image"), ("--bit", "image", "more")):
        result = run(program, *words)
        check(result.returncode == 2 and "\nusage: " in result.stderr, "wrong words give 2")


def marks(program):
    """The FPGA's limits are 0 to 85 and, for its core, 0.922 to 0.979; warnings 1 to 80, 0.931 to 0.969."""
    rows = ((80, 931, "", ""), (80.1, 969, "  warning", ""), (85, 930, "  warning", "  warning"),
            (85.1, 922, "  OUT OF LIMITS", "  warning"), (0.9, 921, "  warning", "  OUT OF LIMITS"),
            (-0.1, 970, "  OUT OF LIMITS", "  warning"), (1, 979, "", "  warning"),
            (0, 980, "  warning", "  OUT OF LIMITS"))
    for celsius, millivolts, *wanted in rows:
        sensors.make_chips([(sensors.KINTEX, {
            "temp1_input": int(celsius * 1000), "in0_input": millivolts, "in0_label": "VCCINT"})])
        lines = run(program).stdout.splitlines()
        for name, limits, mark in (
                ("FPGA Temperature (C)", "warning 1 to 80  limit 0 to 85", wanted[0]),
                ("FPGA VCCINT 0.95V", "warning 0.931 to 0.969  limit 0.922 to 0.979", wanted[1])):
            line = next(line for line in lines if line.startswith(f"  {name} "))
            check(line.endswith(limits + mark), f"{name} has its mark", line)
        check(f"  {'Right Fan RPM':28}    Unknown" in lines, "a sensor that must be there is named")


def main(program):
    with tempfile.TemporaryDirectory() as folder:
        images(program, folder)
    namespaces.enter()
    if not os.path.isdir("/sys/class"):
        print("skipped: no sysfs here")
        sys.exit(namespaces.SKIPPED)
    if os.path.isdir("/etc/sensors.d"):  # this machine's own configuration
        namespaces.mount_empty("/etc/sensors.d")
    marks(program)


if __name__ == "__main__":
    main(os.path.abspath(sys.argv[1]))
