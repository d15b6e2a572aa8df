#!/usr/bin/env python3
"""Compares the documents with the code.

    check_docs.py examples DIRECTORY           compares docs/areas with docs/examples and with what
                                               its programs, found in DIRECTORY, print
    check_docs.py examples DIRECTORY --write   puts source and output into the pages instead
    check_docs.py links                        looks for what the documents link to or name; compares
                                               the files they show with the real ones, the codemap
                                               with the includes, and docs/standards.md with what
                                               headers cite
    check_docs.py headers                      runs Doxygen: whatever is public has a comment

"links headers" does both. RUN_WITH holds the command that starts a program built for another machine.
A page's example is "<!-- example: NAME -->", the C++ block after it and the text block after that; a
block after "<!-- file: PATH -->" shows a whole file.
"""
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
AREAS = ROOT / "docs" / "areas"
EXAMPLES = ROOT / "docs" / "examples"
EXAMPLE = re.compile(
    r"(<!-- example: (\w+) -->\n```cpp\n)(.*?)(^```\n.*?^```text\n)(.*?)(^```$)", re.DOTALL | re.MULTILINE
)
FILE = re.compile(r"<!-- file: (\S+) -->\n```\w+\n(.*?)^```$", re.DOTALL | re.MULTILINE)
# What differs from run to run in a line of the log: day and thread.
LOG_HEAD = re.compile(r"\[\d\d/\d\d/\d\d\]\[tid:\d+\]")


def run_example(directory, name):
    program = pathlib.Path(directory) / f"docs_{name}"
    words = [*os.environ.get("RUN_WITH", "").split(), program]
    done = subprocess.run(words, capture_output=True, timeout=30, text=True, encoding="utf-8")
    if done.returncode != 0:
        raise SystemExit(f"{program} ended with {done.returncode}: {done.stderr}")
    return LOG_HEAD.sub("[26/01/31][tid:1234]", done.stdout)


def check_examples(directory, write):
    complaints = []
    shown = set()
    for page in sorted(AREAS.glob("*.md")):
        text = page.read_text(encoding="utf-8")

        def with_real(match):
            name = match[2]
            shown.add(name)
            source = (EXAMPLES / f"{name}.cpp").read_text(encoding="utf-8")
            return match[1] + source + match[4] + run_example(directory, name) + match[6]

        real = EXAMPLE.sub(with_real, text)
        if real == text:
            continue
        if write:
            page.write_text(real, encoding="utf-8")
            continue
        lines = zip(text.splitlines(), real.splitlines())
        at = next((i for i, (old, new) in enumerate(lines, 1) if old != new), None)
        complaints.append(f"{page.relative_to(ROOT)}:{at}: the example is not the real one")
    for source in sorted(EXAMPLES.glob("*.cpp")):
        if source.stem not in shown:
            complaints.append(f"{source.relative_to(ROOT)}: no page shows it")
    return complaints, f"{len(shown)} examples"


def check_links():
    """Relative links, paths in backticks that begin with a folder of the project, outside code blocks,
    and files shown whole."""
    complaints = []
    count = 0
    folders = "infrastructure|sw|examples|bench|fuzz|docs|tools|cmake"
    named = re.compile(rf"`((?:{folders})/[\w./-]*)`")
    for page in [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").rglob("*.md"))]:
        is_code = False
        for path, shown in FILE.findall(page.read_text(encoding="utf-8")):
            if shown != (ROOT / path).read_text(encoding="utf-8"):
                complaints.append(f"{page.relative_to(ROOT)}: {path} is another")
        for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
            is_code ^= line.strip().startswith("```")
            if is_code:
                continue
            targets = []
            for link, anchor in re.findall(r"\]\(([^)#:]*)#?([^):]*)\)", line):
                target = page.parent / link if link else page
                targets.append(target)
                if anchor and target.exists() and anchor not in heading_anchors(target):
                    complaints.append(f"{page.relative_to(ROOT)}:{number}: no heading {anchor}")
            targets += [ROOT / path for path in named.findall(line)]
            count += len(targets)
            for target in targets:
                if not target.exists():
                    complaints.append(f"{page.relative_to(ROOT)}:{number}: no such file: {target}")
    complaints += check_codemap() + check_standards()
    return complaints, f"{count} links and paths, the codemap, the standards"


def heading_anchors(page):
    """The anchors of a page's headings, as the usual renderers make them."""
    headings = re.findall(r"^#+ (.*)$", page.read_text(encoding="utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w -]", "", heading).strip().lower().replace(" ", "-") for heading in headings}


def check_codemap():
    """The codemap's columns against the library and the includes of each folder, and no circles."""
    library = ROOT / "infrastructure"
    real = {}
    for source in library.rglob("*"):
        if source.suffix not in (".h", ".cpp"):
            continue
        folder = source.parent.relative_to(library).as_posix()
        text = source.read_text(encoding="utf-8")
        included = re.findall(r'^#include "infrastructure/(.*)/[^/"]+"', text, re.MULTILINE)
        real.setdefault(folder, set()).update(set(included) - {folder})
    stated = {}
    complaints = []
    for line in (ROOT / "docs" / "architecture.md").read_text(encoding="utf-8").splitlines():
        cells = [cell.strip() for cell in line.split("|")]
        if len(cells) == 7 and cells[1].startswith("`"):
            folder = cells[1].strip("`")
            stated[folder] = set(re.findall(r"`([^`]+)`", cells[4]))
            sources = (library / folder / "CMakeLists.txt").read_text(encoding="utf-8")
            area = re.search(r"infrastructure_sources\(\s*(\w+)", sources)[1]
            if area != cells[2]:
                complaints.append(f"docs/architecture.md: `{folder}` is in {area}, not in {cells[2]}")
    return complaints + find_circles(real) + [
        f"docs/architecture.md: `{folder}` includes {sorted(real.get(folder, []))}, "
        f"the codemap says {sorted(stated.get(folder, []))}"
        for folder in sorted(real.keys() | stated.keys())
        if real.get(folder) != stated.get(folder)
    ]


def find_circles(includes):
    """Folders that include each other, directly or not."""
    left = dict(includes)
    while free := [folder for folder in left if not left[folder] & left.keys()]:
        for folder in free:
            del left[folder]
    return [f"infrastructure/{folder} is part of a circle of includes" for folder in sorted(left)]


STANDARD = re.compile(
    r"\b(?:ST|RDD|RP) \d+(?:-\d+)?|\bCEA-\d+|BT\.\d+|\bIEEE \d+|\bIEC \d+|\bRFC \d+|\bJESD\w+|\bEN \d+ \d+"
    r"|\bAES\d+|\bSCTE \d+|\bOP-47"
)


def check_standards():
    """Each standard that a header cites is listed in docs/standards.md."""
    page = ROOT / "docs" / "standards.md"
    listed = set(STANDARD.findall(page.read_text(encoding="utf-8")))
    complaints = []
    for header in sorted((ROOT / "infrastructure").rglob("*.h")):
        for standard in sorted(set(STANDARD.findall(header.read_text(encoding="utf-8"))) - listed):
            complaints.append(f"{header.relative_to(ROOT)}: {standard} is not in docs/standards.md")
    return complaints


# What needs no comment, by the form of Doxygen's complaint: a comment would only repeat the name.
SELF_EXPLAINING = re.compile(
    r"""Member\ (
        operator[!=]=\(                               # comparison of all that there is
      | .*\)=(default|delete)\ \(                    # copies
      | operator=\(.*\(function\)
      | (?P<name>\w+)\(.*\)\ (noexcept\ )?\(function\)\ of\ (class|struct)\ (\w+::)*(?P=name)\b  # a constructor
      | (IpMediaFlow|RawDataPacket)\(.*\(function\)   # an inherited one
      | .*\)\ (const\ )?override\ \(                 # explained at the base
      | \w+\(\)\ const\ \(                          # a query without argument
      | set[A-Z]\w*\([^,]*\)\ \((function|slot)\)    # its setter
      | \w+(\[\w+\])*\ \(variable\)\ of\ (struct|class)       # a field, named for what it holds
      | [A-Z_0-9]+(\[\])?\ \(variable\)                # a table or limit, named for what it holds
      | DATACORE_\w+(\(.*\))?\ \(macro                 # of no use outside their headers
      | VELLOG_\w+\(\)\ \(macro                        # one for each level
      | (CLASSNAME|LAYOUT|PACKET_TYPE|PACKET_SUB_TYPE)\b
      | (size|put|take|isEqual)\(.*\ RecordLayout::   # parts of a layout: their header explains them
      | (write|read|same)\(.*\ Tessorn::.*(Codec|Field)\b  # codecs of a field list likewise
    )""",
    re.VERBOSE,
)


def check_headers():
    (ROOT / "build").mkdir(exist_ok=True)
    done = subprocess.run(
        ["doxygen", "docs/Doxyfile"], cwd=ROOT, capture_output=True, text=True, encoding="utf-8"
    )
    complaints = {}
    covered = 0
    for line in done.stderr.splitlines():
        place, _, message = line.replace(f"{ROOT}/", "").partition(": warning: ")
        if SELF_EXPLAINING.match(message):
            covered += 1
        elif message.startswith("Internal inconsistency: scope for class fmt::formatter"):
            pass  # Doxygen itself loses the specialisation of a class that it does not see
        else:
            complaints[place] = line  # a template is complained of once for each of its uses
    if done.returncode != 0:
        complaints["exit"] = f"doxygen ended with {done.returncode}"
    if covered == 0:
        complaints["seen"] = "doxygen has seen nothing: is its filter at work?"
    return list(complaints.values()), f"public headers ({covered} names that explain themselves)"


def main():
    words = sys.argv[1:]
    checks = {"links": check_links, "headers": check_headers}
    if words[:1] == ["examples"] and len(words) in (2, 3) and words[2:] in ([], ["--write"]):
        results = [check_examples(words[1], bool(words[2:]))]
    elif words and all(word in checks for word in words):
        results = [checks[word]() for word in words]
    else:
        print(__doc__)
        return 0 if words == ["--help"] else 2
    for complaints, what in results:
        for complaint in complaints:
            print(complaint)
        print(f"{what}: {len(complaints)} complaints")
    return 1 if any(complaints for complaints, _ in results) else 0


if __name__ == "__main__":
    sys.exit(main())
