#!/usr/bin/env python3
"""Every verb and option, as `kura --help --json` names them, is in the man page, in the completions and in the recorded
cases; and the manual pages that are made of documents are whole. Called with the build folder.
"""
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
import recorded  # noqa: E402

BUILD = Path(sys.argv.pop(1)).resolve()
KURA = BUILD / "bin/kura"
MAN = BUILD / "share/man"
SOURCE = Path(__file__).resolve().parents[2]
BASH = BUILD / "share/bash-completion/completions/kura"
ZSH = BUILD / "share/zsh/vendor-completions/_kura"
FISH = BUILD / "share/fish/vendor_completions.d/kura.fish"

# The manual pages that are made of documents.
DOCUMENTS_OF = {"kura-map.5": ["solution-map.md"], "kura-set.5": ["simulated-set.md"],
                "kura-scenario.5": ["scenarios.md"], "libkura_parser.3": ["api.md", "threading.md"]}
# What a completion asks of a set, with a command line that asks for it; the columns go without a set.
ASKED = {("fix",): "1001", ("why",): "14000001", ("engine", "report"): "1001", ("app",): "org.vesta.streambox",
         ("launch",): "org.vesta.streambox", ("settings", "get"): "db/menu/picture/backlight",
         ("journal", "--kind"): "launch", ("log", "--function"): "ParseSolutionMap", ("log", "--run"): "1",
         ("set", "restore"): "before", ("set", "remove", "--snapshot"): "before", ("--language",): "de",
         ("map", "explain"): "not-well-formed", ("apps", "--sort"): "app-id", ("engine", "list", "--columns"): "code"}


def output(*command, **more):
    return subprocess.run(command, check=True, capture_output=True, text=True, **more).stdout


def nodes(command, path=()):
    yield path, command
    for verb in command["commands"]:
        yield from nodes(verb, path + (verb["name"],))


def names(command):
    return [name for option in command["options"] for name in option["names"]]


TREE = json.loads(output(str(KURA), "--help", "--json"))
NODES = dict(nodes(TREE))
LEAVES = {path: verb for path, verb in NODES.items() if not verb["commands"]}


def named_verb(words):
    """The path of the verb that a command line names, its words without the path, and whether they want JSON."""
    values = {name for verb in NODES.values() for option in verb["options"] if option["value"]
              for name in option["names"]}
    path, skip = (), False
    words = words[:words.index("--")] if "--" in words else words
    for word in words:
        if skip:
            skip = False
        elif word.startswith("-"):
            skip = word in values
        elif path + (word,) in NODES:
            path += (word,)
        else:
            break
    return path, [word for word in words if word.startswith("-")]


def recorded_runs():
    for case in sorted(recorded.CASES.glob("*.txt")):
        for line, status in recorded.commands(case):
            for words in recorded.kura_words(line):
                yield (*named_verb(words), status)


class GoldenCases(unittest.TestCase):
    runs = list(recorded_runs())

    def test_show_every_verb_succeed_and_fail_with_and_without_json(self):
        shown = {(path, "--json" in options, status in (0, 2)) for path, options, status in self.runs}
        for path in LEAVES:
            for as_json in (False, True):
                for succeeds in (True, False):
                    with self.subTest(verb=" ".join(path), json=as_json, succeeds=succeeds):
                        self.assertTrue((path, as_json, succeeds) in shown, "no recorded case shows it")

    def test_use_every_option(self):
        used = {(path, option) for path, options, _ in self.runs for option in options}
        anywhere = {option for _, option in used}
        for path, verb in NODES.items():
            for option in verb["options"]:
                with self.subTest(verb=" ".join(path), option=option["names"]):
                    self.assertTrue(any(name in anywhere if path == () else (path, name) in used
                                        for name in option["names"]))


def rendered(page):
    return re.sub(r".\x08", "", output("mandoc", "-Tutf8", "-Owidth=500", str(MAN / f"man{page[-1]}" / page)))


class ManPage(unittest.TestCase):
    text = rendered("kura.1")

    def section(self, path):
        """What the page says of a verb: its line and what is indented below it."""
        found = re.search(rf"^ +{' '.join(path)}(?: .*)?\n(?:(?: {{6,}}.*)?\n)*", self.text, re.MULTILINE)
        self.assertIsNotNone(found, f"kura(1) has nothing on {' '.join(path)}")
        return found[0]

    def test_has_every_verb_and_option(self):
        for path, verb in LEAVES.items():
            section = self.section(path)
            for name in names(verb):
                self.assertRegex(section, rf"\n +(.*, )?{name}\b", path)
            for argument in verb["arguments"]:
                self.assertIn(argument["name"].upper(), section)
        for name in names(TREE):
            self.assertRegex(self.text, rf"\n +(.*, )?{name}\b")

    def test_refers_to_the_other_pages(self):
        for page in DOCUMENTS_OF:
            self.assertIn("{}({})".format(*page.rsplit(".", 1)), self.text.split("SEE ALSO")[1])


class Manuals(unittest.TestCase):
    """The pages that are made of documents."""

    def test_are_well_formed(self):
        pages = [MAN / f"man{page[-1]}" / page for page in ["kura.1", *DOCUMENTS_OF]]
        self.assertEqual(sorted(pages), sorted(MAN.glob("man*/*.[0-9]")))
        for page in pages:
            self.assertTrue(page.with_name(page.name + ".gz").is_file(), page)
            said = subprocess.run(["mandoc", "-Tlint", str(page)], capture_output=True, text=True, check=False)
            # Whether other pages are installed is not this page's matter, nor are a document's long lines.
            lines = [line for line in (said.stdout + said.stderr).splitlines() if "outdated mandoc.db" not in line
                     and "referenced manual not found" not in line and "input text line longer than" not in line]
            self.assertEqual(lines, [])

    def test_have_their_name_and_all_headings_and_no_markdown(self):
        for page, documents in DOCUMENTS_OF.items():
            name, section = page.rsplit(".", 1)
            text = rendered(page)
            with self.subTest(page=page):
                self.assertRegex(text.splitlines()[0], rf"^{name.upper()}\({section}\) .*{name.upper()}\({section}\)$")
                self.assertRegex(text, rf"(?m)^NAME\n +{name} - \w")
                for document in documents:
                    source = re.sub(r"(?ms)^```.*?^```$", "", (SOURCE / "docs" / document).read_text("utf-8"))
                    headings = re.findall(r"(?m)^##+ (.*)$", source)
                    self.assertGreater(len(headings), 1)
                    for heading in headings:
                        self.assertRegex(text, rf"(?m)^ *{re.escape(heading.replace('`', ''))}$")
                self.assertNotRegex(text, r"`|\*\*|\]\(|<!-- \w+\.schema|\|---")

    def test_have_every_key_of_a_format(self):
        for name, definitions in (("scenario", ("set", "step", "stepExpectation", "endExpectation")), ("set", ("faults",))):
            schema = json.loads((SOURCE / f"schema/{name}.schema.json").read_text("utf-8"))
            text = rendered(f"kura-{name}.5")
            for part in [schema] + [schema["definitions"][definition] for definition in definitions]:
                for key in part["properties"]:
                    row = re.search(rf"(?m)^ +(faults\.)?{re.escape(key)}(\.\w+)* {{2,}}\S", text)
                    self.assertIsNotNone(row, f"kura-{name}(5) has no row for {key}")

    def test_names_every_header(self):
        text = rendered("libkura_parser.3")
        headers = [header.relative_to(folder) for folder in (SOURCE / "include", SOURCE / "platform")
                   for header in folder.rglob("*.h") if folder.name == "include" or header.parent.name == "host"]
        self.assertGreater(len(headers), 15)
        for header in headers:
            self.assertIsNotNone(re.search(rf"(?m)^ +{header} +\w", text), header)


class OfASet(unittest.TestCase):
    """Has a set of its own, on which the library ran once, with a snapshot and a key that a shell must not run."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="kura-complete-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name).resolve()
        cls.set = cls.folder / "a set"
        cls.run_kura("set", "new")
        cls.run_kura("problems")
        cls.run_kura("set", "snapshot", "before")
        settings = cls.set / "settings.json"
        document = json.loads(settings.read_text("utf-8"))
        settings.write_text(json.dumps({**document, f"$(touch '{cls.folder}/run')": 1}), "utf-8")

    @classmethod
    def run_kura(cls, *words):
        output(str(KURA), "--set", str(cls.set), *words)


class Completion:
    """What holds in every shell. offered(line) is what each of the words may be completed to, the last being begun."""

    def test_offers_every_verb_and_option(self):
        lines = {path: [*path, ""] for path in NODES if NODES[path]["commands"]}
        options = {path: [*path, "-"] for path in NODES}
        for path, offered in self.all_offered(lines).items():
            self.assertEqual({verb["name"] for verb in NODES[path]["commands"]}, offered, path)
        for path, offered in self.all_offered(options).items():
            self.assertEqual(set(names(NODES[path]) + names(TREE)), offered, path)

    def test_offers_the_words_that_an_option_takes(self):
        lines = {(path, tuple(option["choices"])): [*path, option["names"][-1], ""]
                 for path, verb in NODES.items() for option in verb["options"] if option["choices"]}
        self.assertGreater(len(lines), 2)
        for (path, choices), offered in self.all_offered(lines).items():
            self.assertEqual(set(choices), offered, path)

    def test_offers_what_the_set_has(self):
        lines = {words: ["--set", str(self.set), *words, ""] for words in ASKED}
        for words, offered in self.all_offered(lines).items():
            self.assertIn(ASKED[words], offered, words)
        self.assertEqual(self.offered("--set", str(self.set), "fix", "14"), {"14000001"})
        self.assertLessEqual({"NetworkSetting", "SignalInfo"}, self.offered("page", ""))

    def test_runs_nothing_that_a_set_contains(self):
        self.assertTrue(any("touch" in key for key in self.offered("--set", str(self.set), "settings", "get", "")))
        self.assertFalse((self.folder / "run").exists())

    def test_offers_sets_folders_and_files(self):
        data = self.folder / "data/kura"
        if not data.exists():
            data.mkdir(parents=True)
            output(str(KURA), "--set", str(data / "mine"), "set", "new")
            (self.folder / "map.xml").touch()
            (self.folder / "maps").mkdir()
        self.assertLessEqual({str(data / "mine"), "maps"}, {path.rstrip("/") for path in self.offered("--set", "")})
        self.assertNotIn("map.xml", self.offered("--set", ""))
        self.assertLessEqual({"map.xml", "maps"},
                             {path.rstrip("/") for path in self.offered("map", "check", "m")})
        self.assertEqual(self.offered("replay", "--junit", "map."), {"map.xml"})
        self.assertEqual(self.offered("settings", "set", "--type", "map."), set())

    def test_offers_nothing_of_a_set_that_is_not_there_and_makes_none(self):
        nowhere = self.folder / "nowhere"
        self.assertEqual(self.offered("--set", str(nowhere), "fix", ""), set())
        self.assertFalse(nowhere.exists())

    def test_takes_the_value_of_an_option_for_no_verb(self):
        self.assertIn("new", self.offered("--set", "engine", "set", ""))
        self.assertNotIn("report", self.offered("--set", "engine", "set", ""))

    def all_offered(self, lines):
        return {key: self.offered(*words) for key, words in lines.items()}

    def offered(self, *words):
        return self.all_offered({words: words})[words]

    def environment(self):
        return {**os.environ, "HOME": str(self.folder), "XDG_DATA_HOME": str(self.folder / "data"),
                "PATH": f"{KURA.parent}:{os.environ['PATH']}"}


class BashCompletion(Completion, OfASet):
    def offered(self, *words):
        script = ('source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _kura; '
                  'printf "%s\n" "${COMPREPLY[@]}"')
        return set(output("bash", "-c", script, "bash", str(BASH), "kura", *words, cwd=self.folder,
                          env=self.environment()).splitlines()) - {""}


class FishCompletion(Completion, OfASet):
    def all_offered(self, lines):
        """All in one run of the shell."""
        script = 'source $argv[1]; for line in $argv[2..]; complete -C "kura $line"; echo ---; end'
        typed = [" ".join(word.replace(" ", "\\ ") for word in words) for words in lines.values()]
        answers = output("fish", "--no-config", "-c", script, str(FISH), *typed, cwd=self.folder,
                         env=self.environment()).split("---\n")
        return {key: {line.split("\t")[0] for line in answer.splitlines()} for key, answer in zip(lines, answers)}

    def test_is_a_script_that_fish_reads(self):
        output("fish", "--no-execute", str(FISH))


class ZshCompletion(OfASet):
    """The functions are called with stand-ins for zsh's own, which print what they are given."""

    STUBS = """
        _arguments() { print -rl -- "$@" }
        _describe() { print -rl -- "${(@P)argv[-1]}" }
        _files() { }
        compdef() { }
    """

    def entries(self, path, state=""):
        function = "_" + "_".join(("kura",) + path).replace("-", "_")
        script = f'{self.STUBS}\nwords=(kura)\nstate={state}\nsource <(sed "$ d" {ZSH}); {function}'
        if state:
            # The function's own `local state` hides the one that _arguments would have set.
            script = script.replace("_arguments() {", f"_arguments() {{ state={state};", 1)
        return output("zsh", "-fc", script).splitlines()

    def test_offers_every_verb_and_option(self):
        for path, verb in NODES.items():
            entries = self.entries(path)
            for name in names(verb) + (names(TREE) if verb is TREE or not verb["commands"] else []):
                self.assertTrue(any(entry.startswith(name + "[") for entry in entries), (path, name))
            if verb["commands"]:
                verbs = self.entries(path, "verb")
                for below in verb["commands"]:
                    self.assertTrue(any(line.startswith(below["name"] + ":") for line in verbs), below["name"])

    def test_offers_what_the_set_has(self):
        for words, expected in ASKED.items():
            option = words[-1].startswith("-")
            path = words[:-1] if option else words
            entries = self.entries(path)
            asking = [entry for entry in entries if "_kura_ask" in entry
                      and (entry.startswith(words[-1] + "[") if option else not entry.startswith("-"))]
            self.assertEqual(len(asking), 1, (words, entries))
            call = asking[0].rsplit(": ", 1)[1]
            stubs = self.STUBS + '_call_program() { shift; eval "$@" }\ncompadd() { print -rl -- "${(@P)argv[-1]}" }'
            script = f"{stubs}\nsource <(sed '$ d' {ZSH}); BUFFER={shlex.quote(self.line(words))}; {call}"
            self.assertIn(expected, output("zsh", "-fc", script).splitlines(), words)

    def line(self, words):
        return shlex.join([str(KURA), "--set", str(self.set), *words]) + " "

    def test_is_a_script_that_zsh_reads(self):
        output("zsh", "-fn", str(ZSH))


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    unittest.main()
