#!/usr/bin/env python3
"""Diagnosis and repair on the page, by keyboard alone."""

import unittest

from browser import BACK, DOWN, ENTER, LEFT, NO_PROBLEM, RIGHT, TAB, UP, PageTest
from served_set import until


class DiagnosisTest(PageTest):
    def test_diagnoses_fixes_and_shows_the_shorter_list_by_keyboard_alone(self):
        self.show()
        self.state("unasked")
        self.keep("start-unasked")
        self.press(ENTER)
        self.listed(10)
        self.keep("start-list")
        self.assertEqual(self.focused(), "issue-1001")
        self.press(DOWN, DOWN, UP, UP, ENTER)
        until("the words of success", lambda: self.find(".toast.ok"))
        self.listed(9)
        self.keep("start-fixed")
        self.assertNotIn("1001", self.issues())
        self.assertEqual(self.focused(), f"issue-{self.issues()[0]}")
        self.assertEqual(self.texts(".toast.ok strong"), ["The setting has been changed."])
        self.assertTrue(self.browser.execute_script("""
            const toast = document.querySelector(".toast").getBoundingClientRect();
            const content = document.getElementById("content").getBoundingClientRect();
            return content.bottom <= toast.top + 1;"""), "a message covers the screen")
        self.assertEqual(self.find("#foot .ticker"), [])
        self.assertIn("9 problems found", self.texts(".detail")[0])
        self.assertEqual(self.served.kura("settings", "get", "db/menu/picture/backlight")["value"], 35)
        self.go("home")
        self.listed(9)
        self.keep("home-list")
        self.press(ENTER)
        until("a question", lambda: self.find(".dialog"))
        self.press(RIGHT, ENTER)
        self.assertEqual(self.focused(), "issue-1006")
        self.walk_to("issue-2004", DOWN)
        self.press(ENTER)
        self.listed(8)
        self.assertNotIn("2004", self.issues())
        self.assert_quiet()

    def test_asks_before_a_repair_that_wants_it(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.walk_to("issue-8001", DOWN)
        before = self.served.state()["last"]["number"]
        self.press(ENTER)
        until("a question", lambda: self.find(".dialog"))
        self.keep("start-question")
        self.assertEqual(self.texts(".dialog h2"), ["The TV turns itself on or off"])
        self.press(DOWN, UP, LEFT, RIGHT)
        self.assertEqual(self.focused(), "no")
        self.press(TAB)
        self.assertEqual(self.focused(), "yes")
        self.press(TAB, TAB, TAB)
        self.assertEqual(self.focused(), "no")
        self.press(BACK)
        self.assertEqual(self.focused(), "issue-8001")
        self.assertEqual(self.served.state()["last"]["number"], before)
        self.press(ENTER, ENTER)
        self.listed(9)
        self.assertNotIn("8001", self.issues())
        self.assertEqual(self.focused(), f"issue-{self.issues()[-1]}")

    def test_tells_why_a_problem_is_listed_and_what_its_repair_would_do(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.press(RIGHT)
        self.assertEqual(self.focused(), "more-1001")
        self.press(ENTER)
        until("the dialog", lambda: self.find(".dialog"))
        self.assertEqual(self.focused(), "why")
        self.press(ENTER)
        until("the reasons", lambda: self.find('[data-told="why"]'))
        self.keep("start-why")
        tests = self.served.kura("why", "1001")["issues"][0]["tests"]
        self.assertEqual(self.texts(".explained li"), [f"{test['test']} · {test['saw']}" for test in tests])
        self.assertEqual(len(self.find(".explained li.passed")), len(tests))
        self.press(RIGHT, ENTER)
        until("the steps", lambda: self.find('[data-told="preview"]'))
        self.keep("start-preview")
        self.assertEqual(self.texts(".explained li")[0], "sets db/menu/picture/backlight: 5 -> 35")
        self.assertEqual(len(self.texts(".explained li")), len(self.served.kura("fix", "--preview", "1001")["steps"]))
        self.press(BACK)
        self.assertEqual(self.focused(), "more-1001")
        self.assertEqual(len(self.issues()), 10)
        self.assert_quiet()

    def test_opens_the_storage_screen_when_a_repair_does(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.walk_to("issue-16000001", DOWN)
        self.press(ENTER)
        until("the storage screen", lambda: self.texts("h1") == ["Storage"])

    def test_says_so_when_a_repair_changed_nothing(self):
        self.show(description={"faults": {"settings": {"refuse_writes": ["*"]}}})
        self.press(ENTER)
        self.listed(10)
        self.press(ENTER)
        until("the words of failure", lambda: self.find(".toast.failure"))
        self.keep("start-fix-failed")
        self.assertEqual(self.texts(".toast strong"), ["The setting could not be changed. Try again later."])
        self.assertIn("fails: -1", self.texts(".toast span")[0])

    def test_shows_that_nothing_was_found(self):
        def without_problems(served):
            (served.set / "files/opt/usr/share/TVKuraHelp/SolutionMap.xml").write_text(NO_PROBLEM, "utf-8")

        self.show(prepare=without_problems)
        self.press(ENTER)
        self.assertIn("No problems found", self.state("empty"))
        self.keep("start-none")
        self.assertEqual(self.focused(), "recheck")
        self.go("home")
        until("nothing remains", lambda: "No problems remain" in self.texts("#content")[0])
        self.keep("home-none")

    def test_shows_why_it_failed_and_recovers(self):
        self.show(description={"faults": {"engine": {"subscribe": 1}}})
        self.press(ENTER)
        failure = self.state("failure")
        self.keep("start-failed")
        self.assertIn(self.served.state()["screens"]["start"]["error"]["message"], failure)
        self.assertEqual(self.focused(), "retry")
        self.press(ENTER)
        until("the second try", lambda: self.served.state()["last"]["number"] == 2)
        self.state("failure")
        self.served.describe(faults={})
        self.listed(10)

    def test_leads_to_the_guided_diagnosis(self):
        self.show()
        self.state("unasked")
        self.press(UP)
        self.assertEqual(self.focused(), "guide")
        self.press(ENTER)
        until("the problems", lambda: self.issues() and not self.find("body.is-busy"))
        self.keep("guide-list")
        self.assertEqual(self.texts("h1"), ["Guided diagnosis"])
        guided = self.served.state()["screens"]["guide"]["document"]
        self.assertEqual(self.issues(), list(dict.fromkeys(guided["issue_codes"])))
        self.assertIn(guided["file"], self.texts("#content")[0])
        self.assertEqual(self.focused(), f"issue-{self.issues()[0]}")
        self.press(BACK)
        self.assertEqual(self.focused(), "rail-start")
        self.press(ENTER)
        self.state("unasked")
        self.assert_quiet()


if __name__ == "__main__":
    unittest.main(verbosity=2)
