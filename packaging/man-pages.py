#!/usr/bin/python3
"""Makes the manual pages in packaging/man/ from docs/tools.md.

usage: packaging/man-pages.py [FOLDER]

Each section of the page is a program. Its first indented block is the synopsis, its tables are commands, options and
exit codes by the heading of their first column; a paragraph that ends in a colon belongs to what follows it.
"""
import argparse
import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADINGS = {"Command": "COMMANDS", "Option": "OPTIONS", "Ends with": "EXIT STATUS"}
DAEMONS = {"lumconfd"}


def escaped(text):
    return text.replace("\\", "\\e").replace("'", "\\(aq")


def exact(text):
    """Text that a user types as it stands."""
    return escaped(text).replace("-", "\\-")


def usage(text):
    """What is typed in bold, what stands for something in italics."""
    parts = re.split(r"([A-Z][A-Z]+|\bN\b|[\[\]|.=: ]+)", text)
    faces = ["" if i % 2 and not part[0].isalpha() else "I" if i % 2 else "B" for i, part in enumerate(parts)]
    return "".join(f"\\f{face}{exact(part)}\\fR" if face and part else exact(part) for face, part in zip(faces, parts))


def inline(text, code=lambda text: f"\\fB{exact(text)}\\fR"):
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", text)
    return "".join(code(part) if i % 2 else escaped(part) for i, part in enumerate(text.split("`")))


def line(text):
    """A line of text; no word of it is a request."""
    return ("\\&" if text[:1] in ".'" else "") + text


def blocks(text):
    """Paragraphs, indented blocks and tables, each a list of lines, with their kind."""
    for chunk in re.split(r"\n\s*\n", text.strip("\n")):
        lines = chunk.split("\n")
        kind = "code" if lines[0].startswith("    ") else "table" if lines[0].startswith("|") else "text"
        yield kind, lines


def cells(row):
    return [cell.strip() for cell in row.strip("|").split(" | ")] if " | " in row else [row.strip("| "), ""]


class Page:
    def __init__(self, name, section):
        self.lines = [f'.TH {name.upper()} {section} "" LumConf LumConf', ".nh", ".ad l"]
        self.heading = None
        self.pending = []

    def begin(self, heading):
        if heading != self.heading:
            self.lines.append(f".SH {heading}")
            self.heading = heading

    def flush(self, lines=None):
        for text in self.pending if lines is None else lines:
            self.lines += [".PP", line(inline(text))]
        if lines is None:
            self.pending = []

    def table(self, rows):
        heading = HEADINGS[cells(rows[0])[0]]
        leading = [self.pending.pop()] if self.pending and self.pending[-1].endswith(":") else []
        if self.pending and heading == "EXIT STATUS":
            self.begin("NOTES")
        self.flush()
        self.begin(heading)
        self.flush(leading)
        for row in rows[2:]:
            first, effect = cells(row)
            self.lines += [".TP", line(inline(first, usage)), line(inline(effect))]

    def code(self, lines):
        if self.pending[-1:] == ["For example:"]:
            self.pending.pop()
            self.flush()
            self.begin("EXAMPLES")
        elif self.heading == "OPTIONS":
            self.begin("NOTES")
        self.flush()
        self.lines += [".PP", ".in +4n", ".nf", *(line(exact(text[4:])) for text in lines), ".fi", ".in"]


def make(name, text, preamble):
    section = 8 if name in DAEMONS else 1
    first, *rest = blocks(text)
    sentence = " ".join(first[1])
    brief = re.split(r"[.:;]", re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", sentence))[0]
    synopsis = next(lines for kind, lines in rest if kind == "code")
    page = Page(name, section)
    page.lines += [".SH NAME", f"{name} \\- {escaped(brief[0].lower() + brief[1:])}", ".SH SYNOPSIS"]
    page.lines += "\n.br\n".join(usage(text[4:]) for text in synopsis).split("\n")
    page.begin("DESCRIPTION")
    page.pending = [sentence]
    for kind, lines in rest:
        if kind == "table":
            page.table(lines)
        elif kind == "text":
            page.pending.append(" ".join(lines))
        elif lines is not synopsis:
            page.code(lines)
    page.flush()
    page.begin("ENVIRONMENT")
    page.flush([preamble])
    return f"{name}.{section}", page


def pages():
    """{file name: text}"""
    preamble, *sections = re.split(r"^## ", (ROOT / "docs/tools.md").read_text(encoding="utf-8"), flags=re.M)
    general = " ".join(list(blocks(preamble))[1][1])
    made = [make(*section.split("\n", 1), general) for section in sections]
    names = [name for name, _ in made]
    for name, page in made:
        page.begin("SEE ALSO")
        others = [re.sub(r"(\w+)\.(\d)", r"\\fB\1\\fR(\2)", other) for other in names if other != name]
        page.lines.append(",\n".join(others))
    return {name: "\n".join(page.lines) + "\n" for name, page in made}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", nargs="?", type=pathlib.Path, default=ROOT / "packaging/man")
    folder = parser.parse_args().folder
    folder.mkdir(parents=True, exist_ok=True)
    for name, text in pages().items():
        (folder / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    main()
