#!/usr/bin/env python3
"""Storage, journal and what must not happen on the page, by keyboard alone."""

import unittest

from browser import DOWN, ENTER, RIGHT, UP, PageTest
from pictures import png
from served_set import until


class StorageTest(PageTest):
    def test_shows_the_storage_and_the_apps_by_size(self):
        def with_picture(served):
            icon = served.set / "files/opt/usr/apps/org.vesta.fitness/res/icons/304x304.png"
            icon.write_bytes(png(304, 304, (240, 120, 40)))

        self.show(prepare=with_picture)
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9)
        until("a picture", lambda: self.find('[data-key="app-org.vesta.fitness"] img'))
        self.keep("storage")
        parts = self.browser.execute_script("""
            return [...document.querySelectorAll("[data-part]")].map((part) =>
                [part.dataset.part, part.getBoundingClientRect().width]);""")
        self.assertEqual([name for name, _ in parts], ["system", "apps", "other", "free"])
        screens = self.served.state()["screens"]
        figures = screens["storage"]["document"]
        sizes = dict(parts)
        self.assertAlmostEqual(sizes["free"] / sizes["system"],
                               figures["opt"]["remaining"] / figures["flash"]["system_used"], places=1)
        self.assertEqual(self.texts(".card.app strong"), [app["title"] for app in screens["apps"]["document"]["apps"]])
        self.assertEqual(self.texts(".card.app strong")[:2], ["Streambox", "Fitness"])
        self.assertEqual(self.texts(".app-size")[0], "254 MiB")
        self.assertEqual(len(self.find(".card.app img")), 1)
        self.assertEqual(len(self.find(".card.app .letter")), 8)
        self.walk_to("app-org.vesta.browser", DOWN)
        self.press(ENTER)
        until("why the sizes differ", lambda: "109 MiB" in "".join(self.texts(".dialog .note")))
        self.keep("storage-app-sizes")
        self.press(RIGHT, ENTER)
        until("the question", lambda: self.find('[data-key="yes"]'))
        self.assertEqual(self.focused(), "no")
        self.press(ENTER)
        until("no question", lambda: not self.find(".dialog"))
        self.assertNotEqual(self.served.state()["last"]["verb"], "clear-data")
        self.assert_quiet()

    def test_clears_an_apps_cache_and_measures_again(self):
        self.show()
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9 and not self.find("body.is-busy"))
        self.assertEqual(self.focused(), "clean")
        self.press(DOWN)
        self.assertEqual(self.focused(), "app-org.vesta.streambox")
        self.press(ENTER)
        until("its sizes", lambda: self.texts(".figures dd")[:1] == ["254 MiB"])
        self.keep("storage-app")
        self.press(ENTER)
        until("the words of success", lambda: self.texts(".toast.ok strong") == ["The cache of Streambox is empty."])
        until("the list is new", lambda: self.texts(".card.app strong")[:1] == ["Fitness"])
        self.keep("storage-cleared")

    def test_cleans_deeply(self):
        self.show()
        self.go("storage")
        until("the apps", lambda: len(self.find(".card.app")) == 9 and not self.find("body.is-busy"))
        free = self.served.state()["screens"]["storage"]["document"]["opt"]["remaining"]
        self.press(ENTER)
        until("the words of success", lambda: self.find(".toast.ok"))
        until("more is free", lambda: self.served.state()["screens"]["storage"]["document"]["opt"]["remaining"] > free)
        until("before and after", lambda: self.find(".compare"))
        until("all is measured again", lambda: not self.served.state()["screens"]["apps"]["stale"])
        until("no call", lambda: not self.find("body.is-busy"))
        self.run_in_page("document.getElementById('content').scrollTop = 0")
        self.keep("storage-compared")
        freed = self.served.state()["freed"]
        used = {name: freed[name]["opt"]["used"] for name in ("before", "after")}
        widths = dict(self.run_in_page("""
            return [...document.querySelectorAll("[data-compare]")].map((track) => [track.dataset.compare,
                track.firstChild.getBoundingClientRect().width / track.getBoundingClientRect().width]);"""))
        self.assertAlmostEqual(widths["before"], 1, places=2)
        self.assertAlmostEqual(widths["after"], used["after"] / used["before"], places=2)
        self.assertAlmostEqual(widths["freed"], 1 - used["after"] / used["before"], places=2)

    def test_shows_that_no_apps_are_listed(self):
        self.show(description={"apps": []})
        self.go("storage")
        self.assertIn("No apps are listed", self.state("empty"))
        self.keep("storage-no-apps")
        self.assertTrue(self.find(".bar-part.free"))

    def test_shows_why_the_storage_could_not_be_measured(self):
        self.show()
        (self.served.set / "set.json").write_text('{"apps": 3}', "utf-8")
        self.go("storage")
        failure = self.state("failure")
        self.keep("storage-failed")
        self.assertIn("set.json", failure)
        until("the button has the focus", lambda: self.focused() == "retry")

    def test_keeps_a_history_of_what_was_found_and_repaired(self):
        self.show(screen="history")
        self.assertIn("Nothing has happened yet", self.state("empty"))
        self.keep("history-none")
        self.served.kura("diagnose")
        until("the diagnosis", lambda: self.find('[data-event="diagnosis"]'))
        self.served.kura("fix", "1001")
        until("the repair", lambda: self.find('[data-event="repair"]'))
        self.served.describe(faults={"settings": {"refuse_writes": ["*"]}})
        self.assertEqual(self.served.post("fix", {"code": "5003"}).status, 500)
        until("the second repair", lambda: len(self.find('[data-event="repair"]')) == 2)
        until("no call", lambda: not self.find("body.is-busy"))
        self.keep("history")
        self.assertEqual(self.texts(".event strong")[:2], ["Not repaired", "Repaired"])
        self.assertRegex(self.texts(".event strong")[2], "^Diagnosis: 1[0-9] problems found$")
        self.assertIn("The picture is too dark", self.texts(".event")[1])
        self.assertIn("fails: -1", self.texts(".event")[0])
        self.assertEqual(len(self.find(".timeline .bar")), 1)
        self.assertEqual(len(self.find(".timeline .dot.ok")), 1)
        self.assertEqual(len(self.find(".timeline .dot.failure")), 1)
        self.assertEqual(self.focused(), "events")
        self.assert_quiet("api/fix")

    def test_streams_the_journal(self):
        self.show()
        self.go("journal")
        self.served.kura("fix", "5003")
        until("the request", lambda: any("db/menu/hdmi/device_control" in line for line in self.texts(".line")))
        self.keep("journal")
        self.assertFalse(self.find(".kind-log"))
        self.press(RIGHT, ENTER)
        until("the log", lambda: self.find(".kind-log") and not self.find(".kind-setting"))
        self.press(DOWN)
        self.assertEqual(self.focused(), "journal")
        self.press(*[UP] * 12)
        self.assertNotEqual(self.focused(), "journal")
        (self.served.set / "journal.jsonl").write_text("", "utf-8")
        until("the journal is empty", lambda: not self.find(".line"))
        self.keep("journal-empty")

    def test_never_takes_text_for_markup(self):
        attack = "<img src=x onerror=\"document.title='taken'\"><b>bold</b>"

        def with_markup(served):
            path = served.set / "texts/en.json"
            texts = path.read_text("utf-8")
            path.write_text(texts.replace("The picture is too dark", attack.replace('"', '\\"')), "utf-8")
            served.describe(model=attack)

        self.show(prepare=with_markup)
        self.press(ENTER)
        self.listed(10)
        self.assertEqual(self.texts('[data-issue="1001"] strong'), [attack])
        self.assertIn(attack, self.texts(".rail-set")[0])
        self.served.kura("settings", "set", "db/x", attack)
        self.press(ENTER)
        self.listed(9)
        self.assertEqual(self.find("#content img, #content b, #rail b"), [])
        self.assertNotEqual(self.browser.title, "taken")
        self.assert_quiet()

    def test_tells_that_the_set_is_gone_and_that_the_server_is(self):
        self.show()
        self.served.set.rename(self.served.folder / "away")
        until("the notice", lambda: str(self.served.set) in "".join(self.texts("#notice")))
        self.press(ENTER)
        self.assertIn("no set here", self.state("failure"))
        self.keep("set-gone")
        (self.served.folder / "away").rename(self.served.set)
        until("no notice", lambda: not self.find("#notice:not([hidden])"))
        self.listed(10)
        self.served.end()
        until("the notice", lambda: "kura serve" in "".join(self.texts("#notice")))
        self.keep("server-gone")


if __name__ == "__main__":
    unittest.main(verbosity=2)
