#!/usr/bin/env python3
"""Writes what docs/protocol.md and the dissector take from the sources: the tables of the measurement
records, from their layouts, the raw types' numbers and names, and the texts of the reasons; and the table
of docs/findings.md.

usage: protocol_tables.py [--check]
    --check  writes nothing; fails if they don't say what the sources do
"""
import collections
import pathlib
import re
import struct
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / "docs/protocol.md"
FINDINGS = ROOT / "docs/findings.md"
FINDING_CODES = ROOT / "infrastructure/utility/FindingCode.h"
DISSECTOR = ROOT / "tools/wireshark/infrastructure.lua"
DATACORE = ROOT / "infrastructure/datacore"
PACKETS = ROOT / "infrastructure/utility/packets"
RECORDS = ROOT / "infrastructure/utility/records"

# By the C++ type: the document's word, and how Python's struct reads it.
TYPES = {"quint8": ("u8", "B"), "qint8": ("i8", "b"), "quint16": ("u16", "H"),
         "qint16": ("i16", "h"), "quint32": ("u32", "I"), "qint32": ("i32", "i"),
         "quint64": ("u64", "Q"), "qint64": ("i64", "q"), "double": ("f64", "d"),
         "bool": ("bool", "?")}

# A part of a layout: `repeat` is how many there are, "count" for a list; `element` holds the parts
# of a list's records.
Part = collections.namedtuple("Part", "names type repeat element")


def read_headers():
    texts = [path.read_text() for path in sorted(RECORDS.glob("*.h"))]
    return re.sub(r"[ \t]*///?[^\n]*", "", "\n".join(texts))


class Layouts:
    """The layouts of all records, read from the text of their headers."""

    def __init__(self, text):
        self.text = text

    def body(self, record):
        return re.search(rf"\nstruct {record}\b[^;{{]*\{{(.*?)\n\}};", self.text, re.S)[1]

    def parts(self, record, level_type):
        """The parts of a record; `level_type` is the C++ type that a meter's level has."""
        body = self.body(record)
        layout = re.search(r"LAYOUT\s*=\s*RecordLayout::layout\((.*?)\);", body, re.S)[1]
        parts = []
        form = r"RecordLayout::(\w+)(?:<(\w+)>)?\(([^()]*)\)|(\w+)::LAYOUT"
        if re.sub(form, "", layout).strip(", \n"):
            raise ValueError(f"{record} has a layout that can't be read: {layout}")
        for kind, wire, arguments, base in re.findall(form, layout):
            names = re.findall(r"::(\w+)", arguments)
            wire = {"LevelOnWire": level_type}.get(wire, wire)
            if base:
                parts += self.parts(base, level_type)
            elif kind in ("field", "fields"):
                parts.append(Part(names, wire, 1, None))
            elif kind == "placeholder":
                parts.append(Part(["always " + arguments], wire, 1, None))
            elif kind == "address":
                parts.append(Part([names[0] + " present"], "bool", 1, None))
                parts.append(Part([names[0] + ", IPv4"], "quint32", 1, None))
            elif kind == "run":
                count = re.search(rf"std::array<\w+, (\w+)>\s+{names[0]}\b", body)[1]
                value = re.search(rf"{count}\s*=\s*(\d+)", body)[1]
                parts.append(Part(names, wire, int(value), None))
            elif kind == "list" and wire:
                parts.append(Part(names, wire, "count", None))
            else:
                element = re.search(rf"<(\w+)(?:<T>)?>\s+{names[0]};", body)[1]
                parts.append(Part(names, None, "count", self.parts(element, level_type)))
        return parts

    def packet_parts(self, base, level_type):
        """The parts of what a packet class is made of; where its base has a record, that goes ahead."""
        payload = re.search(r"RecordPayload<(\w+)(?:<T>)?(?:,\s*(\w+))?>", base)
        if payload:
            ahead = self.packet_parts(payload[2], level_type) if payload[2] else []
            return ahead + self.parts(payload[1], level_type)
        name = re.match(r"\w+", base)[0]
        heading = re.search(rf"class {name}\b([^{{;]*RecordPayload<[^{{;]*)\{{", self.text)
        return self.packet_parts(heading[1], level_type) if heading else []


def read_types():
    """The raw types' names by number."""
    text = (PACKETS / "RawDataPacketHeader.h").read_text()
    return {int(number, 16): name
            for name, number in re.findall(r"RawPacketType_(\w+) = (0x\w+)", text)}


def read_packets():
    """By raw type number: class, sub type, and the layout, None if it is not a plain one."""
    layouts = Layouts(read_headers())
    numbers = {name: number for number, name in read_types().items()}
    packets = {}
    form = r"class (\w+)\s*: public TypedPacket<(.*?),\s*RawPacketType_(\w+)(?:,\s*(\d+))?>\s*\{"
    for name, base, type_name, sub_type in re.findall(form, layouts.text, re.S):
        parts = None
        if not base.endswith("Payload"):
            level_type = "double" if base.endswith("<float>") else "qint32"
            parts = layouts.packet_parts(base, level_type)
        packets[numbers[type_name]] = (name, int(sub_type or 0), parts)
    return packets


def width(part):
    return struct.calcsize(">" + TYPES[part.type][1]) * len(part.names)


def fixed_size(parts):
    return sum(width(part) * part.repeat for part in parts)


def decode(parts, payload, offset=0):
    """Where a payload of that layout ends; ValueError for one that is too short or holds a bool
    other than 0 or 1."""
    for part in parts:
        repeat = part.repeat
        if repeat == "count":
            (repeat,) = struct.unpack_from(">i", payload, offset)
            offset += 4
        for _ in range(repeat):
            if part.element:
                offset = decode(part.element, payload, offset)
                continue
            if offset + width(part) > len(payload):
                raise ValueError(f"{part.names} at {offset} is not in {len(payload)} bytes")
            if part.type == "bool" and any(b > 1 for b in payload[offset:offset + width(part)]):
                raise ValueError(f"{part.names} at {offset} is no bool")
            offset += width(part)
    return offset


def listing(names):
    """`a`, `b`; of a row of numbered names only the ends."""
    stems = {re.sub(r"\d+$", "", name) for name in names}
    if len(names) > 3 and len(stems) == 1:
        numbers = [int(re.search(r"\d+$", name)[0]) for name in names]
        if numbers == list(range(numbers[0], numbers[0] + len(names))):
            return f"`{names[0]}` to `{names[-1]}`"
    return ", ".join(f"`{name}`" if re.fullmatch(r"\w+", name) else name for name in names)


def rows(parts, mark=""):
    """The rows of a table. After a list, offsets count from its end."""
    offset = 0
    for part in parts:
        if part.repeat == "count":
            yield f"| {mark}{offset} | 4 | i32 | n, the count of `{part.names[0]}` |"
            if part.element:
                size = fixed_size(part.element)
                yield f"| {mark}{offset + 4} | n × {size} | | `{part.names[0]}`, each: |"
                yield from rows(part.element, "+")
            else:
                size = width(part)
                yield (f"| {mark}{offset + 4} | n × {size} | {TYPES[part.type][0]} | "
                       f"`{part.names[0]}` |")
            mark, offset = "list end + ", 0
            continue
        each = width(part) // len(part.names)
        count = len(part.names) * part.repeat
        size = f"{count} × {each}" if count > 1 else str(each)
        yield f"| {mark}{offset} | {size} | {TYPES[part.type][0]} | {listing(part.names)} |"
        offset += each * count


def sections():
    """The document's sections of the records with a plain layout, one for each layout."""
    names = read_types()
    groups = []
    for number, (name, sub_type, parts) in sorted(read_packets().items()):
        if parts is None:
            continue
        same = next((group for group in groups if group[0] == parts), None)
        if same is None:
            same = (parts, [])
            groups.append(same)
        same[1].append((number, name, sub_type))
    for parts, packets in groups:
        yield "### " + ", ".join(f"0x{number:04X} {names[number]}" for number, _, _ in packets)
        yield ""
        yield "Class " + ", ".join(
            f"`{name}`" + (f" (sub type {sub_type})" if sub_type else "")
            for _, name, sub_type in packets) + "."
        if all(part.repeat != "count" for part in parts):
            yield f"Always {fixed_size(parts)} bytes."
        yield ""
        yield "| offset | bytes | type | field |"
        yield "|---|---|---|---|"
        yield from rows(parts)
        yield ""


def text_of(pieces):
    return "".join(re.findall(r'"(.*?)"', pieces, re.S))


def reasons():
    """The tables of the reasons' texts."""
    for name in ("DatacoreValidStatusMessage", "DatacoreActiveStatusMessage"):
        text = (DATACORE / f"{name}.cpp").read_text()
        yield f"| `{name}` | text |"
        yield "|---|---|"
        for number, pieces in re.findall(r"\{(\d+), (\".*?\")\},", text, re.S):
            yield f"| {number} | {text_of(pieces)} |"
        yield ""


def findings():
    """The table of what an analysis can find."""
    text = FINDING_CODES.read_text()
    table = re.search(r"FINDING_KINDS\[\] = \{(.*?)\n\};", text, re.S)[1]
    form = r'\{FindingCode::(\w+),\s*FindingSeverity::(\w+),\s*"([^"]+)",\s*((?:"[^"]*"\s*)+)\},'
    rows = re.findall(form, table)
    codes = re.findall(r"^    (\w+),$", re.search(r"enum class FindingCode[^{]*\{(.*?)\};", text, re.S)[1], re.M)
    if [code for code, *_ in rows] != codes:
        sys.exit(f"{FINDING_CODES}: has other rows than codes: {set(codes) ^ {code for code, *_ in rows}}")
    yield "| name | severity | text |"
    yield "|---|---|---|"
    for _, severity, name, pieces in rows:
        sentence = text_of(pieces)
        for number, word in enumerate(("expected", "found", "expected", "found"), 1):
            sentence = sentence.replace(f"%{number}", f"*{word}*")
        yield f"| `{name}` | {severity.lower()} | {sentence} |"
    yield ""


def dissector_types():
    """The dissector's table of the raw types."""
    sub_types = {number: sub_type for number, (_, sub_type, _) in read_packets().items() if sub_type}
    yield "local TYPE_NAMES = {"
    yield from (f'    [0x{number:04x}] = "{name}",' for number, name in sorted(read_types().items()))
    yield "}"
    pairs = ", ".join(f"[0x{number:04x}] = {sub_type}" for number, sub_type in sorted(sub_types.items()))
    yield f"local SUB_TYPES = {{ {pairs} }} -- of all others 0"


def with_numbers(text):
    """The document with the numbers in its running text."""
    first, *_, last = sorted(read_types())
    sub_types = {number: sub_type for number, (_, sub_type, _) in read_packets().items() if sub_type}
    but = " and ".join(f"{sub_type} for type 0x{number:04X}"
                       for number, sub_type in sorted(sub_types.items()))
    for form, words in (
            (r"0x\w+ for a JSON packet and 0x\w+ to 0x\w+ for",
             f"0x{first:04X} for a JSON packet and 0x{first + 1:04X} to 0x{last:04X} for"),
            (r"needs a number above 0x\w+ and", f"needs a number above 0x{last:04X} and"),
            (r"is 0, but [^.]*\.", f"is 0, but {but}.")):
        text, count = re.subn(form, words, text)
        if count != 1:
            sys.exit(f"{DOCUMENT}: {form} stands there {count} times")
    return text


def between(text, name, lines, mark="<!-- {} -->\n"):
    begin, end = mark.format(f"{name}: tools/protocol_tables.py"), mark.format(f"end of {name}")
    head, rest = text.split(begin)
    return head + begin + "\n".join(lines) + end + rest.split(end)[1]


def check_sections(document):
    """Each raw type has its class, and one section in the document."""
    types = read_types()
    missing = sorted(types.keys() - read_packets().keys() - {min(types)})
    if missing:
        sys.exit(f"No class in {RECORDS} has the type {[types[number] for number in missing]}")
    headings = re.findall(r"^### (0x.*)$", document, re.M)
    named = sorted(re.findall(r"(0x\w{4}) (\w+)", "\n".join(headings)))
    wanted = [(f"0x{number:04X}", name) for number, name in sorted(types.items())]
    if named != wanted:
        sys.exit(f"{DOCUMENT}: has other sections than one for each type: {set(named) ^ set(wanted)}")


def main(check):
    document = with_numbers(DOCUMENT.read_text())
    for name, lines in (("record tables", sections()), ("reason texts", reasons())):
        document = between(document, name, ["", *lines])
    check_sections(document)
    dissector = between(DISSECTOR.read_text(), "types", [*dissector_types(), ""], "-- {}\n")
    table = between(FINDINGS.read_text(), "findings", ["", *findings()])
    for path, text in ((DOCUMENT, document), (DISSECTOR, dissector), (FINDINGS, table)):
        if not check:
            path.write_text(text)
        elif path.read_text() != text:
            sys.exit(f"{path}: not as the sources have it; run tools/protocol_tables.py")


if __name__ == "__main__":
    words = sys.argv[1:]
    if words not in ([], ["--check"]):
        print(__doc__)
        sys.exit(0 if words == ["--help"] else 2)
    main(bool(words))
