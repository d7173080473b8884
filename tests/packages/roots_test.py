#!/usr/bin/env python3
"""What tools/debian_root says where it cannot make or enter a root, that it leaves nothing half made, and the table of
./dev release-check.

The programs that it calls are replaced by small ones in a folder that comes first in PATH; no root is made.
"""
import os
import platform
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

TOOL = Path(__file__).resolve().parents[2] / "tools" / "debian_root"
# Everything that the tool calls but what the tests replace.
TOOLS = ("apt-config awk bash bwrap cat cp debootstrap dirname env flock grep mkdir mkfifo mktemp mv realpath rm setarch tail touch "
         "uname unshare apt-get ls sort").split()
CODENAME = platform.freedesktop_os_release().get("VERSION_CODENAME", "")
MAKES_A_ROOT = """
for last; do :; done
for argument; do case $argument in */roots/*) root=$argument ;; esac; done
mkdir -p "$root/etc/apt/apt.conf.d" "$root/etc/dpkg/dpkg.cfg.d"
touch "$root/new"
"""


@unittest.skipUnless(platform.machine() == "x86_64", "the table of emulators is another here")
class Roots(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kura-roots-")
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.folder.chmod(0o755)
        self.roots = self.folder / "roots"
        self.programs = self.folder / "programs"
        self.programs.mkdir()
        for name in TOOLS:
            found = shutil.which(name, path="/usr/sbin:/usr/bin:/sbin:/bin")
            if found:
                (self.programs / name).symlink_to(found)
        self.put("bwrap", "exit 0")
        self.put("debootstrap", MAKES_A_ROOT)
        archive = self.folder / "archive"
        (archive / "dists" / "trixie").mkdir(parents=True)
        (archive / "dists" / "trixie" / "InRelease").write_text("a release\n")
        self.put("apt-get", f"echo '{CODENAME} file:{archive}/'")

    def put(self, name, script):
        program = self.programs / name
        program.unlink(missing_ok=True)
        program.write_text(f"#!/bin/bash\n{script}\n")
        program.chmod(0o755)

    def run_tool(self, *words, **more):
        environment = {"PATH": str(self.programs), "KURA_ROOTS": str(self.roots)}
        return subprocess.run([TOOL, *words], capture_output=True, text=True, env=environment, **more)

    def refused(self, *words, **more):
        """The one sentence; nothing of a root may be left."""
        result = self.run_tool(*words, **more)
        self.assertNotEqual(result.returncode, 0)
        left = [path.name for path in self.roots.iterdir() if path.is_dir()] if self.roots.exists() else []
        self.assertEqual(left, [])
        return result.stderr

    def need_root(self):
        if os.geteuid() != 0:
            self.skipTest("only root makes roots")

    def test_shows_its_usage(self):
        result = self.run_tool("trixie")
        self.assertEqual(result.returncode, 64)
        self.assertIn("Usage: tools/debian_root", result.stderr)

    def test_refuses_what_is_no_release_and_what_runs_nowhere(self):
        self.assertEqual(self.refused("../x", "amd64", "true"),
                         'debian_root: "../x" is no name of a Debian release\n')
        self.assertEqual(self.refused("trixie", "m68k", "true"),
                         "debian_root: a x86_64 machine can run no programs of m68k\n")

    def test_says_that_there_are_no_namespaces(self):
        self.put("bwrap", "echo 'bwrap: No permissions to create new namespace' >&2; exit 1")
        self.assertEqual(self.refused("trixie", "amd64", "true"),
                         "debian_root: this system allows no namespaces: No permissions to create new namespace\n")

    def test_says_that_only_root_makes_one(self):
        more = {} if os.geteuid() != 0 else {"user": 65534, "group": 65534, "extra_groups": []}
        try:
            subprocess.run(["head", "-c1", TOOL], check=True, capture_output=True, **more)
        except (OSError, subprocess.SubprocessError):
            self.skipTest("here root cannot act as another user who reads this checkout")
        self.assertEqual(self.refused("trixie", "amd64", "true", **more),
                         "debian_root: only root can make a Debian root; run this command once as root\n")

    def test_says_that_debootstrap_or_the_emulator_is_missing(self):
        self.need_root()
        self.assertEqual(self.refused("trixie", "armhf", "true"),
                         "debian_root: qemu-arm-static is not installed (package qemu-user-static)\n")
        (self.programs / "debootstrap").unlink()
        self.assertEqual(self.refused("trixie", "amd64", "true"), "debian_root: debootstrap is not installed\n")

    def test_says_that_the_kernel_takes_no_emulator(self):
        self.need_root()
        self.put("qemu-arm-static", "exit 0")
        self.put("unshare", "exit 1")
        self.assertIn("the kernel lets nobody register an emulator", self.refused("trixie", "armhf", "true"))

    def test_says_that_there_is_no_network(self):
        self.need_root()
        self.put("apt-get", f"echo '{CODENAME} http://localhost:9/'")
        self.assertIn("no network: http://localhost:9/dists/trixie/InRelease cannot be fetched",
                      self.refused("trixie", "amd64", "true"))
        self.put("apt-get", "exit 0")
        self.assertEqual(self.refused("trixie", "amd64", "true"),
                         "debian_root: apt names no archive of this machine's release\n")

    def test_leaves_nothing_of_a_root_that_failed(self):
        self.need_root()
        self.put("debootstrap", MAKES_A_ROOT + "echo 'E: no space' >&2; exit 1")
        refusal = self.refused("trixie", "amd64", "true")
        self.assertIn("E: no space\ndebian_root: debootstrap failed; the whole log is ", refusal)

    def test_makes_half_a_root_again(self):
        self.need_root()
        for part in ("trixie-amd64.bare.part", "trixie-amd64.part"):
            (self.roots / part).mkdir(parents=True)
            (self.roots / part / "old").touch()
        result = self.run_tool("trixie", "amd64", "true")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(sorted(path.name for path in self.roots.iterdir() if path.is_dir()),
                         ["trixie-amd64", "trixie-amd64.bare"])
        self.assertEqual(list(self.roots.glob("*/old")), [])
        self.assertEqual(len(list(self.roots.glob("*/new"))), 2)

    def test_takes_a_fresh_root_away(self):
        self.need_root()
        # With so few words it only tries whether there are namespaces.
        self.put("bwrap", f'[[ $# -lt 5 ]] || ls -d {self.roots}/fresh-*/root/new >&2')
        result = self.run_tool("--fresh", "trixie", "amd64", "true")
        self.assertIn("/root/new\n", result.stderr)
        self.assertEqual([path.name for path in self.roots.iterdir() if path.is_dir()], ["trixie-amd64.bare"])


class ReleaseCheck(unittest.TestCase):
    """./dev release-check, with a tool in place of tools/debian_root that answers as ./dev test does."""

    def table(self, answer):
        folder = tempfile.TemporaryDirectory(prefix="kura-release-check-")
        self.addCleanup(folder.cleanup)
        tools = Path(folder.name) / "tools"
        tools.mkdir()
        shutil.copy(TOOL.parents[1] / "dev", folder.name)
        for name, script in (("debian_root", answer), ("dpkg-query", "printf installed")):
            (tools / name).write_text(f"#!/bin/bash\n{script}\n")
            (tools / name).chmod(0o755)
        environment = {"PATH": f"{tools}:/usr/sbin:/usr/bin:/sbin:/bin"}
        result = subprocess.run([Path(folder.name) / "dev", "release-check", "trixie", "i386"], capture_output=True,
                                text=True, env=environment)
        rows = [[cell.strip() for cell in line.split("|")[1:3]] for line in result.stdout.splitlines()[2:]]
        return result.returncode, rows

    def test_shows_what_every_machine_passed(self):
        self.assertEqual(self.table('echo "$1"; [[ $1 != trixie ]] && echo "7 passed, 0 failed" || echo "10 passed, 0 failed"'),
                         (0, [["trixie", "10 passed, 0 failed"], ["i386", "7 passed, 0 failed"]]))

    def test_goes_on_after_a_machine_that_failed(self):
        self.assertEqual(self.table('[[ $1 != trixie ]] && echo "7 passed, 0 failed" || { echo "9 passed, 1 failed"; exit 1; }'),
                         (1, [["trixie", "9 passed, 1 failed"], ["i386", "7 passed, 0 failed"]]))

    def test_fails_where_nothing_ran(self):
        self.assertEqual(self.table("true"), (1, [["trixie", "did not run"], ["i386", "did not run"]]))


if __name__ == "__main__":
    unittest.main()
