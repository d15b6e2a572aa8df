#!/usr/bin/env python3
"""Doxygen's input filter. In this project a comment holds for the declarations below it up to the
next blank line or comment; Doxygen wants one at each. So the first paragraph is repeated, on the
declaration's own line, so that line numbers stay."""
import re
import sys

COMMENT = re.compile(r"( *)///(?!<) ?(.*)")
NO_DECLARATION = re.compile(r"\s*(//|#|[{}),:]|(public|protected|private|Q_SIGNALS|.*Q_SLOTS)\b.*:$|case |$)")


def strip(line):
    return re.sub(r"\s*//.*$", "", line.rstrip("\n"))


def repeat_comments(lines):
    indent = None  # of the comment that holds
    text = []
    previous = ""
    for line in lines:
        found = COMMENT.match(line)
        if found:
            if not COMMENT.match(previous):
                indent, text = len(found[1]), []
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
        ):
            first = text[: text.index("")] if "" in text else text
            line = " " * indent + "/** " + " ".join(first) + " */ " + line.lstrip()
        yield line
        previous = line


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as source:
        sys.stdout.writelines(repeat_comments(source))
