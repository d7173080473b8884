#!/usr/bin/env python3
"""What the page shows while something runs, and how it follows what others do."""

import time
import unittest

from browser import CHECKS, DOWN, ENTER, NO_PROBLEM, UP, PageTest
from served_set import until


class WaitingTest(PageTest):
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
