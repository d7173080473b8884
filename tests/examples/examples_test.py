#!/usr/bin/env python3
"""The examples belong together: map, texts, and the sample set with the list that a diagnosis of it shows.

Needs neither the library nor the simulator; run it from anywhere: python3 tests/examples/examples_test.py
"""

import json
import re
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples"

SOLUTION_ATTRIBUTES = [
    "issue_code", "sol_code", "sol_type", "sol_name", "sid_issue", "sid_sol", "sid_button1", "sid_button2",
    "reboot", "is_fg_bg", "action", "toast1", "toast2", "source", "view_authority"]
TEXT_ATTRIBUTES = ["sid_issue", "sid_sol", "sid_button1", "sid_button2", "toast1", "toast2"]
STORED_ATTRIBUTES = ["issue_code", "sol_type", *TEXT_ATTRIBUTES, "action", "source"]
DEVICE_STATE_TEXTS = {"COM_SID_NORMAL", "TV_SID_VOICEASSISTANT_WEATHER_GOOD", "TV_SID_VOICEASSISTANT_WEATHER_BAD"}
ON_DEMAND = range(10000000, 20000000)
TUNER, HDMI_INPUTS, DIGITAL_CHANNELS = 0, {13, 14, 15, 16, 38, 39}, {2, 4, 7}


def table_below(heading):
    """The first two cells of each row of a table in the document of actions, by the first one."""
    page = (ROOT / "docs/solution-map.md").read_text("utf-8")
    section = page.split(f"# {heading}\n", 1)[1].split("\n#", 1)[0]
    return dict(re.findall(r"^\| `([^`]*)` \| ([^|]*) \|", section.split("|---", 1)[1], re.MULTILINE))


TYPE_NUMBERS = {name: int(number) for name, number in table_below("Action types").items()}
OPERATIONS = set(table_below("Operations of `API`"))
SCREENS = set(table_below("Screens of `MSGPORT`"))


def read_json(name):
    def refuse_repeated_keys(pairs):
        keys = [key for key, _ in pairs]
        if len(keys) != len(set(keys)):
            raise ValueError(f"{name}: a key appears twice: {sorted(k for k in keys if keys.count(k) > 1)}")
        return dict(pairs)

    return json.loads((EXAMPLES / name).read_text("utf-8"), object_pairs_hook=refuse_repeated_keys)


class Map:
    def __init__(self):
        self.root = ElementTree.parse(EXAMPLES / "SolutionMap.xml").getroot()
        self.solutions = self.root.findall("solution")

    def values(self, attribute):
        return [solution.get(attribute) for solution in self.solutions]

    def named(self, sol_type):
        return [s.get("sol_name") for s in self.solutions if s.get("sol_type") == sol_type]

    def text_ids(self):
        return {text for attribute in TEXT_ATTRIBUTES for text in self.values(attribute) if text}


class SolutionMapTest(unittest.TestCase):
    map = Map()

    def test_declares_as_many_solutions_as_it_has(self):
        self.assertEqual([element.get("cnt") for element in self.map.root.iter("sm")], [str(len(self.map.solutions))])

    def test_has_one_version(self):
        versions = [element.get("version") for element in self.map.root.iter("sminfo")]
        self.assertEqual(len(versions), 1)
        self.assertRegex(versions[0], r"^[1-9][0-9]{0,8}$")

    def test_has_about_sixty_issues(self):
        codes = set(self.map.values("issue_code"))
        self.assertTrue(55 <= len(codes) <= 65, len(codes))

    def test_has_exactly_one_issue_with_two_solutions(self):
        codes = self.map.values("issue_code")
        self.assertEqual(sorted(c for c in codes if codes.count(c) > 1), ["1006", "1006"])

    def test_every_element_is_known_and_in_its_place(self):
        self.assertEqual([element.tag for element in self.map.root][:2], ["sminfo", "sm"])
        self.assertEqual({element.tag for element in self.map.root}, {"sminfo", "sm", "solution"})
        for solution in self.map.solutions:
            self.assertEqual({child.tag for child in solution}, {"sol_val"}, solution.attrib)
            for value in solution:
                self.assertEqual(list(value.attrib), ["param_value", "param_type"])

    def test_every_solution_has_all_fifteen_attributes(self):
        for solution in self.map.solutions:
            self.assertEqual(list(solution.attrib), SOLUTION_ATTRIBUTES)

    def test_codes_are_plain_numbers_and_solution_codes_follow_them(self):
        seen = {}
        for solution in self.map.solutions:
            code = solution.get("issue_code")
            seen[code] = seen.get(code, 0) + 1
            self.assertRegex(code, r"^[1-9][0-9]*$")
            self.assertEqual(solution.get("sol_code"), f"{code}{seen[code]:02d}")
            self.assertLessEqual(int(solution.get("sol_code")), 2**31 - 1)

    def test_no_unknown_action_is_used(self):
        self.assertLessEqual(set(self.map.values("sol_type")), set(TYPE_NUMBERS))
        self.assertLessEqual(set(self.map.named("API")), OPERATIONS)
        self.assertLessEqual(set(self.map.named("MSGPORT")), SCREENS)

    def test_most_actions_are_used(self):
        self.assertGreaterEqual(len(set(self.map.values("sol_type"))), 9)
        self.assertGreaterEqual(len(set(self.map.named("API"))), 7)
        self.assertGreaterEqual(len(set(self.map.named("MSGPORT"))), 3)

    def test_every_filter_is_used(self):
        self.assertEqual(set(self.map.values("source")), {"DTV", "HDMI", "ALL"})
        self.assertLessEqual({"USER", "SERVICE"}, set(self.map.values("view_authority")))
        self.assertEqual(set(self.map.values("is_fg_bg")), {"fg", "bg"})
        self.assertEqual(set(self.map.values("reboot")), {"no", "yes", "ask"})

    def test_has_several_on_demand_codes(self):
        on_demand = {int(code) for code in self.map.values("issue_code")} & set(ON_DEMAND)
        self.assertGreaterEqual(len(on_demand), 5)

    def test_values_fit_their_types(self):
        for solution in self.map.solutions:
            value = solution[0].get("param_value")
            if solution.get("sol_type") == "VCONFSET_BOOL":
                self.assertIn(value, ("0", "1"), solution.attrib)
            elif solution.get("sol_type") == "VCONFSET_INT":
                self.assertRegex(value, r"^-?[0-9]+$", solution.attrib)

    def test_no_text_breaks_a_row_of_the_unfixed_problems(self):
        for solution in self.map.solutions:
            for attribute in STORED_ATTRIBUTES:
                self.assertNotIn('"', solution.get(attribute))
                self.assertNotEqual(solution.get(attribute), solution.get("view_authority"))
            self.assertRegex(solution.get("toast1"), r"^[A-Z]{3,}")

    def test_a_solution_takes_about_500_bytes(self):
        elements = re.findall(rb"<solution .*?</solution>", (EXAMPLES / "SolutionMap.xml").read_bytes(), re.DOTALL)
        self.assertEqual(len(elements), len(self.map.solutions))
        average = sum(map(len, elements)) / len(elements)
        self.assertTrue(450 <= average <= 600, average)

    def test_an_issue_has_at_most_one_command(self):
        codes = [s.get("issue_code") for s in self.map.solutions if s.get("sol_type") == "CMD"]
        self.assertEqual(len(codes), len(set(codes)))


class TextsTest(unittest.TestCase):
    map = Map()

    def test_every_language_has_every_text_and_none_besides(self):
        wanted = self.map.text_ids() | DEVICE_STATE_TEXTS
        for name in ("texts/en.json", "texts/de.json"):
            with self.subTest(name):
                self.assertEqual(sorted(read_json(name)), sorted(wanted))

    def test_no_text_is_empty_or_an_id(self):
        for name in ("texts/en.json", "texts/de.json"):
            for key, text in read_json(name).items():
                self.assertTrue(text.strip(), f"{name}: {key}")
                self.assertNotRegex(text, r"^(COM|TV)_SID_", f"{name}: {key}")

    def test_the_languages_differ(self):
        english, german = read_json("texts/en.json"), read_json("texts/de.json")
        same = {key for key in english if english[key] == german[key]}
        self.assertLessEqual(same, {"COM_SID_OK", "COM_SID_NORMAL"})


def newest(records, code, transition):
    times = [r["last_update_time"] for r in records if r["issue_code"] == code and r["transition"] == transition]
    return max(times, default=None)


def is_unsolved(engine, code, seen):
    solutions = [s for s in engine["solutions"] if s["issue_code"] == code]
    if not solutions:
        return True
    last = max(solutions, key=lambda s: s["register_time"])
    return seen > last["register_time"] or not last["is_apply"]


def evaluate(solutions, engine):
    """(solution, time) of every problem that is present and unsolved, in the map's order."""
    rows = []
    for solution in solutions:
        code = int(solution.get("issue_code"))
        seen = newest(engine["inferences"], code, True)
        if solution.get("is_fg_bg") == "bg" or seen is None:
            continue
        gone = newest(engine["inferences"], code, False)
        if (gone is None or gone <= seen) and is_unsolved(engine, code, seen):
            rows.append((solution, seen))
    return rows


def is_shown(solution, source, channel):
    fits = {"DTV": source == TUNER and channel in DIGITAL_CHANNELS, "HDMI": source in HDMI_INPUTS}
    return solution.get("view_authority") == "USER" and fits.get(solution.get("source"), True)


class SampleSetTest(unittest.TestCase):
    map = Map()
    engine = read_json("set/engine.json")
    settings = read_json("set/settings.json")
    description = read_json("set/set.json")
    readme = (EXAMPLES / "set" / "README.md").read_text("utf-8")

    def shown(self, source):
        return [(s, time) for s, time in evaluate(self.map.solutions, self.engine) if is_shown(s, source, 2)]

    def test_the_tuner_is_on_with_a_digital_channel(self):
        self.assertEqual(self.description["source"], TUNER)
        self.assertIn(2, (self.description.get("channel"), self.description.get("channel_type")))
        self.assertEqual(self.description["faults"], {})

    def test_the_expected_list_is_what_the_records_give(self):
        table = re.findall(r"^\| (\d+) \| (2025-\S+) \| (\S+) \| (\S+) \| (\S+) \|$", self.readme, re.MULTILINE)
        rows = [(s.get("issue_code"), time, s.get("sol_type"), s.get("sol_name"), s.get("source"))
                for s, time in self.shown(TUNER)]
        self.assertEqual(table, rows)
        self.assertEqual(len(rows), 11)

    def test_the_expected_codes_on_hdmi_and_in_the_guide_are_what_the_records_give(self):
        on_hdmi = ", ".join(s.get("issue_code") for s, _ in self.shown(13))
        evaluated = ", ".join(s.get("issue_code") for s, _ in evaluate(self.map.solutions, self.engine))
        flowing = " ".join(self.readme.split())
        self.assertIn(f"ten rows are listed: {on_hdmi}.", flowing)
        self.assertIn(f"without any filter: {evaluated}.", flowing)

    def test_every_issue_on_record_is_explained(self):
        explained = re.findall(r"^\| (\d+) \| [^|]+ \| [^|]+ \| [^|]+ \|$", self.readme, re.MULTILINE)
        recorded = {record["issue_code"] for record in self.engine["inferences"] + self.engine["solutions"]}
        self.assertEqual(sorted(map(int, explained)), sorted(recorded))

    def test_the_records_show_every_situation(self):
        rows = evaluate(self.map.solutions, self.engine)
        by_code = {s.get("issue_code"): s for s in self.map.solutions}
        recorded = {str(record["issue_code"]) for record in self.engine["inferences"]}
        listed = {s.get("issue_code") for s, _ in self.shown(TUNER)}
        hidden = {s.get("issue_code") for s, _ in rows} - listed
        self.assertEqual({by_code[code].get("source") for code in hidden}, {"HDMI", "ALL"})
        self.assertIn("SERVICE", {by_code[code].get("view_authority") for code in hidden})
        self.assertEqual(len([code for code in listed if int(code) in ON_DEMAND]), 2)
        self.assertIn("bg", {by_code[code].get("is_fg_bg") for code in recorded & set(by_code)})
        self.assertEqual(recorded - set(by_code), {"9999"})

    def test_recorded_solutions_are_those_of_the_map(self):
        for record in self.engine["solutions"]:
            solution = next(s for s in self.map.solutions if s.get("issue_code") == str(record["issue_code"]))
            self.assertEqual(record["solution_code"], int(solution.get("sol_code")))
            self.assertEqual(record["type"], TYPE_NUMBERS[solution.get("sol_type")])

    def test_times_have_the_engines_form_and_lie_in_the_past(self):
        for record in self.engine["inferences"] + self.engine["solutions"]:
            for key in ("register_time", "last_update_time"):
                if key in record:
                    self.assertRegex(record[key], r"^2025-0[1-3]-\d\dT\d\d:\d\d:\d\d$")

    def test_every_key_that_a_repair_writes_is_set_to_something_else(self):
        kinds = {"VCONFSET_BOOL": bool, "VCONFSET_INT": int, "VCONFSET_STR": str}
        for solution in self.map.solutions:
            kind = kinds.get(solution.get("sol_type"))
            if kind is None:
                continue
            before, after = self.settings[solution.get("sol_name")], solution[0].get("param_value")
            self.assertIs(type(before), kind, solution.get("sol_name"))
            self.assertNotEqual(before, kind(int(after)) if kind is not str else after, solution.get("sol_name"))

    def test_the_agent_allows_every_command_and_no_other(self):
        self.assertEqual(sorted(self.description["agent"]["commands"]), sorted(self.map.named("CMD")))

    def test_the_applications_are_as_described(self):
        apps = self.description["apps"]
        self.assertEqual(len(apps), 11)
        self.assertEqual(len({app["app_id"] for app in apps}), len(apps))
        kept = [app for app in apps if not app.get("skip") and {"304x304.png", "icon.png"} & set(app["icons"])]
        self.assertEqual(len(kept), 9)
        fallback = [app["title"] for app in kept if "304x304.png" not in app["icons"]]
        self.assertEqual(fallback, ["Weather", "Chess"])


if __name__ == "__main__":
    unittest.main()
