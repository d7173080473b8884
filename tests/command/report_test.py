#!/usr/bin/env python3
"""A defect report holds none of the private values of a set, wherever they stand in it, and can be opened as a set.

    report_test.py KURA
"""
import json
import os
import sqlite3
import subprocess
import sys
import tarfile
import tempfile
import unittest
from pathlib import Path

KURA = Path(sys.argv.pop(1)).resolve()
SERIAL, CHIP, INFO = "0SER1AL77Q", "0x00abcdef 0x1234beef", "INFO-4711-X"
PERSON, PROFILE, FURTHER, USER = "Jörg \"Jo\" Großmann", "Mia", "Weiherstrasse 9", "quentina"
PRIVATE = [SERIAL, CHIP, "00abcdef1234beef", "1234beef", INFO, PERSON, json.dumps(PERSON)[1:-1], "Großmann", PROFILE,
           FURTHER, USER, "731904655"]
MEANT = " and ".join([*PRIVATE[:3], PERSON, PROFILE, FURTHER, f"/home/{USER}/tv", SERIAL.lower(), "731904655"])


class Report(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="kura-report-")
        self.addCleanup(self.folder.cleanup)
        self.place = Path(self.folder.name).resolve()
        self.set = self.place / "set"
        self.kura("set", "new")

    def kura(self, *words, status=0):
        run = subprocess.run([KURA, "--set", self.set, *words], cwd=self.place, text=True, capture_output=True,
                             stdin=subprocess.DEVNULL, timeout=300,
                             env={**os.environ, "USER": USER, "HOME": f"/home/{USER}"})
        self.assertEqual(run.returncode, status, run.stdout + run.stderr)
        return run

    def plant(self):
        """Private values in every file of the set, in live rows and in deleted ones."""
        description = json.loads((self.set / "set.json").read_text())
        description.update(serial=SERIAL, chip_id=CHIP, info={"187": SERIAL, "9": INFO}, model="TV of " + MEANT)
        (self.set / "set.json").write_text(json.dumps(description))
        settings = {"db/user/name": PERSON, "db/profile": PROFILE, "db/phone": 731904655, f"db/of {PERSON}/x": 1,
                    "db/note": json.dumps({"by": MEANT})}
        (self.set / "settings.json").write_text(json.dumps(settings))
        self.kura("diagnose")
        for store in self.set.rglob("*.db"):
            with sqlite3.connect(store) as database:
                database.execute("CREATE TABLE note(id INTEGER PRIMARY KEY, t TEXT, b BLOB)")
                database.executemany("INSERT INTO note(t, b) VALUES (?, ?)", [(MEANT, MEANT.encode())] * 200)
                database.execute("DELETE FROM note WHERE id > 2")
            database.close()
        with (self.set / "journal.jsonl").open("a") as journal:
            entry = {"kind": "log", "priority": 6, "tag": "T", "file": "F", "function": "f", "message": MEANT}
            print(json.dumps(entry), file=journal)
            print(json.dumps({**entry, "message": "m" * 50 + PERSON[:-2], "cut": True, "length": 9999}), file=journal)
            print('{"torn": "' + MEANT, file=journal)
        (self.set / "texts" / "xx.json").write_text(json.dumps({"SID": MEANT}))
        with next(self.set.rglob("SolutionMap.xml")).open("a") as document:
            document.write(f"<!-- {MEANT} -->\n")
        (self.set / "files/opt/usr/photo").write_bytes(b"\0" + MEANT.encode())
        (self.set / "files/opt/usr" / f"of {PROFILE}").write_text(MEANT)
        (self.set / "files/tmp/link").symlink_to(f"/home/{USER}")

    def unpacked(self, report):
        to = self.place / "unpacked"
        with tarfile.open(report) as archive:
            archive.extractall(to)
        return to

    def test_no_private_value_is_in_it(self):
        self.plant()
        held = b"".join(file.read_bytes() for file in self.set.rglob("*") if file.is_file() and file.stat().st_size < 1e6)
        for value in PRIVATE:
            self.assertIn(value.encode(), held, "not planted")
        self.kura("report", "-o", "report.tar.gz", "--hide", FURTHER)
        report = self.unpacked(self.place / "report.tar.gz")
        files = [file for file in report.rglob("*") if file.is_file()]
        for file in files:
            # A file without a block is one hole; the applications' are, of gigabytes.
            content = file.read_bytes() if file.stat().st_blocks else b""
            bytes_of = str(file.relative_to(report)).encode() + b"\n" + content
            for value in PRIVATE:
                self.assertNotIn(value.lower().encode(), bytes_of.lower(), file)
        document = json.loads((report / "report.json").read_text())
        self.assertEqual(document["kura_report"], 1)
        left_out = {entry["name"] for entry in document["left_out"]}
        self.assertEqual(left_out, {"set/files/tmp/link", "set/journal.jsonl"}, document["left_out"])
        names = {entry["name"] for entry in document["content"]}
        self.assertLessEqual({"log.txt", "scenario.json", "set/set.json", "set/settings.json", "set/journal.jsonl",
                              "set/files/opt/usr/share/TVKuraHelp/SolutionMap.xml", "set/texts/xx.json",
                              "set/files/opt/usr/home/owner/share/remaining.db",
                              "set/files/home/owner/share/Watchman/DB/inference.db"}, names)
        self.assertIn("<chip-id>", (report / "set/set.json").read_text())
        self.assertIn("Start DiagnosisManager", (report / "log.txt").read_text())

    def test_it_opens_as_the_set(self):
        self.kura("diagnose")
        listed = json.loads(self.kura("problems", "--json").stdout)
        self.kura("report", "-o", "report.tar.gz")
        self.set = self.unpacked(self.place / "report.tar.gz") / "set"
        self.assertEqual(json.loads(self.kura("problems", "--json").stdout), listed)

    def test_show_writes_nothing(self):
        before = sorted(self.place.iterdir())
        document = json.loads(self.kura("report", "-o", "report.tar.gz", "--show", "--json").stdout)
        self.assertEqual(sorted(self.place.iterdir()), before)
        self.assertIsNone(document["file"])
        self.assertIn({"name": "scenario.json", "why": "the journal has no run"}, document["left_out"])

    def test_a_damaged_store_is_named(self):
        self.kura("diagnose")
        store = next(self.set.rglob("solution.db"))
        bytes_of = bytearray(store.read_bytes())
        bytes_of[100:] = b"\xff" * (len(bytes_of) - 100)
        store.write_bytes(bytes_of)
        document = json.loads(self.kura("report", "--show", "--json").stdout)
        self.assertIn("set/files/home/owner/share/Watchman/DB/solution.db",
                      {entry["name"] for entry in document["left_out"]})

    def test_what_is_there_stays(self):
        report = self.place / "report.tar.gz"
        report.write_text("dear")
        self.assertIn("is there already", self.kura("report", "-o", "report.tar.gz", status=1).stderr)
        self.assertEqual(report.read_text(), "dear")
        self.kura("report", "-o", "report.tar.gz", "--force")
        self.assertTrue(tarfile.is_tarfile(report))

    def test_a_place_that_cannot_be_written(self):
        self.assertIn("cannot be written", self.kura("report", "-o", "missing/report", status=1).stderr)
        self.assertIn("says where", self.kura("report", status=64).stderr)
        self.assertEqual([self.set], list(self.place.iterdir()))

    def test_a_full_disk_leaves_nothing(self):
        disk = self.place / "disk"
        disk.mkdir()
        script = ('mount -t tmpfs -o size=8k tmpfs "$1" && "$2" --set "$3" report -o "$1/report"; status=$?; '
                  'ls -A "$1"; exit $status')
        if subprocess.run(["unshare", "-rm", "true"], capture_output=True).returncode != 0:
            self.skipTest("no namespaces here")
        run = subprocess.run(["unshare", "-rm", "sh", "-c", script, "sh", disk, KURA, self.set], text=True,
                             capture_output=True, stdin=subprocess.DEVNULL, timeout=300)
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertIn("No space left on device", run.stderr)
        self.assertEqual(run.stdout, "")


if __name__ == "__main__":
    unittest.main()
