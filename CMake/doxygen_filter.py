"""Header text as Doxygen wants it: prints the file with the comments that it does not know made known to it.

A header opens with lines of `//` that say what it is for. Further paragraphs of `//` say what holds for all declarations
up to the next one, such as statuses that they share. A comment of `///` often speaks for the run of declarations that
it opens: one without words of its own refers to the one in front of it. What nothing speaks for stays as it is, and
Doxygen warns of it.
"""

import re
import sys

OPERATION = re.compile(r"(?!typedef|static|extern|struct|class|return|TAV_)[A-Za-z_][\w* ]*?\b(\w+)\(")


def is_remark(line):
    return line.startswith("//") and not line.startswith("///")


def plain(words):
    return words.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace("@", "\\@").replace("#", "\\#")


def words_of(lines):
    """The lines of a remark; what is indented further is code."""
    words, code = [], False
    for line in lines:
        line = line[2:]
        if line.startswith("     ") != code and line.strip():
            code = not code
            words.append("@code" if code else "@endcode")
        words.append(line if code else plain(line.removeprefix(" ")))
    return words + (["@endcode"] if code else [])


def converted(text):
    lines, out, grouped, spoken = text.splitlines(), [], "", ""
    at = 0
    while at < len(lines):
        line = lines[at]
        if is_remark(line):
            end = at
            while end < len(lines) and is_remark(lines[end]):
                end += 1
            words = words_of(lines[at:end])
            if at == 0:
                out += ["/** @file"] + words + ["*/"]
            elif end < len(lines) and not lines[end]:
                if grouped:
                    out.append("///@}")
                grouped = re.split(r"[.:,]", words[0])[0]
                out += [f"/** @name {grouped}", "", *words, "*/", "///@{"]
                spoken = ""
            else:
                out += ["/**", *words, "*/"]  # of the declarations that follow
            at = end
            continue
        if line == "ZO_EXTERN_C_END" and grouped:
            out.append("///@}")
            grouped = ""
        if line.startswith("///"):
            line = "///" + plain(line[3:]).replace("/\\", "/").replace("///&lt;", "///<")
        elif "///<" in line:
            code, words = line.split("///<", 1)
            line = code + "///<" + plain(words)
        if not line:
            spoken = ""
        elif operation := OPERATION.match(line):
            name = operation[1]
            if out and (out[-1].startswith("///") and out[-1] not in ("///@{", "///@}") or out[-1] == "*/"):
                spoken = name
            elif name.endswith("GetTypeID"):
                out.append("/// What the run-time calls the type of these objects.")
            elif spoken:
                out.append(f"/// See {spoken}, in front of it.")
            elif grouped and not line.startswith("inline"):
                out.append(f"/// See what is said of its group, “{grouped}”.")
        out.append(line)
        at += 1
    return "\n".join(out) + "\n"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        print(converted(header.read()), end="")
