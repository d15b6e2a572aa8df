#!/usr/bin/env python3
"""Figures of the kernels for the 32-bit ARM target that the machine's load can't touch.

    target_table.py          prints the table
    target_table.py --write  puts it after the line "<!-- kernels -->" of docs/target.md

For each row of bench/target_kernels.cpp, as build/armhf has it: the instructions a sample of the plain
form, of the vector form (NEON) and of the peer's loop, all that the emulator runs between two calls of
`mark`; and the cycles a sample that LLVM's model of a Cortex-A9 (llvm-mca) gives for just this sequence of
instructions, with all data in the first cache. Exits with 1 if a row needs more instructions than it may,
or if the forms don't give the same result.
"""
import bisect
import itertools
import pathlib
import re
import struct
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build" / "armhf" / "bench" / "target_kernels"
SYSROOT = ROOT / "build" / "armhf-sysroot"
PAGE = ROOT / "docs" / "target.md"
MARK = "<!-- kernels -->\n"
TARGET = ["-mcpu=cortex-a9", "-mattr=+neon"]
# What is looked at; the rest, Qt and the dynamic linker above all, is not part of any kernel.
OBJECTS = re.compile(r"^$|/(libinfrastructure_\w+|libstdc\+\+|libgcc_s|libc)\.so")
THUMB = 1 << 23  # in the emulator's flags of an instruction
TRACE = re.compile(r"^Trace \d+: \S+ \[([0-9a-f]{8})/([0-9a-f]{8})/", re.M)
CONDITIONS = "eq|ne|cs|hs|cc|lo|mi|pl|vs|vc|hi|ls|ge|lt|gt|le"
# The model has no times for these: calls, barriers and coprocessors.
NOT_MODELLED = re.compile(r"(mrc|mcr|svc|dmb|nop|blx?$|bx)")
LIST = re.compile(r"\{([^}]*)\}")
MOVE = re.compile(r"vld|vst|vpush|vpop|push|pop|ldm|stm")
BASE = {True: "r0", False: "r1"}


class Code:
    """The instructions of the objects that a process has mapped."""

    def __init__(self, mapped):
        self.ranges = sorted((int(base, 16), int(size, 16), path) for base, size, path in mapped)
        self.bases = [base for base, _, _ in self.ranges]
        self.files = {}

    def get_filter(self):
        return ",".join(f"{base:#x}+{size:#x}" for base, size, path in self.ranges)

    def segments(self, path):
        """Of an ELF file of 32 bits: bytes, and (address, offset, size) of what is loaded."""
        if path not in self.files:
            name = pathlib.Path(path or PROGRAM)
            data = (name if name.exists() and name.is_relative_to(ROOT)
                    else SYSROOT / str(name).lstrip("/")).read_bytes()
            start, = struct.unpack_from("<I", data, 28)
            size, count = struct.unpack_from("<HH", data, 42)
            headers = (struct.unpack_from("<IIIII", data, start + i * size) for i in range(count))
            self.files[path] = data, [(address, offset, length)
                                      for kind, offset, address, _, length in headers if kind == 1]
        return self.files[path]

    def get_bytes(self, address, is_thumb):
        base, _, path = self.ranges[bisect.bisect(self.bases, address) - 1]
        data, segments = self.segments(path)
        at = next(offset + address - base - start for start, offset, length in segments
                  if start <= address - base < start + length)
        return data[at : at + (4 if not is_thumb or data[at + 1] >> 3 >= 0x1D else 2)]


def emulate(*words, form=None, tracing=()):
    environment = ["-E", f"INFRASTRUCTURE_KERNELS={form}"] if form else []
    run = subprocess.run(["qemu-arm", "-L", SYSROOT, *environment, *tracing, PROGRAM, *words],
                         capture_output=True, text=True, check=True)
    return run.stdout, run.stderr


def trace(row, side, form):
    """The digest of the result, and the instructions between the marks: code, address, is it Thumb."""
    output, _ = emulate(row, side, form=form)
    code = Code(words for words in re.findall(r"^mapped (\S+) (\S+) (.*)$", output, re.M)
                if OBJECTS.search(words[2]))
    again, log = emulate(row, side, form=form, tracing=[
        "-singlestep", "-d", "exec,nochain", "-dfilter", code.get_filter()])
    if again != output:
        raise SystemExit(f"{row}: two runs differ")
    mark = int(re.search(r"^mark (\S+)$", output, re.M)[1], 16) & ~1
    steps = [(int(address, 16), bool(int(flags, 16) & THUMB)) for flags, address in TRACE.findall(log)]
    first, last = (i for i, (address, _) in enumerate(steps) if address == mark)
    digest = re.search(r"^result (\S+)$", output, re.M)[1]
    return digest, code, steps[first + 1 : last]  # `mark` itself is one


def llvm(tool, arguments, text):
    run = subprocess.run([tool, *TARGET, *arguments], input=text, capture_output=True, text=True)
    if run.returncode != 0:
        raise SystemExit(f"{tool}: {run.stderr}")
    return run.stdout


def disassemble(code, steps, is_thumb):
    lines = ("[" + " ".join(f"{byte:#x}" for byte in code.get_bytes(address, is_thumb)) + "]"
             for address, _ in steps)
    text = llvm("llvm-mc-14", ["--disassemble", f"--triple={triple(is_thumb)}"], "\n".join(lines))
    return [line.strip().replace("\t", " ") for line in text.splitlines()
            if not line.startswith("\t.")]


def triple(is_thumb):
    return f"{'thumb' if is_thumb else 'arm'}v7-linux-gnueabihf"


def modelled(assembly):
    """The instructions as the model takes them. What stands under a condition counts as without it. Of
    loads and stores of several registers the model has no or wrong times: each core register counts as a
    load of its own, and each two vector registers, since the model has two cycles for one."""
    conditional = 0
    for line in assembly:
        name, _, operands = line.partition(" ")
        if re.fullmatch("it[te]*", name):
            conditional = len(name) - 1
            continue
        if conditional > 0:
            conditional -= 1
            name = re.sub(rf"^([a-z0-9]+?)({CONDITIONS})(\.|$)", r"\1\3", name)
        registers = LIST.search(operands)
        move = MOVE.match(name)
        if move and registers:
            is_load = move[0] in ("vld", "ldm", "pop", "vpop")
            named = re.findall(r"\b(?:[sdr]\d+|lr|pc)\b", registers[1])
            is_vector = name.startswith("v")
            for register in named[::2] if is_vector else named:
                kind = f"{'v' if is_vector else ''}{'ldr' if is_load else 'str'}"
                yield f"{kind} {register.replace('pc', 'lr')}, [{BASE[is_load]}]"
        elif not NOT_MODELLED.match(name):
            yield f"{name} {operands}"


def cycles(code, steps):
    assembly = [".syntax unified"]
    for is_thumb, run in itertools.groupby(steps, lambda step: step[1]):
        assembly.append(".thumb" if is_thumb else ".arm")
        assembly += modelled(disassemble(code, run, is_thumb))
    text = llvm("llvm-mca-14", [f"-mtriple={triple(True)}", "-iterations=1", "-instruction-info=0",
                                "-resource-pressure=0"], "\n".join(assembly))
    return int(re.search(r"Total Cycles:\s+(\d+)", text)[1])


SIDES = {"plain": ("ours", "plain"), "NEON": ("ours", None), "peer": ("peer", None)}


def measure(row):
    """Of each side: instructions and cycles; the row's results must be the same."""
    digests, figures = set(), {}
    for name, (side, form) in SIDES.items():
        digest, code, steps = trace(row, side, form)
        digests.add(digest)
        figures[name] = len(steps), cycles(code, steps)
    if len(digests) != 1:
        raise SystemExit(f"{row}: the results differ")
    return figures


def main():
    if sys.argv[1:] not in ([], ["--write"]):
        return print(__doc__)
    lines = ["| kernel | plain | NEON | NEON of plain | must | peer | cycles plain | NEON | peer |",
             "|---|---:|---:|---:|---:|---:|---:|---:|---:|"]
    missed = []
    for line in emulate()[0].splitlines():
        row, samples, most = line.split()
        figures = measure(row)
        instructions = {side: count / int(samples) for side, (count, _) in figures.items()}
        share = instructions["NEON"] / instructions["plain"]
        if 0 < float(most) < share:
            missed.append(f"{row}: {share:.2f} of the plain form's instructions, may be {most}")
        cells = [*(f"{instructions[side]:.2f}" for side in ("plain", "NEON")), f"{share:.2f}",
                 most if float(most) else "", f"{instructions['peer']:.2f}",
                 *(f"{figures[side][1] / int(samples):.2f}" for side in SIDES)]
        lines.append(" | ".join(["| " + row, *cells]) + " |")
    table = "\n".join(lines) + "\n"
    print(table, end="")
    if sys.argv[1:]:
        page = PAGE.read_text(encoding="utf-8")
        head, rest = page.split(MARK)
        rest = re.sub(r"\A\n(\|.*\n)*\n?", "\n" + table + "\n", rest)
        PAGE.write_text(head + MARK + rest, encoding="utf-8")
    if missed:
        raise SystemExit("\n".join(missed))


if __name__ == "__main__":
    main()
