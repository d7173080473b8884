#!/usr/bin/env python3
"""The packages: what they say of themselves, what is in them, and that they are enough to build and run a host.

The last is tried in a root that holds the packages' files and, as links, what Debian has below /usr; nothing of the
source or of the build is seen there. Called with the build folder; what it makes goes with it.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD = Path(sys.argv.pop(1)).resolve()
PROJECT = Path(__file__).resolve().parents[2]
CONSUME = Path(__file__).resolve().parent / "consume"
MACHINE = "machine"  # where the root shows the machine's /usr; not below /run, which the sandbox of kura hides


def output(*command, **more):
    result = subprocess.run(command, capture_output=True, text=True, **more)
    if result.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}: {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout


def link_the_rest(root, below):
    """Links in root for everything that the machine has in the folder and the packages have not."""
    for name in os.listdir("/" + below):
        here = os.path.join(below, name)
        if not os.path.lexists(root / here):
            os.symlink(f"/{MACHINE}/{here}", root / here)
        elif os.path.isdir("/" + here) and not os.path.islink("/" + here):
            link_the_rest(root, here)


def without_kura(root):
    """Nothing of an installed kura may stand in for what the packages lack."""
    for path in (root / "usr").rglob("*kura*"):
        if path.is_symlink():
            path.unlink()


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="kura-packages-")
        cls.addClassCleanup(cls.folder.cleanup)
        cls.root = Path(cls.folder.name) / "root"
        cls.made = Path(cls.folder.name) / "made"
        for generator in ("DEB", "RPM"):
            output("cpack", "--config", str(BUILD / "CPackConfig.cmake"), "-G", generator, "-B", str(cls.made),
                   cwd=cls.folder.name)
        cls.debs = {path.name.split("_")[0]: path for path in cls.made.glob("*.deb")}
        cls.rpms = sorted(cls.made.glob("*.rpm"))
        cls.root.mkdir()
        for deb in cls.debs.values():
            output("dpkg-deb", "-x", str(deb), str(cls.root))

    def field(self, package, name):
        return output("dpkg-deb", "-f", str(self.debs[package]), name).strip()

    def entries(self, package):
        """(mode, owner, path) of each file and folder."""
        lines = output("dpkg-deb", "-c", str(self.debs[package])).splitlines()
        return [(line.split()[0], line.split()[1], line.split(None, 5)[5]) for line in lines]

    def test_there_are_three_of_each_kind(self):
        self.assertEqual(sorted(self.debs), ["kura", "libkura-parser", "libkura-parser-dev"])
        self.assertEqual([re.sub(r"-[0-9].*", "", path.name) for path in self.rpms],
                         ["kura", "libkura-parser", "libkura-parser-devel"])

    def test_they_depend_on_what_they_load_and_on_each_other_in_one_version(self):
        version = self.field("kura", "Version")
        same = f"libkura-parser (= {version})"
        self.assertRegex(self.field("libkura-parser", "Depends"),
                         r"(?s)^(?=.*libc6 \()(?=.*libexpat1)(?=.*libglib2\.0-0)(?=.*libsqlite3-0)(?=.*libstdc\+\+6)")
        self.assertNotIn("kura", self.field("libkura-parser", "Depends"))
        self.assertIn(same, self.field("libkura-parser-dev", "Depends"))
        command = self.field("kura", "Depends")
        for needed in (same, "bubblewrap", "dbus-daemon", "libsmartcols1", "libglib2.0-0"):
            self.assertIn(needed, command)

    def test_files_belong_to_root_and_have_plain_modes(self):
        for package in self.debs:
            for mode, owner, path in self.entries(package):
                self.assertEqual(owner, "root/root", path)
                runs = path.startswith("./usr/bin/") and mode.startswith("-") or mode.startswith("d")
                self.assertEqual(mode[1:], "rwxr-xr-x" if runs else "rw-r--r--", path)

    def test_the_library_is_alone_in_its_package_and_where_it_opens_itself(self):
        files = [path for mode, _, path in self.entries("libkura-parser") if not mode.startswith("d")]
        self.assertEqual([path for path in files if "/share/doc/" not in path], ["./usr/lib/libkura_parser.so"])
        dynamic = output("readelf", "-dW", str(self.root / "usr/lib/libkura_parser.so"))
        self.assertIn("[libkura_parser.so]", dynamic)
        self.assertNotRegex(dynamic, "RPATH|RUNPATH")

    def test_programs_and_libraries_are_stripped(self):
        binaries = [*(self.root / "usr/bin").iterdir(), *(self.root / "usr/lib").glob("*.so")]
        self.assertEqual(len(binaries), 6)
        for binary in binaries:
            self.assertNotIn(".debug_info", output("readelf", "-SW", str(binary)), binary)

    def test_each_has_its_changes_and_its_copyright(self):
        for package in self.debs:
            for name in ("changelog.gz", "copyright"):
                self.assertTrue((self.root / "usr/share/doc" / package / name).is_file(), (package, name))

    def test_the_command_has_every_page_of_the_documents(self):
        installed = self.root / "usr/share/doc/kura"
        pages = [PROJECT / "README.md", PROJECT / "CHANGELOG.md", *(PROJECT / "docs").glob("*.md")]
        self.assertGreater(len(pages), 15)
        for page in pages:
            copy = installed / page.relative_to(PROJECT)
            self.assertTrue(copy.is_file(), copy)
            for picture in re.findall(r"!\[[^]]*\]\(([^)]+)\)", page.read_text()):
                self.assertTrue((copy.parent / picture).is_file(), (page, picture))

    def test_the_command_has_its_pages_completions_and_examples(self):
        files = {path for _, _, path in self.entries("kura")}
        for path in ("man/man1/kura.1.gz", "man/man5/kura-map.5.gz", "man/man5/kura-set.5.gz",
                     "man/man5/kura-scenario.5.gz", "bash-completion/completions/kura", "zsh/vendor-completions/_kura",
                     "fish/vendor_completions.d/kura.fish", "kura/examples/SolutionMap.xml", "kura/examples/minimal-host/host.cpp"):
            self.assertIn("./usr/share/" + path, files)

    def test_the_manual_of_the_library_is_with_its_headers(self):
        self.assertIn("./usr/share/man/man3/libkura_parser.3.gz",
                      {path for _, _, path in self.entries("libkura-parser-dev")})

    def test_rpms_hold_the_same_files(self):
        in_rpms = set()
        for rpm in self.rpms:
            in_rpms |= {line for line in output("rpm", "-qlp", str(rpm)).splitlines() if "/.build-id" not in line}
        in_debs = {path[1:].rstrip("/") for package in self.debs for mode, _, path in self.entries(package)
                   if not mode.startswith("d")}
        self.assertLessEqual(in_debs, {path.replace("-parser-devel", "-parser-dev") for path in in_rpms})

    def test_they_are_enough_to_build_and_run_a_host(self):
        for folder in (f"{MACHINE}/usr", "etc", "proc", "dev", "tmp", "run", "home", "opt", "var", "root"):
            (self.root / folder).mkdir(parents=True)
        link_the_rest(self.root, "usr")
        without_kura(self.root)
        for link in ("bin", "sbin", "lib", "lib64"):
            os.symlink("usr/" + link, self.root / link)
        # A process that sees all of /proc, as here, may give the sandbox of kura one of its own.
        sandbox = ["bwrap", "--die-with-parent", "--clearenv", "--setenv", "PATH", "/usr/bin:/bin", "--setenv", "HOME",
                   "/tmp", "--bind", str(self.root), "/", "--ro-bind", "/usr", f"/{MACHINE}/usr", "--ro-bind", "/etc",
                   "/etc", "--dev", "/dev", "--dev-bind", "/proc", "/proc", "--tmpfs", "/tmp", "--ro-bind",
                   str(CONSUME), "/run/consume", "--chdir", "/tmp", "--", "/run/consume"]
        with_cmake, with_pkg_config = output(*sandbox).split("---\n")
        self.assertEqual(with_cmake, with_pkg_config)
        self.assertIn("1001 TV_SID_PICTURE_BACKLIGHT_LOW\n", with_cmake)


if __name__ == "__main__":
    unittest.main()
