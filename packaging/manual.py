#!/usr/bin/env python3
"""Makes a manual page of documents in docs/, so that what a page says has one home. The roff is lowdown's; what it does not
know is done here: the head of the page, links on paper, and tables that fit a terminal.

    manual.py LOWDOWN PAGE      PAGE is one of the table below; the page goes to standard output
"""
import email.utils
import re
import subprocess
import sys
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[1]

# What apropos(1) says of a page, and its documents.
PAGES = {
    "kura-map.5": ("knowledge base of a television's self-diagnosis", ["solution-map.md"]),
    "kura-set.5": ("a simulated television in a folder", ["simulated-set.md"]),
    "kura-scenario.5": ("a situation on a simulated set, and what is expected of it", ["scenarios.md"]),
    "libkura_parser.3": ("self-diagnosis and care engine of a television", ["api.md", "threading.md"]),
}
NARROW = 28  # cells that are longer are wrapped; a column without them is as wide as its longest


def split(page):
    """Name and section."""
    name, _, section = page.rpartition(".")
    return name, section


def prepared(document, page):
    """The Markdown without comments; a link is the page of that name, an installed file, or its text alone."""

    def link(found):
        text, target = found[1], found[2]
        for other, (_, documents) in PAGES.items():
            if target in documents and other != page:
                return "{}({})".format(*split(other))
        return f"`/usr/share/kura/{target[len('../'):]}`" if target.startswith("../") else text

    text = re.sub(r"(?m)^<!-- .* -->\n", "", (PROJECT / "docs" / document).read_text("utf-8"))
    return re.sub(r"(?<!!)\[([^]]*)\]\(([^)]*)\)", link, text)


def cell(text, wide):
    """The cell; if it is wrapped, a path may break behind a slash."""
    return "T{\n" + re.sub(r"(\w/)(?=\w)", r"\1\\:", text) + "\nT}" if wide and text else text


def table(found):
    """The table without lines, its long cells wrapped: tbl gives each long column the same width, whatever it needs."""
    rows = [[text.strip() for text in re.split(r"^T\}.T\{$", row, flags=re.M)]
            for row in re.split(r"^T\}\nT\{$", found[1], flags=re.M)]
    wide = [any(" " in row[column] and len(re.sub(r"\\f.", "", row[column])) > NARROW for row in rows)
            for column in range(len(rows[0]))]
    lines = ["\t".join(map(cell, row, wide)) for row in rows]
    formats = " ".join("lx" if one else "l" for one in wide)
    return "\n".join([".TS", formats.replace("l", "lb"), formats + ".", lines[0], "_", *lines[1:], ".TE", ""])


def roff(lowdown, text, shift):
    made = subprocess.run([lowdown, "-tman", "--out-no-smarty", "--parse-no-metadata", f"-Mshiftheadinglevelby={shift}"],
                          input=text, capture_output=True, text=True, check=True).stdout
    made = re.sub(r"\\f(?:C|\(CR)", r"\\fB", made)  # code, in the font of its release; bold on a terminal
    made = re.sub(r"(?m)^(\.S[HS].*\n(?!\.).*\n|\.S[HS] .*\n)\.[LP]P\n", r"\1", made)
    made = re.sub(r"(?ms)^\.TS\n.*?\.\nT\{\n(.*?)^T\}\n\.TE\n", table, made)
    return made.replace(".TE\n.TS\n", ".TE\n.PP\n.TS\n")


def main():
    lowdown, page = sys.argv[1:]
    description, documents = PAGES[page]
    name, section = split(page)
    changes = (PROJECT / "packaging/debian/changelog").read_text("utf-8")
    date = email.utils.parsedate_to_datetime(re.search(r"(?m)^ -- .*>  (.*)$", changes)[1])
    first, *more = [prepared(document, page) for document in documents]
    print(f"""'\\" t
.TH {name.upper()} {section} {date:%Y-%m-%d} Kura
.nr HY 0
.ad l
.SH NAME
{name} \\- {description}
.SH DESCRIPTION""")
    print(roff(lowdown, re.sub(r"\A# .*\n+", "", first), -1).removeprefix(".PP\n").removeprefix(".LP\n"), end="")
    print("".join(roff(lowdown, text, 0) for text in more), end="")
    others = [split(other) for other in PAGES if other != page]
    print(".SH SEE ALSO\n.BR kura (1)" + "".join(f",\n.BR {one} ({number})" for one, number in others))
    print(".PP\nThe documents in\n.IR /usr/share/doc/kura/docs .")


if __name__ == "__main__":
    main()
