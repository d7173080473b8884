"""The shipped schemas, the command and the documents agree.

Usage: schema_test.py KURA SOURCE
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import jsonschema

KURA, SOURCE = sys.argv.pop(1), pathlib.Path(sys.argv.pop(1))
EXAMPLES = SOURCE / "examples"
WORDS = SOURCE / "schema/words.py"


def schema(name):
    return json.loads((SOURCE / "schema" / name).read_text("utf-8"))


def validator(name):
    """The schema with the other one put into it: how a reference to a file is followed differs between versions."""
    document = json.loads(json.dumps(schema(name)).replace('"set.schema.json', '"#/definitions/set.schema.json')
                          .replace("schema.json#/", "schema.json/"))
    inner = json.loads(json.dumps(schema("set.schema.json")).replace('"#/', '"#/definitions/set.schema.json/'))
    document["definitions"]["set.schema.json"] = inner
    for part in (document, inner):
        del part["$id"]
    jsonschema.Draft7Validator.check_schema(document)
    return jsonschema.Draft7Validator(document)


REFUSED = [
    [],
    {},
    {"steps": {}},
    {"steps": [], "step": []},
    {"steps": [{}]},
    {"steps": [{"name": "only a name"}]},
    {"steps": [{"run": []}]},
    {"steps": [{"run": "diagnose"}]},
    {"steps": [{"run": ["diagnose"], "expect": {"exit": -1}}]},
    {"steps": [{"run": ["diagnose"], "expect": {"exits": 1}}]},
    {"steps": [{"run": ["diagnose"], "expect": {"launches": {}}}]},
    {"steps": [{"run": ["diagnose"], "expect": {"log": {}}}]},
    {"steps": [{"clock": "yesterday"}]},
    {"steps": [{"faults": {"agent": "away"}}]},
    {"steps": [{"faults": {"agent": {"mode": "late", "hours": 1}}}]},
    {"steps": [{"faults": {"opt": "half"}}]},
    {"steps": [{"settings": {"a": [1]}}]},
    {"steps": [{"files": {"/opt/a": {}}}]},
    {"steps": [{"files": {"/opt/a": {"size": -1}}}]},
    {"steps": [{"map": 5}]},
    {"steps": [{"engine": {"inferences": [{"issue_code": 1}]}}]},
    {"steps": [{"engine": {"base": "some"}}]},
    {"set": {"describe": {"sourc": 1}}, "steps": []},
    {"set": {"describe": {"image": "beta"}}, "steps": []},
    {"set": {"describe": {"apps": [{"title": "a"}]}}, "steps": []},
    {"steps": [], "expect": {"exit": 0}},
    {"steps": [], "expect": {"answer": {}}},
]


# What set.json may not hold.
REFUSED_SETS = [
    [],
    {"modell": "X"},
    {"model": 5},
    {"image": "beta"},
    {"source": 2147483648},
    {"features": {"a": "x"}},
    {"terms": ["a", 1]},
    {"clock": "yesterday"},
    {"opt_size": -1},
    {"apps": [{"title": "T", "app_id": "a"}]},
    {"apps": [{"title": "T", "app_id": "a", "package_id": ".."}]},
    {"agent": {"clean": ["/etc"]}},
    {"agent": {"clean": ["/opt/../etc"]}},
    {"agent": {"processes": {"p": [1]}}},
    {"faults": {"agent": "angry"}},
    {"faults": {"agent": "slow"}},
    {"faults": {"engine": {"solution": {"1x": 5}}}},
    {"faults": {"engine": {"inference": {"1": {"maybe": 5}}}}},
]


class Schema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.validator = validator("scenario.schema.json")

    def test_every_example_fits(self):
        files = sorted((EXAMPLES / "scenarios").glob("*.json"))
        self.assertGreaterEqual(len(files), 25)
        for file in files:
            errors = [error.message for error in self.validator.iter_errors(json.loads(file.read_text()))]
            self.assertEqual(errors, [], file.name)
        self.assertTrue(validator("set.schema.json").is_valid(json.loads((EXAMPLES / "set/set.json").read_text())))

    def test_a_set_that_the_schema_refuses_cannot_be_opened(self):
        check = validator("set.schema.json")
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([KURA, "--set", f"{folder}/set", "set", "new"], check=True, capture_output=True)
            for description in REFUSED_SETS:
                self.assertFalse(check.is_valid(description), description)
                pathlib.Path(folder, "set/set.json").write_text(json.dumps(description))
                run = subprocess.run([KURA, "--set", f"{folder}/set", "set", "show"], capture_output=True, check=False)
                self.assertEqual(run.returncode, 1, description)
                self.assertIn(b"set.json: ", run.stderr)

    def test_documents_tell_the_keys_of_the_schema(self):
        run = subprocess.run([sys.executable, WORDS, SOURCE / "docs/simulated-set.md"], capture_output=True, check=False)
        self.assertEqual((run.returncode, run.stdout), (0, b""))
        told = set(re.findall(r"(?m)^\| `(\S+)` \|", (SOURCE / "docs/scenarios.md").read_text("utf-8")))
        document = schema("scenario.schema.json")
        for table in [document] + [document["definitions"][name] for name in ("set", "step", "stepExpectation")]:
            self.assertLessEqual(set(table["properties"]), told)

    def test_what_the_schema_refuses_the_command_refuses(self):
        with tempfile.TemporaryDirectory() as folder:
            files = []
            for number, scenario in enumerate(REFUSED):
                self.assertFalse(self.validator.is_valid(scenario), scenario)
                files.append(pathlib.Path(folder) / f"{number}.json")
                files[-1].write_text(json.dumps(scenario))
            run = subprocess.run([KURA, "--json", "replay", *files], capture_output=True, check=False)
            self.assertEqual(run.returncode, 1)
            results = json.loads(run.stdout)["scenarios"]
            for scenario, result in zip(REFUSED, results, strict=True):
                self.assertEqual(result["result"], "unreadable", scenario)
                self.assertIn(".json:1: ", result["message"])


if __name__ == "__main__":
    unittest.main()
