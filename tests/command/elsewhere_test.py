#!/usr/bin/env python3
"""The command where it has no privileges, no room, no home that it may write, or no terminal any more: each is one sentence
that names the remedy, with the right exit code, and nothing half made stays. Called with the build folder.
"""
import ctypes
import json
import os
import pty
import re
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

BUILD = Path(sys.argv.pop(1)).resolve()
KURA = BUILD / "bin/kura"
SCENARIO = Path(__file__).resolve().parents[2] / "examples/scenarios/automatic-diagnosis.json"
PATIENCE = 100  # seconds until a run counts as hanging

# Every verb here needs the library.
LIBRARY_VERBS = [["diagnose"], ["fix", "1001"], ["fix", "1001", "--preview"], ["why", "1001"], ["run", "/bin/true"]]


def filter_of_a_container():
    """A function that makes the kernel refuse new namespaces to this process and its children, as containers do."""
    def step(code, if_true, if_false, value):
        return struct.pack("HBBI", code, if_true, if_false, value)

    load, equal, any_bit, end = 0x20, 0x15, 0x45, 0x06
    not_permitted, not_known, allowed = 0x50001, 0x50026, 0x7FFF0000
    namespaces = 0x7E020080
    program = b"".join([step(load, 0, 0, 0), step(equal, 5, 0, 272), step(equal, 3, 0, 435), step(equal, 0, 4, 56),
                        step(load, 0, 0, 16), step(any_bit, 1, 2, namespaces), step(end, 0, 0, not_known),
                        step(end, 0, 0, not_permitted), step(end, 0, 0, allowed)])
    code = ctypes.create_string_buffer(program, len(program))
    description = ctypes.create_string_buffer(struct.pack("HxxxxxxP", len(program) // 8, ctypes.addressof(code)))
    libc = ctypes.CDLL(None)

    def refuse(keep=code):
        libc.prctl(38, 1, 0, 0, 0)
        if libc.prctl(22, 2, description, 0, 0) != 0:
            os._exit(99)
    return refuse


class Elsewhere(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kura-elsewhere-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name).resolve()
        self.home = self.folder / "home"
        self.set = self.home / "kura/set"
        self.home.mkdir()
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.home), "XDG_DATA_HOME": str(self.home),
                            "LC_ALL": "C.UTF-8", "TERM": "xterm"}

    def run_kura(self, *words, before=(), **more):
        return subprocess.run([*map(str, before), str(KURA), *map(str, words)], capture_output=True, text=True,
                              cwd=self.folder, timeout=PATIENCE, env=self.environment, check=False, **more)

    def make_set(self):
        self.assertEqual(self.run_kura("set", "new").returncode, 0)

    def assert_refused(self, result, sentence, code=1):
        self.assertRegex(result.stderr, rf"^kura: {sentence}\n\Z")
        self.assertEqual((result.returncode, result.stdout), (code, ""))

    def nothing_is_left(self, folder, *expected):
        self.assertEqual(sorted(path.name for path in folder.iterdir()), sorted(expected))


class WithoutNamespaces(Elsewhere):
    def refused(self, sentence, **more):
        """Each verb that needs the library, and those that need none."""
        self.assertEqual(self.run_kura("set", "new", **more).returncode, 0)
        for verb in LIBRARY_VERBS:
            with self.subTest(verb=verb):
                self.assert_refused(self.run_kura(*verb, **more), sentence)
        answer = json.loads(self.run_kura("diagnose", "--json", **more).stdout)
        self.assertEqual(answer["error"]["kind"], "no-sandbox")
        self.assertRegex(answer["error"]["message"], rf"^{sentence}\Z")
        replay = self.run_kura("replay", SCENARIO, **more)
        self.assertRegex(replay.stdout, rf"^failed  \S*: {sentence}\n1 scenario, 0 ok, 1 failed\n\Z")
        self.assertEqual((replay.returncode, replay.stderr), (1, ""))
        for verb in (["set", "show"], ["log", "--last"], ["map", "explain"]):
            self.assertEqual(self.run_kura(*verb, **more).returncode, 0, verb)
        self.nothing_is_left(self.home / "kura", "set")

    @unittest.skipUnless(os.uname().machine == "x86_64", "the filter knows this machine's calls alone")
    def test_says_what_a_container_needs(self):
        self.refused(r"no sandbox can be made here \(bubblewrap: [^()]*namespace[^()]*\); "
                     r"start the container, if this is one, with --privileged(, or run as root)?",
                     preexec_fn=filter_of_a_container())

    def test_says_which_setting_of_the_kernel_forbids_it(self):
        script = ('echo 0 > /proc/sys/user/max_user_namespaces && '
                  'exec setpriv --bounding-set=-all --inh-caps=-all --no-new-privs "$@"')
        self.refused(r'no sandbox can be made here \(bubblewrap: [^()]*\); '
                     r'allow it with "sysctl user.max_user_namespaces=10000"(, or run as root)?',
                     before=["unshare", "-Ur", "sh", "-c", script, "sh"])

    def test_says_that_bubblewrap_is_missing(self):
        self.environment["PATH"] = "/nowhere"
        self.refused(r"no sandbox can be made here: cannot start bubblewrap \(Debian package bubblewrap\): No such file .*")


class ReadOnlyHome(Elsewhere):
    def setUp(self):
        super().setUp()
        self.locked = ["bwrap", "--dev-bind", "/", "/", "--ro-bind", self.home, self.home, "--"]

    def test_names_another_place_for_the_default_set(self):
        for verb in ([["set", "new"], ["set", "show"], ["log", "--follow"], ["serve", "--port", "0"],
                      ["record", "-o", "new.json", "--", "diagnose"]] + LIBRARY_VERBS):
            with self.subTest(verb=verb):
                self.assert_refused(self.run_kura(*verb, before=self.locked),
                                    rf"{self.set}: cannot create: Read-only file system \(--set DIR names another place\)")
        self.nothing_is_left(self.home)
        self.nothing_is_left(self.folder, "home")

    def test_hinders_no_set_elsewhere_and_no_scenario(self):
        for verb in (["set", "new"], ["diagnose"], ["log", "--last"]):
            self.assertEqual(self.run_kura("--set", "elsewhere", *verb, before=self.locked).returncode, 0, verb)
        self.assertEqual(self.run_kura("replay", SCENARIO, before=self.locked).returncode, 0)

    def test_refuses_what_would_write_to_the_set(self):
        self.make_set()
        for verb in LIBRARY_VERBS + [["record", "-o", "new.json", "--", "diagnose"]]:
            with self.subTest(verb=verb):
                self.assert_refused(self.run_kura(*verb, before=self.locked),
                                    rf"{self.set}: the set is read-only, and a run writes to it \(run on a copy\)")
        self.nothing_is_left(self.folder, "home")


class FullTemporaryFolder(Elsewhere):
    REMEDY = r"\(/mnt has less than 1 MiB left; TMPDIR names another folder\)"

    def full(self, size):
        """A command line in front, under which TMPDIR is so large, and has nothing in it afterwards."""
        return ["bwrap", "--dev-bind", "/", "/", "--size", size, "--tmpfs", "/mnt", "--setenv", "TMPDIR", "/mnt", "--", "sh",
                "-c", '"$@"; status=$?; ls -A /mnt >&2; exit $status', "sh"]

    def test_is_told_and_nothing_stays_in_it(self):
        self.make_set()
        # The set does not fit; it fits, but no run on it does.
        for size in (65536, 400000):
            for verb in (["fix", "1001", "--preview"], ["why", "1001"], ["record", "-o", "new.json", "--", "diagnose"]):
                with self.subTest(size=size, verb=verb):
                    self.assert_refused(self.run_kura(*verb, before=self.full(size)), f"[^\n]* {self.REMEDY}")
            replay = self.run_kura("replay", SCENARIO, before=self.full(size))
            self.assertRegex(replay.stdout, rf"^failed  \S*: [^\n]* {self.REMEDY}\n1 scenario, 0 ok, 1 failed\n\Z")
            self.assertEqual((replay.returncode, replay.stderr), (1, ""))
        self.nothing_is_left(self.folder, "home")
        for verb in (["diagnose"], ["fix", "1001"], ["log", "--last"], ["--set", "new", "set", "new"]):
            self.assertEqual(self.run_kura(*verb, before=self.full(65536)).returncode, 0, verb)

    def test_that_is_none_is_told(self):
        self.make_set()
        for place, reason in (("/nowhere", "No such file or directory"), ("/etc/passwd", "Not a directory")):
            self.environment["TMPDIR"] = place
            sentence = rf"cannot make a folder for the set in {place}: {reason} \(TMPDIR names another place\)"
            self.assert_refused(self.run_kura("why", "1001"), sentence)
            self.assertIn(re.sub(r"\\", "", sentence), self.run_kura("replay", SCENARIO).stdout)

    def test_that_is_empty_counts_as_not_given(self):
        self.make_set()
        self.environment["TMPDIR"] = ""
        self.assertEqual(self.run_kura("why", "1001").returncode, 0)


class GoneTerminal(Elsewhere):
    def on_a_terminal(self, *words, gone=False, session=False):
        """A run whose standard output is a terminal; and the other side of it."""
        master, slave = pty.openpty()
        if gone:
            os.close(master)
        process = subprocess.Popen(["setsid", "--ctty", "--wait", KURA, *words] if session else [KURA, *words], stdin=slave,
                                   stdout=slave, stderr=subprocess.PIPE, text=True, cwd=self.folder, env=self.environment)
        os.close(slave)
        return process, master

    def ended(self, process):
        _, errors = process.communicate(timeout=PATIENCE)
        return process.returncode, errors

    def test_ends_every_answer_with_a_sentence(self):
        self.make_set()
        for verb in (["diagnose"], ["fix", "1001"], ["set", "show"], ["log"], ["log", "--follow", "--last"],
                     ["serve", "--port", "0"], ["replay", str(SCENARIO)]):
            with self.subTest(verb=verb):
                process, _ = self.on_a_terminal(*verb, gone=True)
                self.assertEqual(self.ended(process), (1, "kura: standard output: Input/output error\n"))

    def test_ends_a_log_that_follows_and_has_nothing_to_say(self):
        self.make_set()
        process, _ = self.on_a_terminal("log", "--follow", gone=True)
        self.assertEqual(self.ended(process), (1, "kura: standard output: Input/output error\n"))
        process, master = self.on_a_terminal("journal", "--follow")
        time.sleep(0.5)  # it follows, or it is refused when it begins: both end alike
        os.close(master)
        self.assertEqual(self.ended(process), (1, "kura: standard output: Input/output error\n"))

    def test_ends_a_log_that_follows_whose_reader_left(self):
        self.make_set()
        read_end, write_end = os.pipe()
        process = subprocess.Popen([KURA, "log", "--follow"], stdout=write_end, stderr=subprocess.PIPE, text=True,
                                   env=self.environment)
        os.close(write_end)
        os.close(read_end)
        self.assertEqual(self.ended(process), (1, ""))


if __name__ == "__main__":
    unittest.main()
