#!/usr/bin/env python3
"""Recorded runs of the kura command: each file in cases/ is a session in a shell, with what it is to print.

    # what the case shows
    $ a command line
      what it prints to standard output; one JSON document in the lines of its parts
    ! what it prints to standard error
    = its exit status, when that is not 0

    recorded.py KURA CASE            runs one case, shows the difference
    recorded.py KURA CASE --update   writes what was printed into the case; read the change before you keep it

Each case has a folder and a default set of its own. Standard input stays open and says nothing, so a verb that asked
something would wait for ever. What changes from run to run is made the same: the case's folder, times of today, process
numbers.
"""
import argparse
import datetime
import difflib
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

HERE = Path(__file__).resolve().parent
CASES = HERE / "cases"
PATIENCE = 100
TIME = re.compile(r"\b(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d)(\.\d{3})?\b")


def kura_words(line):
    """The arguments of each run of kura in a command line."""
    words = list(shlex.shlex(line, posix=True, punctuation_chars="|;&<>()"))
    for start, word in enumerate(words):
        if word == "kura" and (start == 0 or words[start - 1] != "-q"):
            rest = words[start + 1:]
            ends = [i for i, other in enumerate(rest) if set(other) <= set("|;&<>()")]
            yield rest[:ends[0]] if ends else rest


def commands(case):
    """(command line, exit status as it is kept) in order."""
    found = []
    for line in case.read_text("utf-8").splitlines():
        if line.startswith("$ "):
            found.append((line[2:], 0))
        elif line.startswith("= "):
            found[-1] = (found[-1][0], int(line[2:]))
    return found


def today(match):
    """The digits of a time of these days, as N: tables keep their width."""
    time = datetime.datetime.fromisoformat(match[1])
    near = abs(time - datetime.datetime.now(datetime.timezone.utc).replace(tzinfo=None)) < datetime.timedelta(days=1)
    return re.sub(r"\d", "N", match[0]) if near else match[0]


def steady(text, folder, tree):
    text = text.replace(str(folder), "CASE").replace(str(tree), "TREE")
    text = TIME.sub(today, text)
    text = re.sub(r"in use by (process \d+ \(.*?\)|another process)", "in use by WHOM", text)
    return re.sub(r"\bset\.new-\d+", "set.new-N", text)


def is_document(line):
    """Whether all of standard output is to be one document."""
    runs = list(kura_words(line))
    until_dashes = runs[-1][:runs[-1].index("--")] if runs and "--" in runs[-1] else runs[-1] if runs else []
    return "--json" in until_dashes and not re.search(r"[|>]", line)


def shown(line, text):
    if not is_document(line):
        return text
    if text.count("\n") != 1 or not text.endswith("\n"):
        raise SystemExit(f"$ {line}\nnot one line with one document: {text!r}")
    return json.dumps(json.loads(text), indent=2, ensure_ascii=False) + "\n"


def environment(kura, folder):
    own = {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
    return {**own, "PATH": f"{kura.parent}:{HERE}:{os.environ['PATH']}", "HOME": str(folder), "TZ": "UTC",
            "XDG_DATA_HOME": str(folder / "data"), "LC_ALL": "C.UTF-8", "TERM": "xterm", "COLUMNS": "100"}


def prefixed(mark, text):
    return "".join(f"{mark} {line}\n" if line else f"{mark}\n".lstrip(" ") for line in text.splitlines())


def play(kura, case):
    """The case as it is now: what its commands print today, in its form."""
    tree = kura.parent.parent
    lines = [line + "\n" for line in case.read_text("utf-8").splitlines() if line.startswith("# ")]
    with tempfile.TemporaryDirectory(prefix="kura-recorded-") as name:
        folder = Path(name).resolve()
        for line, _ in commands(case):
            # Bash alone: what is printed about a signal depends on the shell.
            process = subprocess.Popen(["bash", "-c", line], cwd=folder, env=environment(kura, folder),
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            try:
                out, err = read_both(process)
            except subprocess.TimeoutExpired:
                process.kill()
                raise SystemExit(f"$ {line}\nis not done after {PATIENCE} s") from None
            lines.append(f"$ {line}\n")
            lines.append(prefixed(" ", steady(shown(line, out), folder, tree)))
            lines.append(prefixed("!", steady(err, folder, tree)))
            lines.append(f"= {process.returncode}\n" if process.returncode else "")
    return "".join(lines)


def read_both(process):
    """Both outputs, standard input left open until the end."""
    keep, process.stdin = process.stdin, None
    out, err = process.communicate(timeout=PATIENCE)
    keep.close()
    return out.decode("utf-8"), err.decode("utf-8")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("kura", type=lambda text: Path(text).resolve())
    parser.add_argument("case", type=Path, help="its file")
    parser.add_argument("--update", action="store_true")
    options = parser.parse_args()
    if not options.case.is_file():
        parser.error(f"{options.case}: no such file; a case is one of tests/command/cases/*.txt")
    kept, played = options.case.read_text("utf-8"), play(options.kura, options.case)
    if options.update:
        options.case.write_text(played, "utf-8")
    elif kept != played:
        sys.stdout.writelines(difflib.unified_diff(kept.splitlines(True), played.splitlines(True),
                                                   str(options.case), "now"))
        sys.exit(1)


if __name__ == "__main__":
    main()
