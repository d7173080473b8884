"""The shipped schema and the command agree: what one takes or refuses, the other does.

Usage: schema_test.py KURA SCHEMA SCENARIOS
"""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

import jsonschema

KURA, SCHEMA, SCENARIOS = sys.argv.pop(1), sys.argv.pop(1), sys.argv.pop(1)

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


class Schema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        schema = json.loads(pathlib.Path(SCHEMA).read_text())
        jsonschema.Draft7Validator.check_schema(schema)
        cls.validator = jsonschema.Draft7Validator(schema)

    def test_every_example_fits(self):
        files = sorted(pathlib.Path(SCENARIOS).glob("*.json"))
        self.assertGreaterEqual(len(files), 25)
        for file in files:
            errors = [error.message for error in self.validator.iter_errors(json.loads(file.read_text()))]
            self.assertEqual(errors, [], file.name)

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
