#!/usr/bin/env python3
"""Diagnosis and repair on the page, by keyboard alone."""

import time
import unittest

from browser import BACK, CHECKS, DOWN, ENTER, LEFT, NO_PROBLEM, RIGHT, TAB, UP, PageTest
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

    def test_shows_a_running_call_and_hangs_nothing(self):
        self.show(description={"engine": {"delay_ms": 2500}})
        self.press(ENTER)
        until("the call shows", lambda: self.find("#work strong"))
        self.keep("start-busy")
        self.prefer("dark", motion="no-preference")
        self.assertIn("moves", "".join(self.run_in_page(CHECKS, ["motion"])))
        self.prefer("dark")
        self.assertEqual(self.texts("#work strong"), ["Checking this TV"])
        self.press(ENTER)
        self.go("journal")
        self.assertEqual(self.texts("h1"), ["Journal"])
        self.go("start")
        self.listed(10)
        self.assertFalse(self.find("#work > *"))
        self.assertEqual(self.served.state()["last"]["number"], 1)
        self.walk_to("again", UP)
        self.press(ENTER)
        until("the call shows", lambda: self.find("#work strong"))
        self.keep("start-busy-list")
        self.assertTrue(self.browser.execute_script("""
            const box = document.getElementById("work").getBoundingClientRect();
            return document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2).closest("#work") !== null;
            """))
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

    def test_gives_up_a_long_wait(self):
        self.show(description={"engine": {"delay_ms": 60000}})
        self.press(ENTER)
        until("the way out", lambda: self.find('[data-key="leave"]'))
        self.keep("start-long-wait")
        self.walk_to("leave", DOWN)
        self.press(ENTER)
        self.assertIn("You have stopped waiting", self.state("failure"))
        self.keep("start-left")
        self.assertEqual(self.texts(".toast strong"), ["You have stopped waiting"])
        self.assertEqual(self.focused(), "retry")
        self.assertFalse(self.find("#work > *"))
        self.served.describe(engine={})
        self.listed(10)

    def test_shows_a_second_browser_what_the_first_one_does(self):
        self.show()
        first = self.browser.current_window_handle
        self.browser.switch_to.new_window("window")
        try:
            self.browser.get(self.served.url)
            until("the page shows the set", lambda: self.find("h1"))
            self.press(ENTER)
            self.listed(10)
        finally:
            self.browser.close()
            self.browser.switch_to.window(first)
        self.listed(10)

    def test_follows_repairs_elsewhere_commands_and_edited_files(self):
        self.show()
        self.press(ENTER)
        self.listed(10)
        self.go("home")
        self.listed(10)
        self.go("start")
        self.press(ENTER)
        self.listed(9)
        self.go("home")
        self.listed(9)
        self.assertNotIn("1001", self.issues())
        begun = time.monotonic()
        self.served.kura("fix", "2004")
        self.listed(8)
        print(f"a repair by the command shows {time.monotonic() - begun:.2f} s after it began", end=" ", flush=True)
        self.assertNotIn("2004", self.issues())
        texts = self.served.set / "texts/en.json"
        texts.write_text(texts.read_text("utf-8").replace("do not follow the remote", "do not follow the rubber duck"), "utf-8")
        until("the edited text", lambda: any("rubber duck" in title for title in self.texts("[data-issue] strong")))
        self.served.kura("set", "put", "model", '"Living room"')
        until("the new model", lambda: "Living room" in self.texts(".rail-set")[0])
        self.go("start")
        self.listed(8)
        self.served.describe(faults={"engine": {"subscribe": 1}})
        until("the failure", lambda: self.find('.banner[data-state="failure"]'))
        self.keep("start-list-failed")
        self.assertEqual(len(self.issues()), 8, "what was known stays")
        self.assertEqual(len(self.find('[data-key="retry"], [data-key="again"]')), 1)
        self.served.describe(faults={})
        until("the failure is over", lambda: not self.find(".banner"))
        solutions = self.served.set / "files/opt/usr/share/TVKuraHelp/SolutionMap.xml"
        solutions.write_text(NO_PROBLEM, "utf-8")
        self.assertIn("No problems found", self.state("empty"))
        self.assert_quiet("api/diagnose")


if __name__ == "__main__":
    unittest.main(verbosity=2)
