#!/usr/bin/env python3
"""Doxygen's input filter. In this project a comment also covers the overloads that follow it without a
blank line, and one that says "these" covers all declarations up to the next blank line; Doxygen wants a
comment at each. So the first paragraph is repeated, on the declaration's own line, which keeps line
numbers as they are."""
import re
import sys

COMMENT = re.compile(r"( *)///(?!<) ?(.*)")
NO_DECLARATION = re.compile(r"\s*(//|#|[{}),:]|(public|protected|private|Q_SIGNALS|.*Q_SLOTS)\b.*:$|case |$)")
NAME = re.compile(r"(operator\W+|[\w~]+)\(")
CONSTRUCTOR = re.compile(r"\s*((explicit|constexpr|inline) )*[A-Z]\w*\(")
FAMILY = re.compile(r"\b[Tt]hese\b")


def name_of(declaration):
    """The name of a function that begins on this line; empty for anything else, and for constructors,
    which differ in what they give."""
    if CONSTRUCTOR.match(declaration):
        return ""
    found = NAME.search(declaration.replace("[[gnu::format(", ""))
    return found[1] if found else ""


def strip(line):
    return re.sub(r"\s*//.*$", "", line.rstrip("\n"))


def repeat_comments(lines):
    indent = None  # of the comment that holds
    text = []
    name = ""  # of the function that it stands above
    previous = ""
    for line in lines:
        found = COMMENT.match(line)
        if found:
            if not COMMENT.match(previous):
                indent, text, name = len(found[1]), [], ""
            text.append(found[2])
        elif not line.strip() or line.strip().startswith("//"):
            indent = None
        elif (
            indent is not None
            and len(line) - len(line.lstrip()) == indent
            and not NO_DECLARATION.match(line)
            and "///<" not in line
            and not COMMENT.match(previous)
            and strip(previous).endswith((";", "}"))
            and (name_of(line) == name != "" or FAMILY.search(" ".join(text)))
        ):
            first = text[: text.index("")] if "" in text else text
            line = " " * indent + "/** " + " ".join(first) + " */ " + line.lstrip()
        if COMMENT.match(previous) and not found:
            name = name_of(line)
        yield line
        previous = line


def file_comment(lines):
    """The comment at the head of the file, for Doxygen, which leaves out functions and enumerations
    of files without one. It goes to the end, which keeps line numbers as they are."""
    head = []
    for line in lines:
        if not line.startswith("//"):
            break
        head.append(line[2:])
    return ["/** @file\n", *(line.replace("*/", "* /") for line in head), "*/\n"]


if __name__ == "__main__":
    if sys.argv[1:] == ["--help"]:
        sys.exit(print(__doc__))
    with open(sys.argv[1], encoding="utf-8") as source:
        content = source.readlines()
    sys.stdout.writelines(repeat_comments(content))
    sys.stdout.writelines(file_comment(content))
