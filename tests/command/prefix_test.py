#!/usr/bin/env python3
"""The smallest host, built with pkg-config from an installation in a folder of its own, runs on the simulated set; started
without `kura run` it says how to start it. Called with the build folder.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD = Path(sys.argv.pop(1)).resolve()
EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


def run(*command, **more):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **more)


class AHostOfAnInstallation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="kura-prefix-")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = Path(folder.name)
        cls.prefix = cls.folder / "prefix"
        for component in ("library", "development", "simulator", "examples"):
            run("cmake", "--install", BUILD, "--prefix", cls.prefix, "--component", component).check_returncode()
        shutil.copytree(EXAMPLES / "minimal-host", cls.folder / "host")
        cls.environment = {**os.environ, "PKG_CONFIG_PATH": str(cls.prefix / "lib/pkgconfig")}
        cls.environment.pop("LD_LIBRARY_PATH", None)
        run("make", "-C", cls.folder / "host", env=cls.environment).check_returncode()
        cls.host = cls.folder / "host/minimal-host"

    def test_runs_on_the_simulated_set(self):
        ran = run(self.prefix / "bin/kura", "--set", self.folder / "set", "set", "new")
        self.assertEqual(ran.returncode, 0, ran.stderr)
        ran = run(self.prefix / "bin/kura", "--set", self.folder / "set", "run", self.host, env=self.environment)
        self.assertEqual((ran.returncode, ran.stderr), (0, ""))
        self.assertIn("1001 TV_SID_PICTURE_BACKLIGHT_LOW\n", ran.stdout)

    def test_started_alone_finds_its_libraries_and_says_how_to_start_it(self):
        ran = run(self.host, env=self.environment)
        self.assertNotIn("cannot open shared object", ran.stderr)
        self.assertIn('names no set; "kura run PROGRAM" starts a host on one', ran.stderr)


if __name__ == "__main__":
    unittest.main()
